#pragma once

#include "galleries/filenames.h"

#include <QString>
#include <QStringView>

#include <optional>

namespace galleries {

/// The name under which an attached file is saved: "holiday-Bob-2005-03-01 21:07:45 -0800.jpg", which is its
/// own name without extension, who sent it, when, and the extension (what stands behind the last full stop);
/// without a name of its own "Bob-2005-03-01 21:07:45 -0800.image". The name is made fit for the file system
/// by fileName(), and for a property list in XML, so that a store holds it as it is on disk: characters that
/// XML cannot hold become U+FFFD.
/// @param when as the name shows it.
[[nodiscard]] FileName imageFileName(const std::optional<QString> &preferredFilename, QStringView speaker,
                                     QStringView when);

} // namespace galleries
