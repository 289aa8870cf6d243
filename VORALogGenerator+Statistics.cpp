#include "VORALogGenerator.h"

#include "galleries/statistics.h"
#include "galleries/statisticspage.h"
#include "galleries/supportfolder.h"
#include "galleries/wordlist.h"

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
    for (const ImageRecord &record : chatLog.GatheredImages())
        images += qint64(record.images.size());
    qint64 links = 0;
    for (const LinkRecord &record : chatLog.GatheredURLs())
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

void VORALogGenerator::UpdateStatistics(const VORAChatLog &chatLog)
{
    galleries::Statistics statistics = galleries::Statistics::load();
    const WordSet curses = galleries::readWordList(galleries::curseListPath());
    const WordSet netspeak = galleries::readWordList(galleries::netspeakListPath());
    statistics.fold(countsOf(chatLog, curses, netspeak),
                    chatLog.LastMessageDate().value_or(platform::NSDate::now()));
    (void)statistics.save(); // a store that cannot be written is no reason to make no page
    galleries::writeStatisticsPage(statistics);
}
