#include "platform/files/notedfile.h"

#include <chrono>
#include <fcntl.h>

namespace platform {

namespace {

/// Whether a file of this identity could be changed once more without its identity showing it: the kernel
/// takes the time of a change from a clock that stands still for up to 10 ms.
bool couldChangeUnseen(const FileIdentity &identity)
{
    const auto changed =
        std::chrono::seconds(identity.seconds) + std::chrono::nanoseconds(identity.nanoseconds);
    const auto age = std::chrono::system_clock::now().time_since_epoch() - changed;
    return std::chrono::abs(age) < std::chrono::milliseconds(20);
}

} // namespace

bool NotedFile::hasChanged(const std::filesystem::path &path)
{
    const std::optional<FileIdentity> now = fileIdentity(path);
    const bool isKnown = now || !fileExists(path); // else there may be any file
    if (m_holds && isKnown && m_path.native() == path.native() && m_identity == now)
        return false;
    m_path = path;
    m_identity = now;
    m_holds = isKnown && !(now && couldChangeUnseen(*now));
    return true;
}

void NotedFile::noteOwnWriting(const std::filesystem::path &path)
{
    m_own = Descriptor(::open(path.c_str(), O_PATH | O_CLOEXEC));
    m_path = path;
    m_identity = fileIdentity(path);
    m_holds = m_own && m_identity;
}

} // namespace platform
