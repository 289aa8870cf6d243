#pragma once

#include "platform/propertylist/propertylist.h"

namespace platform {

/// Makes sure that the values below the root of @p table are a tree that can be walked and written without
/// further care: see readPropertyList(). Takes time in proportion to the table, however often values are
/// shared.
/// @param inputSize size in bytes of what the table was read from; a budget for it bounds how long the tree
/// may be
///                  when written in the XML form.
/// @throws FormatError when they are not.
void checkTree(const PropertyListTable &table, qint64 inputSize);

} // namespace platform
