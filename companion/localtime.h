#pragma once

#include <QString>

#include <optional>

namespace companion {

// Times of messages as they are shown to people, in local time.

/// "Tue 2005-03-01", for a moment given in milliseconds of Unix time.
[[nodiscard]] QString dayOf(const std::optional<qint64> &milliseconds);
/// "21:07", or as many characters for no time.
[[nodiscard]] QString timeOfDay(const std::optional<qint64> &milliseconds);

} // namespace companion
