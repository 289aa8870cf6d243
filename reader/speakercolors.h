#pragma once

#include "conversation/conversation.h"

#include <QColor>
#include <QPalette>

#include <vector>

namespace reader {

/// A colour for the name of each speaker of @p chat, readable on the background of @p palette.
[[nodiscard]] std::vector<QColor> speakerColors(const conversation::Conversation &chat,
                                                const QPalette &palette);

} // namespace reader
