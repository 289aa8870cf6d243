#pragma once

#include "platform/formaterror.h"

#include <QByteArray>
#include <QByteArrayView>

namespace platform::typedstream {

// The lowest layer of a typed stream: bytes, tags, numbers and unshared strings.

/// First byte of an item. Read as a signed byte, -128 to -111 are tags; any other value stands for itself.
enum Tag : qint8 {
    Integer2Tag = -127,    ///< a 2-byte integer follows
    Integer4Tag = -126,    ///< a 4-byte integer follows
    Integer8Tag = -121,    ///< an 8-byte integer follows
    RealTag = -125,        ///< the bytes of a float or double follow
    NewTag = -124,         ///< a literal follows, which takes the next number of its table
    NilTag = -123,         ///< nil
    EndOfObjectTag = -122, ///< no more groups in this object
};
inline constexpr qint8 lastReservedTag = -111;
/// References are integers: the number in the table plus this. It is the first value that is no tag.
inline constexpr qint64 firstReference = -110;

/// Where something stands in the stream: offset of its first byte, and how many bytes it has.
struct Span {
    quint32 offset = 0;
    quint32 length = 0;
};

/// The bytes of a stream in its byte order. Every function takes an offset and moves it past what it has
/// read; all throw FormatError when the stream ends too early or the bytes there are none of what is asked
/// for.
class Bytes {
public:
    /// Reads the header. @p bytes must stay alive, and be shorter than 2 GiB.
    explicit Bytes(QByteArrayView bytes);

    /// Whether @p bytes begin as a stream of either byte order does.
    [[nodiscard]] static bool hasSignature(QByteArrayView bytes);

    /// Offset of the first group, behind the header.
    [[nodiscard]] quint32 firstGroup() const { return m_firstGroup; }
    [[nodiscard]] quint32 size() const { return quint32(m_bytes.size()); }
    [[nodiscard]] QByteArrayView view(Span span) const { return m_bytes.sliced(span.offset, span.length); }

    /// The byte at @p offset, which does not move.
    [[nodiscard]] qint8 peek(quint32 offset) const
    {
        if (offset >= size())
            throw FormatError(offset, "the file is cut off");
        return qint8(m_bytes[offset]);
    }
    [[nodiscard]] qint8 byte(quint32 &offset) const
    {
        const qint8 value = peek(offset);
        ++offset;
        return value;
    }
    /// The next @p length bytes.
    [[nodiscard]] Span span(quint32 &offset, quint64 length) const;
    /// An integer of 1 to 8 bytes, taken as a signed one.
    [[nodiscard]] qint64 integer(quint32 &offset) const
    {
        const qint8 head = peek(offset);
        return head > lastReservedTag ? byte(offset) : taggedInteger(offset);
    }
    /// The same taken as an unsigned one: behind the tag of 2 bytes, FF FF is 65535.
    [[nodiscard]] quint64 unsignedInteger(quint32 &offset) const;
    /// A real of @p width bytes (4 or 8), or an integer, which is how integral values are written.
    [[nodiscard]] double real(quint32 &offset, int width) const;
    /// A length, which is unsigned, and as many bytes; nil counts as none.
    [[nodiscard]] Span unsharedString(quint32 &offset) const;

private:
    [[nodiscard]] qint64 taggedInteger(quint32 &offset) const;
    /// How many bytes the integer at @p offset has, whose tag this passes; 1 for the ones without.
    [[nodiscard]] int integerWidth(quint32 &offset) const;
    /// An unsigned integer of @p width bytes.
    [[nodiscard]] quint64 fixedWidth(quint32 &offset, int width) const;

    QByteArrayView m_bytes;
    bool m_bigEndian = false;
    quint32 m_firstGroup = 0;
};

} // namespace platform::typedstream
