#include "fuzz/fuzz.h"

#include "platform/appkit/imageresolution.h"
#include "platform/appkit/nsimage.h"

#include <cmath>

// The header of a picture gives a size above 0, or there is no picture.

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes = fuzz::bytesOf(data, size);
    const platform::ImageResolution stated = platform::statedResolution(bytes);
    fuzz::require(!stated.horizontal || *stated.horizontal > 0);
    fuzz::require(!stated.vertical || *stated.vertical > 0);
    if (const auto image = platform::NSImage::initWithData(bytes))
        fuzz::require(image->width() > 0 && image->height() > 0 && std::isfinite(image->width()));
    return 0;
}
