#pragma once

#include "VORAChatLog.h"

#include "platform/log/nslog.h"

#include <set>

/// More people than ever sent something in one chat. Every page lists every speaker, so that one forged chat
/// with a hundred thousand of them would fill the disk with pages.
inline constexpr size_t mostSpeakersOfAChat = 1000;

/// Of what was gathered from @p chatLog, the records that hold something; they have a speaker and a time.
/// None when they come from more than mostSpeakersOfAChat, and a message in the console log says so.
/// @param items what a record holds.
/// @param what the name for it in the message: "links".
template <class Record, class Item>
[[nodiscard]] std::vector<Record> recordsToFold(const VORAChatLog &chatLog, std::vector<Record> records,
                                                std::vector<Item> Record::*items, QStringView what)
{
    std::erase_if(records, [items](const Record &record) { return (record.*items).empty(); });
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
