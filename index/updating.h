#pragma once

#include "platform/files/files.h"
#include "platform/sqlite/database.h"

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace indexing {

struct Answer;
struct ChatRecord;
struct Person;

/// Brings the tables of the index up to date with a transcript folder: reads what is new or has changed, in
/// worker processes, and forgets what is gone.
///
/// Works in steps of a few seconds, each one transaction: what has been found out is kept when the program is
/// killed. The first step begins with a look at the folder, and so does each one before which another program
/// has changed the tables: several that do this at once share the work.
class Updating {
public:
    /// @param database lent, with the tables of tables.h.
    /// @param withTexts whether it has the table of texts.
    /// @param keeps which chats are taken, asked in the worker processes; empty: all.
    Updating(platform::Database &database, std::filesystem::path folder, bool withTexts,
             std::function<bool(const ChatRecord &)> keeps);

    /// Empties all tables. @throws platform::DatabaseError
    void forgetAll();

    /// Does it all. @param progress gives false to stop.
    /// @return the folders that could not be listed, with the reasons; what was known of them stays.
    /// @throws platform::DatabaseError
    std::vector<std::string> run(const std::function<bool(size_t done, size_t total)> &progress);

private:
    struct Transcript {
        std::filesystem::path path; ///< relative to the folder
        platform::FileIdentity identity;
    };
    struct Changes {
        std::vector<qint64> gone; ///< ids of those that are no longer there as they were
        std::vector<Transcript> toRead;
    };
    /// A chat that the table of texts does not hold.
    struct Unlisted {
        qint64 id = 0;
        qint64 blocks = 0;
    };

    [[nodiscard]] Changes changes();
    /// A number that is another one when somebody else has changed the database.
    [[nodiscard]] qint64 versionByOthers();
    void forget(qint64 id);
    void sumUpPeople();
    void countOne();
    /// Reads those from @p next on, and sets it to the first one that there was no time for in this step.
    void read(const std::vector<Transcript> &transcripts, size_t &next);
    void insert(const Transcript &transcript, const Answer &answer);
    void insertChat(qint64 id, const ChatRecord &record);
    [[nodiscard]] quint32 idOf(const Person &person);
    /// Takes the next chats into the table of texts. @return whether there are more.
    bool listTexts();
    /// The chats that are later than all that the table holds, in the order of time.
    /// @param outOfOrder receives the number of blocks of those that are not, and which it does not hold.
    [[nodiscard]] std::vector<Unlisted> nextToList(qint64 &outOfOrder);
    void listTexts(const Unlisted &chat, qint64 firstDocument);

    platform::Database &m_database;
    std::filesystem::path m_folder;
    bool m_withTexts;
    std::function<bool(const ChatRecord &)> m_keeps;
    std::function<bool(size_t, size_t)> m_progress;
    size_t m_done = 0;
    size_t m_total = 0;
    bool m_isStopped = false;
    std::vector<std::string> m_unreadFolders;
    std::map<std::pair<std::string, std::string>, quint32> m_people; // ids, by service and identifier
};

} // namespace indexing
