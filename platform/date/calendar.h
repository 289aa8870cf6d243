#pragma once

#include "platform/date/nsdate.h"

#include <QString>
#include <QStringView>

#include <compare>
#include <optional>

namespace platform {

/// A moment as the calendar and the clock of the local time zone show it (Gregorian throughout).
struct CalendarDate {
    int year = 1;   ///< 0 to 10000: the time zone may carry a moment over the edge of the years 1 to 9999 UTC
    int month = 1;  ///< 1 to 12
    int day = 1;    ///< 1 to 31
    int hour = 0;   ///< 0 to 23
    int minute = 0; ///< 0 to 59
    int second = 0; ///< 0 to 60; parts of a second are cut off
    int weekday = 0;        ///< 0 Sunday to 6 Saturday
    int secondsFromUtc = 0; ///< offset in force at that moment, positive east of Greenwich
};

/// @p date in the local time zone (the environment's TZ, else the system's).
[[nodiscard]] CalendarDate calendarDate(const NSDate &date);

/// @p date as UTC shows it.
[[nodiscard]] CalendarDate utcCalendarDate(const NSDate &date);

/// The moment that a UTC clock shows as these; each field may lie outside its range and carries over, as in
/// timegm(3). Nothing when the result is outside the years 1 to 9999.
[[nodiscard]] std::optional<NSDate> dateFromUtc(int year, int month, int day, int hour, int minute,
                                                int second);

/// The whole days from @p start to @p end as the local calendar and clock tell, a remainder cut off towards
/// zero; negative when the end is before the start. Noon to noon is one day also when the clocks change in
/// between, and 23:00 to 01:00 is none.
[[nodiscard]] int calendarDaysBetween(const NSDate &start, const NSDate &end);

/// @p date in local time by a calendar format, names in English whatever the locale. Codes:
///
///   %a %b %B   weekday and month short, month in full
///   %c         "%H:%M:%S %d %b %Y"
///   %d %e      day with two digits; without a leading zero or blank
///   %H %I %p   hour 00-23; hour 01-12; AM or PM
///   %M %S      minute, second
///   %m         month 01-12
///   %y %Y      year without century; with four digits
///   %z         offset from UTC, as -0800
///   %%         a percent sign
///
/// Any other code stands for itself.
[[nodiscard]] QString descriptionWithCalendarFormat(const NSDate &date, QStringView calendarFormat);

/// A month of a year, as the calendar format "%B %Y" shows it; earlier ones compare less.
struct CalendarMonth {
    int year = 1;  ///< 0 to 10000, as in CalendarDate
    int month = 1; ///< 1 to 12

    friend auto operator<=>(const CalendarMonth &, const CalendarMonth &) = default;
};
/// The month that @p text names in the calendar format "%B %Y": "March 2005". Nothing when it is not of that
/// form.
[[nodiscard]] std::optional<CalendarMonth> calendarMonth(QStringView text);

/// The UTC form of @p date with whole seconds, "2005-03-01T21:07:45Z", as XML property lists write it.
[[nodiscard]] QString utcDescription(const NSDate &date);

} // namespace platform
