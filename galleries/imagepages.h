#pragma once

#include "galleries/imagestore.h"
#include "galleries/monthtable.h"

namespace galleries {

/// Makes all image pages anew from @p store with writeGalleryPages(): for every speaker a page of that
/// speaker's files, "Ann-images.html", and Images.html with everybody's. They are made from the image
/// template. Each file stands there as a thumbnail of 90 pixels, a PDF document as the icon Images/pdf.png.
/// @param order of the months.
/// @param store whose speakers' files are sorted.
void writeImagePages(const ImageStore &store, MonthOrder order);

} // namespace galleries
