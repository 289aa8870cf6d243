#include "importing/chatfolders.h"

#include <algorithm>
#include <string>

namespace importing {

namespace {

using Parts = std::vector<std::filesystem::path>;

template <class Iterator>
std::filesystem::path joined(Iterator first, Iterator last)
{
    std::filesystem::path result;
    std::for_each(first, last, [&](const std::filesystem::path &part) { result /= part; });
    return result;
}

const std::vector<Parts> &chatFolderParts()
{
    static const std::vector<Parts> folders = [] {
        std::vector<Parts> parts;
        for (const std::filesystem::path &folder : chatFolders())
            parts.emplace_back(folder.begin(), folder.end());
        return parts;
    }();
    return folders;
}

} // namespace

const std::vector<std::filesystem::path> &chatFolders()
{
    // The longest first: another one's path ends like it.
    static const std::vector<std::filesystem::path> folders{
        "Library/Containers/com.apple.iChat/Data/Library/Messages/Archive",
        "Library/Messages/Archive",
        "Documents/iChats",
        "Documents/iChats (Prattlebugged)",
    };
    return folders;
}

ChatPlace chatPlace(const std::filesystem::path &path, const std::filesystem::path &root)
{
    const Parts parts(path.begin(), path.end());
    for (auto end = std::prev(parts.end()); end != parts.begin(); --end) {
        for (const Parts &folder : chatFolderParts()) {
            if (std::distance(parts.begin(), end) < std::ssize(folder))
                continue;
            const auto start = end - std::ssize(folder);
            if (std::equal(folder.begin(), folder.end(), start))
                return {joined(parts.begin(), start), joined(end, parts.end())};
        }
    }
    const std::filesystem::path relative = below(root, path);
    return {{}, relative.empty() ? path.filename() : relative};
}

std::filesystem::path below(const std::filesystem::path &folder, const std::filesystem::path &path)
{
    const auto [rest, other] = std::mismatch(folder.begin(), folder.end(), path.begin(), path.end());
    return rest == folder.end() ? joined(other, path.end()) : std::filesystem::path();
}

} // namespace importing
