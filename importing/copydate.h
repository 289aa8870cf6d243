#pragma once

#include <optional>
#include <span>
#include <sys/stat.h>

namespace importing {

/// A modification time for a copy.
struct CopyDate {
    timespec date;
    bool isMended = false; ///< the times of the files were lost, and it is that of the last message
};

/// The date of a chat whose file has the modification times @p times in its copies (at least one): the
/// earliest that is not before the last message, or, when that is more than a day later, the last message's
/// own. When all are before the last message, the latest; without a last message, the earliest.
[[nodiscard]] CopyDate copyDate(std::span<const timespec> times, const std::optional<timespec> &lastMessage);

} // namespace importing
