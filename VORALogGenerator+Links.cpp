#include "VORALogGenerator.h"

#include "VORALogGenerator+Folding.h"
#include "VORALogGenerator+Run.h"

#include "galleries/filenames.h"
#include "galleries/linkpages.h"
#include "galleries/supportfolder.h"

#include "platform/files/files.h"
#include "platform/log/nslog.h"

using galleries::LinkStore;

namespace {

std::vector<LinkStore::Speaker> linksOf(const VORAChatLog &chatLog)
{
    std::vector<LinkStore::Speaker> speakers;
    for (const LinkRecord &record :
         recordsToFold(chatLog, chatLog.GatheredURLs(VORAChatLog::Records::Filled), u"links")) {
        LinkStore::Speaker &speaker = speakers.emplace_back(LinkStore::Speaker{*record.speaker, {}});
        for (const QString &url : record.urls)
            speaker.entries.push_back({*record.time, url});
    }
    return speakers;
}

void reportUnwritten(const std::filesystem::path &path)
{
    platform::NSLog(QStringLiteral("Link file failed to write to path: %1").arg(platform::displayPath(path)));
    VORAChatLog::reportError(VORAChatLog::ErrorCode::FileNotWritten, QStringLiteral("permissions"));
}

} // namespace

std::filesystem::path LinkGallery::path()
{
    return galleries::linkStorePath();
}

bool LinkGallery::save(const Store &store)
{
    const auto bytes = store.propertyList();
    if (!bytes) {
        platform::NSLog(
            QStringLiteral("Error while serializing link database: it is larger than can be read again"));
        VORAChatLog::reportError(VORAChatLog::ErrorCode::Internal, QStringLiteral("corrupt cache"));
        return false;
    }
    if (platform::writeAtomically(path(), *bytes)) {
        reportUnwritten(path());
        return false;
    }
    return true;
}

void LinkGallery::writePages(const Store *store)
{
    galleries::writeLinkPages(store ? *store : Store());
}

void VORALogGenerator::GenerateLinkFiles(const VORAChatLog *chatLog)
{
    GalleryRun::call<LinkGallery>(!chatLog, [chatLog](galleries::KeptGallery<LinkGallery> &gallery) {
        const bool isReadable = gallery.refresh();
        if (!chatLog)
            gallery.requestPages();
        else if (isReadable)
            gallery.fold(linksOf(*chatLog));
        else
            reportUnwritten(LinkGallery::path()); // what cannot be read is not written over
    });
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
