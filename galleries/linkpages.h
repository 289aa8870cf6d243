#pragma once

#include "galleries/linkstore.h"
#include "galleries/monthtable.h"

#include <QString>

namespace galleries {

/// Makes all link pages anew from @p store with writeGalleryPages(): for every speaker a page of that
/// speaker's links, and Links.html with everybody's. They are made from the link template.
/// @param order of the months.
/// @param store whose speakers' links are sorted.
void writeLinkPages(const LinkStore &store, MonthOrder order);

/// How a page shows @p link: a text of more than 40 UTF-16 units as its first 20, " . . . " and its last 20.
[[nodiscard]] QString compressedLink(const QString &link);

} // namespace galleries
