#include "VORAChatLog.h"

#include "platform/appkit/nscolor.h"
#include "platform/appkit/nsfilewrapper.h"
#include "platform/appkit/nsfont.h"
#include "platform/date/calendar.h"
#include "platform/foundation/scalars.h"
#include "platform/log/nslog.h"
#include "platform/preferences/preferences.h"
#include "platform/text/encoding.h"

#include <numeric>

using platform::NSAttributedString;
using platform::NSDictionary;

namespace {

constexpr QStringView plainCredit = u"Sent by Prattlebug ( https://prattlebug.example/ )";
constexpr QStringView richCredit =
    u"<br><hr><i>Sent by <a href=\"https://prattlebug.example/\">Prattlebug</a>.</i>";

constexpr QStringView documentHead = u"<html><head><title>Prattlebug log</title></head><body>";
constexpr QStringView documentTail = u"</body></html>";
constexpr QStringView fontClose = u"</font>";

void logTooLarge(const QString &otherParty)
{
    platform::NSLog(QStringLiteral("The chat with %1 is too large to be rendered.").arg(otherParty));
}

// Tags of one attribute each. Nothing when its value is not of a kind that has one.

std::optional<QString> colorTag(const NSDictionary &attributes)
{
    const auto value = attributes.objectForKey(platform::NSForegroundColorAttributeName);
    const auto *color = dynamic_cast<const platform::NSColor *>(value.get());
    if (!color || !color->deviceRGB())
        return std::nullopt;
    QString tag = QStringLiteral("<font color=\"#");
    for (const double component : *color->deviceRGB())
        tag += QString::number(int(component * 255), 16).rightJustified(2, u'0');
    return tag + QStringLiteral("\">");
}

std::optional<QString> fontTag(const NSDictionary &attributes)
{
    const auto value = attributes.objectForKey(platform::NSFontAttributeName);
    const auto *font = dynamic_cast<const platform::NSFont *>(value.get());
    if (!font)
        return std::nullopt;
    return QStringLiteral("<font face=\"") + font->fontName() + QStringLiteral("\" point-size=\"") +
           QString::number(int(font->pointSize())) + QStringLiteral("\">");
}

std::optional<QString> linkTag(const NSDictionary &attributes)
{
    const auto value = attributes.objectForKey(platform::NSLinkAttributeName);
    QString target;
    if (const auto *url = dynamic_cast<const platform::NSURL *>(value.get()))
        target = url->absoluteString();
    else if (const auto *string = dynamic_cast<const platform::NSString *>(value.get()))
        target = string->string();
    else
        return std::nullopt;
    return QStringLiteral("<a href=\"") + target + QStringLiteral("\">");
}

std::optional<QString> attachmentText(const NSDictionary &attributes)
{
    const auto value = attributes.objectForKey(platform::NSAttachmentAttributeName);
    const auto *attachment = dynamic_cast<const platform::NSTextAttachment *>(value.get());
    if (!attachment)
        return std::nullopt;
    const auto &wrapper = attachment->fileWrapper();
    if (!wrapper || !wrapper->preferredFilename())
        return QStringLiteral("[attached item]");
    return u'[' + *wrapper->preferredFilename() + u']';
}

/// Writes a rich text as HTML, run after run.
///
/// The position table covers the run at hand alone, since nothing is ever inserted into an earlier one: the
/// cost stays linear in the text, however many runs it has.
class RichTextWriter {
public:
    explicit RichTextWriter(QString &document) : m_document(document) {}

    void writeRun(QStringView characters, const platform::AttributesRef &attributes)
    {
        m_positions.resize(size_t(characters.size()) + 1);
        std::iota(m_positions.begin(), m_positions.end(), m_document.size());
        m_document += characters;
        if (!attributes)
            return;
        // In the alphabetical order of the attributes' names.
        if (const auto text = attachmentText(*attributes)) {
            m_document[m_positions.front()] = u' ';
            insertAtStart(*text);
        }
        if (const auto tag = colorTag(*attributes))
            enclose(*tag, fontClose);
        if (const auto tag = fontTag(*attributes))
            enclose(*tag, fontClose);
        if (const auto tag = linkTag(*attributes))
            enclose(*tag, u"</a>");
    }

private:
    void insertAtStart(QStringView text) { insert(text, 0); }

    void enclose(QStringView open, QStringView close)
    {
        insertAtStart(open);
        insert(close, qsizetype(m_positions.size()) - 1);
    }

    void insert(QStringView text, qsizetype index)
    {
        InsertStringAndTrackIndices(m_document, m_positions, text, index, qsizetype(m_positions.size()));
    }

    QString &m_document;
    std::vector<qsizetype> m_positions;
};

} // namespace

bool VORAChatLog::isTooLargeToRender() const
{
    qsizetype total = 0;
    for (const auto &message : m_messages) {
        total += message->isStatusMessage() ? 0 : message->string()->length();
        if (total > largestRendering) {
            logTooLarge(m_primaryOtherParty);
            return true;
        }
    }
    return false;
}

QString VORAChatLog::PlainChatLog() const
{
    if (isTooLargeToRender())
        return {};
    QString text;
    for (const auto &message : m_messages) {
        if (message->isStatusMessage())
            continue;
        text += message->PlainString();
        if (text.size() > largestRendering) {
            logTooLarge(m_primaryOtherParty);
            return {};
        }
    }
    text += plainCredit;
    return text;
}

NSAttributedString VORAChatLog::RichChatLog() const
{
    NSAttributedString text;
    if (isTooLargeToRender())
        return text;
    for (const auto &message : m_messages) {
        if (message->isStatusMessage())
            continue;
        text.append(message->LoggedString());
        text.append(u"<br>\n", nullptr);
        if (text.length() > largestRendering) {
            logTooLarge(m_primaryOtherParty);
            return NSAttributedString();
        }
    }
    text.append(richCredit, nullptr);
    return text;
}

QByteArray VORAChatLog::HTMLChatLog() const
{
    const NSAttributedString rich = RichChatLog();
    if (rich.length() == 0)
        return {};
    QString document = documentHead.toString();
    document.reserve(document.size() + rich.length() * 2);
    RichTextWriter writer(document);
    qsizetype start = 0;
    for (const NSAttributedString::Run &run : rich.runs()) {
        writer.writeRun(QStringView(rich.string()).sliced(start, run.length), run.attributes);
        start += run.length;
        if (document.size() > largestRendering) {
            logTooLarge(m_primaryOtherParty);
            return {};
        }
    }
    document += documentTail;
    return platform::utf8FromString(document);
}

void InsertStringAndTrackIndices(QString &target, std::span<qsizetype> indices, QStringView insertion,
                                 qsizetype originalIndex, qsizetype indexCount)
{
    target.insert(indices[size_t(originalIndex)], insertion);
    for (qsizetype i = originalIndex; i < indexCount; ++i)
        indices[size_t(i)] += insertion.size();
}

QString chatSubject(const QString &otherParty, const std::optional<platform::NSDate> &uniqueAt)
{
    QString subject = QStringLiteral("[IM] ") + otherParty;
    if (uniqueAt)
        subject += QStringLiteral(" (") + platform::descriptionWithCalendarFormat(*uniqueAt, u"%c") + u')';
    return subject;
}

QString VORAChatLog::subjectForEmail() const
{
    const bool unique =
        platform::booleanFromPreference(platform::CFPreferencesCopyAppValue(u"forceUniqueSubjects"))
            .value_or(false);
    if (!unique)
        return chatSubject(m_primaryOtherParty, std::nullopt);
    const qint64 made =
        platform::integerFromPreference(platform::CFPreferencesCopyAppValue(u"subjectNumber")).value_or(0);
    platform::CFPreferencesSetAppValue(u"subjectNumber", platform::PropertyList::fromInteger(made + 1));
    platform::CFPreferencesAppSynchronize();
    return chatSubject(m_primaryOtherParty, platform::NSDate::now());
}
