#pragma once

#include "platform/archive/typedstream/bytes.h"
#include "platform/archive/typedstream/groupcursor.h"
#include "platform/decodingbudget.h"

#include <deque>
#include <optional>
#include <vector>

namespace platform::typedstream {

/// The two tables of a typed stream, and where in the stream each object stands.
///
/// A typed stream can only be read from its start to its end, since references are numbers in tables that
/// grow while it is read. The index does that reading once, without recursion and without making any object;
/// then each object can be made on its own when it is asked for. What nobody asks for, such as the contents
/// of an object of an unknown class, has been checked to be well formed and costs nothing further.
class StreamIndex {
public:
    /// Number of an object, class or C string in their common table, or none.
    using Number = quint32;
    static constexpr Number none = 0xFFFFFFFF;

    enum class Kind : quint8 { Object, Class, CString };

    /// Of a size that is a power of two: it is found by shifting, not by dividing.
    struct alignas(16) Entry {
        Kind kind;
        quint32 start;        ///< offset of its "new" tag
        quint32 contents = 0; ///< of an object: offset of its first group; else: its name's or text's number
                              ///< in the string table
        quint32 end = 0;      ///< of an object: offset behind it
        Number classNumber = none; ///< of an object: its class; of a class: its superclass
        Number firstInside = 0;    ///< of an object: number of the first literal in its contents
        Number numberAfter = 0;    ///< of an object: number of the first literal behind it
    };

    /// @param bytes the whole stream; must stay alive as long as the index.
    /// @param budget charged for the tables; lent.
    /// @throws FormatError when it does not begin as a typed stream.
    StreamIndex(QByteArrayView bytes, DecodingBudget &budget) : m_bytes(bytes), m_budget(budget) {}

    [[nodiscard]] const Bytes &bytes() const { return m_bytes; }
    [[nodiscard]] const std::deque<Entry> &entries() const { return m_entries; }

    /// Indexes the group at @p offset, which stands outside of every object, with all that it holds. To be
    /// called for one group after the other, from bytes().firstGroup() on.
    /// @return the offset behind it.
    /// @throws FormatError when it is malformed.
    quint32 scanGroup(quint32 offset);

    // Reading again what has been indexed. Each takes an offset and moves it.

    /// The encoding at the head of a group.
    [[nodiscard]] const TypeEncoding &readEncoding(quint32 &offset);
    /// A string that may be shared; nothing for nil.
    [[nodiscard]] std::optional<QByteArrayView> readSharedString(quint32 &offset) const;
    /// The number that a reference names, none for one that no table can have; the next byte must be neither
    /// a tag nor nil.
    [[nodiscard]] Number readReference(quint32 &offset) const
    {
        const qint64 reference = m_bytes.integer(offset);
        return reference >= firstReference && reference < none + firstReference
                   ? Number(reference - firstReference)
                   : none;
    }

    /// A class's name, or a C string's text. Empty for nil.
    [[nodiscard]] QByteArrayView text(Number number) const;

private:
    struct Frame {
        Number object; ///< none for the outermost group
        GroupCursor group;
    };
    struct SharedString {
        Span span;
        quint32 encoding = none; ///< position in m_encodings when it has been parsed as one
    };

    void scanValue(const TypeEncoding::Item &item);
    void scanObject();
    [[nodiscard]] Number scanClass();
    void scanCString();
    [[nodiscard]] Number scanReference(Kind kind, Number below);
    /// @return the string's number, none for nil.
    [[nodiscard]] quint32 scanSharedString();
    [[nodiscard]] const TypeEncoding &encoding(quint32 stringNumber);
    Number addEntry(Kind kind, quint32 start);
    void pushFrame(Number object);
    void beginGroup(Frame &frame);

    Bytes m_bytes;
    DecodingBudget &m_budget;
    quint32 m_offset = 0; ///< while scanning
    std::vector<SharedString> m_strings;
    std::deque<Entry> m_entries;          ///< there can be one for every three bytes: no list that doubles
    std::deque<TypeEncoding> m_encodings; ///< stable: cursors point into it
    std::vector<Frame> m_frames;
    Loops m_loops; ///< of all frames
    size_t m_framesCharged = 0;
    size_t m_loopsCharged = 0;
};

} // namespace platform::typedstream
