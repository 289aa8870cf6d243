#include "reader/times.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QLocale>

namespace reader {

namespace {

QDateTime local(qint64 milliseconds)
{
    return QDateTime::fromMSecsSinceEpoch(milliseconds);
}

QString translated(const char *text)
{
    return QCoreApplication::translate("reader", text);
}

} // namespace

QDate dateOf(qint64 milliseconds)
{
    return local(milliseconds).date();
}

QString longDate(QDate date)
{
    return QLocale().toString(date, QLocale::LongFormat);
}

QString shortDate(QDate date)
{
    const QLocale locale;
    QString format = locale.dateFormat(QLocale::ShortFormat);
    if (!format.contains(QStringLiteral("yyyy")))
        format.replace(QStringLiteral("yy"), QStringLiteral("yyyy"));
    return locale.toString(date, format);
}

QString monthAndYear(QDate date)
{
    return QLocale().standaloneMonthName(date.month()) + u' ' + QString::number(date.year());
}

QString shortTime(qint64 milliseconds)
{
    const QLocale locale; // that of no language writes the seconds too
    return locale.language() == QLocale::C
               ? local(milliseconds).toString(QStringLiteral("HH:mm"))
               : locale.toString(local(milliseconds).time(), QLocale::ShortFormat);
}

QString exactTime(qint64 milliseconds)
{
    const QDateTime time = local(milliseconds);
    return longDate(time.date()) + u' ' + QLocale().toString(time.time(), QStringLiteral("HH:mm:ss"));
}

QString duration(qint64 milliseconds)
{
    constexpr qint64 second = 1000;
    constexpr qint64 minute = 60 * second;
    constexpr qint64 hour = 60 * minute;
    if (milliseconds >= hour)
        return translated("%1 h %2 min").arg(milliseconds / hour).arg(milliseconds % hour / minute);
    if (milliseconds >= minute)
        return translated("%1 min").arg(milliseconds / minute);
    return translated("%1 s").arg(milliseconds / second);
}

} // namespace reader
