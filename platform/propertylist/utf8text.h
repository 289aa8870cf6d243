#pragma once

#include <QByteArray>

namespace platform {

/// A text file's contents as UTF-8.
struct Utf8Text {
    QByteArray
        bytes; ///< without a byte-order mark; as they are in the file when it is no UTF-16, malformed or not
    bool wasUtf16 = false;
    qint64 markLength = 0; ///< characters dropped at the start: 1 when there was a mark
};

/// @p file as UTF-8, converted from UTF-16 when it begins with a mark of that or with one ASCII character in
/// it. A surrogate without its partner becomes U+FFFD.
/// @throws FormatError for half a UTF-16 unit at the end.
[[nodiscard]] Utf8Text utf8Text(const QByteArray &file);

} // namespace platform
