#include "VORAChatLog.h"

#include "platform/addressbook/addressbook.h"
#include "platform/appkit/nscolor.h"
#include "platform/appkit/nsfilewrapper.h"
#include "platform/appkit/nsfont.h"
#include "platform/date/calendar.h"
#include "platform/foundation/scalars.h"
#include "platform/log/nslog.h"
#include "platform/preferences/keys.h"
#include "platform/preferences/preferences.h"
#include "platform/propertylist/values.h"
#include "platform/text/encoding.h"

#include <array>
#include <charconv>
#include <limits>
#include <string_view>

using platform::NSAttributedString;

namespace {

constexpr QStringView plainCredit = u"Sent by Prattlebug ( https://prattlebug.example/ )";
constexpr QStringView richCredit =
    u"<br><hr><i>Sent by <a href=\"https://prattlebug.example/\">Prattlebug</a>.</i>";

constexpr QStringView documentHead = u"<html><head><title>Prattlebug log</title></head><body>";
constexpr QStringView documentTail = u"</body></html>";
/// What each run of a text weighs beside its characters: about what it takes in a styled text.
constexpr qsizetype runWeight = 24;

constexpr QStringView fontClose = u"</font>";

void logTooLarge(const QString &otherParty)
{
    platform::NSLog(QStringLiteral("The chat with %1 is too large to be rendered.").arg(otherParty));
}

void appendNumber(QString &text, int number)
{
    std::array<char, 12> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    text += QLatin1StringView(digits.data(), end - digits.data());
}

/// Writes a rich text as HTML, run after run.
///
/// The position table covers the run at hand alone, since nothing is ever inserted into an earlier one, and
/// there only its start and its end, since nothing is inserted anywhere else: the cost stays linear in the
/// text, however many runs it has. What a run's attributes insert at one place is gathered first and goes in
/// as one piece.
class RichTextWriter {
public:
    explicit RichTextWriter(QString &document) : m_document(document) {}

    void writeRun(QStringView characters, const platform::AttributesRef &attributes)
    {
        std::array<qsizetype, 2> positions{m_document.size(), m_document.size() + characters.size()};
        m_document += characters;
        if (!attributes)
            return;
        m_atStart.resize(0); // keeps its memory, as clear() would not
        m_atEnd.resize(0);
        // In the order of their names. Looked up, not walked through: a set may hold any number of others.
        addAttachment(attributes->objectForKey(platform::NSAttachmentAttributeName).get(),
                      m_document[positions[0]]);
        addColor(attributes->objectForKey(platform::NSForegroundColorAttributeName).get());
        addFont(attributes->objectForKey(platform::NSFontAttributeName).get());
        addLink(attributes->objectForKey(platform::NSLinkAttributeName).get());
        InsertStringAndTrackIndices(m_document, positions, m_atStart, 0, positions.size());
        InsertStringAndTrackIndices(m_document, positions, m_atEnd, 1, positions.size());
    }

private:
    // One attribute each. Nothing is added for a value that is not of the attribute's kind.

    void addAttachment(const platform::NSObject *value, QChar &character)
    {
        const auto *attachment = dynamic_cast<const platform::NSTextAttachment *>(value);
        if (!attachment)
            return;
        character = u' ';
        const auto &wrapper = attachment->fileWrapper();
        m_atStart += u'[';
        m_atStart += wrapper && wrapper->preferredFilename() ? QStringView(*wrapper->preferredFilename())
                                                             : QStringView(u"attached item");
        m_atStart += u']';
    }

    void addColor(const platform::NSObject *value)
    {
        const auto *color = dynamic_cast<const platform::NSColor *>(value);
        if (!color || !color->deviceRGB())
            return;
        constexpr std::u16string_view hexDigits = u"0123456789abcdef";
        std::array<char16_t, 6> digits{};
        size_t place = 0;
        for (const double component : *color->deviceRGB()) {
            // In single precision, as the platform has components: some decimals of theirs lie just below.
            const auto level = size_t(float(component) * 255.0F);
            digits[place++] = hexDigits[level / 16];
            digits[place++] = hexDigits[level % 16];
        }
        m_atStart += QStringView(u"<font color=\"#");
        m_atStart += QStringView(digits);
        m_atStart += QStringView(u"\">");
        m_atEnd += fontClose;
    }

    void addFont(const platform::NSObject *value)
    {
        const auto *font = dynamic_cast<const platform::NSFont *>(value);
        if (!font)
            return;
        m_atStart += QStringView(u"<font face=\"");
        m_atStart += font->fontName();
        m_atStart += QStringView(u"\" point-size=\"");
        appendNumber(m_atStart, int(font->pointSize()));
        m_atStart += QStringView(u"\">");
        m_atEnd += fontClose;
    }

    void addLink(const platform::NSObject *value)
    {
        const auto *url = dynamic_cast<const platform::NSURL *>(value);
        const auto *string = dynamic_cast<const platform::NSString *>(value);
        if (!url && !string)
            return;
        m_atStart += QStringView(u"<a href=\"");
        m_atStart += url ? url->absoluteString() : string->string();
        m_atStart += QStringView(u"\">");
        m_atEnd += QStringView(u"</a>");
    }

    QString &m_document;
    QString m_atStart; ///< what goes before the run at hand
    QString m_atEnd;
};

} // namespace

bool VORAChatLog::isTooLargeToRender() const
{
    qsizetype total = 0;
    for (const auto &message : m_messages) {
        if (message->isStatusMessage())
            continue;
        total += message->string()->length() + qsizetype(message->string()->runs().size()) * runWeight;
        if (const auto &name = message->sender()->rawName())
            total += name->size();
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
    const platform::ABAddressBook::Reading reading;
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
    const platform::ABAddressBook::Reading reading;
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
    document.reserve(document.size() + rich.length() * 4); // what fonts and colours make of usual chats
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
        platform::booleanFrom(platform::CFPreferencesCopyAppValue(platform::preference::forceUniqueSubjects))
            .value_or(false);
    if (!unique)
        return chatSubject(m_primaryOtherParty, std::nullopt);
    const qint64 made =
        platform::integerFrom(platform::CFPreferencesCopyAppValue(platform::preference::subjectNumber))
            .value_or(0);
    if (made < std::numeric_limits<qint64>::max())
        platform::CFPreferencesSetAppValue(platform::preference::subjectNumber,
                                           platform::PropertyList::fromInteger(made + 1));
    platform::CFPreferencesAppSynchronize();
    return chatSubject(m_primaryOtherParty, platform::NSDate::now());
}
