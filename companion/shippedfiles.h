#pragma once

#include "companion/changes.h"

#include <QByteArray>
#include <QStringList>

#include <filesystem>

namespace companion {

/// What came of putting the shipped files in place, each by its path in the support folder.
struct ShippedFilesOutcome {
    QStringList placed;  ///< were missing, or were an older version of ours
    QStringList changed; ///< stay, since they are nobody's but the user's
};

/// Puts the page templates, the word lists and the icon for PDF documents, which are compiled into the
/// program, into the support folder. A file whose bytes are no version that was ever shipped (its SHA-256
/// tells) is left as it is, unless @p reset.
/// @throws Changes::Failure
[[nodiscard]] ShippedFilesOutcome placeShippedFiles(const std::filesystem::path &supportFolder, bool reset,
                                                    Changes &changes);

} // namespace companion
