#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace platform {

/// Walks everything below a folder, at every depth, in the order in which the file system lists it: a folder
/// first, then what it holds.
///
/// Works by the bytes of names, sees hidden entries, does not descend into symbolic links (the folder itself
/// may be one), and passes over folders that cannot be read. The folder's own listing is taken when the walk
/// is made, each further one when the walk comes to it.
class DirectoryWalk {
public:
    explicit DirectoryWalk(std::filesystem::path folder);

    /// The next entry, relative to the folder; nothing at the end.
    [[nodiscard]] std::optional<std::filesystem::path> next();

private:
    struct Listing {
        std::filesystem::path folder; ///< relative
        std::vector<std::string> names;
        size_t next = 0;
    };

    std::filesystem::path m_root;
    std::vector<Listing> m_open;
};

/// The names of everything directly inside @p folder, hidden entries included; empty when it cannot be read.
[[nodiscard]] std::vector<std::string> contentsOfDirectory(const std::filesystem::path &folder);

} // namespace platform
