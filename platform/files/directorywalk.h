#pragma once

#include "platform/files/files.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace platform {

/// Walks everything below a folder, at every depth, in the order in which the file system lists it: a folder
/// first, then what it holds.
///
/// Works by the bytes of names, sees hidden entries, and does not descend into symbolic links (the folder
/// itself may be one). A folder that cannot be listed, or not to its end, does not stop the walk: it is kept,
/// with the reason. A folder is listed, and each of its entries looked at, when the walk comes to it; the
/// folder itself when the walk is made.
class DirectoryWalk {
public:
    /// A folder of which the walk has not seen everything, and why.
    struct UnreadFolder {
        std::filesystem::path folder; ///< relative; empty for the folder that is walked
        std::string reason;           ///< in English
    };

    explicit DirectoryWalk(std::filesystem::path folder);

    /// The next entry, relative to the folder; nothing at the end.
    [[nodiscard]] std::optional<std::filesystem::path> next();
    /// What fileIdentity() gives for the entry that next() gave last; no further look at it is needed for it,
    /// unless it is a link.
    [[nodiscard]] std::optional<FileIdentity> identity() const;

    /// How much of the folder has been walked, from 0 to 1, when in each folder every entry counts alike with
    /// all that is below it. Nobody knows how many entries there are before the end.
    [[nodiscard]] double part() const;

    /// The folders so far of which something may be missing, each once, in the order of the walk. One that
    /// somebody has removed meanwhile is none of them.
    [[nodiscard]] const std::vector<UnreadFolder> &unreadFolders() const { return m_unread; }

private:
    struct Entry {
        std::string name;
        bool isFolder = false;
        bool isLink = false;
        int error = 0; ///< an errno value, when it could not be looked at
        FileIdentity identity;
    };
    struct Listing {
        std::filesystem::path folder; ///< relative
        std::vector<Entry> entries;
        size_t next = 0;
        bool isWhole = true;
    };

    void open(const std::filesystem::path &folder);
    void noteUnread(Listing &listing, int error);

    std::filesystem::path m_root;
    std::vector<Listing> m_open;
    Entry m_last; ///< what next() gave last, by its path below the root
    std::vector<UnreadFolder> m_unread;
};

/// The names of everything directly inside @p folder, hidden entries included; those that could be read,
/// where it cannot be listed to its end.
[[nodiscard]] std::vector<std::string> contentsOfDirectory(const std::filesystem::path &folder);

} // namespace platform
