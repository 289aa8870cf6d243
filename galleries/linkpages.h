#pragma once

#include "galleries/linkstore.h"

#include <QString>
#include <QStringView>

namespace galleries {

/// Makes all link pages anew from @p store: for every speaker a page of that speaker's links, and Links.html
/// with everybody's, each by month. They are made from the link template; where that cannot be read there are
/// none. A page that cannot be written is passed over; one that would be larger than
/// PageTemplate::largestPage too, with a message in the console log.
///
/// Names and links stand in the pages as they are in the store, without escaping: it is the template that
/// keeps what somebody sent from running.
/// @param store whose speakers' links are sorted.
void writeLinkPages(const LinkStore &store);

/// How a page shows @p link: a text of more than 40 UTF-16 units as its first 20, " . . . " and its last 20.
[[nodiscard]] QString compressedLink(const QString &link);

} // namespace galleries
