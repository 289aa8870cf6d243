#include "DateComparator.h"

#include "platform/date/calendar.h"

std::strong_ordering DateComparator::compareLinkDateString(QStringView receiver, QStringView other)
{
    return platform::calendarMonth(receiver) <=> platform::calendarMonth(other);
}

std::strong_ordering DateComparator::compareImageDateString(QStringView receiver, QStringView other)
{
    return compareLinkDateString(receiver, other); // both galleries' titles are alike
}
