#pragma once

#include "platform/date/nsdate.h"
#include "platform/propertylist/propertylist.h"

#include <filesystem>
#include <optional>

namespace galleries {

// What the stores have in common: property lists in the support folder that may be in any form.

/// What came of reading a store's file.
struct StoreFile {
    bool isMissing = false;      ///< there is none
    platform::PropertyList root; ///< Null when it is missing, cannot be read or holds no property list
};
[[nodiscard]] StoreFile readStoreFile(const std::filesystem::path &path);

/// @p value as a date; also when it is a string "2005-03-01 21:07:45 -0800", which is how the older text form
/// of property lists spells dates. Nothing for anything else.
[[nodiscard]] std::optional<platform::NSDate> storedDate(const platform::PropertyList &value);

} // namespace galleries
