#pragma once

#include "platform/decodingbudget.h"
#include "platform/propertylist/propertylist.h"

namespace platform {

/// Makes sure that the values below the root of @p table are a tree that can be walked and written: no
/// container holds itself or is nested too deep, every key is a string. Takes time in proportion to the
/// table, however often values are shared. What it has to remember meanwhile is charged to @p budget.
/// @return how many bytes the tree takes at most in the XML form, values that are shared counted each time;
/// at least 2^62 when that is more.
/// @throws FormatError when it is no such tree.
[[nodiscard]] quint64 checkTree(const PropertyListTable &table, DecodingBudget &budget);

} // namespace platform
