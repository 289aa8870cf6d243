#pragma once

#include <QString>
#include <QStringView>

#include <span>

namespace platform {

/// A format that a user has set, filled: each "%@" is the next of @p objects, "%%" is a percent sign.
/// Everything else is literal text, also other directives and each "%@" for which no object is left, so that
/// no format can do harm.
[[nodiscard]] QString filledFormat(QStringView format, std::span<const QString> objects);

} // namespace platform
