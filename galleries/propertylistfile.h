#pragma once

#include "platform/propertylist/propertylist.h"

#include <filesystem>

namespace galleries {

/// The property list in the file at @p path, in any of its forms; Null when the file cannot be read or holds
/// none.
[[nodiscard]] platform::PropertyList readPropertyListFile(const std::filesystem::path &path);

} // namespace galleries
