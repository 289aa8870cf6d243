#pragma once

#include "platform/propertylist/propertylist.h"

#include <optional>

namespace platform {

// What a value of a property list means where another kind is expected, as the platform takes it.

/// A value taken as a boolean: a boolean, a number other than 0, or one of the strings "YES", "true", "1" and
/// "NO", "false", "0" (letter case does not count). Nothing for anything else.
[[nodiscard]] std::optional<bool> booleanFrom(const PropertyList &value);

/// A value taken as an integer: an integer, a real cut towards zero, a boolean as 0 or 1, or a string of
/// decimal digits with or without a sign. Nothing for anything else, or for what 64 bits cannot hold.
[[nodiscard]] std::optional<qint64> integerFrom(const PropertyList &value);

} // namespace platform
