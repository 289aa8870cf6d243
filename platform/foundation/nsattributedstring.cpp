#include "platform/foundation/nsattributedstring.h"

#include <algorithm>

namespace platform {

NSAttributedString::NSAttributedString(QString string, std::vector<Run> runs)
    : m_string(std::move(string)), m_runs(std::move(runs))
{
    // In place: there can be very many.
    qsizetype uncovered = m_string.size();
    size_t kept = 0;
    for (Run &run : m_runs) {
        const qsizetype length = std::clamp(run.length, qsizetype(0), uncovered);
        uncovered -= length;
        if (length == 0)
            continue;
        if (kept > 0 && m_runs[kept - 1].attributes == run.attributes)
            m_runs[kept - 1].length += length;
        else
            m_runs[kept++] = {length, std::move(run.attributes)};
    }
    m_runs.resize(kept);
    extendRuns(uncovered, nullptr);
    if (m_runs.capacity() > 2 * m_runs.size())
        m_runs.shrink_to_fit();
}

bool NSAttributedString::hasAttribute(QStringView name) const
{
    return std::any_of(m_runs.begin(), m_runs.end(), [name](const Run &run) {
        return run.attributes && run.attributes->objectForKey(name) != nullptr;
    });
}

void NSAttributedString::append(QStringView text, const AttributesRef &attributes)
{
    m_string += text;
    extendRuns(text.size(), attributes);
}

void NSAttributedString::append(const NSAttributedString &other)
{
    m_string += other.m_string;
    for (const Run &run : other.m_runs)
        extendRuns(run.length, run.attributes);
}

void NSAttributedString::extendRuns(qsizetype length, const AttributesRef &attributes)
{
    if (length == 0)
        return;
    if (!m_runs.empty() && m_runs.back().attributes == attributes)
        m_runs.back().length += length;
    else
        m_runs.push_back({length, attributes});
}

} // namespace platform
