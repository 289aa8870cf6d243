#include "VORAChatLog.h"

#include "galleries/imagenames.h"
#include "galleries/savedfiles.h"

#include "platform/addressbook/addressbook.h"
#include "platform/date/calendar.h"
#include "platform/files/files.h"
#include "platform/log/nslog.h"
#include "platform/preferences/keys.h"
#include "platform/preferences/preferences.h"
#include "platform/text/filetext.h"
#include "platform/text/format.h"

#include <array>

namespace {

/// What each link or file weighs beside its text: about what an entry of a store takes.
constexpr qsizetype entryWeight = 64;
/// What each run weighs that is looked through for them.
constexpr qsizetype runWeight = 4;

qsizetype weightOf(const LinkRecord &record)
{
    qsizetype weight = 0;
    for (const QString &url : record.urls)
        weight += url.size() + entryWeight;
    return weight;
}

qsizetype weightOf(const ImageRecord &record)
{
    qsizetype weight = 0;
    for (const auto &image : record.images)
        weight += (image->preferredFilename() ? image->preferredFilename()->size() : 0) + entryWeight;
    return weight;
}

/// The records that @p record makes of the messages that somebody sent; none when they weigh too much.
/// @param attribute of the text that a record is filled from.
template <class Record>
std::vector<Record> gathered(const VORAChatLog &chatLog, VORAChatLog::Records which, QStringView attribute,
                             Record (VORAInstantMessage::*record)() const)
{
    const platform::ABAddressBook::Reading reading;
    const bool onlyFilled = which == VORAChatLog::Records::Filled;
    std::vector<Record> records;
    qsizetype weight = 0;
    for (const auto &message : chatLog.messages()) {
        if (message->isStatusMessage())
            continue;
        weight += qsizetype(message->string()->runs().size()) * runWeight;
        if (!onlyFilled || message->string()->hasAttribute(attribute)) {
            Record made = (message.get()->*record)();
            const qsizetype ownWeight = weightOf(made);
            weight += ownWeight + (made.speaker ? made.speaker->size() : 0);
            if (!onlyFilled || ownWeight > 0)
                records.push_back(std::move(made));
        }
        if (weight > VORAChatLog::largestGathering) {
            platform::NSLog(QStringLiteral("The chat with %1 is too large for its links and files to be "
                                           "gathered.")
                                .arg(chatLog.primaryOtherParty()));
            return {};
        }
    }
    return records;
}

QString dateText(const platform::NSDate &time)
{
    return platform::descriptionWithCalendarFormat(time, u"%a %B %e, %I:%M%p");
}

/// A text file to which entries are added, each in the format that a preference gives.
class TextLog {
public:
    TextLog(std::filesystem::path path, QStringView formatKey)
        : m_path(std::move(path)), m_file(platform::readWholeFile(m_path)),
          m_format(platform::CFPreferencesCopyAppValue(formatKey).string())
    {
    }

    void add(std::span<const QString> objects)
    {
        if (isWritable())
            m_entries += platform::filledFormat(*m_format, objects);
    }

    /// Replaces the file; call once. It stays untouched when it could not be read or there is no format.
    void write()
    {
        if (!isWritable())
            return;
        platform::FileText log(std::move(*m_file.bytes));
        log.append(m_entries);
        (void)platform::writeAtomically(m_path, log.bytes());
    }

private:
    [[nodiscard]] bool isWritable() const { return m_file.bytes && m_format; }

    std::filesystem::path m_path;
    platform::FileContents m_file;
    std::optional<QString> m_format;
    QString m_entries;
};

} // namespace

std::vector<LinkRecord> VORAChatLog::GatheredURLs(Records which) const
{
    return gathered(*this, which, platform::NSLinkAttributeName, &VORAInstantMessage::allURLs);
}

std::vector<ImageRecord> VORAChatLog::GatheredImages(Records which) const
{
    return gathered(*this, which, platform::NSAttachmentAttributeName, &VORAInstantMessage::allImages);
}

void VORAChatLog::ExtendURLLog(const std::filesystem::path &path) const
{
    TextLog log(path, platform::preference::bookmarkEntry);
    for (const LinkRecord &record : GatheredURLs(Records::Filled)) {
        for (const QString &url : record.urls)
            log.add(std::array{url, url, *record.speaker, dateText(*record.time)});
    }
    log.write();
}

void VORAChatLog::ExtendImageLog(const std::filesystem::path &path) const
{
    TextLog log(path, platform::preference::imageEntry);
    galleries::SavedFiles files(path.parent_path() / "Images");
    for (const ImageRecord &record : GatheredImages(Records::Filled)) {
        for (const auto &wrapper : record.images) {
            const QString when = platform::descriptionWithCalendarFormat(*record.time, u"%a%b%e%I%M%p");
            const galleries::FileName name =
                galleries::imageFileName(wrapper->preferredFilename(), *record.speaker, when);
            files.save(wrapper, name);
            log.add(std::array{name.text(), *record.speaker, dateText(*record.time)});
        }
    }
    log.write();
}
