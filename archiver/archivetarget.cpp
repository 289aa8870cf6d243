#include "archiver/archivetarget.h"

#include "platform/files/files.h"
#include "platform/files/systemcalls.h"

#include <cerrno>
#include <sys/stat.h>
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

bool isLink(const std::filesystem::path &path)
{
    struct stat status{};
    return ::lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode);
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
    if (isLink(m_folder))
        return QStringLiteral("it is a link that leads nowhere");
    const std::filesystem::path parent = m_folder.has_parent_path() ? m_folder.parent_path() : ".";
    if (kindOf(parent) != S_IFDIR)
        return QStringLiteral("there is no folder %1").arg(platform::displayPath(parent));
    return lock(parent);
}
