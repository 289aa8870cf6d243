#pragma once

#include "galleries/imagestore.h"

namespace galleries {

/// Makes the folder `Images/topimages` anew with copies of the newest files of @p store: 01, 02 and 03 with
/// the extensions of their sources, 03 being the newest. Of files with the same date one is taken, the last
/// in the store. A source that is missing, or does not lie in the folder of attached files, leaves a gap in
/// the numbers. Nothing is told; without the folder of attached files nothing is made.
void refreshTopImages(const ImageStore &store);

} // namespace galleries
