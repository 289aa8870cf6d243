#include "VORAChatLog.h"

#include "platform/date/calendar.h"
#include "platform/files/files.h"
#include "platform/log/nslog.h"
#include "platform/preferences/preferences.h"
#include "platform/text/filetext.h"
#include "platform/text/format.h"

#include <array>

namespace {

/// What each link or file weighs beside its text: about what an entry of a store takes.
constexpr qsizetype entryWeight = 64;

qsizetype weightOf(const LinkRecord &record)
{
    qsizetype weight = 0;
    for (const QString &url : record.urls)
        weight += url.size() + entryWeight;
    return weight;
}

qsizetype weightOf(const ImageRecord &record)
{
    return qsizetype(record.images.size()) * entryWeight;
}

/// The records that @p record makes of the messages that somebody sent; none when they weigh too much.
template <class Record>
std::vector<Record> gathered(const VORAChatLog &chatLog, Record (VORAInstantMessage::*record)() const)
{
    std::vector<Record> records;
    qsizetype weight = 0;
    for (const auto &message : chatLog.messages()) {
        if (message->isStatusMessage())
            continue;
        records.push_back((message.get()->*record)());
        weight += weightOf(records.back());
        if (records.back().speaker)
            weight += records.back().speaker->size();
        if (weight > VORAChatLog::largestGathering) {
            platform::NSLog(QStringLiteral("The chat with %1 is too large for its links and files to be "
                                           "gathered.")
                                .arg(chatLog.primaryOtherParty()));
            return {};
        }
    }
    return records;
}

} // namespace

std::vector<LinkRecord> VORAChatLog::GatheredURLs() const
{
    return gathered(*this, &VORAInstantMessage::allURLs);
}

std::vector<ImageRecord> VORAChatLog::GatheredImages() const
{
    return gathered(*this, &VORAInstantMessage::allImages);
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
