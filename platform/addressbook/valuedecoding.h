#pragma once

#include "platform/addressbook/contentline.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>
#include <QStringView>

namespace platform {

/// The whole file as a superset of ASCII: UTF-16 becomes UTF-8, all else comes back as it is. UTF-16 is known
/// by its byte-order mark, or (the platform's address book left the mark out) by the first letter of `BEGIN`.
[[nodiscard]] QByteArray asciiCompatible(const QByteArray &bytes);

/// The value of @p line as text, its backslash escapes still in it: freed of the line's ENCODING
/// (quoted-printable, base64) and read in its CHARSET. UTF-8 when there is none or an unknown one. What is
/// malformed in the charset becomes U+FFFD; an `=` that is followed by no two hexadecimal digits stands for
/// itself.
[[nodiscard]] QString valueText(const ContentLine &line);

/// @p bytes as quoted-printable decodes them, soft line breaks taken out already: RFC 2045, section 6.7.
[[nodiscard]] QByteArray decodedQuotedPrintable(QByteArrayView bytes);

/// @p text without its backslash escapes: `\n` and `\N` are a line feed, `\,` `\;` `\:` and `\\` the second
/// character; any other backslash stands for itself.
[[nodiscard]] QString unescaped(QStringView text);

/// Position of the next @p separator in @p text from @p from on that no backslash escapes; the size when
/// there is none.
[[nodiscard]] qsizetype findSeparator(QStringView text, QChar separator, qsizetype from);

} // namespace platform
