#include "export/moments.h"

#include <array>

namespace exporting {

namespace {

constexpr qint64 millisecondsASecond = 1000;

qint64 restOf(qint64 milliseconds)
{
    return ((milliseconds % millisecondsASecond) + millisecondsASecond) % millisecondsASecond;
}

} // namespace

platform::NSDate dateOf(qint64 milliseconds)
{
    return platform::NSDate::fromUnixTime((milliseconds - restOf(milliseconds)) / millisecondsASecond);
}

QString dayText(const std::optional<qint64> &milliseconds)
{
    if (!milliseconds)
        return QStringLiteral("Without a date");
    static constexpr std::array<QStringView, 7> weekdays{u"Sunday",   u"Monday", u"Tuesday", u"Wednesday",
                                                         u"Thursday", u"Friday", u"Saturday"};
    const platform::NSDate date = dateOf(*milliseconds);
    return weekdays.at(size_t(platform::calendarDate(date).weekday)).toString() +
           platform::descriptionWithCalendarFormat(date, u", %e %B %Y");
}

QString minuteText(const std::optional<qint64> &milliseconds)
{
    return milliseconds ? platform::descriptionWithCalendarFormat(dateOf(*milliseconds), u"%H:%M")
                        : QStringLiteral("--:--");
}

QString exactText(qint64 milliseconds)
{
    return dateOf(milliseconds).description();
}

QString isoText(qint64 milliseconds)
{
    QString text = platform::descriptionWithCalendarFormat(dateOf(milliseconds), u"%Y-%m-%dT%H:%M:%S%z");
    constexpr qsizetype minutes = 2;
    text.insert(text.size() - minutes, u':');
    return text;
}

QString utcText(qint64 milliseconds)
{
    QString text = platform::utcDescription(dateOf(milliseconds));
    text.chop(1); // the closing Z
    return text + u'.' + QString::number(restOf(milliseconds)).rightJustified(3, u'0') + u'Z';
}

} // namespace exporting
