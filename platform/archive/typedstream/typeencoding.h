#pragma once

#include <QByteArrayView>
#include <QtGlobal>

#include <vector>

namespace platform::typedstream {

/// A type encoding made ready for reading values: structs flattened into their members, arrays of bytes as
/// one item, other arrays as loops.
///
/// Loops over nothing are left out, so that reading a group takes time in proportion to its bytes, whatever
/// the encoding says.
class TypeEncoding {
public:
    /// What stands at one place of the encoding.
    struct Item {
        char code;     ///< a type code; BytesCode for an array of bytes; LoopCode for the head of a loop
        quint32 count; ///< of a BytesCode: how many bytes; of a LoopCode: how often the body is read
        quint32 end;   ///< of a LoopCode: index of the item behind its body
    };
    static constexpr char BytesCode = '[';
    static constexpr char LoopCode = '(';
    /// How deep arrays and structs may be nested.
    static constexpr int greatestNesting = 32;

    /// Parses @p text. Codes: `@ # * : % +`, the integers `c C B s S i I l L q Q`, the reals `f d`, `[NT]`,
    /// `{name=TT}`;
    /// `!` (a value left out) and the qualifiers `r n N o O R V A` are skipped.
    /// @param offset where in the stream the encoding stands, for errors.
    /// @throws FormatError for anything else, and for nesting deeper than greatestNesting.
    TypeEncoding(QByteArrayView text, qint64 offset);

    [[nodiscard]] const std::vector<Item> &items() const { return m_items; }

private:
    std::vector<Item> m_items;
};

/// Whether a value of this type code is read as an integer.
[[nodiscard]] bool isIntegerCode(char code);
/// Whether a value of this type code is always one raw byte.
[[nodiscard]] bool isByteCode(char code);

} // namespace platform::typedstream
