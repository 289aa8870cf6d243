#include "platform/date/calendar.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <ctime>
#include <limits>

using platform::dateFromUtc;
using platform::descriptionWithCalendarFormat;
using platform::NSDate;

namespace {

class Calendar : public testing::Test {
protected:
    void SetUp() override
    {
        setenv("TZ", "America/Los_Angeles", 1);
        tzset();
    }
    void TearDown() override
    {
        unsetenv("TZ");
        tzset();
    }
};

} // namespace

TEST_F(Calendar, FormatsEveryCode)
{
    const NSDate evening = dateFromUtc(2005, 3, 2, 5, 7, 45).value(); // 1 March, 21:07:45 in Los Angeles
    const struct {
        const char16_t *format;
        const char *text;
    } table[] = {
        {u"%a %B %e, %I:%M%p", "Tue March 1, 09:07PM"},
        {u"%a%b%e%I%M%p", "TueMar10907PM"},
        {u"%d %b %y %H:%M:%S\n", "01 Mar 05 21:07:45\n"},
        {u"%B %Y", "March 2005"},
        {u"%c", "21:07:45 01 Mar 2005"},
        {u"%Y-%m-%d %H:%M:%S %z", "2005-03-01 21:07:45 -0800"},
        {u"100%% %q %", "100% %q %"},
    };
    for (const auto &row : table)
        EXPECT_EQ(descriptionWithCalendarFormat(evening, row.format), QLatin1String(row.text));

    const NSDate summer = dateFromUtc(2005, 7, 4, 19, 0, 0).value();
    EXPECT_EQ(summer.description(), QLatin1String("2005-07-04 12:00:00 -0700"));
    EXPECT_EQ(descriptionWithCalendarFormat(summer, u"%I%p"), QLatin1String("12PM"));
    EXPECT_EQ(descriptionWithCalendarFormat(dateFromUtc(2005, 7, 4, 7, 0, 0).value(), u"%I%p"),
              QLatin1String("12AM"));
}

TEST_F(Calendar, CountsWholeDaysAsTheLocalClockShowsThem)
{
    const auto utc = [](int month, int day, int hour, int minute = 0, int second = 0) {
        return dateFromUtc(2005, month, day, hour, minute, second).value();
    };
    const struct {
        const char *what;
        NSDate start;
        NSDate end;
        int days;
    } table[] = {
        {"1 March 23:00 to 2 March 01:00", utc(3, 2, 7), utc(3, 2, 9), 0},
        {"noon to noon", utc(3, 1, 20), utc(3, 11, 20), 10},
        {"noon to a second before noon", utc(3, 1, 20), utc(3, 11, 19, 59, 59), 9},
        {"noon to noon, 23 hours", utc(4, 2, 20), utc(4, 3, 19), 1},
        {"noon to noon, 25 hours", utc(10, 29, 19), utc(10, 30, 20), 1},
        {"noon to 11:30, 24 and a half hours", utc(10, 29, 19), utc(10, 30, 19, 30), 0},
        {"36 hours back", utc(3, 3, 8), utc(3, 1, 20), -1},
        {"an hour back", utc(3, 2, 9), utc(3, 2, 8), 0},
        {"over a year", utc(1, 1, 8), dateFromUtc(2006, 1, 1, 8, 0, 0).value(), 365},
        {"the whole calendar", NSDate::fromInterval(-63113904000.0).value(),
         NSDate::fromInterval(252423993599.0).value(), 3652058},
    };
    for (const auto &row : table)
        EXPECT_EQ(platform::calendarDaysBetween(row.start, row.end), row.days) << row.what;
}

TEST_F(Calendar, CutsPartsOfASecondDownwardsOnBothSidesOfEveryEpoch)
{
    // A double would round it up to the next second.
    EXPECT_EQ(NSDate::fromUnixTime(1109963002, 999'999'999).unixSeconds(), 1109963002);
    EXPECT_EQ(NSDate::fromUnixTime(-1, 999'999'999).unixSeconds(), -1);
    const NSDate before1970 = NSDate::fromUnixTime(-1, 500'000'000);
    EXPECT_EQ(before1970.unixSeconds(), -1);
    EXPECT_EQ(before1970.unixMilliseconds(), -500);
    const NSDate before2001 = NSDate::fromInterval(-0.25).value();
    EXPECT_EQ(before2001.unixSeconds(), 978307199);
    EXPECT_EQ(before2001.unixMilliseconds(), 978307199750);
    EXPECT_EQ(platform::utcDescription(NSDate::fromInterval(45.9996).value()),
              QLatin1String("2001-01-01T00:00:45Z"));
    EXPECT_EQ(NSDate::fromInterval(45.9996)->unixMilliseconds() % 1000, 999);
}

TEST_F(Calendar, HasNoDatesOutsideTheYears1To9999)
{
    EXPECT_EQ(platform::utcDescription(NSDate::fromInterval(-63113904000.0).value()),
              QLatin1String("0001-01-01T00:00:00Z"));
    EXPECT_EQ(platform::utcDescription(NSDate::fromInterval(252423993599.5).value()),
              QLatin1String("9999-12-31T23:59:59Z"));
    EXPECT_FALSE(NSDate::fromInterval(std::nextafter(-63113904000.0, -1e300)));
    EXPECT_FALSE(NSDate::fromInterval(252423993600.0));
    EXPECT_FALSE(NSDate::fromInterval(std::numeric_limits<double>::quiet_NaN()));
    EXPECT_FALSE(NSDate::fromInterval(std::numeric_limits<double>::infinity()));
    EXPECT_FALSE(dateFromUtc(10000, 1, 1, 0, 0, 0));
    EXPECT_TRUE(dateFromUtc(9999, 12, 31, 23, 59, 59));
}
