#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <optional>

namespace platform {

/// Text from bytes in @p charset, one of the names that the IANA registers, such as "macintosh" or
/// "Shift_JIS", in any letter case. Bytes that mean nothing in it become U+FFFD.
/// @return nothing when no such charset is known.
[[nodiscard]] std::optional<QString> stringFromCharset(QByteArrayView bytes, const QByteArray &charset);

} // namespace platform
