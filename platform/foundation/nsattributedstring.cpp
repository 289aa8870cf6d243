#include "platform/foundation/nsattributedstring.h"

#include <algorithm>

namespace platform {

NSAttributedString::NSAttributedString(QString string, const std::vector<Run> &runs)
    : m_string(std::move(string))
{
    qsizetype uncovered = m_string.size();
    m_runs.reserve(runs.size() + 1);
    for (const Run &run : runs) {
        const qsizetype length = std::clamp(run.length, qsizetype(0), uncovered);
        extendRuns(length, run.attributes);
        uncovered -= length;
    }
    extendRuns(uncovered, nullptr);
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
