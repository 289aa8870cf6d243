#pragma once

#include <QtGlobal>

namespace platform {

/// The character that @p byte stands for in the NeXTSTEP encoding, which the older text form's octal escapes
/// are in. As in Unicode's own mapping table; the two bytes that it leaves out are U+FFFD.
[[nodiscard]] char16_t characterFromNextStep(quint8 byte);

} // namespace platform
