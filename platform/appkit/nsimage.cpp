#include "platform/appkit/nsimage.h"

#include "platform/appkit/pictureheader.h"

#include <QBuffer>
#include <QImageReader>

namespace platform {

namespace {

/// The size of a picture of a kind whose header is not read here.
QSize askedOfQt(const QByteArray &data)
{
    QBuffer buffer;
    buffer.setData(data);
    buffer.open(QIODevice::ReadOnly);
    const QImageReader reader(&buffer);
    // Qt would read the whole drawing, and a small one can ask for more work than any machine can do.
    return reader.format().startsWith("svg") ? QSize() : reader.size();
}

double points(int pixels, const std::optional<double> &resolution)
{
    constexpr double pointsPerInch = 72;
    return resolution ? pixels * pointsPerInch / *resolution : pixels;
}

} // namespace

std::optional<NSImage> NSImage::initWithData(const QByteArray &data)
{
    std::optional<PictureHeader> header = pictureHeader(data);
    if (!header && data.size() <= largestOfOtherKinds)
        header = PictureHeader{askedOfQt(data), {}, {}};
    if (!header || header->pixels.isEmpty())
        return std::nullopt;
    return NSImage(points(header->pixels.width(), header->horizontalResolution),
                   points(header->pixels.height(), header->verticalResolution));
}

} // namespace platform
