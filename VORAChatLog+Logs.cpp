#include "VORAChatLog.h"

#include "platform/date/calendar.h"
#include "platform/files/files.h"
#include "platform/preferences/preferences.h"
#include "platform/text/filetext.h"
#include "platform/text/format.h"

#include <array>

namespace {

/// The records that @p record makes of the messages that somebody sent.
template <class Record>
std::vector<Record> gathered(const VORAChatLog::Messages &messages,
                             Record (VORAInstantMessage::*record)() const)
{
    std::vector<Record> records;
    for (const auto &message : messages) {
        if (!message->isStatusMessage())
            records.push_back((message.get()->*record)());
    }
    return records;
}

} // namespace

std::vector<LinkRecord> VORAChatLog::GatheredURLs() const
{
    return gathered(m_messages, &VORAInstantMessage::allURLs);
}

std::vector<ImageRecord> VORAChatLog::GatheredImages() const
{
    return gathered(m_messages, &VORAInstantMessage::allImages);
}

void VORAChatLog::ExtendURLLog(const std::filesystem::path &path) const
{
    platform::FileContents file = platform::readWholeFile(path);
    const auto entry = platform::CFPreferencesCopyAppValue(u"bookmarkEntry").string();
    if (!file.bytes || !entry)
        return;
    QString entries;
    for (const LinkRecord &record : GatheredURLs()) {
        for (const QString &url : record.urls) {
            const QString time = platform::descriptionWithCalendarFormat(*record.time, u"%a %B %e, %I:%M%p");
            entries += platform::filledFormat(*entry, std::array{url, url, *record.speaker, time});
        }
    }
    platform::FileText log(std::move(*file.bytes));
    log.append(entries);
    (void)platform::writeAtomically(path, log.bytes());
}
