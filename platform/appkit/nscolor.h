#pragma once

#include "platform/foundation/nsobject.h"

#include <array>
#include <memory>
#include <optional>
#include <span>

namespace platform {

/// Colour spaces, with the numbers that archives use.
enum class NSColorSpace {
    CalibratedRGB = 1,
    DeviceRGB = 2,
    CalibratedWhite = 3,
    DeviceWhite = 4,
    DeviceCMYK = 5,
    Named = 6,
    Pattern = 10,
};

/// A colour of an attributed text; what it is in device RGB, if it can be that at all.
class NSColor final : public NSObject {
public:
    /// Red, green and blue, each 0 to 1.
    using DeviceRGB = std::array<double, 3>;

    /// A colour from its archived components. RGB keeps them, calibrated too; white gives three equal ones;
    /// CMYK gives 1 - min(1, component + black). Alpha, if it follows, does not matter. With too few
    /// components, or in any other space, the colour cannot be converted.
    NSColor(NSColorSpace space, std::span<const double> components);
    /// A named colour: what @p fallback is, the colour archived beside the name; null when there is none.
    explicit NSColor(const std::shared_ptr<const NSColor> &fallback);

    /// The colour in device RGB (colorUsingColorSpaceName: with NSDeviceRGBColorSpace); nothing when it
    /// cannot be converted.
    [[nodiscard]] const std::optional<DeviceRGB> &deviceRGB() const { return m_rgb; }
    [[nodiscard]] QString className() const override { return QStringLiteral("NSColor"); }

private:
    std::optional<DeviceRGB> m_rgb;
};

} // namespace platform
