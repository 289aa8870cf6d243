#include "platform/text/utf8text.h"

#include "platform/text/byteordermark.h"
#include "platform/text/encoding.h"

#include <QtEndian>

namespace platform {

namespace {

/// The encoding of @p file, which has no mark.
UnicodeEncoding guessedEncoding(const QByteArray &file)
{
    if (file.size() >= 2 && file[0] == 0 && file[1] != 0)
        return UnicodeEncoding::Utf16BigEndian;
    if (file.size() >= 2 && file[0] != 0 && file[1] == 0)
        return UnicodeEncoding::Utf16LittleEndian;
    return UnicodeEncoding::Utf8;
}

} // namespace

Utf8Text utf8Text(const QByteArray &file)
{
    const std::optional<ByteOrderMark> mark = byteOrderMark(file);
    const UnicodeEncoding encoding = mark ? mark->encoding : guessedEncoding(file);
    const QByteArrayView content = QByteArrayView(file).sliced(mark ? mark->size : 0);
    if (encoding == UnicodeEncoding::Utf8)
        return {mark ? content.toByteArray() : file, mark.has_value(), false, false};

    QString text(content.size() / 2, Qt::Uninitialized);
    if (encoding == UnicodeEncoding::Utf16BigEndian)
        qFromBigEndian<quint16>(content.data(), text.size(), text.data());
    else
        qFromLittleEndian<quint16>(content.data(), text.size(), text.data());
    return {utf8FromString(text), mark.has_value(), true, content.size() % 2 != 0};
}

} // namespace platform
