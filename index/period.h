#pragma once

#include "platform/date/calendar.h"

#include <QStringView>

#include <array>
#include <optional>

namespace indexing {

/// A date as people give it, from the year on and as exact as they like: a stretch of local time.
class Period {
public:
    /// Of "2005", "2005-03", "2005-03-01", "2005-03-01 21" or "2005-03-01 21:07"; nothing of anything else.
    [[nodiscard]] static std::optional<Period> fromText(QStringView text);

    /// Less than 0 when @p date is before the period, 0 when in it, more when after it.
    [[nodiscard]] int place(const platform::CalendarDate &date) const;

    /// Unix times in milliseconds, wherever on earth: no moment before the first one is in the period or
    /// after it, and none after the second one is in it or before it.
    [[nodiscard]] qint64 earliest() const;
    [[nodiscard]] qint64 latest() const;

private:
    std::array<int, 5> m_fields{};
    size_t m_count = 0;
};

} // namespace indexing
