#pragma once

#include <QByteArrayView>
#include <QString>

#include <optional>

namespace platform {

/// Text from bytes in @p charset, a name that iconv(3) knows, such as "MACINTOSH"; nothing when it knows no
/// such charset. Bytes that are none in it become U+FFFD.
[[nodiscard]] std::optional<QString> stringFromCharset(QByteArrayView bytes, const char *charset);

} // namespace platform
