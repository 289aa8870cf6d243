#include "platform/propertylist/carriedelement.h"

#include <QString>

#include <chrono>
#include <cmath>
#include <cstdlib>

namespace platform {

QByteArray integerElement(quint64 high, quint64 low)
{
    __extension__ using Wide = unsigned __int128;
    const bool isNegative = qint64(high) < 0;
    Wide magnitude = Wide(high) << 64U | low;
    if (isNegative)
        magnitude = -magnitude;
    QByteArray digits;
    do {
        digits.prepend(char('0' + int(magnitude % 10)));
        magnitude /= 10;
    } while (magnitude != 0);
    return "<integer>" + QByteArray(isNegative ? "-" : "") + digits + "</integer>";
}

QByteArray dateElement(double secondsSince2001)
{
    constexpr double farthest = 9e11; // less than 29,000 years, which std::chrono's calendar holds
    if (!(std::abs(secondsSince2001) < farthest)) {
        constexpr int everyDigit = 17;
        return "<real>" + QByteArray::number(secondsSince2001, 'g', everyDigit) + "</real>";
    }
    using namespace std::chrono;
    const sys_seconds time = sys_days(2001y / January / 1) + seconds(qint64(std::floor(secondsSince2001)));
    const sys_days day = floor<days>(time);
    const year_month_day date(day);
    const hh_mm_ss<seconds> clock(time - day);
    const int year = int(date.year());
    return QByteArray("<date>") + (year < 0 ? "-" : "") +
           QByteArray::number(std::abs(year)).rightJustified(4, '0') +
           QString::asprintf("-%02u-%02uT%02d:%02d:%02dZ</date>", unsigned(date.month()),
                             unsigned(date.day()), int(clock.hours().count()), int(clock.minutes().count()),
                             int(clock.seconds().count()))
               .toLatin1();
}

} // namespace platform
