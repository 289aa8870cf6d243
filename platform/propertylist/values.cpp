#include "platform/propertylist/values.h"

#include <charconv>
#include <cmath>

namespace platform {

namespace {

std::optional<bool> booleanFromText(const QString &text)
{
    for (const QStringView yes : {u"YES", u"true", u"1"}) {
        if (text.compare(yes, Qt::CaseInsensitive) == 0)
            return true;
    }
    for (const QStringView no : {u"NO", u"false", u"0"}) {
        if (text.compare(no, Qt::CaseInsensitive) == 0)
            return false;
    }
    return std::nullopt;
}

std::optional<qint64> integerFromReal(double value)
{
    constexpr double limit = 9223372036854775808.0; // 2 to the power of 63
    const double cut = std::trunc(value);
    const bool fits = cut >= -limit && cut < limit; // false for NaN too
    return fits ? std::optional(qint64(cut)) : std::nullopt;
}

std::optional<qint64> integerFromDigits(const QString &text)
{
    const QByteArray ascii = text.toLatin1(); // what is beyond becomes no digit
    const char *begin = ascii.begin();
    if (ascii.startsWith('+') && !ascii.startsWith("+-"))
        ++begin;
    qint64 value = 0;
    const auto [end, error] = std::from_chars(begin, ascii.end(), value);
    if (error != std::errc() || end != ascii.end())
        return std::nullopt;
    return value;
}

} // namespace

std::optional<bool> booleanFrom(const PropertyList &value)
{
    if (const auto boolean = value.boolean())
        return boolean;
    if (const auto integer = value.integer())
        return *integer != 0;
    if (const auto real = value.real())
        return *real != 0;
    if (const auto text = value.string())
        return booleanFromText(*text);
    return std::nullopt;
}

std::optional<qint64> integerFrom(const PropertyList &value)
{
    if (const auto boolean = value.boolean())
        return *boolean ? 1 : 0;
    if (const auto integer = value.integer())
        return integer;
    if (const auto real = value.real())
        return integerFromReal(*real);
    if (const auto text = value.string())
        return integerFromDigits(*text);
    return std::nullopt;
}

} // namespace platform
