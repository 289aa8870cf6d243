#pragma once

#include "platform/archive/classtable.h"

namespace platform {

/// Adds the classes that an attributed text's attributes hold: fonts, colours, text attachments, file
/// wrappers.
///
/// Their layout in typed streams is known by report only: a file wrapper is taken in any of the layouts that
/// have been reported.
void addAppKitClasses(ClassTable &table);

} // namespace platform
