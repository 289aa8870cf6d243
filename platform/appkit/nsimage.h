#pragma once

#include <QByteArray>

#include <optional>

namespace platform {

/// A picture, of which only the size is known.
///
/// Differs from the platform's class in that it takes the header for the picture: nothing is decoded, so that
/// 60,000 by 60,000 pixels cost no more than one, and a file that is cut off or damaged after its header is a
/// picture too.
class NSImage {
public:
    /// The largest file of a kind other than those of pictureHeader() that is looked at, in bytes. Qt reads
    /// these, and some of its readers go through the whole file for the size.
    static constexpr qsizetype largestOfOtherKinds = qsizetype(1) << 20;

    /// The picture in @p data: PNG, JPEG, GIF, BMP, TIFF, WebP, and up to largestOfOtherKinds what else Qt
    /// tells the size of, such as ICO. Nothing when it is none of these, or has no pixels. A drawing (SVG) is
    /// none: it has no size until it is drawn.
    [[nodiscard]] static std::optional<NSImage> initWithData(const QByteArray &data);

    // In points of 1/72 inch: of each axis the pixels × 72 / resolution where the file states one (see
    // PictureHeader), and the pixels where it does not. Above 0.
    [[nodiscard]] double width() const { return m_width; }
    [[nodiscard]] double height() const { return m_height; }

private:
    NSImage(double width, double height) : m_width(width), m_height(height) {}

    double m_width;
    double m_height;
};

} // namespace platform
