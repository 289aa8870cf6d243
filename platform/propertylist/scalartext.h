#pragma once

#include "platform/date/nsdate.h"

#include <QByteArrayView>

#include <optional>

namespace platform {

// Numbers and dates as the textual forms of a property list spell them.

/// An integer of decimal digits, or of hexadecimal ones behind "0x", with or without a sign; blanks around it
/// do not count. What 64 bits cannot hold becomes the nearest that they can. Nothing for any other text.
[[nodiscard]] std::optional<qint64> integerFromText(QByteArrayView text);

/// A real in decimal, with or without sign, point and exponent, or "inf", "infinity" or "nan" in any letter
/// case; blanks around it do not count. Nothing for any other text, or beyond the range of a double.
[[nodiscard]] std::optional<double> realFromText(QByteArrayView text);

/// What became of a date's text.
struct DateText {
    bool wellFormed = false;
    std::optional<NSDate> date; ///< nothing for one that the years 1 to 9999 do not hold
};

/// A date as the XML form has it, "2005-03-01T21:07:45Z"; blanks around it do not count.
[[nodiscard]] DateText dateFromXmlText(QByteArrayView text);

/// A date as the text form's typed scalars have it, "2005-03-01 21:07:45 +0000"; blanks around it do not
/// count.
[[nodiscard]] DateText dateFromDescription(QByteArrayView text);

} // namespace platform
