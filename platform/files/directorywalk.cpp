#include "platform/files/directorywalk.h"

#include "platform/files/systemcalls.h"

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <sys/stat.h>
#include <utility>

namespace platform {

namespace {

/// Calls @p take with the directory and each name in it. @return an errno value when these are not all, else
/// 0.
template <class Take>
int readFolder(const std::filesystem::path &folder, Take take)
{
    const auto close = [](DIR *directory) { ::closedir(directory); };
    const std::unique_ptr<DIR, decltype(close)> directory(::opendir(folder.c_str()), close);
    if (!directory)
        return errno;
    errno = 0;                                                 // the end of the folder leaves it as it is
    while (const dirent *entry = ::readdir(directory.get())) { // its own stream
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..")
            take(::dirfd(directory.get()), entry->d_name);
        errno = 0;
    }
    return errno;
}

} // namespace

std::vector<std::string> contentsOfDirectory(const std::filesystem::path &folder)
{
    std::vector<std::string> names;
    (void)readFolder(folder, [&names](int, const char *name) { names.emplace_back(name); });
    return names;
}

DirectoryWalk::DirectoryWalk(std::filesystem::path folder) : m_root(std::move(folder))
{
    open({});
}

void DirectoryWalk::open(const std::filesystem::path &folder)
{
    Listing listing;
    listing.folder = folder;
    const int error =
        readFolder(folder.empty() ? m_root : m_root / folder, [&listing](int directory, const char *name) {
            Entry &entry = listing.entries.emplace_back();
            entry.name = name;
            struct stat status{};
            if (::fstatat(directory, name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
                entry.error = errno;
                return;
            }
            entry.isFolder = S_ISDIR(status.st_mode);
            entry.isLink = S_ISLNK(status.st_mode);
            entry.identity = identityOf(status);
        });
    m_open.push_back(std::move(listing));
    const bool isGone = error == ENOENT && !folder.empty();
    if (error != 0 && !isGone)
        noteUnread(m_open.back(), error);
}

void DirectoryWalk::noteUnread(Listing &listing, int error)
{
    if (std::exchange(listing.isWhole, false))
        m_unread.push_back({listing.folder, reasonOf(error)});
}

std::optional<std::filesystem::path> DirectoryWalk::next()
{
    while (!m_open.empty() && m_open.back().next == m_open.back().entries.size())
        m_open.pop_back();
    if (m_open.empty())
        return std::nullopt;
    Listing &listing = m_open.back();
    m_last = std::move(listing.entries[listing.next++]);
    std::filesystem::path path = listing.folder / m_last.name;
    m_last.name = path.native();
    if (m_last.error != 0 && m_last.error != ENOENT) // it might have been a folder
        noteUnread(listing, m_last.error);
    else if (m_last.isFolder)
        open(path);
    return path;
}

std::optional<FileIdentity> DirectoryWalk::identity() const
{
    if (m_last.isLink)
        return fileIdentity(m_root / m_last.name);
    return m_last.error == 0 ? std::optional(m_last.identity) : std::nullopt;
}

double DirectoryWalk::part() const
{
    double walked = 0;
    double share = 1; // of the folder at hand in the whole
    for (const Listing &listing : m_open) {
        if (listing.entries.empty())
            break;
        share /= double(listing.entries.size());
        const bool isInside = &listing != &m_open.back(); // the entry that came last is still being walked
        walked += share * double(listing.next - (isInside ? 1 : 0));
    }
    return m_open.empty() ? 1 : walked;
}

} // namespace platform
