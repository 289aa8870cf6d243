#include "index/tables.h"

namespace indexing {

namespace {

// To be raised whenever the tables, the folding or what is kept of a chat change.
constexpr int version = 2;

constexpr char tables[] = R"(
    CREATE TABLE transcript(
        id INTEGER PRIMARY KEY, path BLOB NOT NULL UNIQUE,
        device INTEGER, inode INTEGER, size INTEGER, seconds INTEGER, nanoseconds INTEGER,
        isReadable INTEGER, reason BLOB, isTold INTEGER);
    CREATE TABLE chat(
        id INTEGER PRIMARY KEY, otherParty TEXT, participants BLOB, first INTEGER, last INTEGER,
        messages INTEGER, words INTEGER, links INTEGER, files INTEGER, pictures INTEGER, beginning TEXT,
        hasRepeats INTEGER, blocks INTEGER, firstDocument INTEGER);
    CREATE INDEX unlisted ON chat(blocks) WHERE firstDocument = 0;
    CREATE TABLE person(
        id INTEGER PRIMARY KEY, service TEXT, screenName TEXT,
        chats INTEGER DEFAULT 0, messages INTEGER DEFAULT 0, first INTEGER, last INTEGER);
    CREATE TABLE speaker(
        chat INTEGER, person INTEGER, messages INTEGER, first INTEGER, last INTEGER,
        PRIMARY KEY(person, chat)) WITHOUT ROWID;
    CREATE INDEX speakersOfChat ON speaker(chat);
    CREATE TABLE block(id INTEGER PRIMARY KEY, data BLOB NOT NULL);
)";
constexpr char textTable[] =
    "CREATE VIRTUAL TABLE text USING fts5(folded, content='', columnsize=0, detail=none, tokenize='grams');"
    "INSERT INTO text(text, rank) VALUES('hashsize', 16777216)";

} // namespace

void makeTables(platform::Database &database, bool withTexts)
{
    database.run(tables);
    if (withTexts)
        database.run(textTable);
    database.run("PRAGMA user_version = " + std::to_string(version));
}

bool hasTables(const platform::Database &database)
{
    platform::Statement names(database, "SELECT count(*) FROM sqlite_master");
    names.step();
    if (names.integer(0) == 0)
        return false;
    platform::Statement number(database, "PRAGMA user_version");
    number.step();
    if (number.integer(0) != version)
        throw platform::DatabaseError(SQLITE_NOTADB, "it is of another version");
    return true;
}

} // namespace indexing
