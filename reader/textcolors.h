#pragma once

#include "conversation/conversation.h"

#include <QColor>
#include <QFont>
#include <QPalette>
#include <QTextCharFormat>

namespace reader {

// The colours of the chat view, worked out from the desktop's, so that they fit light and dark ones.

[[nodiscard]] bool isDark(const QPalette &palette);
/// What stands behind a message: the user's own ones have a tint of the desktop's accent.
[[nodiscard]] QColor bubbleColor(const QPalette &palette, bool isUsers);
/// Of the name of @p speaker, a position in Conversation::speakers.
[[nodiscard]] QColor speakerColor(const conversation::Conversation &chat, size_t speaker,
                                  const QPalette &palette);
/// Of what says that something could not be read.
[[nodiscard]] QColor warningColor(const QPalette &palette);
/// Of words that were searched for.
[[nodiscard]] QTextCharFormat markFormat();

/// How a text was written. What cannot be told from @p background keeps the desktop's colour, and sizes are
/// taken in proportion to @p base, 12 points being its size, within bounds.
[[nodiscard]] QTextCharFormat formatOf(const conversation::Style &style, const QFont &base,
                                       const QColor &background);

} // namespace reader
