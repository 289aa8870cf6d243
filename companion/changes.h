#pragma once

#include "platform/files/files.h"

#include <filesystem>
#include <optional>
#include <set>
#include <stdexcept>
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
    class Failure : public std::runtime_error {
    public:
        using std::runtime_error::runtime_error;
    };

    Changes() = default;
    ~Changes();
    Changes(const Changes &) = delete;
    Changes &operator=(const Changes &) = delete;

    /// Makes the folder at @p path, with those above it. One that is there stays as it is.
    /// @return whether it had to be made.
    bool makeFolder(const std::filesystem::path &path);
    /// Writes a file, in place of one that may be there, atomically.
    /// @param modified the modification time that it gets; now, when not given.
    void writeFile(const std::filesystem::path &path, QByteArrayView bytes,
                   const std::optional<timespec> &modified = std::nullopt);
    /// From now on what was changed stays.
    void keep() { m_changes.clear(); }

private:
    struct Change {
        std::filesystem::path path;
        bool isFolder;
        std::optional<QByteArray> previous; ///< what stood there
        timespec previousTime{};
    };

    std::vector<Change> m_changes;
    std::set<std::filesystem::path> m_tidied; ///< folders without what was left by a run that was killed
};

/// Gives the file at @p path a modification time. @return whether the system did.
bool setModificationTime(const std::filesystem::path &path, const timespec &modified);

} // namespace companion
