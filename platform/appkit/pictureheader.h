#pragma once

#include <QByteArrayView>
#include <QSize>

#include <optional>

namespace platform {

/// What the header of a picture says about its size.
struct PictureHeader {
    QSize pixels; ///< both above 0; empty when the header is damaged

    // Pixels per inch, each where the picture states it; above 0. A resolution without a unit is a ratio and
    // counts as none. One that is a whole number of pixels per inch but for the rounding to whole pixels per
    // metre is taken for that number: 2835 per metre are 72.
    std::optional<double> horizontalResolution;
    std::optional<double> verticalResolution;
};

/// The header of the picture in @p file; nothing when it is of none of these kinds:
/// - PNG: the chunk IHDR; the resolution from pHYs (W3C PNG, 11.2.2 and 11.3.5.3);
/// - JPEG: the frame header; the resolution from the first directory of the Exif segment, and where that says
///   nothing from the JFIF segment;
/// - TIFF 6.0 and BigTIFF: the first directory; of a BigTIFF no resolution;
/// - GIF: the logical screen, but for a screen of size 0 or more than ten times the first image (and above
///   2,000 pixels), which counts as ending where that image ends;
/// - BMP: the size alone, rows in either direction;
/// - WebP: the size alone, of the canvas (VP8X) or of the one image (VP8, VP8L).
///
/// Takes any bytes. Nothing is decompressed or allocated, and no more than a few thousand places of the file
/// are looked at, however large it is.
[[nodiscard]] std::optional<PictureHeader> pictureHeader(QByteArrayView file);

} // namespace platform
