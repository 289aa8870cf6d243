#pragma once

#include "index/chatindex.h"

#include <memory>

namespace companion {

/// The index of the home folder's chats, up to date, with a progress bar while that takes time. What could
/// not be read is told on standard error, each transcript once. Where the index cannot be kept in its file,
/// that is told, and it is one in memory.
/// @param isFor what will be asked: an index in memory holds no other chats. Null: all.
/// @param inMemory whether to leave the file alone.
/// @return null, and told why, when there is no transcript folder.
[[nodiscard]] std::unique_ptr<indexing::ChatIndex> upToDateIndex(const indexing::Question *isFor = nullptr,
                                                                 bool inMemory = false);

/// Brings the file up to date, and says so. @param again whether to make it anew. @return an exit code.
int bringIndexUpToDate(bool again);

} // namespace companion
