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
    const QByteArrayView signature = view(span(offset, littleEndianSignature.size()));
    if (signature != littleEndianSignature && signature != bigEndianSignature)
        throw FormatError(2, "not a typed stream: no signature");
    m_bigEndian = signature == bigEndianSignature;
    (void)integer(offset); // the system version, which nothing here depends on
    m_firstGroup = offset;
}

Span Bytes::span(quint32 &offset, qint64 length) const
{
    if (length < 0)
        throw FormatError(offset, "a negative length");
    if (offset > size() || length > size() - offset)
        throw FormatError(offset, "a length that reaches past the end of the stream");
    const Span found{offset, quint32(length)};
    offset += quint32(length);
    return found;
}

quint64 Bytes::fixedWidth(quint32 &offset, int width) const
{
    const Span digits = span(offset, width);
    quint64 value = 0;
    for (int i = 0; i < width; ++i) {
        const quint32 position = digits.offset + quint32(m_bigEndian ? i : width - 1 - i);
        value = value << 8U | quint8(m_bytes[position]);
    }
    return value;
}

qint64 Bytes::integer(quint32 &offset) const
{
    const quint32 start = offset;
    const qint8 head = byte(offset);
    if (head > lastReservedTag)
        return head;
    if (head == Integer2Tag)
        return qint16(fixedWidth(offset, 2));
    if (head == Integer4Tag)
        return qint32(fixedWidth(offset, 4));
    throw FormatError(start, "a tag where an integer should stand");
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
    const qint64 length = integer(offset);
    return span(offset, length);
}

} // namespace platform::typedstream
