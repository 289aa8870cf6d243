#pragma once

#include "platform/failure.h"

#include <QByteArrayView>

#include <filesystem>
#include <string>

namespace platform {

// What the files of this room share around the system's calls.

/// An errno value in English.
[[nodiscard]] std::string reasonOf(int error);
/// Whether that value means that nothing stands there, or a link that leads nowhere.
[[nodiscard]] bool meansMissing(int error);
/// What the system has refused to do with @p path.
[[nodiscard]] Failure systemFailure(const std::filesystem::path &path, int error);

/// Writes all of @p bytes to a descriptor, going on after interruptions and partial writes.
/// @return false when the system takes no more; errno says why.
[[nodiscard]] bool writeAll(int descriptor, QByteArrayView bytes);

/// Reads @p size bytes from a descriptor into @p buffer, going on after interruptions and partial reads.
/// @return false when the input ends before, or cannot be read.
[[nodiscard]] bool readAll(int descriptor, void *buffer, size_t size);

} // namespace platform
