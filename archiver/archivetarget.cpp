#include "archiver/archivetarget.h"

#include "platform/files/descriptor.h"
#include "platform/files/files.h"
#include "platform/files/systemcalls.h"

#include <QLocale>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace {

QString reasonOf(int error)
{
    return QString::fromStdString(platform::reasonOf(error));
}

/// The kind of what stands at @p path, links followed; nothing, and errno, when it cannot be told.
std::optional<mode_t> kindOf(const std::filesystem::path &path)
{
    struct stat status{};
    if (::stat(path.c_str(), &status) != 0)
        return std::nullopt;
    return status.st_mode & S_IFMT;
}

/// What stands at @p path, links not followed; 0 when nothing does.
mode_t ownKindOf(const std::filesystem::path &path)
{
    struct stat status{};
    return ::lstat(path.c_str(), &status) == 0 ? status.st_mode & S_IFMT : 0;
}

bool isFile(const std::filesystem::path &path)
{
    return ownKindOf(path) == S_IFREG;
}

std::uintmax_t sizeOf(const std::filesystem::path &path)
{
    std::error_code error;
    const std::uintmax_t size = isFile(path) ? std::filesystem::file_size(path, error) : 0;
    return error ? 0 : size;
}

QString shownSize(std::uintmax_t bytes)
{
    return QLocale::c().formattedDataSize(qint64(bytes), 1, QLocale::DataSizeSIFormat);
}

/// Why nothing can be made in @p folder, which is there.
std::optional<QString> lock(const std::filesystem::path &folder)
{
    if (::access(folder.c_str(), W_OK | X_OK) == 0)
        return std::nullopt;
    if (errno == EACCES)
        return QStringLiteral("you may not make anything in %1").arg(platform::displayPath(folder));
    return reasonOf(errno);
}

} // namespace

ArchiveTarget::ArchiveTarget(const std::filesystem::path &folder)
    : m_folder(folder.has_filename() ? folder : folder.parent_path())
{
}

std::filesystem::path ArchiveTarget::mboxPath() const
{
    return m_folder / "Prattlebug Archive mbox";
}

std::filesystem::path ArchiveTarget::previousPath() const
{
    return m_folder / "Prattlebug Archive mbox.previous";
}

std::filesystem::path ArchiveTarget::unfinishedPath() const
{
    return m_folder / ".Prattlebug Archive mbox.unfinished";
}

bool ArchiveTarget::hasPrevious() const
{
    return isFile(previousPath());
}

bool ArchiveTarget::isUnfinished() const
{
    return hasPrevious() || isFile(unfinishedPath());
}

bool ArchiveTarget::isThere() const
{
    return kindOf(m_folder) == S_IFDIR;
}

std::optional<QString> ArchiveTarget::obstacle() const
{
    if (const auto kind = kindOf(m_folder)) {
        if (*kind != S_IFDIR)
            return QStringLiteral("a file of this name is there already");
        if (kindOf(mboxPath()) == S_IFDIR)
            return QStringLiteral("there is a folder %1").arg(platform::displayPath(mboxPath()));
        return lock(m_folder);
    }
    if (errno == ENAMETOOLONG)
        return QStringLiteral("the name is too long");
    if (errno != ENOENT && errno != ENOTDIR)
        return reasonOf(errno);
    if (ownKindOf(m_folder) == S_IFLNK)
        return QStringLiteral("it is a link that leads nowhere");
    const std::filesystem::path parent = m_folder.has_parent_path() ? m_folder.parent_path() : ".";
    if (kindOf(parent) != S_IFDIR)
        return QStringLiteral("there is no folder %1").arg(platform::displayPath(parent));
    return lock(parent);
}

std::optional<QString> ArchiveTarget::warning() const
{
    const bool isKept = hasPrevious();
    if (!isKept && (isUnfinished() || !isFile(mboxPath())))
        return std::nullopt;
    if (!isKept && ownKindOf(previousPath()) != 0)
        return QStringLiteral(
                   "The earlier mbox cannot be kept until the new one is whole: %1 is no regular file.")
            .arg(platform::displayPath(previousPath()));
    std::error_code error;
    const std::filesystem::space_info space = std::filesystem::space(m_folder, error);
    const std::uintmax_t earlier = sizeOf(isKept ? previousPath() : mboxPath());
    const std::uintmax_t free =
        space.available + (isKept ? sizeOf(mboxPath()) : 0); // the unfinished one goes
    if (error || free >= earlier)
        return std::nullopt;
    return QStringLiteral(
               "The disk may fill: the earlier mbox, of %1, stays until the new one is whole, and %2 "
               "are free.")
        .arg(shownSize(earlier), shownSize(free));
}

platform::Result<> ArchiveTarget::keepPrevious() const
{
    using platform::Failure;
    if (isUnfinished())
        return {};
    if (isFile(mboxPath())) {
        if (ownKindOf(previousPath()) != 0)
            return tl::unexpected(Failure{platform::FailureKind::WrongKind, previousPath(),
                                          "it is no regular file, so the earlier mbox is not kept"});
        if (::rename(mboxPath().c_str(), previousPath().c_str()) != 0)
            return tl::unexpected(platform::systemFailure(previousPath(), errno));
        return {};
    }
    const platform::Descriptor mark(
        ::open(unfinishedPath().c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0666));
    return {}; // without the mark a next run keeps this mbox for a whole one
}

void ArchiveTarget::dropPrevious() const
{
    // In this order: if the second is never reached, the next run still keeps a whole one.
    if (isFile(unfinishedPath()))
        ::unlink(unfinishedPath().c_str());
    if (hasPrevious())
        ::unlink(previousPath().c_str());
}
