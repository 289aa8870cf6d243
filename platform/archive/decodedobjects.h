#pragma once

#include "platform/formaterror.h"
#include "platform/foundation/nsobject.h"

#include <algorithm>
#include <deque>
#include <utility>

namespace platform {

/// The objects of one archive that have been made so far, by their number in the archive's table.
///
/// Makes each object once, so that identity survives decoding, and only when something that is kept asks for
/// it; refuses a kept object that holds itself, and a kept graph higher than 512 objects: taking such a graph
/// apart again would overflow the stack. Height is that of the finished graph. A chain of siblings, each
/// holding the one before, is as high as it is long, however flat the reading was.
class DecodedObjects {
public:
    static constexpr quint16 greatestHeight = 512;

    /// Makes room for the numbers below @p count.
    void resize(size_t count)
    {
        if (count > m_slots.size())
            m_slots.resize(count);
    }

    /// Object @p number, made by @p make unless that has been done.
    /// @param offset where the archive holds it, for errors.
    template <class Make>
    const ObjectRef &object(size_t number, qint64 offset, Make make)
    {
        Slot &slot = m_slots[number]; // stays where it is when others are added
        if (slot.state == State::InProgress)
            throw FormatError(offset, "an object that contains itself");
        if (slot.state == State::Absent) {
            if (m_depth == greatestHeight)
                throw FormatError(offset, "objects nested more than 512 deep");
            slot.state = State::InProgress;
            const quint16 outerHeight = std::exchange(m_heightBelow, quint16(0));
            ++m_depth;
            slot.object = make();
            --m_depth;
            slot.height = quint16(m_heightBelow + 1);
            slot.state = State::Made;
            m_heightBelow = outerHeight;
            if (slot.height > greatestHeight)
                throw FormatError(offset, "objects that hold each other more than 512 deep");
        }
        m_heightBelow = std::max(m_heightBelow, slot.height);
        return slot.object;
    }

    /// Memory that each number takes, in bytes.
    static constexpr quint64 costPerNumber() { return sizeof(Slot) + sizeof(Slot) / 8; }

private:
    enum class State : quint8 { Absent, InProgress, Made };
    /// Of a size that is a power of two: it is found by shifting, not by dividing.
    struct alignas(16) Slot {
        ObjectRef object;
        quint16 height = 0;
        State state = State::Absent;
    };

    std::deque<Slot> m_slots;
    quint16 m_heightBelow = 0; ///< greatest height among what the object in the making has asked for so far
    int m_depth = 0;
};

} // namespace platform
