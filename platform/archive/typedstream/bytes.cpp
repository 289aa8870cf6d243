#include "platform/archive/typedstream/bytes.h"

#include <algorithm>
#include <bit>

namespace platform::typedstream {

namespace {

constexpr qint8 streamerVersion = 4;
constexpr QByteArrayView littleEndianSignature("streamtyped");
constexpr QByteArrayView bigEndianSignature("typedstream");

} // namespace

Bytes::Bytes(QByteArrayView bytes) : m_bytes(bytes)
{
    quint32 offset = 0;
    if (byte(offset) != streamerVersion)
        throw FormatError(0, "not a typed stream: its version is not 4");
    if (byte(offset) != littleEndianSignature.size())
        throw FormatError(1, "not a typed stream: no signature");
    const QByteArrayView signature = view(span(offset, quint32(littleEndianSignature.size())));
    if (signature != littleEndianSignature && signature != bigEndianSignature)
        throw FormatError(2, "not a typed stream: no signature");
    m_bigEndian = signature == bigEndianSignature;
    (void)integer(offset); // the system version, which nothing here depends on
    m_firstGroup = offset;
}

bool Bytes::hasSignature(QByteArrayView bytes)
{
    const QByteArrayView signature = bytes.sliced(std::min<qsizetype>(2, bytes.size()));
    return signature.startsWith(littleEndianSignature) || signature.startsWith(bigEndianSignature);
}

Span Bytes::span(quint32 &offset, quint64 length) const
{
    if (offset > size() || length > size() - offset)
        throw FormatError(offset, "the file is cut off, or a length in it is wrong");
    const Span found{offset, quint32(length)};
    offset += found.length;
    return found;
}

quint64 Bytes::fixedWidth(quint32 &offset, int width) const
{
    const Span digits = span(offset, quint64(width));
    quint64 value = 0;
    for (int i = 0; i < width; ++i) {
        const quint32 position = digits.offset + quint32(m_bigEndian ? i : width - 1 - i);
        value = value << 8U | quint8(m_bytes[position]);
    }
    return value;
}

int Bytes::integerWidth(quint32 &offset) const
{
    const qint8 head = peek(offset);
    if (head > lastReservedTag)
        return 1;
    ++offset;
    switch (head) {
    case Integer2Tag: return 2;
    case Integer4Tag: return 4;
    case Integer8Tag: return 8;
    default: throw FormatError(offset - 1, "a tag where an integer should stand");
    }
}

qint64 Bytes::taggedInteger(quint32 &offset) const
{
    const int width = integerWidth(offset);
    const quint64 value = fixedWidth(offset, width);
    switch (width) {
    case 2: return qint16(value);
    case 4: return qint32(value);
    default: return qint64(value);
    }
}

quint64 Bytes::unsignedInteger(quint32 &offset) const
{
    return fixedWidth(offset, integerWidth(offset));
}

double Bytes::real(quint32 &offset, int width) const
{
    if (peek(offset) != RealTag)
        return double(integer(offset));
    ++offset;
    if (width == 4)
        return std::bit_cast<float>(quint32(fixedWidth(offset, 4)));
    return std::bit_cast<double>(fixedWidth(offset, 8));
}

Span Bytes::unsharedString(quint32 &offset) const
{
    if (peek(offset) == NilTag)
        return span(++offset, 0);
    const quint64 length = unsignedInteger(offset);
    return span(offset, length);
}

} // namespace platform::typedstream
