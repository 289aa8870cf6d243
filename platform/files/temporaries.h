#pragma once

#include <filesystem>

namespace platform {

// Files and folders that are made under another name first, and get their own by one step once they are
// whole.

/// What a temporary holds.
enum class TemporaryKind { File, Folder };

/// Where this process makes what is to take the place of @p target: beside it, so that the rename stays
/// within one file system, and named after the process, so that what one has left that died can be told from
/// what one is at work on. There is one of each kind in a folder at a time.
[[nodiscard]] std::filesystem::path temporaryBeside(const std::filesystem::path &target, TemporaryKind kind);

/// Removes the temporaries directly in @p folder whose processes are no longer alive: they were killed, or
/// the power failed. So does one of this process's number, which must have none of its own there. A symbolic
/// link of such a name is removed, not followed; what cannot be removed stays.
///
/// Processes that cannot be seen from here, on another machine that shares the folder, count as dead: what
/// one of these was writing at this moment fails for it, once.
void removeLeftTemporaries(const std::filesystem::path &folder);

} // namespace platform
