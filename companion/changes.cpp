#include "companion/changes.h"

#include "platform/files/systemcalls.h"
#include "platform/files/temporaries.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <ranges>
#include <unistd.h>

namespace companion {

Changes::~Changes()
{
    for (const Change &change : std::views::reverse(m_changes)) {
        if (change.isFolder) {
            ::rmdir(change.path.c_str());
        } else if (change.previous) {
            const std::array<timespec, 2> times{timespec{0, UTIME_OMIT}, change.previousTime};
            if (platform::writeAtomically(change.path, *change.previous))
                ::utimensat(AT_FDCWD, change.path.c_str(), times.data(), 0);
        } else {
            ::unlink(change.path.c_str());
        }
    }
}

bool Changes::makeFolder(const std::filesystem::path &path)
{
    struct stat status{};
    if (::stat(path.c_str(), &status) == 0) {
        if (!S_ISDIR(status.st_mode))
            throw Failure(path.native() + " is a file where a folder must be.");
        return false;
    }
    if (path.has_relative_path())
        makeFolder(path.parent_path());
    constexpr mode_t usualPermissions = 0777;
    if (m_dryRun)
        return true;
    if (::mkdir(path.c_str(), usualPermissions) != 0)
        throw Failure("The folder " + path.native() + " cannot be made: " + platform::reasonOf(errno));
    m_changes.push_back({path, true, std::nullopt, {}});
    return true;
}

void Changes::writeFile(const std::filesystem::path &path, QByteArrayView bytes)
{
    if (m_dryRun)
        return;
    struct stat status{};
    Change change{path, false, std::nullopt, {}};
    if (::stat(path.c_str(), &status) == 0) {
        const auto old = platform::readWholeFile(path);
        if (!old)
            throw Failure(path.native() + " cannot be replaced: " + old.error().reason);
        change.previous = *old;
        change.previousTime = status.st_mtim;
    }
    if (m_tidied.insert(path.parent_path()).second)
        platform::removeLeftTemporaries(path.parent_path());
    if (const auto written = platform::writeAtomically(path, bytes); !written)
        throw Failure(path.native() + " cannot be written: " + written.error().reason);
    m_changes.push_back(std::move(change));
}

} // namespace companion
