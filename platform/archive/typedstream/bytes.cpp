#include "platform/archive/typedstream/bytes.h"

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

Span Bytes::span(quint32 &offset, quint32 length) const
{
    if (offset > size() || length > size() - offset)
        throw FormatError(offset, "a length that reaches past the end of the stream");
    const Span found{offset, length};
    offset += length;
    return found;
}

quint64 Bytes::fixedWidth(quint32 &offset, int width) const
{
    const Span digits = span(offset, quint32(width));
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
    if (head != Integer2Tag && head != Integer4Tag)
        throw FormatError(offset, "a tag where an integer should stand");
    ++offset;
    return head == Integer2Tag ? 2 : 4;
}

qint64 Bytes::taggedInteger(quint32 &offset) const
{
    const int width = integerWidth(offset);
    const quint64 value = fixedWidth(offset, width);
    return width == 2 ? qint64(qint16(value)) : qint64(qint32(value));
}

quint32 Bytes::unsignedInteger(quint32 &offset) const
{
    return quint32(fixedWidth(offset, integerWidth(offset)));
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
    const quint32 length = unsignedInteger(offset);
    return span(offset, length);
}

} // namespace platform::typedstream
