#pragma once

#include "platform/archive/classtable.h"

namespace platform {

/// Adds the classes that an attributed text's attributes hold: fonts, colours, text attachments, file
/// wrappers.
///
/// Their layout in typed streams is known by report only, so one whose contents are not as reported decodes
/// as an UnknownObject (a file wrapper as no file) instead of making the whole archive malformed.
void addAppKitClasses(ClassTable &table);

} // namespace platform
