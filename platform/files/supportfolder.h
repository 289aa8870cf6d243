#pragma once

#include <filesystem>

namespace platform {

/// The folder in which the product keeps its galleries, its statistics and the address book:
/// `Library/Prattlebug` under the home folder, which is asked for anew on every call. Nothing here makes it;
/// it comes with the product's setup.
[[nodiscard]] std::filesystem::path supportFolder();

} // namespace platform
