#include "platform/files/directorywalk.h"

#include "platform/files/systemcalls.h"

#include <cerrno>
#include <dirent.h>
#include <memory>
#include <sys/stat.h>
#include <utility>

namespace platform {

namespace {

struct FolderContents {
    std::vector<std::string> names;
    int error = 0; ///< an errno value, when these are not all
};

FolderContents readFolder(const std::filesystem::path &folder)
{
    FolderContents contents;
    const auto close = [](DIR *directory) { ::closedir(directory); };
    const std::unique_ptr<DIR, decltype(close)> directory(::opendir(folder.c_str()), close);
    if (!directory) {
        contents.error = errno;
        return contents;
    }
    errno = 0;                                                 // the end of the folder leaves it as it is
    while (const dirent *entry = ::readdir(directory.get())) { // its own stream
        std::string name = entry->d_name;
        if (name != "." && name != "..")
            contents.names.push_back(std::move(name));
        errno = 0;
    }
    contents.error = errno;
    return contents;
}

} // namespace

std::vector<std::string> contentsOfDirectory(const std::filesystem::path &folder)
{
    return readFolder(folder).names;
}

DirectoryWalk::DirectoryWalk(std::filesystem::path folder) : m_root(std::move(folder))
{
    open({});
}

void DirectoryWalk::open(const std::filesystem::path &folder)
{
    FolderContents contents = readFolder(folder.empty() ? m_root : m_root / folder);
    Listing &listing = m_open.emplace_back(Listing{.folder = folder, .names = std::move(contents.names)});
    const bool isGone = contents.error == ENOENT && !folder.empty();
    if (contents.error != 0 && !isGone)
        noteUnread(listing, contents.error);
}

void DirectoryWalk::noteUnread(Listing &listing, int error)
{
    if (std::exchange(listing.isWhole, false))
        m_unread.push_back({listing.folder, reasonOf(error)});
}

std::optional<std::filesystem::path> DirectoryWalk::next()
{
    while (!m_open.empty() && m_open.back().next == m_open.back().names.size())
        m_open.pop_back();
    if (m_open.empty())
        return std::nullopt;
    Listing &listing = m_open.back();
    std::filesystem::path entry = listing.folder / listing.names[listing.next++];
    struct stat status{};
    if (::lstat((m_root / entry).c_str(), &status) != 0) {
        if (errno != ENOENT) // it might have been a folder
            noteUnread(listing, errno);
    } else if (S_ISDIR(status.st_mode)) {
        open(entry);
    }
    return entry;
}

double DirectoryWalk::part() const
{
    double walked = 0;
    double share = 1; // of the folder at hand in the whole
    for (const Listing &listing : m_open) {
        if (listing.names.empty())
            break;
        share /= double(listing.names.size());
        const bool isInside = &listing != &m_open.back(); // the entry that came last is still being walked
        walked += share * double(listing.next - (isInside ? 1 : 0));
    }
    return m_open.empty() ? 1 : walked;
}

} // namespace platform
