#include "platform/files/systemcalls.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace platform {

std::string reasonOf(int error)
{
    return strerrordesc_np(error) ? strerrordesc_np(error) : "error " + std::to_string(error);
}

bool meansMissing(int error)
{
    return error == ENOENT || error == ENOTDIR;
}

Failure systemFailure(const std::filesystem::path &path, int error)
{
    return {meansMissing(error) ? FailureKind::Missing : FailureKind::System, path, reasonOf(error)};
}

bool writeAll(int descriptor, QByteArrayView bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(descriptor, bytes.data(), size_t(bytes.size()));
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        bytes = bytes.sliced(written);
    }
    return true;
}

bool readAll(int descriptor, void *buffer, size_t size)
{
    auto *bytes = static_cast<char *>(buffer);
    while (size > 0) {
        const ssize_t got = ::read(descriptor, bytes, size);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return false;
        bytes += got;
        size -= size_t(got);
    }
    return true;
}

} // namespace platform
