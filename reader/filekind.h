#pragma once

#include "platform/appkit/nsfilewrapper.h"

#include <QString>

namespace reader {

/// The name under which an attached file is shown; never empty.
[[nodiscard]] QString shownName(const platform::NSFileWrapper &file);
/// Its kind and size: "PNG image, 60 kB". The kind is told by the name alone.
[[nodiscard]] QString kindAndSize(const platform::NSFileWrapper &file);
/// Whether opening it might run something: all but pictures, sound, films, plain texts and documents, told by
/// name and contents.
[[nodiscard]] bool mightRun(const platform::NSFileWrapper &file);

} // namespace reader
