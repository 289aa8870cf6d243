#pragma once

#include "platform/text/stringset.h"

#include <filesystem>

namespace galleries {

/// The words of the list at @p path: a property list in any form, with an array of strings at its root. Where
/// there is no readable file, or anything else in it, there are no words: a broken list counts none.
[[nodiscard]] platform::StringSet readWordList(const std::filesystem::path &path);

} // namespace galleries
