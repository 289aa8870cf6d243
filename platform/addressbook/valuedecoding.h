#pragma once

#include "platform/addressbook/contentline.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringView>

namespace platform {

/// What a file says of its own encoding.
enum class FileEncoding : quint8 {
    Unicode, ///< it is UTF-16, or begins with a byte-order mark; what is read of it is UTF-8 by now
    Unknown, ///< nothing
};

/// The value of @p line as text, its backslash escapes still in it: freed of the line's ENCODING
/// (quoted-printable, base64) and read in its CHARSET. A value that is not encoded is in the encoding of the
/// file, where that is known, whatever its CHARSET. Without a CHARSET, or with one that is unknown, it is
/// UTF-8, or if it cannot be that, Windows-1252.
///
/// What is malformed becomes U+FFFD; an `=` that is followed by no two hexadecimal digits stands for itself.
[[nodiscard]] QString valueText(const ContentLine &line, FileEncoding file);

/// @p bytes as quoted-printable decodes them, soft line breaks taken out already: RFC 2045, section 6.7.
[[nodiscard]] QByteArray decodedQuotedPrintable(QByteArrayView bytes);

/// @p text without its backslash escapes: `\n` and `\N` are a line feed, `\,` `\;` `\:` and `\\` the second
/// character; any other backslash stands for itself.
[[nodiscard]] QString unescaped(QStringView text);

/// Position of the next @p separator in @p text from @p from on that no backslash escapes; the size when
/// there is none.
[[nodiscard]] qsizetype findSeparator(QStringView text, QChar separator, qsizetype from);

} // namespace platform
