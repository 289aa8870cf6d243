#include "export/ownfiles.h"

#include "export/ledger.h"

#include "platform/files/files.h"
#include "platform/files/systemcalls.h"
#include "platform/files/temporaries.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace exporting {

namespace {

constexpr char inTheWay[] = "a file that is not of this export stands there, or one that was changed since";

bool meansFull(int error)
{
    return error == ENOSPC || error == EDQUOT;
}

OwnFiles::Result failed(int error)
{
    return {.failure = platform::reasonOf(error), .isFull = meansFull(error), .digest = {}};
}

/// The digest of the regular file at @p path; empty when there is none.
QByteArray digestOfFile(const std::filesystem::path &path)
{
    const platform::Descriptor file(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat status{};
    if (!file || ::fstat(file.number(), &status) != 0 || !S_ISREG(status.st_mode))
        return {};
    QCryptographicHash hash(QCryptographicHash::Blake2b_256);
    constexpr qsizetype pieceSize = qsizetype(1) << 18;
    QByteArray piece(pieceSize, Qt::Uninitialized);
    for (;;) {
        const ssize_t got = ::read(file.number(), piece.data(), size_t(piece.size()));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return {};
        if (got == 0)
            return hash.result().toHex();
        hash.addData(QByteArrayView(piece).first(got));
    }
}

bool isThere(const std::filesystem::path &path)
{
    struct stat status{};
    return ::lstat(path.c_str(), &status) == 0;
}

} // namespace

bool OwnFiles::isOurs(const QString &path) const
{
    const auto known = m_digests.find(path);
    return known != m_digests.end() && !known->second.isEmpty() &&
           digestOfFile(m_folder / platform::pathFromString(path)) == known->second;
}

OwnFiles::Result OwnFiles::makeFolders(const std::filesystem::path &path) const
{
    std::error_code error;
    std::filesystem::create_directories((m_folder / path).parent_path(), error);
    return error ? failed(error.value()) : Result{.failure = {}, .digest = {}};
}

OwnFiles::Result OwnFiles::write(const QString &path, const QByteArray &bytes) const
{
    const std::filesystem::path relative = platform::pathFromString(path);
    const std::filesystem::path target = m_folder / relative;
    Result result{.failure = {}, .digest = digestOf(bytes)};
    if (isThere(target)) {
        if (digestOfFile(target) == result.digest)
            return result;
        if (!isOurs(path)) {
            result.failure = inTheWay;
            return result;
        }
    } else if (Result folders = makeFolders(relative); folders.failure) {
        return folders;
    }
    if (const auto writing =
            platform::writeAtomically(target, bytes, {.durability = platform::Durability::Unsynced});
        !writing)
        result.failure = writing.error().reason;
    result.isFull = result.failure && (*result.failure == platform::reasonOf(ENOSPC) ||
                                       *result.failure == platform::reasonOf(EDQUOT));
    result.isWritten = !result.failure;
    return result;
}

bool OwnFiles::remove(const QString &path) const
{
    const std::filesystem::path relative = platform::pathFromString(path);
    if (!isThere(m_folder / relative))
        return true;
    if (!isOurs(path) || ::unlink((m_folder / relative).c_str()) != 0)
        return false;
    for (auto folder = relative.parent_path(); !folder.empty(); folder = folder.parent_path()) {
        if (::rmdir((m_folder / folder).c_str()) != 0)
            break; // it holds something
    }
    return true;
}

GrowingFile::GrowingFile(const OwnFiles &files, QString path) : m_files(files), m_path(std::move(path))
{
    const std::filesystem::path relative = platform::pathFromString(m_path);
    m_result = files.makeFolders(relative);
    if (m_result.failure)
        return;
    constexpr mode_t usualPermissions = 0666;
    m_temporary = platform::temporaryBeside(files.folder() / relative, platform::TemporaryKind::File);
    ::unlink(m_temporary.c_str());
    m_file = platform::Descriptor(
        ::open(m_temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, usualPermissions));
    if (!m_file)
        m_result = failed(errno);
}

GrowingFile::~GrowingFile()
{
    if (m_file)
        ::unlink(m_temporary.c_str());
}

void GrowingFile::append(QByteArrayView bytes)
{
    if (m_result.failure)
        return;
    m_hash.addData(bytes);
    if (!platform::writeAll(m_file.number(), bytes))
        m_result = failed(errno);
}

OwnFiles::Result GrowingFile::finish()
{
    if (m_result.failure)
        return m_result;
    const std::filesystem::path target = m_files.folder() / platform::pathFromString(m_path);
    m_result.digest = m_hash.result().toHex();
    if (isThere(target)) {
        if (digestOfFile(target) == m_result.digest)
            return m_result;
        if (!m_files.isOurs(m_path)) {
            m_result.failure = inTheWay;
            return m_result;
        }
    }
    if (!m_file.close() || ::rename(m_temporary.c_str(), target.c_str()) != 0) {
        m_result = failed(errno);
        ::unlink(m_temporary.c_str());
        return m_result;
    }
    m_result.isWritten = true;
    return m_result;
}

} // namespace exporting
