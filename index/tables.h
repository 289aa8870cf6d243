#pragma once

#include "platform/sqlite/database.h"

#include <QtGlobal>

// The tables of the index, which chatindex.cpp makes, updating.cpp fills and search.cpp asks:
//
// - transcript: every file that is named as one, with what tells that it has changed, and the reason when it,
//   or messages in it, cannot be read;
// - chat: those that can be read (the same id), with all that lists show, and where its texts are;
// - speaker: who has written how much in which chat;
// - person: everybody, each once, with the sums of these;
// - block: the messages (blocks.h); the id holds the chat's in its upper bits;
// - text: which groups of characters the blocks hold. Its documents are numbered in the order of the chats,
// the
//   oldest first, so that the oldest and the newest answers come first without any sorting. A chat that comes
//   out of this order, and has a later one before it, is left out of the table and looked at for every
//   question, until there are so many of them that the table is worth being made anew.

namespace indexing {

inline constexpr int blockBits = 24;

[[nodiscard]] inline qint64 blockId(qint64 chat, qint64 block)
{
    return (chat << blockBits) | block;
}

/// Makes all of them, and the table `text` when @p withTexts. @throws platform::DatabaseError
void makeTables(platform::Database &database, bool withTexts);
/// Whether @p database holds the tables of this version; false when it holds none at all.
/// @throws platform::DatabaseError with the code SQLITE_NOTADB when it holds others.
[[nodiscard]] bool hasTables(const platform::Database &database);

} // namespace indexing
