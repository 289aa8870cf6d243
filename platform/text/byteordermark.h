#pragma once

#include <QByteArrayView>

#include <optional>

namespace platform {

/// A Unicode encoding that a byte-order mark can name.
enum class UnicodeEncoding : quint8 { Utf8, Utf16BigEndian, Utf16LittleEndian };

/// The mark at the start of some bytes.
struct ByteOrderMark {
    UnicodeEncoding encoding = UnicodeEncoding::Utf8;
    qsizetype size = 0; ///< in bytes
};

/// The byte-order mark that @p bytes begin with; nothing when there is none.
[[nodiscard]] inline std::optional<ByteOrderMark> byteOrderMark(QByteArrayView bytes)
{
    if (bytes.startsWith("\xEF\xBB\xBF"))
        return ByteOrderMark{UnicodeEncoding::Utf8, 3};
    if (bytes.startsWith("\xFE\xFF"))
        return ByteOrderMark{UnicodeEncoding::Utf16BigEndian, 2};
    if (bytes.startsWith("\xFF\xFE"))
        return ByteOrderMark{UnicodeEncoding::Utf16LittleEndian, 2};
    return std::nullopt;
}

} // namespace platform
