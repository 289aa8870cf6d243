#include "DateComparator.h"

#include "platform/date/calendar.h"

std::strong_ordering DateComparator::compareLinkDateString(QStringView receiver, QStringView other)
{
    return platform::calendarMonth(receiver) <=> platform::calendarMonth(other);
}
