#pragma once

#include "galleries/propertylistfile.h"

#include "platform/date/nsdate.h"
#include "platform/failure.h"

#include <filesystem>

namespace galleries {

/// How much was said and sent, in all chats or in one. Counts stay at the ends of their range instead of
/// passing them.
struct StatisticsCounts {
    qint32 usertextcount = 0;      ///< words of the user's side
    qint32 othertextcount = 0;     ///< words of the other party
    qint32 cursecount = 0;         ///< words of the user's side that are in the list of curses
    qint32 othercursecount = 0;    ///< the other party's
    qint32 netspeakcount = 0;      ///< words of the user's side that are in the list of net slang
    qint32 othernetspeakcount = 0; ///< the other party's
    qint32 imagecount = 0;         ///< attached files
    qint32 linkcount = 0;
    qint32 chatcount = 0;

    friend bool operator==(const StatisticsCounts &, const StatisticsCounts &) = default;
};

/// What one chat adds to the statistics.
struct ChatStatistics {
    StatisticsCounts counts; ///< its chatcount of 1 included
    platform::NSDate lastMessage;
};

/// @p count, or the end of the range of 32 bits that it is beyond.
[[nodiscard]] qint32 saturated(qint64 count);

/// The statistics store: running totals over all chats and the time that they cover.
///
/// Its file is a property list with a dictionary at its root: the nine counts as
/// integers and the two dates, each under its name here.
struct Statistics {
    using Contribution = ChatStatistics;

    StatisticsCounts counts;
    platform::NSDate startDate = platform::NSDate::now();
    platform::NSDate endDate = startDate; ///< of the chat folded in last; until there is one, the start

    /// Reads the store at @p path, in any form of a property list. Where there is no file, the statistics
    /// begin now. What is no property list with a dictionary at its root counts as an empty store. A count
    /// that is missing or is neither a number nor a text of digits is 0. A start date that is missing, or is
    /// no date, is the support folder's creation, or now when that cannot be had. The stored end date is not
    /// read.
    [[nodiscard]] static Statistics load(const std::filesystem::path &path);

    /// Adds what one chat contributes, and ends the time covered at its last message, also when that is
    /// earlier than before.
    void fold(const ChatStatistics &chat);

    /// Makes the statistics what their file would give back: with whole seconds, and without an end.
    void settle();

    /// Replaces the file at @p path, in XML and atomically; there, dates have whole seconds.
    [[nodiscard]] platform::Result<> save(const std::filesystem::path &path) const;
};

} // namespace galleries
