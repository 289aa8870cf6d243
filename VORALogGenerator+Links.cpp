#include "VORALogGenerator.h"

#include "galleries/filenames.h"
#include "galleries/linkpages.h"
#include "galleries/supportfolder.h"

#include "platform/files/files.h"
#include "platform/log/nslog.h"

#include <set>

using galleries::LinkStore;

namespace {

/// More people than ever sent links in one chat. Every page lists every speaker, so that one forged chat with
/// a hundred thousand of them would fill the disk with pages.
constexpr size_t mostSpeakersOfAChat = 1000;

void add(const std::vector<LinkRecord> &records, LinkStore &store)
{
    for (const LinkRecord &record : records) {
        if (!record.urls.empty())
            store.add(*record.speaker, *record.time, record.urls);
    }
}

void fold(const VORAChatLog &chatLog, LinkStore &store)
{
    const std::vector<LinkRecord> records = chatLog.GatheredURLs();
    std::set<QString> speakers;
    for (const LinkRecord &record : records) {
        if (!record.urls.empty())
            speakers.insert(*record.speaker);
    }
    if (speakers.size() <= mostSpeakersOfAChat)
        add(records, store);
    else
        platform::NSLog(QStringLiteral("The links of the chat with %1 come from too many people and have "
                                       "been left out.")
                            .arg(chatLog.primaryOtherParty()));
    store.sort();
}

void reportUnwritten(const std::filesystem::path &path)
{
    platform::NSLog(QStringLiteral("Link file failed to write to path: %1").arg(platform::displayPath(path)));
    VORAChatLog::reportError(VORAChatLog::ErrorCode::FileNotWritten, QStringLiteral("permissions"));
}

/// @return whether the store stands in its file; when not, the failure has been reported.
bool save(const LinkStore &store, const std::filesystem::path &path)
{
    const auto bytes = store.propertyList();
    if (!bytes) {
        platform::NSLog(
            QStringLiteral("Error while serializing link database: it is larger than can be read again"));
        VORAChatLog::reportError(VORAChatLog::ErrorCode::Internal, QStringLiteral("corrupt cache"));
        return false;
    }
    if (platform::writeAtomically(path, *bytes)) {
        reportUnwritten(path);
        return false;
    }
    return true;
}

} // namespace

void VORALogGenerator::GenerateLinkFiles(const VORAChatLog *chatLog)
{
    const std::filesystem::path path = galleries::linkStorePath();
    auto store = LinkStore::load(path);
    if (chatLog) {
        if (!store)
            return reportUnwritten(path); // what cannot be read is not written over
        fold(*chatLog, *store);
        if (!save(*store, path))
            return;
    }
    galleries::writeLinkPages(store.value_or(LinkStore()));
}

std::vector<galleries::LinkEntry> *VORALogGenerator::FindSpeakerArray(const QString &name, LinkStore &inData)
{
    return inData.find(name);
}

QString VORALogGenerator::CompressedLinkForList(const QString &link)
{
    return galleries::compressedLink(link);
}

QString VORALogGenerator::stringWithFunkyURLStuffInserted(const QString &text)
{
    return galleries::urlSafeForm(text);
}
