#include "index/period.h"

#include <algorithm>

namespace indexing {

namespace {

constexpr qint64 millisecondsADay = qint64(24) * 60 * 60 * 1000;

} // namespace

std::optional<Period> Period::fromText(QStringView text)
{
    constexpr std::array<qsizetype, 5> lengths{4, 2, 2, 2, 2};
    constexpr std::array<char16_t, 4> between{u'-', u'-', u' ', u':'};
    constexpr std::array<std::pair<int, int>, 5> ranges{{{1, 9999}, {1, 12}, {1, 31}, {0, 23}, {0, 59}}};
    Period period;
    while (period.m_count < lengths.size()) {
        const size_t field = period.m_count;
        const QStringView digits = text.first(std::min(lengths.at(field), text.size()));
        const bool areDigits =
            std::all_of(digits.begin(), digits.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
        const int value = digits.toInt();
        if (digits.size() < lengths.at(field) || !areDigits || value < ranges.at(field).first ||
            value > ranges.at(field).second)
            return std::nullopt;
        period.m_fields.at(period.m_count++) = value;
        text = text.sliced(digits.size());
        if (text.isEmpty())
            return period;
        if (field >= between.size() || text.front() != between.at(field))
            return std::nullopt;
        text = text.sliced(1);
    }
    return std::nullopt;
}

int Period::place(const platform::CalendarDate &date) const
{
    const std::array<int, 5> fields{date.year, date.month, date.day, date.hour, date.minute};
    for (size_t field = 0; field < m_count; ++field) {
        if (fields.at(field) != m_fields.at(field))
            return fields.at(field) < m_fields.at(field) ? -1 : 1;
    }
    return 0;
}

qint64 Period::earliest() const
{
    const auto begin = platform::dateFromUtc(m_fields[0], std::max(m_fields[1], 1), std::max(m_fields[2], 1),
                                             m_fields[3], m_fields[4], 0);
    return begin ? begin->unixMilliseconds() - 2 * millisecondsADay : std::numeric_limits<qint64>::min();
}

qint64 Period::latest() const
{
    std::array<int, 5> next = m_fields;
    next[1] = std::max(next[1], 1);
    next[2] = std::max(next[2], 1);
    ++next.at(m_count - 1); // a month of 13 and the like carry over
    const auto end = platform::dateFromUtc(next[0], next[1], next[2], next[3], next[4], 0);
    return end ? end->unixMilliseconds() + 2 * millisecondsADay : std::numeric_limits<qint64>::max();
}

} // namespace indexing
