#pragma once

#include <QByteArrayView>

#include <optional>

namespace platform {

/// Pixels per inch, of each axis as far as a picture states it; above 0.
struct ImageResolution {
    std::optional<double> horizontal;
    std::optional<double> vertical;
};

/// The resolution that the header of a picture states:
/// - PNG: the chunk pHYs (W3C PNG, 11.3.5.3), in pixels per metre;
/// - JPEG: the first directory of the Exif segment, and where that says nothing the JFIF segment;
/// - TIFF: the fields XResolution, YResolution and ResolutionUnit of the first directory (TIFF 6.0).
/// A resolution without a unit is a ratio and counts as none. One that is a whole number of pixels per inch
/// but for what rounding to whole pixels per metre does to it is taken for that number: 2835 per metre
/// are 72.
///
/// Takes any bytes; those of another kind state nothing.
[[nodiscard]] ImageResolution statedResolution(QByteArrayView file);

} // namespace platform
