#include "VORALogGenerator+Run.h"

#include <array>

using galleries::saturated;
using galleries::StatisticsCounts;

namespace {

/// What @p chatLog adds to the statistics.
StatisticsCounts countsOf(const VORAChatLog &chatLog, const WordSet &curses, const WordSet &netspeak)
{
    const std::array<const WordSet *, 3> sets{nullptr, &curses, &netspeak};
    const std::vector<VORAChatLog::WordCounts> words = chatLog.countWords(sets);
    return {.usertextcount = saturated(words[0].byUsersSide),
            .othertextcount = saturated(words[0].byOtherParty),
            .cursecount = saturated(words[1].byUsersSide),
            .othercursecount = saturated(words[1].byOtherParty),
            .netspeakcount = saturated(words[2].byUsersSide),
            .othernetspeakcount = saturated(words[2].byOtherParty),
            .imagecount = saturated(chatLog.fileCount()),
            .linkcount = saturated(chatLog.linkCount()),
            .chatcount = 1};
}

} // namespace

void VORALogGenerator::UpdateStatistics(const VORAChatLog &chatLog)
{
    inRun([&chatLog](galleries::Session &session) {
        session.addStatistics({countsOf(chatLog, session.curses(), session.netspeak()),
                               chatLog.LastMessageDate().value_or(platform::NSDate::now())});
    });
}
