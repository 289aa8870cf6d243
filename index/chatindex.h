#pragma once

#include "index/chatrecord.h"
#include "index/question.h"

#include "platform/files/files.h"
#include "platform/sqlite/database.h"

#include <QString>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace indexing {

/// A chat as a list shows it.
struct Chat {
    qint64 id = 0;                     ///< as long as the transcript does not change
    std::filesystem::path path;        ///< of the transcript, relative to its folder
    QString otherParty;                ///< as the file's name has it
    std::vector<quint32> participants; ///< positions in ChatIndex::people()
    std::optional<qint64> first;       ///< of the first message that has a time: Unix, milliseconds
    std::optional<qint64> last;        ///< of the last one
    qint64 messages = 0;               ///< without notices of the program
    qint64 words = 0;
    qint64 links = 0;
    qint64 files = 0;    ///< pictures included
    qint64 pictures = 0; ///< by their names
    QString beginning;   ///< the first words, as readableText(), on one line; may be empty
};

/// Somebody who is in any chat.
struct KnownPerson {
    Person person;
    QString displayName; ///< as the address book had it at the last update
    qint64 chats = 0;
    qint64 messages = 0;
    std::optional<qint64> first; ///< of what they wrote: Unix, milliseconds
    std::optional<qint64> last;
};

struct UnreadableTranscript {
    std::filesystem::path path; ///< relative to the transcript folder
    std::string reason;         ///< in English
    bool isNew = false;         ///< whether nobody has been told yet
};

/// A message that answers a question.
struct Match {
    const Chat *chat = nullptr; ///< lent until the next update()
    quint32 place = 0;          ///< its position among all messages of the chat, notices included
    std::optional<qint64> milliseconds;
    quint32 person = 0; ///< position in ChatIndex::people()
    Contents contents;
    QString text;          ///< as it is in the transcript: readableText() shows it
    QStringList fileNames; ///< for readableText()
};

class Search;

/// What is known of all chats in the transcript folder, kept in one file so that nothing has to be decoded
/// twice: a cache, which may be removed at any time. The transcripts stay the truth.
///
/// The file is an SQLite database of mode 0600. Several programs may use it at once, and one that is killed
/// leaves the last whole state. A file that is damaged, or of another version, is made anew. Texts are found
/// by the groups of characters they hold (grams.h): those give candidates, which are then looked at.
///
/// To be used on one thread. update() starts processes, so it wants a program with one thread.
class ChatIndex {
public:
    /// How far an update has come; gives false to stop it, which keeps what it has found out.
    using Progress = std::function<bool(size_t done, size_t total)>;

    /// @param folder the transcript folder, with the files that VORAChatLog::load() takes.
    /// @param file where the index is kept; its folder is made.
    ChatIndex(std::filesystem::path folder, std::filesystem::path file);
    /// An index in memory, for what is asked once. It has no table of texts: they are all looked at.
    /// @param keeps whether a chat is to be in it; asked in the processes that read them. Empty: all are.
    explicit ChatIndex(std::filesystem::path folder, std::function<bool(const ChatRecord &)> keeps = {});
    ~ChatIndex();
    ChatIndex(const ChatIndex &) = delete;
    ChatIndex &operator=(const ChatIndex &) = delete;

    /// Where a home folder keeps it: `Library/Caches/Prattlebug/chats.index`.
    [[nodiscard]] static std::filesystem::path fileInHome();

    /// Brings everything up to date with the transcript folder and the address book.
    /// @param again whether to forget what is known, and read all transcripts.
    /// @return nothing when it has; else why the index cannot be used, in English. Then there are no chats.
    [[nodiscard]] std::optional<std::string> update(const Progress &progress = {}, bool again = false);

    /// Takes what the file holds, as the last update has left it, whether or not one is under way: nothing is
    /// read or looked for in the transcript folder, and no process is started, so it may be called on any one
    /// thread.
    /// @return as update().
    [[nodiscard]] std::optional<std::string> takeKept();

    /// In the order of their first messages; those without any time come last.
    [[nodiscard]] const std::vector<Chat> &chats() const { return m_chats; }
    [[nodiscard]] const std::vector<KnownPerson> &people() const { return m_people; }
    /// In the order of their paths.
    [[nodiscard]] const std::vector<UnreadableTranscript> &unreadable() const { return m_unreadable; }
    /// Transcripts among chats() with messages that could not be read, or not whole, and how many these are.
    /// What could be read of such a message is found like any other; without a sender or a text it is
    /// nowhere.
    [[nodiscard]] const std::vector<UnreadableTranscript> &partlyUnreadable() const
    {
        return m_partlyUnreadable;
    }
    /// Folders that could not be listed, so that chats may be missing: what and why, in English.
    [[nodiscard]] const std::vector<std::string> &unreadFolders() const { return m_unreadFolders; }

    /// Everybody whom the index in @p file holds, as it is now: nothing is brought up to date, waited for,
    /// made or told; where there is no index that can be read, nobody.
    [[nodiscard]] static std::vector<KnownPerson> peopleIn(const std::filesystem::path &file);

    enum class Order : quint8 { OldestFirst, NewestFirst };
    /// Calls @p take with each message that answers @p question: chats in the order of their first messages,
    /// messages in the order of the chat, or all of it the other way round; until it gives false.
    /// @return nothing when all were found; else the reason, in English.
    [[nodiscard]] std::optional<std::string> find(const Question &question, Order order,
                                                  const std::function<bool(const Match &)> &take);

    /// The chats for which all that is given holds: any of their messages, where it is about messages.
    [[nodiscard]] std::optional<std::string> findChats(const Question &question, Order order,
                                                       const std::function<bool(const Chat &)> &take);

    /// All messages of @p chat, in order; empty when the index cannot be read.
    [[nodiscard]] std::vector<Match> messages(const Chat &chat);

private:
    /// What is known beside a Chat, for finding.
    struct Place {
        qint64 firstDocument = 0; ///< in the table of texts; 0 while its texts are not in there
        qint64 blocks = 0;        ///< that its messages are kept in
        bool hasRepeats = false;  ///< whether messages have the texts of earlier ones
    };
    friend class Search; // search.cpp

    void open();
    /// @param tells whether what could not be read counts as told then.
    void load(bool tells);

    std::filesystem::path m_folder;
    std::optional<std::filesystem::path> m_file; // nothing: in memory
    std::function<bool(const ChatRecord &)> m_keeps;
    std::unique_ptr<platform::Database> m_database;
    std::vector<Chat> m_chats;
    std::vector<Place> m_places; // of each chat
    std::vector<KnownPerson> m_people;
    std::vector<quint32> m_positions; // of people, by the number the database has for them
    std::vector<UnreadableTranscript> m_unreadable;
    std::vector<UnreadableTranscript> m_partlyUnreadable;
    std::vector<std::string> m_unreadFolders;
};

} // namespace indexing
