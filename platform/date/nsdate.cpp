#include "platform/date/nsdate.h"

#include "platform/date/calendar.h"

#include <cmath>
#include <ctime>

namespace platform {

namespace {

constexpr qint64 unixTimeOfReference = 978307200; // 2001-01-01 00:00:00 UTC
constexpr double earliest = -63113904000.0;       // 0001-01-01 00:00:00 UTC
constexpr double latest = 252423993600.0;         // 10000-01-01 00:00:00 UTC, itself outside

} // namespace

std::optional<NSDate> NSDate::fromInterval(double secondsSince2001)
{
    if (std::isnan(secondsSince2001) || secondsSince2001 < earliest || secondsSince2001 >= latest)
        return std::nullopt;
    return NSDate(secondsSince2001);
}

NSDate NSDate::fromUnixTime(qint64 seconds, long nanoseconds)
{
    const auto whole = double(seconds - unixTimeOfReference);
    double interval = whole + double(nanoseconds) * 1e-9;
    if (interval >= whole + 1) // a double holds the end of a second no closer than this
        interval = std::nextafter(whole + 1, whole);
    return NSDate(std::fmin(std::fmax(interval, earliest), latest - 1));
}

NSDate NSDate::now()
{
    timespec time{};
    clock_gettime(CLOCK_REALTIME, &time);
    return fromUnixTime(time.tv_sec, time.tv_nsec);
}

qint64 NSDate::unixSeconds() const
{
    return qint64(std::floor(m_interval)) + unixTimeOfReference;
}

qint64 NSDate::unixMilliseconds() const
{
    // The fraction apart from the whole seconds: multiplied together, far dates would round up.
    const double whole = std::floor(m_interval);
    const auto fraction = qint64(std::floor((m_interval - whole) * 1000));
    return (qint64(whole) + unixTimeOfReference) * 1000 + fraction;
}

QString NSDate::description() const
{
    return descriptionWithCalendarFormat(*this, u"%Y-%m-%d %H:%M:%S %z");
}

} // namespace platform
