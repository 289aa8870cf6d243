#include "tests/support/binarylist.h"

QByteArray BinaryList::bytes() const
{
    QByteArray file = "bplist00";
    QByteArray offsets;
    qsizetype last = file.size();
    for (const QByteArray &object : objects) {
        last = object.isEmpty() ? last : file.size();
        offsets += bigEndianBytes(quint64(last), offsetSize);
        file += object;
    }
    const auto table = quint64(file.size());
    return file + offsets + QByteArray(6, '\0') + char(offsetSize) + char(referenceSize) +
           bigEndianBytes(objects.size(), 8) + bigEndianBytes(top, 8) + bigEndianBytes(table, 8);
}

QByteArray bigEndianBytes(quint64 value, int size)
{
    QByteArray bytes;
    for (int i = size - 1; i >= 0; --i)
        bytes += i < 8 ? char(value >> unsigned(8 * i)) : '\0';
    return bytes;
}

QByteArray hex(const char *digits)
{
    return QByteArray::fromHex(digits);
}
