#include "companion/jsonlines.h"

#include "companion/console.h"

#include "platform/date/calendar.h"

#include <QJsonDocument>

namespace companion {

void printJsonLine(const QJsonObject &object)
{
    printLine(QByteArrayView(QJsonDocument(object).toJson(QJsonDocument::Compact)));
}

platform::NSDate dateOf(qint64 milliseconds)
{
    constexpr qint64 millisecondsASecond = 1000;
    const qint64 rest = ((milliseconds % millisecondsASecond) + millisecondsASecond) % millisecondsASecond;
    return platform::NSDate::fromUnixTime((milliseconds - rest) / millisecondsASecond);
}

QJsonValue jsonText(const std::optional<QString> &text)
{
    return text ? QJsonValue(*text) : QJsonValue();
}

QJsonValue jsonTime(const std::optional<qint64> &milliseconds)
{
    return milliseconds ? QJsonValue(platform::utcDescription(dateOf(*milliseconds))) : QJsonValue();
}

} // namespace companion
