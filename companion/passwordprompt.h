#pragma once

#include <QString>

#include <optional>

namespace companion {

/// One line from standard input. A terminal prompts for it and does not show what is typed; should the
/// program be ended meanwhile (with Control-C, for one), the terminal shows again what is typed.
/// @return nothing when there is no line.
[[nodiscard]] std::optional<QString> readPassword();

} // namespace companion
