#pragma once

#include "platform/archive/typedstream/typeencoding.h"

#include <vector>

namespace platform::typedstream {

/// Walks the values of one group: the items of its type encoding in order, loops as often as they say.
class GroupCursor {
public:
    /// No group: at the end.
    GroupCursor() = default;
    /// At the first value of a group of this encoding, which must outlive the cursor.
    explicit GroupCursor(const TypeEncoding &encoding) : m_items(&encoding.items()) { enterLoops(); }

    /// Whether all values have been passed.
    [[nodiscard]] bool atEnd() const { return !m_items || m_next == m_items->size(); }
    /// The value that stands next; there must be one. Never the head of a loop.
    [[nodiscard]] const TypeEncoding::Item &item() const { return (*m_items)[m_next]; }
    /// Passes that value.
    void advance()
    {
        ++m_next;
        while (!m_loops.empty() && m_next == m_loops.back().end) {
            if (--m_loops.back().left > 0)
                m_next = m_loops.back().begin;
            else
                m_loops.pop_back();
        }
        enterLoops();
    }

private:
    struct Loop {
        quint32 begin, end; ///< items of the body
        quint32 left;       ///< rounds not finished yet, the present one included
    };

    void enterLoops()
    {
        while (!atEnd() && item().code == TypeEncoding::LoopCode) {
            m_loops.push_back({m_next + 1, item().end, item().count});
            ++m_next;
        }
    }

    const std::vector<TypeEncoding::Item> *m_items = nullptr;
    quint32 m_next = 0;
    std::vector<Loop> m_loops;
};

} // namespace platform::typedstream
