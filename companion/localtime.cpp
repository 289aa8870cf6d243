#include "companion/localtime.h"

#include "companion/jsonlines.h"

#include "platform/date/calendar.h"

namespace companion {

QString dayOf(const std::optional<qint64> &milliseconds)
{
    return milliseconds ? platform::descriptionWithCalendarFormat(dateOf(*milliseconds), u"%a %Y-%m-%d")
                        : QStringLiteral("without a date");
}

QString timeOfDay(const std::optional<qint64> &milliseconds)
{
    return milliseconds ? platform::descriptionWithCalendarFormat(dateOf(*milliseconds), u"%H:%M")
                        : QStringLiteral("--:--");
}

} // namespace companion
