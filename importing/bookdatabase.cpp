#include "importing/bookdatabase.h"

#include "platform/files/files.h"
#include "platform/sqlite/database.h"

#include <QHash>
#include <QSet>
#include <QTemporaryDir>

#include <algorithm>
#include <functional>
#include <map>

namespace importing {

namespace {

// Far more than any address book has.
constexpr qint64 largestFile = qint64(512) << 20;
constexpr qint64 mostRows = 1'000'000;
constexpr int longestValue = 1 << 20;         // bytes; pictures may be larger, and are not asked for
constexpr qint64 mostText = qint64(64) << 20; // UTF-16 units of all values that are kept
constexpr int stepsBetweenLooks = 10'000;     // of SQLite's machine
constexpr qint64 mostLooks = 20'000;          // some seconds, then it is given up
constexpr sqlite3_int64 mostMemory = 256LL << 20;

class Problem : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The file's fault it is not.
class Unread : public Problem {
public:
    using Problem::Problem;
};

void copyTo(const std::filesystem::path &from, const std::filesystem::path &to)
{
    std::error_code error;
    const auto size = std::filesystem::file_size(from, error);
    if (!error && size > largestFile)
        throw Problem("it is larger than any address book, " + std::to_string(size >> 20) + " MiB");
    const auto file = platform::readWholeFile(from);
    if (!file)
        throw Unread(file.error().reason);
    if (const auto written = platform::writeAtomically(to, *file, {{}, platform::Durability::Unsynced});
        !written)
        throw Unread("it cannot be copied to " + to.parent_path().native() + ": " + written.error().reason);
}

/// A row of a query.
class Row {
public:
    Row(const platform::Statement &statement, qint64 &textLeft) : m_statement(statement), m_textLeft(textLeft)
    {
    }

    [[nodiscard]] bool isNull(int column) const { return m_statement.isNull(column); }
    [[nodiscard]] qint64 integer(int column) const { return m_statement.integer(column); }
    [[nodiscard]] QString text(int column) const
    {
        QString text = m_statement.text(column);
        m_textLeft -= text.size();
        if (m_textLeft < 0)
            throw Problem("it holds more text than any address book");
        return text;
    }

private:
    const platform::Statement &m_statement;
    qint64 &m_textLeft;
};

/// Copies a database and its log into a folder.
std::filesystem::path copied(const std::filesystem::path &path, const QTemporaryDir &folder)
{
    if (!folder.isValid())
        throw Unread("there is no temporary folder to copy it to");
    const std::filesystem::path copy = platform::pathFromString(folder.filePath(QStringLiteral("book")));
    copyTo(path, copy);
    if (const std::filesystem::path log = path.native() + "-wal"; platform::fileExists(log))
        copyTo(log, copy.native() + "-wal");
    sqlite3_hard_heap_limit64(mostMemory); // from its opening on
    return copy;
}

/// A private copy of a book's database, opened so that nothing in it is run.
class Tables {
public:
    /// @throws Problem, platform::DatabaseError; so do the others.
    explicit Tables(const std::filesystem::path &path)
        : m_database(copied(path, m_folder), platform::Database::Mode::ReadWrite)
    {
        sqlite3 *database = m_database.handle();
        sqlite3_db_config(database, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
        sqlite3_db_config(database, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
        sqlite3_db_config(database, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
        sqlite3_db_config(database, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
        sqlite3_limit(database, SQLITE_LIMIT_LENGTH, longestValue);
        sqlite3_limit(database, SQLITE_LIMIT_ATTACHED, 0);
        sqlite3_progress_handler(
            database, stepsBetweenLooks,
            [](void *looks) { return --*static_cast<qint64 *>(looks) < 0 ? 1 : 0; }, &m_looksLeft);
    }

    /// The columns of a table; empty when there is no such table. Neither a view nor a
    /// virtual table is one.
    QSet<QString> columns(const QString &table)
    {
        bool isTable = false;
        query(QStringLiteral("SELECT type, rootpage FROM sqlite_schema WHERE name = '%1'").arg(table),
              [&](const Row &row) { isTable = row.text(0) == u"table" && row.integer(1) > 0; });
        QSet<QString> names;
        if (isTable) {
            query(QStringLiteral("SELECT name FROM pragma_table_info('%1')").arg(table),
                  [&](const Row &row) { names.insert(row.text(0)); });
        }
        return names;
    }

    /// Reads @p wanted columns of every row of a table. A column that the table has not gives null; one whose
    /// name ends in "!" must be there.
    void readTable(const QString &table, const QStringList &wanted,
                   const std::function<void(const Row &)> &take)
    {
        const QSet<QString> there = columns(table);
        QStringList selected;
        for (QString column : wanted) {
            const bool isNeeded = column.endsWith(u'!');
            if (isNeeded)
                column.chop(1);
            if (isNeeded && !there.contains(column))
                throw Problem("it has no table " + table.toStdString() + " with a column " +
                              column.toStdString());
            selected += there.contains(column) ? u'"' + column + u'"' : QStringLiteral("NULL");
        }
        query(QStringLiteral("SELECT %1 FROM \"%2\"").arg(selected.join(u','), table), take);
    }

private:
    void query(const QString &sql, const std::function<void(const Row &)> &take)
    {
        platform::Statement statement(m_database, sql.toStdString());
        while (statement.step()) {
            if (--m_rowsLeft < 0)
                throw Problem("it has more rows than any address book");
            take(Row(statement, m_textLeft));
        }
    }

    QTemporaryDir m_folder; // outlives the database in it
    platform::Database m_database;
    qint64 m_looksLeft = mostLooks;
    qint64 m_rowsLeft = mostRows;
    qint64 m_textLeft = mostText;
};

/// An entry of one of the lists that a person has several values in.
struct ListedValue {
    bool isPrimary;
    qint64 position;
    QString value;
};

class BookReader {
public:
    explicit BookReader(const std::filesystem::path &path) : m_tables(path) {}

    /// @param people receives what could be read also when this fails.
    /// @throws Problem
    void read(std::vector<BookPerson> &people)
    {
        const QSet<qint64> kinds = personKinds();
        const QSet<qint64> services = aimServices();
        const auto names =
            listedValues(QStringLiteral("ZABCDMESSAGINGADDRESS"), QStringLiteral("ZSERVICE"),
                         [&](const Row &row, int service, int serviceName) {
                             return (!row.isNull(service) && services.contains(row.integer(service))) ||
                                    isAim(row.text(serviceName));
                         });
        const auto emails = m_tables.columns(QStringLiteral("ZABCDEMAILADDRESS")).isEmpty()
                                ? decltype(names)()
                                : listedValues(QStringLiteral("ZABCDEMAILADDRESS"), {},
                                               [](const Row &, int, int) { return true; });
        m_tables.readTable(QStringLiteral("ZABCDRECORD"),
                           {QStringLiteral("Z_PK!"), QStringLiteral("Z_ENT"), QStringLiteral("ZFIRSTNAME"),
                            QStringLiteral("ZLASTNAME"), QStringLiteral("ZNICKNAME"),
                            QStringLiteral("ZORGANIZATION"), QStringLiteral("ZCONTAINERWHERECONTACTISME")},
                           [&](const Row &row) {
                               const qint64 key = row.integer(0);
                               const bool isOwn = !row.isNull(6);
                               const auto aimNames = names.find(key);
                               if ((aimNames == names.end() && !isOwn) ||
                                   (!kinds.isEmpty() && !kinds.contains(row.integer(1))))
                                   return;
                               BookPerson person{row.text(2), row.text(3), row.text(4), row.text(5),
                                                 {},          {},          isOwn};
                               if (aimNames != names.end()) {
                                   for (const ListedValue &name : aimNames->second)
                                       addAimName(person.aimNames, name.value);
                               }
                               if (const auto email = emails.find(key); email != emails.end())
                                   person.email = email->second.front().value;
                               people.push_back(std::move(person));
                           });
    }

private:
    static bool isAim(const QString &service) { return service == u"AIMInstant" || service == u"AIM"; }

    /// The kinds of record that are people; empty when the file does not say.
    QSet<qint64> personKinds()
    {
        QSet<qint64> kinds;
        if (m_tables.columns(QStringLiteral("Z_PRIMARYKEY")).isEmpty())
            return kinds;
        m_tables.readTable(QStringLiteral("Z_PRIMARYKEY"),
                           {QStringLiteral("Z_ENT!"), QStringLiteral("Z_NAME!")}, [&](const Row &row) {
                               const QString name = row.text(1);
                               if (name == u"ABCDContact" || name == u"ABCDSubscribedContact")
                                   kinds.insert(row.integer(0));
                           });
        return kinds;
    }

    QSet<qint64> aimServices()
    {
        QSet<qint64> services;
        if (m_tables.columns(QStringLiteral("ZABCDSERVICE")).isEmpty())
            return services;
        m_tables.readTable(QStringLiteral("ZABCDSERVICE"),
                           {QStringLiteral("Z_PK!"), QStringLiteral("ZSERVICENAME!")}, [&](const Row &row) {
                               if (isAim(row.text(1)))
                                   services.insert(row.integer(0));
                           });
        return services;
    }

    /// The values of a list by the record that they belong to, in the order in which they are shown.
    std::map<qint64, std::vector<ListedValue>>
    listedValues(const QString &table, const QString &service,
                 const std::function<bool(const Row &, int, int)> &isWanted)
    {
        std::map<qint64, std::vector<ListedValue>> values;
        m_tables.readTable(
            table,
            {QStringLiteral("ZOWNER!"), QStringLiteral("ZADDRESS!"), QStringLiteral("ZISPRIMARY"),
             QStringLiteral("ZORDERINGINDEX"), service, QStringLiteral("ZSERVICENAME")},
            [&](const Row &row) {
                if (row.isNull(0) || row.isNull(1) || !isWanted(row, 4, 5))
                    return;
                values[row.integer(0)].push_back({row.integer(2) != 0, row.integer(3), row.text(1)});
            });
        for (auto &[owner, list] : values) {
            std::ranges::stable_sort(list, {}, [](const ListedValue &value) {
                return std::pair(!value.isPrimary, value.position);
            });
        }
        return values;
    }

    Tables m_tables;
};

} // namespace

BookFile readBookDatabase(const std::filesystem::path &path)
{
    BookFile book;
    try {
        BookReader(path).read(book.people);
    } catch (const Unread &unread) {
        book.unread.push_back({path, unread.what()});
    } catch (const platform::DatabaseError &error) {
        book.damaged.push_back({path, error.code() == SQLITE_INTERRUPT
                                          ? "it takes longer to read than any address book"
                                          : error.what()});
    } catch (const Problem &problem) {
        book.damaged.push_back({path, problem.what()});
    }
    return book;
}

void addAimName(QStringList &names, const QString &name)
{
    if (!name.isEmpty() && !names.contains(name))
        names += name;
}

} // namespace importing
