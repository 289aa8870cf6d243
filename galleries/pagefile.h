#pragma once

#include "galleries/filenames.h"

#include <QByteArray>

namespace galleries {

/// Writes @p page into the support folder in place of an earlier one. Whether that succeeds is not told: the
/// next call makes every page anew. A null array, which stands for a page that is too large to be made,
/// leaves the earlier one, and a message in the console log says so.
void writePage(const FileName &name, const QByteArray &page);

} // namespace galleries
