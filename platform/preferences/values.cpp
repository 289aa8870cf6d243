#include "platform/preferences/preferences.h"

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
    if (!(cut >= -limit && cut < limit)) // false for NaN too
        return std::nullopt;
    return qint64(cut);
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

std::optional<bool> booleanFromPreference(const PropertyList &value)
{
    switch (value.kind()) {
    case PropertyListKind::Boolean: return value.boolean();
    case PropertyListKind::Integer: return value.integer() != 0;
    case PropertyListKind::Real: return value.real() != 0.0;
    case PropertyListKind::String: return booleanFromText(value.string().value());
    default: return std::nullopt;
    }
}

std::optional<qint64> integerFromPreference(const PropertyList &value)
{
    switch (value.kind()) {
    case PropertyListKind::Boolean: return value.boolean().value() ? 1 : 0;
    case PropertyListKind::Integer: return value.integer();
    case PropertyListKind::Real: return integerFromReal(value.real().value());
    case PropertyListKind::String: return integerFromDigits(value.string().value());
    default: return std::nullopt;
    }
}

} // namespace platform
