#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringView>

namespace platform {

// The one pair of functions by which text becomes bytes and bytes become text. Qt's own conversions drop a
// leading U+FEFF, which would shift every attribute run behind it, and write a lone surrogate as "?".

/// Text from UTF-8. Each malformed sequence becomes U+FFFD; a byte-order mark at the start stays as U+FEFF.
[[nodiscard]] QString stringFromUtf8(QByteArrayView bytes);

/// UTF-8 from text. A surrogate without its partner becomes U+FFFD; everything else comes back unchanged from
/// stringFromUtf8().
[[nodiscard]] QByteArray utf8FromString(QStringView text);

/// Appends utf8FromString(@p text) to @p bytes.
void appendUtf8(QByteArray &bytes, QStringView text);

} // namespace platform
