#include "fuzz/fuzz.h"

#include "platform/appkit/nsimage.h"
#include "platform/appkit/pictureheader.h"

#include <cmath>

// The header of a picture gives a size above 0, or there is no picture.

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes = fuzz::bytesOf(data, size);
    if (const auto header = platform::pictureHeader(bytes)) {
        fuzz::require(header->horizontalResolution.value_or(1) > 0);
        fuzz::require(header->verticalResolution.value_or(1) > 0);
    }
    if (const auto image = platform::NSImage::initWithData(bytes))
        fuzz::require(image->width() > 0 && image->height() > 0 && std::isfinite(image->width()));
    return 0;
}
