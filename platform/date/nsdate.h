#pragma once

#include "platform/foundation/nsobject.h"

#include <compare>
#include <optional>

namespace platform {

/// A moment, to the precision of a double: seconds since 2001-01-01 00:00:00 UTC, negative before it.
///
/// Held by value and copied freely. It always lies in the years 1 to 9999 UTC, so every date can be shown and
/// stored; what does not is no date, see fromInterval(). Differs from the platform's class in that bound.
class NSDate final : public NSObject {
public:
    /// The moment @p secondsSince2001 after the reference date, or nothing when that is not finite or outside
    /// the years 1 to 9999 UTC.
    [[nodiscard]] static std::optional<NSDate> fromInterval(double secondsSince2001);
    /// A moment given in Unix time; the nanoseconds (0 to 999,999,999) count forward from the second, which
    /// the moment never leaves. A moment outside the years 1 to 9999 UTC becomes the nearest inside.
    [[nodiscard]] static NSDate fromUnixTime(qint64 seconds, long nanoseconds = 0);
    /// The current moment.
    [[nodiscard]] static NSDate now();
    /// A moment that never comes: the beginning of the year 4001.
    [[nodiscard]] static NSDate distantFuture() { return NSDate(63113904000.0); }

    [[nodiscard]] double timeIntervalSinceReferenceDate() const { return m_interval; }
    /// Whole seconds of Unix time, cut downwards: 0.5 s before 1970 is -1.
    [[nodiscard]] qint64 unixSeconds() const;
    /// This moment cut downwards to whole seconds.
    [[nodiscard]] NSDate wholeSeconds() const { return fromUnixTime(unixSeconds()); }
    /// Milliseconds of Unix time, cut downwards.
    [[nodiscard]] qint64 unixMilliseconds() const;

    /// "2005-03-01 21:07:45 -0800": the local time of day and the offset from UTC in force then.
    [[nodiscard]] QString description() const override;
    [[nodiscard]] QString className() const override { return QStringLiteral("NSDate"); }

    friend auto operator<=>(const NSDate &a, const NSDate &b) { return a.m_interval <=> b.m_interval; }
    friend bool operator==(const NSDate &a, const NSDate &b) { return a.m_interval == b.m_interval; }

private:
    explicit NSDate(double interval) : m_interval(interval) {}

    double m_interval;
};

} // namespace platform
