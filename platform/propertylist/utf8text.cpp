#include "platform/propertylist/utf8text.h"

#include "platform/formaterror.h"
#include "platform/text/encoding.h"

#include <QtEndian>

namespace platform {

namespace {

enum class ByteOrder : quint8 { None, BigEndian, LittleEndian };

ByteOrder utf16ByteOrder(const QByteArray &file)
{
    if (file.size() < 2)
        return ByteOrder::None;
    if (file.startsWith("\xFE\xFF") || (file[0] == 0 && file[1] != 0))
        return ByteOrder::BigEndian;
    if (file.startsWith("\xFF\xFE") || (file[0] != 0 && file[1] == 0))
        return ByteOrder::LittleEndian;
    return ByteOrder::None;
}

} // namespace

Utf8Text utf8Text(const QByteArray &file)
{
    constexpr QByteArrayView mark("\xEF\xBB\xBF");

    const ByteOrder order = utf16ByteOrder(file);
    if (order == ByteOrder::None) {
        const bool marked = file.startsWith(mark);
        return {marked ? file.sliced(mark.size()) : file, false, marked ? 1 : 0};
    }
    if (file.size() % 2 != 0)
        throw FormatError(file.size(), "half a UTF-16 unit at the end");
    QString text(file.size() / 2, Qt::Uninitialized);
    if (order == ByteOrder::BigEndian)
        qFromBigEndian<quint16>(file.constData(), text.size(), text.data());
    else
        qFromLittleEndian<quint16>(file.constData(), text.size(), text.data());
    const bool marked = text.startsWith(QChar::ByteOrderMark);
    return {utf8FromString(QStringView(text).sliced(marked ? 1 : 0)), true, marked ? 1 : 0};
}

} // namespace platform
