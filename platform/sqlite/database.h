#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringView>

#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include <sqlite3.h>

namespace platform {

// SQLite by its C interface: connections and statements that close themselves, and failures as exceptions.
// Whoever works with a database catches DatabaseError at its own border; it never reaches other rooms.

/// What SQLite would not do, with its own words for it.
class DatabaseError : public std::runtime_error {
public:
    DatabaseError(int code, const std::string &reason) : std::runtime_error(reason), m_code(code) {}
    /// SQLite's primary result code, such as SQLITE_CORRUPT.
    [[nodiscard]] int code() const { return m_code & 0xFF; }

private:
    int m_code;
};

/// One connection to a database, used on one thread at a time.
class Database {
public:
    enum class Mode : quint8 {
        ReadOnly,
        ReadWrite, ///< makes the file when there is none, as the process's umask has it
    };
    /// @throws DatabaseError
    Database(const std::filesystem::path &path, Mode mode);
    /// A database in memory. @throws DatabaseError
    Database();

    /// Runs one or several statements that give no rows. @throws DatabaseError
    void run(const std::string &statements);

    [[nodiscard]] sqlite3 *handle() const { return m_handle.get(); }
    [[nodiscard]] qint64 lastInsertedRow() const { return sqlite3_last_insert_rowid(m_handle.get()); }

private:
    void open(const char *path, int flags);

    struct Close {
        void operator()(sqlite3 *handle) const { sqlite3_close_v2(handle); }
    };
    std::unique_ptr<sqlite3, Close> m_handle;
};

/// A prepared statement with `?` parameters. It may be run many times.
class Statement {
public:
    /// @throws DatabaseError
    Statement(const Database &database, const std::string &text);

    /// Binds the next parameter, counted from the first one after each reset. Text and bytes are copied.
    Statement &bind(qint64 value);
    Statement &bind(QStringView text);
    Statement &bind(QByteArrayView bytes);
    Statement &bindNull();
    template <class Value>
    Statement &bind(const std::optional<Value> &value)
    {
        return value ? bind(*value) : bindNull();
    }

    /// Goes to the next row. @return false at the end, after which the statement is as new.
    /// @throws DatabaseError
    bool step();
    /// Runs a statement that gives no rows. @throws DatabaseError
    void run()
    {
        while (step()) {
        }
    }
    /// Gives up the rows that are left, and forgets what was bound.
    void reset();

    // The columns of the row at hand, counted from 0. What has another type is converted as SQLite does.
    [[nodiscard]] bool isNull(int column) const;
    [[nodiscard]] qint64 integer(int column) const;
    /// Malformed UTF-8 becomes U+FFFD.
    [[nodiscard]] QString text(int column) const;
    [[nodiscard]] std::optional<qint64> optionalInteger(int column) const;
    [[nodiscard]] std::optional<QString> optionalText(int column) const;
    /// A copy.
    [[nodiscard]] QByteArray bytes(int column) const;
    /// Lent: valid until the next step() or reset().
    [[nodiscard]] QByteArrayView bytesView(int column) const;

private:
    void check(int code) const;

    struct Finalize {
        void operator()(sqlite3_stmt *statement) const { sqlite3_finalize(statement); }
    };
    std::unique_ptr<sqlite3_stmt, Finalize> m_statement;
    int m_nextParameter = 1;
};

/// A transaction that is taken back unless it is kept.
class Transaction {
public:
    /// Takes the right to write at once, waiting for others as the connection's busy timeout has it.
    /// @throws DatabaseError
    explicit Transaction(Database &database);
    ~Transaction();
    Transaction(const Transaction &) = delete;
    Transaction &operator=(const Transaction &) = delete;

    /// @throws DatabaseError
    void keep();

private:
    Database &m_database;
    bool m_isOpen = true;
};

} // namespace platform
