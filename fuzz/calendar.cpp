#include "fuzz/fuzz.h"

#include "DateComparator.h"

#include "platform/date/calendar.h"
#include "platform/text/encoding.h"

#include <cstring>

// The first eight bytes are a date as archives hold it, the rest is a month title and a calendar format.

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    double seconds = 0;
    if (size < sizeof seconds)
        return 0;
    std::memcpy(&seconds, data, sizeof seconds);
    const QString text =
        platform::stringFromUtf8(fuzz::bytesOf(data + sizeof seconds, size - sizeof seconds));
    static_cast<void>(DateComparator::compareLinkDateString(text, u"March 2005"));
    if (const auto month = platform::calendarMonth(text))
        fuzz::require(month->month >= 1 && month->month <= 12 && month->year >= 0 && month->year <= 10000);

    const auto date = platform::NSDate::fromInterval(seconds);
    if (!date)
        return 0;
    // A month's title, as pages have it, is read back as that month.
    const platform::CalendarDate shown = platform::calendarDate(*date);
    const auto month = platform::calendarMonth(platform::descriptionWithCalendarFormat(*date, u"%B %Y"));
    fuzz::require(month && month->year == shown.year && month->month == shown.month);
    static_cast<void>(platform::descriptionWithCalendarFormat(*date, text));
    static_cast<void>(platform::calendarDaysBetween(*date, platform::NSDate::fromUnixTime(0)));
    return 0;
}
