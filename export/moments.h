#pragma once

#include "platform/date/calendar.h"

#include <QString>

#include <optional>

namespace exporting {

// Moments of messages, in milliseconds of Unix time, as documents show them: in the local time zone.

/// @p milliseconds cut downwards to whole seconds.
[[nodiscard]] platform::NSDate dateOf(qint64 milliseconds);

/// "Saturday, 20 August 2005"; "Without a date" for nothing.
[[nodiscard]] QString dayText(const std::optional<qint64> &milliseconds);
/// "21:07"; "--:--" for nothing.
[[nodiscard]] QString minuteText(const std::optional<qint64> &milliseconds);
/// "2005-08-20 21:07:45 -0700".
[[nodiscard]] QString exactText(qint64 milliseconds);
/// The local time by ISO 8601, "2005-08-20T21:07:45-07:00".
[[nodiscard]] QString isoText(qint64 milliseconds);
/// The same in UTC with milliseconds: "2005-08-21T04:07:45.250Z".
[[nodiscard]] QString utcText(qint64 milliseconds);

} // namespace exporting
