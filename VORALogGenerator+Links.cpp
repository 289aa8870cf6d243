#include "VORALogGenerator.h"

#include "VORALogGenerator+Folding.h"
#include "VORALogGenerator+Run.h"

#include "galleries/filenames.h"
#include "galleries/linkpages.h"

using galleries::LinkStore;

namespace {

LinkStore::Contribution linksOf(const VORAChatLog &chatLog)
{
    LinkStore::Contribution links;
    for (const LinkRecord &record :
         recordsToFold(chatLog, chatLog.GatheredURLs(VORAChatLog::Records::Filled), u"links")) {
        LinkStore::Speaker &speaker = links.emplace_back(LinkStore::Speaker{*record.speaker, {}});
        for (const QString &url : record.urls)
            speaker.entries.push_back({*record.time, url});
    }
    return links;
}

} // namespace

void VORALogGenerator::GenerateLinkFiles(const VORAChatLog *chatLog)
{
    inRun([chatLog](galleries::Session &session) {
        if (chatLog)
            session.addLinks(linksOf(*chatLog));
        else
            session.makeLinkPages();
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
