#pragma once

#include "platform/archive/typedstream/typeencoding.h"

#include <vector>

namespace platform::typedstream {

/// The loops that are being read, the innermost last. One list serves all cursors that are at work inside one
/// another, so that a place deep down in a stream costs no memory of its own.
struct Loop {
    quint32 begin, end; ///< items of the body
    quint32 left;       ///< rounds not finished yet, the present one included
};
using Loops = std::vector<Loop>;

/// Walks the values of one group: the items of its type encoding in order, loops as often as they say.
///
/// Every call takes the same list of loops. While another cursor that was begun later with that list is not
/// at its end, this one must not be used.
class GroupCursor {
public:
    /// No group: at the end.
    GroupCursor() = default;
    /// At the first value of a group of this encoding, which must outlive the cursor.
    GroupCursor(const TypeEncoding &encoding, Loops &loops)
        : m_items(encoding.items().data()), m_count(quint32(encoding.items().size())),
          m_outerLoops(quint32(loops.size()))
    {
        enterLoops(loops);
    }

    /// Whether all values have been passed.
    [[nodiscard]] bool atEnd() const { return m_next == m_count; }
    /// The value that stands next; there must be one. Never the head of a loop.
    [[nodiscard]] const TypeEncoding::Item &item() const { return m_items[m_next]; }
    /// Passes that value.
    void advance(Loops &loops)
    {
        ++m_next;
        while (loops.size() > m_outerLoops && m_next == loops.back().end) {
            if (--loops.back().left > 0)
                m_next = loops.back().begin;
            else
                loops.pop_back();
        }
        enterLoops(loops);
    }

private:
    void enterLoops(Loops &loops)
    {
        while (!atEnd() && item().code == TypeEncoding::LoopCode) {
            loops.push_back({m_next + 1, item().end, item().count});
            ++m_next;
        }
    }

    const TypeEncoding::Item *m_items = nullptr;
    quint32 m_count = 0;
    quint32 m_next = 0;
    quint32 m_outerLoops = 0; ///< how many of the loops are not this cursor's
};

} // namespace platform::typedstream
