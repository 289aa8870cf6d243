#pragma once

#include "index/blocks.h"
#include "index/chatindex.h"

namespace indexing {

/// One question, asked of an index that is up to date.
class Search {
public:
    Search(ChatIndex &index, const Question &question);

    /// @throws platform::DatabaseError
    void run(ChatIndex::Order order, const std::function<bool(const Match &)> &take);
    /// The same for whole chats. @throws platform::DatabaseError
    void chats(ChatIndex::Order order, const std::function<bool(const Chat &)> &take);

    /// Those of one chat alone. @throws platform::DatabaseError
    void messages(const Chat &chat, const std::function<bool(const Match &)> &take);

private:
    using Blocks = std::vector<qint64>; // positions of blocks in their chat, in rising order

    [[nodiscard]] bool mayHold(const Chat &chat) const;
    void lookForPeople();
    /// Calls @p take with each chat that may hold an answer, and the blocks of it that may (none: all of
    /// them).
    void candidates(ChatIndex::Order order, const std::function<bool(size_t chat, const Blocks &)> &take);
    /// Calls @p take with the answers in these blocks of a chat. @return false when it did.
    bool matchesIn(size_t chat, const Blocks &blocks, ChatIndex::Order order,
                   const std::function<bool(const Match &)> &take);
    [[nodiscard]] Block block(qint64 chat, qint64 position);
    [[nodiscard]] bool holds(const StoredMessage &message) const;

    ChatIndex &m_index;
    const Question &m_question;
    std::vector<bool> m_isSpeaker; // of each person, whether `from` asks for them
    std::vector<bool> m_isWith;    // and `with`
    std::vector<bool> m_mayHold;   // of each chat
    platform::Statement m_blockData;
};

} // namespace indexing
