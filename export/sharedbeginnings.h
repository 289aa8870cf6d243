#pragma once

#include "export/plan.h"

#include <functional>
#include <set>
#include <string>
#include <vector>

namespace exporting {

/// Names of the chats of @p exported that have participants and first message in common with a longer one of
/// these or of @p kept; of equally long ones, the first by name counts as longer. Each of them needs a date
/// (Transcript::first). Only chats that begin at the same moment as another one are read.
/// @param goesOn told how many of how many have been read; gives false to stop.
[[nodiscard]] std::set<std::string>
chatsThatBeginLikeLonger(const std::vector<Transcript> &exported, const std::vector<Transcript> &kept,
                         unsigned workers, const std::function<bool(size_t, size_t)> &goesOn);

} // namespace exporting
