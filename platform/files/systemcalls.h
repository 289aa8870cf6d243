#pragma once

#include <QByteArrayView>

#include <string>

namespace platform {

// What the files of this room share around the system's calls.

/// An errno value in English.
[[nodiscard]] std::string reasonOf(int error);

/// Writes all of @p bytes to a descriptor, going on after interruptions and partial writes.
/// @return false when the system takes no more; errno says why.
[[nodiscard]] bool writeAll(int descriptor, QByteArrayView bytes);

} // namespace platform
