#include "platform/files/directorywalk.h"

#include <dirent.h>
#include <memory>
#include <sys/stat.h>

namespace platform {

namespace {

bool isFolder(const std::filesystem::path &path)
{
    struct stat status{};
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace

std::vector<std::string> contentsOfDirectory(const std::filesystem::path &folder)
{
    std::vector<std::string> names;
    const auto close = [](DIR *directory) { ::closedir(directory); };
    const std::unique_ptr<DIR, decltype(close)> directory(::opendir(folder.c_str()), close);
    if (!directory)
        return names;
    while (const dirent *entry = ::readdir(directory.get())) { // its own stream
        std::string name = entry->d_name;
        if (name != "." && name != "..")
            names.push_back(std::move(name));
    }
    return names;
}

DirectoryWalk::DirectoryWalk(std::filesystem::path folder) : m_root(std::move(folder))
{
    m_open.push_back({{}, contentsOfDirectory(m_root)});
}

std::optional<std::filesystem::path> DirectoryWalk::next()
{
    while (!m_open.empty() && m_open.back().next == m_open.back().names.size())
        m_open.pop_back();
    if (m_open.empty())
        return std::nullopt;
    Listing &listing = m_open.back();
    std::filesystem::path entry = listing.folder / listing.names[listing.next++];
    if (isFolder(m_root / entry))
        m_open.push_back({entry, contentsOfDirectory(m_root / entry)});
    return entry;
}

} // namespace platform
