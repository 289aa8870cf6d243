#include "platform/files/files.h"

#include "platform/files/descriptor.h"
#include "platform/files/systemcalls.h"
#include "platform/files/temporaries.h"
#include "platform/text/encoding.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace platform {

namespace {

/// Gives the file at @p descriptor the mode bits of the regular file at @p path, if there is one. Not every
/// file system takes them; then the file has those that it was made with.
void takeOverPermissions(int descriptor, const std::filesystem::path &path)
{
    constexpr mode_t permissionBits = 0777;
    struct stat status{};
    if (::lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode))
        static_cast<void>(::fchmod(descriptor, status.st_mode & permissionBits));
}

} // namespace

std::filesystem::path homeDirectory()
{
    if (const char *home = std::getenv("HOME"); home && *home)
        return home;
    if (const passwd *entry = getpwuid(getuid()); entry && entry->pw_dir)
        return entry->pw_dir;
    return "/";
}

QString displayPath(const std::filesystem::path &path)
{
    return stringFromUtf8(QByteArrayView(path.native()));
}

std::filesystem::path pathFromString(QStringView text)
{
    return utf8FromString(text).toStdString();
}

bool fileExists(const std::filesystem::path &path)
{
    struct stat status{};
    return ::stat(path.c_str(), &status) == 0 || !meansMissing(errno);
}

std::optional<CreationTime> creationTime(const std::filesystem::path &path)
{
    struct statx status{};
    if (::statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW, STATX_MTIME | STATX_BTIME, &status) != 0)
        return std::nullopt;
    const CreationTime modified{status.stx_mtime.tv_sec, long(status.stx_mtime.tv_nsec)};
    const CreationTime born{status.stx_btime.tv_sec, long(status.stx_btime.tv_nsec)};
    const bool hasBirth = (status.stx_mask & STATX_BTIME) != 0 && born != CreationTime{};
    return hasBirth ? std::min(born, modified) : modified;
}

FileIdentity identityOf(const struct stat &status)
{
    return {status.st_dev, status.st_ino, status.st_size, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

std::optional<FileIdentity> fileIdentity(const std::filesystem::path &path)
{
    struct stat status{};
    if (::stat(path.c_str(), &status) != 0)
        return std::nullopt;
    return identityOf(status);
}

Result<QByteArray> readWholeFile(const std::filesystem::path &path)
{
    // O_NONBLOCK: opening a FIFO that nobody writes to must not wait.
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    struct stat status{};
    if (!file || ::fstat(file.number(), &status) != 0) {
        const int error = errno;
        return tl::unexpected(systemFailure(path, error));
    }
    if (S_ISDIR(status.st_mode))
        return tl::unexpected(Failure{FailureKind::WrongKind, path, reasonOf(EISDIR)});
    if (!S_ISREG(status.st_mode))
        return tl::unexpected(Failure{FailureKind::WrongKind, path, "not a regular file"});
    if (status.st_size > largestReadableFile)
        return tl::unexpected(Failure{FailureKind::TooLarge, path, "larger than 2 GiB"});

    QByteArray bytes(status.st_size, Qt::Uninitialized);
    qsizetype filled = 0;
    while (filled < bytes.size()) {
        const ssize_t got = ::read(file.number(), bytes.data() + filled, size_t(bytes.size() - filled));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return tl::unexpected(systemFailure(path, errno));
        if (got == 0)
            break; // it has become shorter meanwhile
        filled += got;
    }
    bytes.truncate(filled);
    return bytes;
}

Result<> writeAtomically(const std::filesystem::path &path, QByteArrayView bytes, const AtomicWriting &manner)
{
    constexpr unsigned usualPermissions = 0666;
    const std::filesystem::path temporary = temporaryBeside(path, TemporaryKind::File);
    ::unlink(temporary.c_str());
    Descriptor file(::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                           manner.permissions.value_or(usualPermissions)));
    if (!file)
        return tl::unexpected(systemFailure(path, errno));
    if (!manner.permissions)
        takeOverPermissions(file.number(), path);
    // Synced before the rename: after a power cut the name must not lead to a file without its contents.
    const bool toBeSynced = manner.durability == Durability::Synced;
    if (!writeAll(file.number(), bytes) || (toBeSynced && ::fsync(file.number()) != 0) || !file.close() ||
        ::rename(temporary.c_str(), path.c_str()) != 0) {
        const int error = errno;
        ::unlink(temporary.c_str());
        return tl::unexpected(systemFailure(path, error));
    }
    return {};
}

} // namespace platform
