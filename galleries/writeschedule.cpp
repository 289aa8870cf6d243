#include "galleries/writeschedule.h"

namespace galleries {

bool WriteSchedule::isDue() const
{
    constexpr int share = 50;
    return m_now() - m_lastEnd >= share * m_lastCost;
}

void WriteSchedule::writeOne(const std::function<void()> &write)
{
    const Clock::time_point start = m_now();
    write();
    m_lastEnd = m_now();
    m_lastCost += m_lastEnd - start;
}

void WriteSchedule::writeAll(const std::function<void()> &write)
{
    m_lastCost = {};
    writeOne(write);
}

} // namespace galleries
