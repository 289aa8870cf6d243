#include "platform/date/calendar.h"

#include <array>
#include <cmath>
#include <ctime>

namespace platform {

namespace {

constexpr std::array<const char *, 12> monthNames{"January",   "February", "March",    "April",
                                                  "May",       "June",     "July",     "August",
                                                  "September", "October",  "November", "December"};
constexpr std::array<const char *, 7> weekdayNames{"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};

CalendarDate fromBrokenDown(const std::tm &time)
{
    return {.year = time.tm_year + 1900,
            .month = time.tm_mon + 1,
            .day = time.tm_mday,
            .hour = time.tm_hour,
            .minute = time.tm_min,
            .second = time.tm_sec,
            .weekday = time.tm_wday,
            .secondsFromUtc = int(time.tm_gmtoff)};
}

void appendPadded(QString &text, int value, int digits)
{
    text += QString::number(value).rightJustified(digits, u'0');
}

void appendOffset(QString &text, int secondsFromUtc)
{
    const int minutes = std::abs(secondsFromUtc) / 60;
    text += secondsFromUtc < 0 ? u'-' : u'+';
    appendPadded(text, minutes / 60, 2);
    appendPadded(text, minutes % 60, 2);
}

/// Appends what @p code stands for; false when it is no code.
bool appendField(QString &text, const CalendarDate &date, char16_t code)
{
    switch (code) {
    case u'a': text += QLatin1String(weekdayNames.at(date.weekday)); return true;
    case u'b': text += QLatin1String(monthNames.at(date.month - 1), 3); return true;
    case u'B': text += QLatin1String(monthNames.at(date.month - 1)); return true;
    case u'd': appendPadded(text, date.day, 2); return true;
    case u'e': appendPadded(text, date.day, 1); return true;
    case u'H': appendPadded(text, date.hour, 2); return true;
    case u'I': appendPadded(text, (date.hour + 11) % 12 + 1, 2); return true;
    case u'm': appendPadded(text, date.month, 2); return true;
    case u'M': appendPadded(text, date.minute, 2); return true;
    case u'p': text += date.hour < 12 ? QLatin1String("AM") : QLatin1String("PM"); return true;
    case u'S': appendPadded(text, date.second, 2); return true;
    case u'y': appendPadded(text, date.year % 100, 2); return true;
    case u'Y': appendPadded(text, date.year, 4); return true;
    case u'z': appendOffset(text, date.secondsFromUtc); return true;
    case u'%': text += u'%'; return true;
    default: return false;
    }
}

void appendFormatted(QString &text, const CalendarDate &date, QStringView format)
{
    for (qsizetype i = 0; i < format.size(); ++i) {
        if (format[i] != u'%' || i + 1 == format.size()) {
            text += format[i];
            continue;
        }
        const char16_t code = format[++i].unicode();
        if (code == u'c')
            appendFormatted(text, date, u"%H:%M:%S %d %b %Y");
        else if (!appendField(text, date, code))
            text += format.sliced(i - 1, 2);
    }
}

/// What the local clock showed at @p date, as seconds since it showed the start of 2001.
double localSeconds(const NSDate &date)
{
    return date.timeIntervalSinceReferenceDate() + calendarDate(date).secondsFromUtc;
}

} // namespace

CalendarDate calendarDate(const NSDate &date)
{
    const std::time_t seconds = date.unixSeconds();
    std::tm time{};
    localtime_r(&seconds, &time);
    return fromBrokenDown(time);
}

CalendarDate utcCalendarDate(const NSDate &date)
{
    const std::time_t seconds = date.unixSeconds();
    std::tm time{};
    gmtime_r(&seconds, &time);
    return fromBrokenDown(time);
}

std::optional<NSDate> dateFromUtc(int year, int month, int day, int hour, int minute, int second)
{
    std::tm time{};
    time.tm_year = year - 1900;
    time.tm_mon = month - 1;
    time.tm_mday = day;
    time.tm_hour = hour;
    time.tm_min = minute;
    time.tm_sec = second;
    const std::time_t seconds = timegm(&time);
    const NSDate date = NSDate::fromUnixTime(seconds);
    return date.unixSeconds() == seconds ? std::optional(date) : std::nullopt;
}

int calendarDaysBetween(const NSDate &start, const NSDate &end)
{
    constexpr double secondsPerDay = 86400;
    return int((localSeconds(end) - localSeconds(start)) / secondsPerDay);
}

QString descriptionWithCalendarFormat(const NSDate &date, QStringView calendarFormat)
{
    QString text;
    appendFormatted(text, calendarDate(date), calendarFormat);
    return text;
}

std::optional<CalendarMonth> calendarMonth(QStringView text)
{
    constexpr qsizetype mostDigits = 5;
    constexpr int latestYear = 10000;

    const qsizetype blank = text.indexOf(u' ');
    const QStringView digits = text.sliced(blank + 1);
    if (blank < 0 || digits.isEmpty() || digits.size() > mostDigits)
        return std::nullopt;
    int year = 0;
    for (const QChar digit : digits) {
        if (digit < u'0' || digit > u'9')
            return std::nullopt;
        year = year * 10 + (digit.unicode() - u'0');
    }
    if (year > latestYear)
        return std::nullopt;
    for (size_t i = 0; i < monthNames.size(); ++i) {
        if (text.first(blank) == QLatin1String(monthNames[i]))
            return CalendarMonth{year, int(i) + 1};
    }
    return std::nullopt;
}

QString utcDescription(const NSDate &date)
{
    QString text;
    appendFormatted(text, utcCalendarDate(date), u"%Y-%m-%dT%H:%M:%SZ");
    return text;
}

} // namespace platform
