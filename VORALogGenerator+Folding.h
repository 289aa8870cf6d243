#pragma once

#include "VORAChatLog.h"

#include "platform/log/nslog.h"

#include <set>

/// The most people who can have sent links, or files, in one chat: more than sit in any chat room. Every page
/// lists every person, so that the pages grow with the square of their number.
inline constexpr size_t mostSpeakersOfAChat = 100;

/// The filled @p records of @p chatLog; they have a speaker and a time. None when they come from more than
/// mostSpeakersOfAChat, and a message in the console log says so.
/// @param what the name in the message for what they hold: "links".
template <class Record>
[[nodiscard]] std::vector<Record> recordsToFold(const VORAChatLog &chatLog, std::vector<Record> records,
                                                QStringView what)
{
    std::set<QString> speakers;
    for (const Record &record : records)
        speakers.insert(*record.speaker);
    if (speakers.size() <= mostSpeakersOfAChat)
        return records;
    platform::NSLog(
        QStringLiteral("The %1 of the chat with %2 come from too many people and have been left out.")
            .arg(what, chatLog.primaryOtherParty()));
    return {};
}
