#pragma once

#include "platform/date/nsdate.h"

#include <QJsonObject>
#include <QJsonValue>
#include <QString>

#include <optional>

namespace companion {

/// Prints @p object as JSON on a line of its own (jsonlines.org).
void printJsonLine(const QJsonObject &object);

/// A moment given in milliseconds of Unix time, cut downwards to whole seconds.
[[nodiscard]] platform::NSDate dateOf(qint64 milliseconds);

/// Null for nothing. A time is in UTC, "2005-03-01T21:07:45Z".
[[nodiscard]] QJsonValue jsonText(const std::optional<QString> &text);
[[nodiscard]] QJsonValue jsonTime(const std::optional<qint64> &milliseconds);

} // namespace companion
