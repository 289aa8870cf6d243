#include "platform/propertylist/scalartext.h"

#include "platform/date/calendar.h"

#include <charconv>
#include <chrono>
#include <limits>

namespace platform {

namespace {

// In a pattern 0 stands for any digit and everything else for itself.

bool matches(QByteArrayView text, QByteArrayView pattern)
{
    if (text.size() != pattern.size())
        return false;
    for (qsizetype i = 0; i < pattern.size(); ++i) {
        const bool isDigit = text[i] >= '0' && text[i] <= '9';
        if (pattern[i] == '0' ? !isDigit : text[i] != pattern[i])
            return false;
    }
    return true;
}

int number(QByteArrayView text, qsizetype at, qsizetype digits)
{
    int value = 0;
    for (const char digit : text.sliced(at, digits))
        value = value * 10 + (digit - '0');
    return value;
}

/// The date whose year to second stand in @p text, each separated from the next by one character.
DateText dateFromFields(QByteArrayView text, int secondsFromUtc)
{
    const int year = number(text, 0, 4);
    const int month = number(text, 5, 2);
    const int day = number(text, 8, 2);
    const int hour = number(text, 11, 2);
    const int minute = number(text, 14, 2);
    const int second = number(text, 17, 2);
    const std::chrono::year_month_day calendarDay{
        std::chrono::year(year), std::chrono::month(unsigned(month)), std::chrono::day(unsigned(day))};
    if (!calendarDay.ok() || hour > 23 || minute > 59 || second > 60)
        return {};
    return {true, dateFromUtc(year, month, day, hour, minute, second - secondsFromUtc)};
}

} // namespace

std::optional<qint64> integerFromText(QByteArrayView text)
{
    text = text.trimmed();
    const bool negative = text.startsWith('-');
    if (negative || text.startsWith('+'))
        text = text.sliced(1);
    int base = 10;
    if (text.startsWith("0x") || text.startsWith("0X")) {
        base = 16;
        text = text.sliced(2);
    }
    constexpr auto largest = quint64(std::numeric_limits<qint64>::max());
    quint64 magnitude = 0;
    const auto [end, error] = std::from_chars(text.begin(), text.end(), magnitude, base);
    if (end != text.end() || error == std::errc::invalid_argument)
        return std::nullopt;
    if (error == std::errc::result_out_of_range || magnitude > largest)
        return negative ? std::numeric_limits<qint64>::min() : std::numeric_limits<qint64>::max();
    return negative ? -qint64(magnitude) : qint64(magnitude);
}

std::optional<double> realFromText(QByteArrayView text)
{
    text = text.trimmed();
    if (text.startsWith('+') && !text.startsWith("+-"))
        text = text.sliced(1);
    double value = 0;
    const auto [end, error] = std::from_chars(text.begin(), text.end(), value);
    if (end != text.end() || error != std::errc())
        return std::nullopt;
    return value;
}

DateText dateFromXmlText(QByteArrayView text)
{
    text = text.trimmed();
    return matches(text, "0000-00-00T00:00:00Z") ? dateFromFields(text, 0) : DateText();
}

DateText dateFromDescription(QByteArrayView text)
{
    text = text.trimmed();
    const bool west = matches(text, "0000-00-00 00:00:00 -0000");
    if (!west && !matches(text, "0000-00-00 00:00:00 +0000"))
        return {};
    const int seconds = number(text, 21, 2) * 3600 + number(text, 23, 2) * 60;
    return dateFromFields(text, west ? -seconds : seconds);
}

} // namespace platform
