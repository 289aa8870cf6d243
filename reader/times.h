#pragma once

#include <QDate>
#include <QString>

namespace reader {

// Dates and times as the user's locale writes them, in the local time zone. Times are Unix times in
// milliseconds.

[[nodiscard]] QDate dateOf(qint64 milliseconds);
/// "Tuesday, 1 March 2005"
[[nodiscard]] QString longDate(QDate date);
/// "01/03/2005", the year in four digits
[[nodiscard]] QString shortDate(QDate date);
/// "March 2005"
[[nodiscard]] QString monthAndYear(QDate date);
/// "21:07"
[[nodiscard]] QString shortTime(qint64 milliseconds);
/// "Tuesday, 1 March 2005 21:07:45"
[[nodiscard]] QString exactTime(qint64 milliseconds);
/// "1 h 12 min", "4 min", "20 s"
[[nodiscard]] QString duration(qint64 milliseconds);

} // namespace reader
