#include "index/chatindex.h"

#include "index/grams.h"
#include "index/search.h"
#include "index/tables.h"
#include "index/updating.h"

#include "platform/text/encoding.h"

#include <QDataStream>
#include <QIODevice>

#include <algorithm>
#include <fcntl.h>
#include <limits>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace indexing {

namespace {

using platform::Database;
using platform::DatabaseError;
using platform::Statement;
using platform::Transaction;

constexpr int waitForOthers = 60'000; // milliseconds

void removeDatabase(const std::filesystem::path &file)
{
    for (const char *const suffix : {"", "-wal", "-shm", "-journal"}) {
        std::filesystem::path path = file;
        path += suffix;
        ::unlink(path.c_str()); // what cannot be removed fails again when it is opened
    }
}

/// Whether the file cannot be used as it is, but a new one could.
bool isDamage(const DatabaseError &error)
{
    return error.code() == SQLITE_CORRUPT || error.code() == SQLITE_NOTADB || error.code() == SQLITE_ERROR;
}

/// Calls @p take with everybody and their number, in rising order.
template <class Take>
void takePeople(const Database &database, Take take)
{
    Statement rows(database,
                   "SELECT id, service, screenName, chats, messages, first, last FROM person ORDER BY id");
    while (rows.step()) {
        KnownPerson person{{rows.optionalText(1), rows.optionalText(2)},
                           {},
                           rows.integer(3),
                           rows.integer(4),
                           rows.optionalInteger(5),
                           rows.optionalInteger(6)};
        person.displayName = person.person.displayName();
        take(rows.integer(0), std::move(person));
    }
}

} // namespace

ChatIndex::ChatIndex(std::filesystem::path folder, std::filesystem::path file)
    : m_folder(std::move(folder)), m_file(std::move(file))
{
}

ChatIndex::ChatIndex(std::filesystem::path folder, std::function<bool(const ChatRecord &)> keeps)
    : m_folder(std::move(folder)), m_keeps(std::move(keeps))
{
}

ChatIndex::~ChatIndex() = default;

std::filesystem::path ChatIndex::fileInHome()
{
    return platform::homeDirectory() / "Library" / "Caches" / "Prattlebug" / "chats.index";
}

void ChatIndex::open()
{
    if (!m_file) {
        m_database = std::make_unique<Database>();
        makeTables(*m_database, false);
        return;
    }
    std::error_code error;
    std::filesystem::create_directories(m_file->parent_path(), error); // opening tells
    constexpr mode_t onlyTheUser = 0600;
    if (const int made = ::open(m_file->c_str(), O_RDWR | O_CREAT | O_CLOEXEC, onlyTheUser); made >= 0)
        ::close(made); // SQLite gives its other files the mode of this one
    m_database = std::make_unique<Database>(*m_file, Database::Mode::ReadWrite);
    sqlite3_busy_timeout(m_database->handle(), waitForOthers);
    m_database->run("PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL; PRAGMA cache_size = -16384;"
                    "PRAGMA journal_size_limit = 1048576");
    addGramTokenizer(*m_database);
    if (hasTables(*m_database))
        return;
    Transaction transaction(*m_database);
    if (!hasTables(*m_database)) // another program may have made them meanwhile
        makeTables(*m_database, true);
    transaction.keep();
}

std::optional<std::string> ChatIndex::update(const Progress &progress, bool again)
{
    constexpr int attempts = 2;
    for (int attempt = 1;; ++attempt) {
        try {
            if (!m_database)
                open();
            Updating updating(*m_database, m_folder, m_file.has_value(), m_keeps);
            if (again && attempt == 1)
                updating.forgetAll();
            m_unreadFolders = updating.run(progress);
            load(true);
            return std::nullopt;
        } catch (const DatabaseError &error) {
            m_database.reset();
            m_chats.clear();
            m_places.clear();
            if (!m_file || !isDamage(error) || attempt == attempts)
                return error.what();
            removeDatabase(*m_file);
        }
    }
}

std::optional<std::string> ChatIndex::takeKept()
{
    try {
        if (!m_database)
            open();
        load(false);
        return std::nullopt;
    } catch (const DatabaseError &error) {
        m_database.reset();
        m_chats.clear();
        m_places.clear();
        return error.what();
    }
}

std::vector<KnownPerson> ChatIndex::peopleIn(const std::filesystem::path &file)
{
    try {
        const Database database(file, Database::Mode::ReadOnly);
        std::vector<KnownPerson> people;
        if (hasTables(database))
            takePeople(database,
                       [&people](qint64, KnownPerson person) { people.push_back(std::move(person)); });
        return people;
    } catch (const DatabaseError &) {
        return {};
    }
}

void ChatIndex::load(bool tells)
{
    m_people.clear();
    m_positions.clear();
    takePeople(*m_database, [this](qint64 id, KnownPerson person) {
        m_positions.resize(size_t(id) + 1);
        m_positions.back() = quint32(m_people.size());
        m_people.push_back(std::move(person));
    });

    std::vector<std::pair<Chat, Place>> chats;
    Statement rows(*m_database,
                   "SELECT id, otherParty, participants, first, last, messages, words, links, files, "
                   "pictures, beginning, hasRepeats, blocks, firstDocument FROM chat ORDER BY id");
    Statement paths(*m_database, "SELECT id, path FROM transcript ORDER BY id"); // quicker than a join
    while (rows.step()) {
        Chat chat;
        int column = 0;
        chat.id = rows.integer(column++);
        while (paths.step() && paths.integer(0) != chat.id) {
        }
        chat.path = paths.bytes(1).toStdString();
        chat.otherParty = rows.text(column++);
        QDataStream participants(rows.bytes(column++));
        while (!participants.atEnd()) {
            quint32 id = 0;
            participants >> id;
            if (id < m_positions.size())
                chat.participants.push_back(m_positions[id]);
        }
        chat.first = rows.optionalInteger(column++);
        chat.last = rows.optionalInteger(column++);
        for (qint64 *const number : {&chat.messages, &chat.words, &chat.links, &chat.files, &chat.pictures})
            *number = rows.integer(column++);
        chat.beginning = rows.text(column++);
        Place place;
        place.hasRepeats = rows.integer(column++) != 0;
        place.blocks = rows.integer(column++);
        place.firstDocument = rows.integer(column++);
        chats.emplace_back(std::move(chat), place);
    }
    std::sort(chats.begin(), chats.end(), [](const auto &a, const auto &b) {
        const auto key = [](const Chat &chat) {
            return std::pair<qint64, std::string_view>(
                chat.first.value_or(std::numeric_limits<qint64>::max()), chat.path.native());
        };
        return key(a.first) < key(b.first);
    });
    m_chats.clear();
    m_places.clear();
    for (auto &[chat, place] : chats) {
        m_chats.push_back(std::move(chat));
        m_places.push_back(place);
    }

    m_unreadable.clear();
    m_partlyUnreadable.clear();
    Statement reasons(*m_database, "SELECT path, reason, isTold, isReadable FROM transcript "
                                   "WHERE reason IS NOT NULL ORDER BY path");
    bool isAnyNew = false;
    while (reasons.step()) {
        const bool isNew = reasons.integer(2) == 0;
        (reasons.integer(3) != 0 ? m_partlyUnreadable : m_unreadable)
            .push_back({reasons.bytes(0).toStdString(), reasons.bytes(1).toStdString(), isNew});
        isAnyNew = isAnyNew || isNew;
    }
    if (tells && isAnyNew)
        m_database->run("UPDATE transcript SET isTold = 1 WHERE reason IS NOT NULL");
}

std::optional<std::string> ChatIndex::find(const Question &question, Order order,
                                           const std::function<bool(const Match &)> &take)
{
    try {
        Search(*this, question).run(order, take);
        return std::nullopt;
    } catch (const DatabaseError &error) {
        m_database.reset();
        return error.what();
    }
}

std::optional<std::string> ChatIndex::findChats(const Question &question, Order order,
                                                const std::function<bool(const Chat &)> &take)
{
    try {
        Search(*this, question).chats(order, take);
        return std::nullopt;
    } catch (const DatabaseError &error) {
        m_database.reset();
        return error.what();
    }
}

std::vector<Match> ChatIndex::messages(const Chat &chat)
{
    std::vector<Match> all;
    try {
        Search(*this, Question()).messages(chat, [&all](const Match &match) {
            all.push_back(match);
            return true;
        });
    } catch (const DatabaseError &) {
        m_database.reset();
        all.clear();
    }
    return all;
}

} // namespace indexing
