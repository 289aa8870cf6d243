#pragma once

#include <QByteArray>

namespace platform {

/// The contents of a text file as UTF-8.
struct Utf8Text {
    /// Without a byte-order mark. Unless the file is UTF-16, these are its own bytes, whether they are UTF-8
    /// or not.
    QByteArray bytes;
    bool hadMark = false;
    bool wasUtf16 = false;
    bool endsInHalfUnit = false; ///< whether one byte of a UTF-16 unit stood at the end; it is left out
};

/// @p file as UTF-8. It is taken for UTF-16 when it begins with the mark of that, or with an ASCII character
/// in it. A surrogate without its partner becomes U+FFFD.
[[nodiscard]] Utf8Text utf8Text(const QByteArray &file);

} // namespace platform
