#pragma once

#include <QString>
#include <QStringView>

namespace reader {

// Names, links and reasons come out of transcripts, where anybody could have put anything: they are shown so
// that none can pretend to be another.

/// @p text on one line: control characters, line breaks and the invisible characters that turn the direction
/// of writing become U+FFFD, and what is longer than 300 characters is cut in its middle.
[[nodiscard]] QString harmless(QStringView text);

/// @p text, made harmless, for places that take markup where they see some: tool tips.
[[nodiscard]] QString harmlessMarkup(QStringView text);

/// The name to save a file under that is called @p name (as the archive has it): harmless, without path
/// separators and not hidden; never empty.
[[nodiscard]] QString nameToSave(QStringView name);

} // namespace reader
