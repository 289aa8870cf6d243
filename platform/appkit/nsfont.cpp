#include "platform/appkit/nsfont.h"

#include <algorithm>
#include <cmath>

namespace platform {

NSFont::NSFont(QString name, double size)
    : m_name(std::move(name)), m_size(std::isnan(size) ? 0.0 : std::clamp(size, 0.0, 9999.0))
{
}

NSFont convertFont(const NSFont &font, NSFontTrait toHaveTrait)
{
    const QString suffix = toHaveTrait == NSFontTrait::Bold ? QStringLiteral("-Bold") : QString();
    return {font.fontName() + suffix, font.pointSize()};
}

} // namespace platform
