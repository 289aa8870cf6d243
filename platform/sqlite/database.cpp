#include "platform/sqlite/database.h"

#include "platform/text/encoding.h"

namespace platform {

Database::Database(const std::filesystem::path &path, Mode mode)
{
    open(path.c_str(),
         mode == Mode::ReadOnly ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
}

Database::Database()
{
    open(":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
}

void Database::open(const char *path, int flags)
{
    sqlite3 *handle = nullptr;
    const int code = sqlite3_open_v2(path, &handle, flags | SQLITE_OPEN_NOMUTEX, nullptr);
    m_handle.reset(handle); // also after a failure, to be closed
    if (code != SQLITE_OK)
        throw DatabaseError(code, handle ? sqlite3_errmsg(handle) : sqlite3_errstr(code));
}

void Database::run(const std::string &statements)
{
    const int code = sqlite3_exec(m_handle.get(), statements.c_str(), nullptr, nullptr, nullptr);
    if (code != SQLITE_OK)
        throw DatabaseError(code, sqlite3_errmsg(m_handle.get()));
}

Statement::Statement(const Database &database, const std::string &text)
{
    sqlite3_stmt *statement = nullptr;
    const int code =
        sqlite3_prepare_v2(database.handle(), text.c_str(), int(text.size()) + 1, &statement, nullptr);
    m_statement.reset(statement);
    if (code != SQLITE_OK)
        throw DatabaseError(code, sqlite3_errmsg(database.handle()));
}

void Statement::check(int code) const
{
    if (code != SQLITE_OK)
        throw DatabaseError(code, sqlite3_errmsg(sqlite3_db_handle(m_statement.get())));
}

Statement &Statement::bind(qint64 value)
{
    check(sqlite3_bind_int64(m_statement.get(), m_nextParameter++, value));
    return *this;
}

Statement &Statement::bind(QStringView text)
{
    const QByteArray bytes = utf8FromString(text);
    check(sqlite3_bind_text64(m_statement.get(), m_nextParameter++, bytes.constData(),
                              sqlite3_uint64(bytes.size()), SQLITE_TRANSIENT, SQLITE_UTF8));
    return *this;
}

Statement &Statement::bind(QByteArrayView bytes)
{
    const char *data = bytes.isEmpty() ? "" : bytes.data(); // a null pointer would be NULL
    check(sqlite3_bind_blob64(m_statement.get(), m_nextParameter++, data, sqlite3_uint64(bytes.size()),
                              SQLITE_TRANSIENT));
    return *this;
}

Statement &Statement::bindNull()
{
    check(sqlite3_bind_null(m_statement.get(), m_nextParameter++));
    return *this;
}

bool Statement::step()
{
    const int code = sqlite3_step(m_statement.get());
    if (code == SQLITE_ROW)
        return true;
    const std::string reason =
        code == SQLITE_DONE ? std::string() : sqlite3_errmsg(sqlite3_db_handle(m_statement.get()));
    reset();
    if (code != SQLITE_DONE)
        throw DatabaseError(code, reason);
    return false;
}

void Statement::reset()
{
    sqlite3_reset(m_statement.get());
    sqlite3_clear_bindings(m_statement.get());
    m_nextParameter = 1;
}

bool Statement::isNull(int column) const
{
    return sqlite3_column_type(m_statement.get(), column) == SQLITE_NULL;
}

qint64 Statement::integer(int column) const
{
    return sqlite3_column_int64(m_statement.get(), column);
}

QString Statement::text(int column) const
{
    // Whatever the database's encoding; text before bytes, as for blobs.
    const auto *text = reinterpret_cast<const char *>(sqlite3_column_text(m_statement.get(), column));
    const int size = sqlite3_column_bytes(m_statement.get(), column);
    return stringFromUtf8(QByteArrayView(text, text ? size : 0));
}

std::optional<qint64> Statement::optionalInteger(int column) const
{
    return isNull(column) ? std::nullopt : std::optional(integer(column));
}

std::optional<QString> Statement::optionalText(int column) const
{
    return isNull(column) ? std::nullopt : std::optional(text(column));
}

QByteArray Statement::bytes(int column) const
{
    return bytesView(column).toByteArray();
}

QByteArrayView Statement::bytesView(int column) const
{
    // Blob before bytes, as the interface asks for: the other order might convert in between.
    const void *data = sqlite3_column_blob(m_statement.get(), column);
    const int size = sqlite3_column_bytes(m_statement.get(), column);
    return {static_cast<const char *>(data), data ? size : 0};
}

Transaction::Transaction(Database &database) : m_database(database)
{
    m_database.run("BEGIN IMMEDIATE");
}

Transaction::~Transaction()
{
    if (m_isOpen) // a failure here leaves nothing to be done: closing the connection takes it back
        sqlite3_exec(m_database.handle(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void Transaction::keep()
{
    m_database.run("COMMIT");
    m_isOpen = false;
}

} // namespace platform
