#pragma once

#include "platform/date/nsdate.h"
#include "platform/propertylist/propertylist.h"

#include <filesystem>
#include <optional>

namespace galleries {

/// The property list in the file at @p path, in any of its forms; Null when the file cannot be read or holds
/// none.
[[nodiscard]] platform::PropertyList readPropertyListFile(const std::filesystem::path &path);

/// @p value as a date; also when it is a string "2005-03-01 21:07:45 -0800", which is how the older text form
/// of property lists spells dates. Nothing for anything else.
[[nodiscard]] std::optional<platform::NSDate> storedDate(const platform::PropertyList &value);

/// @p value as a whole number; also when it is a string of digits, which is how the older text form spells
/// numbers. Nothing for anything else.
[[nodiscard]] std::optional<qint64> storedInteger(const platform::PropertyList &value);

} // namespace galleries
