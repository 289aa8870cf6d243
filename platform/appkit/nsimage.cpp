#include "platform/appkit/nsimage.h"

#include "platform/appkit/imageresolution.h"

#include <QBuffer>
#include <QImageReader>

namespace platform {

namespace {

double points(int pixels, const std::optional<double> &resolution)
{
    constexpr double pointsPerInch = 72;
    return resolution ? pixels * pointsPerInch / *resolution : pixels;
}

} // namespace

std::optional<NSImage> NSImage::initWithData(const QByteArray &data)
{
    QBuffer buffer;
    buffer.setData(data);
    buffer.open(QIODevice::ReadOnly);
    const QImageReader reader(&buffer);
    // Qt would read the whole drawing, and a small one can ask for more work than any machine can do.
    if (reader.format().startsWith("svg"))
        return std::nullopt;
    const QSize pixels = reader.size();
    if (pixels.isEmpty())
        return std::nullopt;
    const ImageResolution resolution = statedResolution(data);
    return NSImage(points(pixels.width(), resolution.horizontal),
                   points(pixels.height(), resolution.vertical));
}

} // namespace platform
