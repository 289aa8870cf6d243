#pragma once

#include "conversation/conversation.h"

namespace conversation {

/// What @p attributes say of a text's looks; null says nothing.
///
/// Archives name fonts by their PostScript names, such as "Helvetica-BoldOblique" or
/// "TimesNewRomanPS-BoldMT": family, hyphen, face. The family is given with the blanks that users know
/// ("Times New Roman").
[[nodiscard]] Style styleOf(const platform::AttributesRef &attributes);

} // namespace conversation
