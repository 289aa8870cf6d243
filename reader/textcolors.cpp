#include "reader/textcolors.h"

#include "conversation/palette.h"

#include <algorithm>
#include <cmath>

namespace reader {

namespace {

constexpr double sizeOfOrdinaryText = 12; // points, in the transcripts' program
constexpr double smallestScale = 0.6;
constexpr double largestScale = 4;
constexpr double leastContrast = 2.5;

QColor mixed(const QColor &a, const QColor &b, double share)
{
    const auto mix = [share](float x, float y) { return float(x * (1 - share) + y * share); };
    return QColor::fromRgbF(mix(a.redF(), b.redF()), mix(a.greenF(), b.greenF()), mix(a.blueF(), b.blueF()));
}

/// Relative luminance; see WCAG 2.1.
double luminance(const QColor &color)
{
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

double contrast(const QColor &a, const QColor &b)
{
    const auto [darker, lighter] = std::minmax(luminance(a), luminance(b));
    return (lighter + 0.05) / (darker + 0.05);
}

} // namespace

bool isDark(const QPalette &palette)
{
    return palette.color(QPalette::Base).lightness() < palette.color(QPalette::Text).lightness();
}

QColor bubbleColor(const QPalette &palette, bool isUsers)
{
    const QColor base = palette.color(QPalette::Base);
    return isUsers ? mixed(base, palette.color(QPalette::Highlight), isDark(palette) ? 0.34 : 0.17)
                   : mixed(base, palette.color(QPalette::Text), isDark(palette) ? 0.09 : 0.06);
}

QColor speakerColor(const conversation::Conversation &chat, size_t speaker, const QPalette &palette)
{
    const auto &color = conversation::speakerColors.at(conversation::speakerColor(chat, speaker));
    return QColor::fromRgb(isDark(palette) ? color.onDark : color.onLight);
}

QColor warningColor(const QPalette &palette)
{
    return isDark(palette) ? QColor(0xff, 0xb0, 0x70) : QColor(0xa0, 0x40, 0x00);
}

QTextCharFormat markFormat()
{
    QTextCharFormat format;
    format.setBackground(QColor(0xff, 0xd6, 0x4d));
    format.setForeground(QColor(0x20, 0x20, 0x20));
    return format;
}

QTextCharFormat formatOf(const conversation::Style &style, const QFont &base, const QColor &background)
{
    QTextCharFormat format;
    if (!style.fontFamily.isEmpty())
        format.setFontFamilies({style.fontFamily});
    if (style.pointSize > 0 && base.pointSizeF() > 0)
        format.setFontPointSize(base.pointSizeF() * std::clamp(style.pointSize / sizeOfOrdinaryText,
                                                               smallestScale, largestScale));
    if (style.bold)
        format.setFontWeight(QFont::Bold);
    if (style.italic)
        format.setFontItalic(true);
    if (style.color) {
        const QColor color((*style.color)[0], (*style.color)[1], (*style.color)[2]);
        if (contrast(color, background) >= leastContrast)
            format.setForeground(color);
    }
    return format;
}

} // namespace reader
