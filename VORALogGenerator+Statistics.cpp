#include "VORALogGenerator+Run.h"

#include "galleries/statisticspage.h"
#include "galleries/supportfolder.h"

#include <array>

using galleries::saturated;
using galleries::StatisticsCounts;

namespace {

/// What @p chatLog adds to the statistics.
StatisticsCounts countsOf(const VORAChatLog &chatLog, const WordSet &curses, const WordSet &netspeak)
{
    const std::array<const WordSet *, 3> sets{nullptr, &curses, &netspeak};
    const std::vector<VORAChatLog::WordCounts> words = chatLog.countWords(sets);
    qint64 images = 0;
    for (const ImageRecord &record : chatLog.GatheredImages(VORAChatLog::Records::Filled))
        images += qint64(record.images.size());
    qint64 links = 0;
    for (const LinkRecord &record : chatLog.GatheredURLs(VORAChatLog::Records::Filled))
        links += qint64(record.urls.size());

    return {.usertextcount = saturated(words[0].byUsersSide),
            .othertextcount = saturated(words[0].byOtherParty),
            .cursecount = saturated(words[1].byUsersSide),
            .othercursecount = saturated(words[1].byOtherParty),
            .netspeakcount = saturated(words[2].byUsersSide),
            .othernetspeakcount = saturated(words[2].byOtherParty),
            .imagecount = saturated(images),
            .linkcount = saturated(links),
            .chatcount = 1};
}

} // namespace

std::filesystem::path StatisticsGallery::path()
{
    return galleries::statisticsStorePath();
}

void StatisticsGallery::writePages(const Store *store)
{
    if (store) // as ever: any file counts as statistics
        galleries::writeStatisticsPage(*store);
}

void VORALogGenerator::UpdateStatistics(const VORAChatLog &chatLog)
{
    GalleryRun::call<StatisticsGallery>(
        false, [&chatLog](galleries::KeptGallery<StatisticsGallery> &gallery) {
            gallery.refresh();
            StatisticsGallery &kind = gallery.kind();
            gallery.fold({countsOf(chatLog, kind.curses.read(galleries::curseListPath()),
                                   kind.netspeak.read(galleries::netspeakListPath())),
                          chatLog.LastMessageDate().value_or(platform::NSDate::now())});
        });
}
