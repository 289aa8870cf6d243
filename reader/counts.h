#pragma once

#include <QLocale>
#include <QString>

namespace reader {

/// "1 message" or "2,419 messages": @p one as it stands, @p many with the number for its %1.
[[nodiscard]] inline QString counted(qint64 number, const QString &one, const QString &many)
{
    return number == 1 ? one : many.arg(QLocale().toString(number));
}

} // namespace reader
