#pragma once

#include "importing/failure.h"

#include "platform/files/files.h"

#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace companion {

/// Folders and files that are made together or not at all: unless keep() is called, everything is taken back
/// at the end, the last change first.
///
/// What the disk or the permissions do not allow is thrown as a Failure, whose text is one line for people
/// that names the path. Taking back never fails in a way that is told.
class Changes {
public:
    using Failure = importing::Failure;

    /// @param dryRun whether to leave everything as it is, and only to look whether it could be done.
    explicit Changes(bool dryRun = false) : m_dryRun(dryRun) {}
    ~Changes();
    Changes(const Changes &) = delete;
    Changes &operator=(const Changes &) = delete;

    /// Makes the folder at @p path, with those above it. One that is there stays as it is.
    /// @return whether it had to be made.
    bool makeFolder(const std::filesystem::path &path);
    /// Writes a file, in place of one that may be there, atomically.
    void writeFile(const std::filesystem::path &path, QByteArrayView bytes);
    /// From now on what was changed stays.
    void keep() { m_changes.clear(); }

private:
    struct Change {
        std::filesystem::path path;
        bool isFolder;
        std::optional<QByteArray> previous; ///< what stood there
        timespec previousTime{};
    };

    bool m_dryRun;
    std::vector<Change> m_changes;
    std::set<std::filesystem::path> m_tidied; ///< folders without what was left by a run that was killed
};

} // namespace companion
