#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <cstdio>

namespace platform {

// Terminals obey what they are sent: an escape sequence in a chat or in a file's name can set the window's
// title, move the cursor, or hide what stands before it.

/// @p bytes as a terminal is to show them: each control character but line feed and tab, and each byte that
/// is not UTF-8, becomes U+FFFD. The carriage return before a line feed is left out.
[[nodiscard]] QByteArray terminalText(QByteArrayView bytes);

/// Writes @p bytes to @p stream at once, as terminalText() when that is a terminal, else as they are. Errors
/// stay noted in the stream.
void writeText(std::FILE *stream, QByteArrayView bytes);

} // namespace platform
