#include "VORALogGenerator.h"

#include "galleries/filenames.h"
#include "galleries/linkpages.h"
#include "galleries/supportfolder.h"

#include "platform/files/files.h"
#include "platform/log/nslog.h"

#include <set>

using galleries::LinkStore;

namespace {

/// More people than ever sent links in one chat. Every page of a gallery lists every speaker, so that one
/// forged chat with a hundred thousand of them would fill the disk with pages.
constexpr size_t mostSpeakersOfAChat = 1000;

void fold(const VORAChatLog &chatLog, LinkStore &store)
{
    const std::vector<LinkRecord> records = chatLog.GatheredURLs();
    std::set<QString> speakers;
    for (const LinkRecord &record : records) {
        if (record.speaker && !record.urls.empty())
            speakers.insert(*record.speaker);
    }
    if (speakers.size() > mostSpeakersOfAChat) {
        platform::NSLog(QStringLiteral("The links of the chat with %1 come from too many people and have "
                                       "been left out.")
                            .arg(chatLog.primaryOtherParty()));
    } else {
        for (const LinkRecord &record : records) {
            if (record.speaker && record.time)
                store.add(*record.speaker, *record.time, record.urls);
        }
    }
    store.sort();
}

/// Writes the store's file. @p store is nothing when there is one that could not be read; it is kept.
/// @return whether the file holds the store now; when not, that has been reported.
bool save(const std::optional<LinkStore> &store)
{
    const std::filesystem::path path = galleries::linkStorePath();
    if (store) {
        const auto bytes = store->propertyList();
        if (!bytes) {
            platform::NSLog(u"Error while serializing link database: the property list would be larger than "
                            u"2 GiB");
            VORAChatLog::reportError(VORAChatLog::ErrorCode::Internal, QStringLiteral("corrupt cache"));
            return false;
        }
        if (!platform::writeAtomically(path, *bytes))
            return true;
    }
    platform::NSLogBytes("Link file failed to write to path: " + QByteArray::fromStdString(path.native()));
    VORAChatLog::reportError(VORAChatLog::ErrorCode::FileNotWritten, QStringLiteral("permissions"));
    return false;
}

} // namespace

void VORALogGenerator::GenerateLinkFiles(const VORAChatLog *chatLog)
{
    auto store = LinkStore::load(galleries::linkStorePath());
    if (chatLog) {
        if (store)
            fold(*chatLog, *store);
        if (!save(store))
            return;
    }
    galleries::writeLinkPages(store ? *store : LinkStore());
}

std::vector<galleries::LinkEntry> *VORALogGenerator::FindSpeakerArray(const QString &name, LinkStore &inData)
{
    return inData.find(name);
}

QString VORALogGenerator::CompressedLinkForList(const QString &link)
{
    return galleries::compressedLink(link);
}

QString VORALogGenerator::stringWithFunkyURLStuffInserted(QStringView text)
{
    return galleries::urlSafeForm(text);
}
