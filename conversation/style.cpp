#include "conversation/style.h"

#include "platform/appkit/nscolor.h"
#include "platform/appkit/nsfont.h"

#include <cmath>

namespace conversation {

namespace {

/// "TimesNewRomanPSMT" as "Times New Roman": PS and MT are the makers' marks.
QString familyName(QStringView postScriptName)
{
    QStringView name = postScriptName.left(postScriptName.indexOf(u'-')); // all of it without a hyphen
    for (const QStringView mark : {QStringView(u"MT"), QStringView(u"PS")}) {
        if (name.size() > mark.size() && name.endsWith(mark))
            name.chop(mark.size());
    }
    QString family;
    for (qsizetype i = 0; i < name.size(); ++i) {
        if (i > 0 && name[i].isUpper() && name[i - 1].isLower())
            family += u' ';
        family += name[i];
    }
    return family;
}

void takeFont(const platform::NSFont &font, Style &style)
{
    const QStringView name = font.fontName();
    style.fontFamily = familyName(name);
    style.pointSize = font.pointSize();
    const qsizetype hyphen = name.indexOf(u'-');
    if (hyphen < 0)
        return;
    const QStringView face = name.sliced(hyphen + 1);
    style.bold =
        face.contains(u"Bold") || face.contains(u"Heavy") || face.contains(u"Black"); // as in Avenir-Heavy
    style.italic = face.contains(u"Italic") || face.contains(u"Oblique");
}

} // namespace

Style styleOf(const platform::AttributesRef &attributes)
{
    Style style;
    if (!attributes)
        return style;
    const platform::ObjectRef font = attributes->objectForKey(platform::NSFontAttributeName);
    if (const auto *known = dynamic_cast<const platform::NSFont *>(font.get()))
        takeFont(*known, style);
    const platform::ObjectRef color = attributes->objectForKey(platform::NSForegroundColorAttributeName);
    if (const auto *known = dynamic_cast<const platform::NSColor *>(color.get());
        known && known->deviceRGB()) {
        auto &components = style.color.emplace();
        for (size_t i = 0; i < components.size(); ++i) {
            const double level = (*known->deviceRGB())[i]; // NaN fails both comparisons below
            components[i] = level >= 1.0 ? 255 : level > 0.0 ? quint8(std::lround(level * 255.0)) : 0;
        }
    }
    return style;
}

} // namespace conversation
