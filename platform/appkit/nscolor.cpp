#include "platform/appkit/nscolor.h"

#include <algorithm>
#include <cmath>

namespace platform {

namespace {

double held(double component)
{
    return std::isnan(component) ? 0.0 : std::clamp(component, 0.0, 1.0);
}

std::optional<NSColor::DeviceRGB> converted(NSColorSpace space, std::span<const double> components)
{
    switch (space) {
    case NSColorSpace::CalibratedRGB:
    case NSColorSpace::DeviceRGB:
        if (components.size() < 3)
            return std::nullopt;
        return {{held(components[0]), held(components[1]), held(components[2])}};
    case NSColorSpace::CalibratedWhite:
    case NSColorSpace::DeviceWhite:
        if (components.empty())
            return std::nullopt;
        return {{held(components[0]), held(components[0]), held(components[0])}};
    case NSColorSpace::DeviceCMYK: {
        if (components.size() < 4)
            return std::nullopt;
        const double black = held(components[3]);
        const auto light = [black](double ink) { return 1.0 - std::min(1.0, held(ink) + black); };
        return {{light(components[0]), light(components[1]), light(components[2])}};
    }
    case NSColorSpace::Named:
    case NSColorSpace::Pattern: break;
    }
    return std::nullopt;
}

} // namespace

NSColor::NSColor(NSColorSpace space, std::span<const double> components) : m_rgb(converted(space, components))
{
}

NSColor::NSColor(const std::shared_ptr<const NSColor> &fallback)
{
    if (fallback)
        m_rgb = fallback->deviceRGB();
}

} // namespace platform
