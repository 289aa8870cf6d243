#include "desktop/appearance.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QVariant>

namespace {

// The desktop portal's settings; see the interface of that name in the XDG desktop portal's documentation.
constexpr auto portalService = "org.freedesktop.portal.Desktop";
constexpr auto portalPath = "/org/freedesktop/portal/desktop";
constexpr auto portalInterface = "org.freedesktop.portal.Settings";
constexpr QStringView appearanceGroup = u"org.freedesktop.appearance";
constexpr QStringView colorSchemeKey = u"color-scheme";
constexpr uint preferDark = 1;

constexpr int portalTimeout = 1000; // milliseconds; the window waits for it once, before it is shown

bool isDark(const QPalette &palette)
{
    return palette.color(QPalette::Window).lightness() < palette.color(QPalette::WindowText).lightness();
}

QPalette darkPalette()
{
    const QColor window(0x2b, 0x2c, 0x30);
    const QColor base(0x41, 0x42, 0x49);
    const QColor button(0x4a, 0x4b, 0x52);
    const QColor text(0xec, 0xec, 0xec);
    const QColor faint(0x9a, 0x9b, 0xa2);
    const QColor accent(0x3d, 0x85, 0xd9);

    QPalette palette(button, window); // derives the shades of frames and bevels
    for (const auto role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText})
        palette.setColor(role, text);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, faint);
    palette.setColor(QPalette::Base, base);
    palette.setColor(QPalette::AlternateBase, window);
    palette.setColor(QPalette::ToolTipBase, button);
    palette.setColor(QPalette::PlaceholderText, faint);
    palette.setColor(QPalette::BrightText, Qt::white);
    palette.setColor(QPalette::Highlight, accent);
    palette.setColor(QPalette::HighlightedText, Qt::white);
    palette.setColor(QPalette::Disabled, QPalette::Highlight, button);
    palette.setColor(QPalette::Link, QColor(0x7a, 0xb4, 0xf5));
    palette.setColor(QPalette::LinkVisited, QColor(0xb9, 0x9a, 0xf0));
    return palette;
}

} // namespace

Appearance::Appearance() : m_themePalette(QApplication::palette())
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    QDBusMessage call =
        QDBusMessage::createMethodCall(QLatin1String(portalService), QLatin1String(portalPath),
                                       QLatin1String(portalInterface), QStringLiteral("Read"));
    call << appearanceGroup.toString() << colorSchemeKey.toString();
    const QDBusMessage reply = bus.call(call, QDBus::Block, portalTimeout);
    if (reply.type() == QDBusMessage::ReplyMessage && !reply.arguments().isEmpty())
        follow(reply.arguments().constFirst());
    bus.connect(QLatin1String(portalService), QLatin1String(portalPath), QLatin1String(portalInterface),
                QStringLiteral("SettingChanged"), this, SLOT(settingChanged(QString, QString, QDBusVariant)));
}

void Appearance::settingChanged(const QString &group, const QString &key, const QDBusVariant &value)
{
    if (group == appearanceGroup && key == colorSchemeKey)
        follow(value.variant());
}

void Appearance::follow(const QVariant &colorScheme)
{
    QVariant value = colorScheme;
    while (value.canConvert<QDBusVariant>()) // some portals wrap the answer twice
        value = value.value<QDBusVariant>().variant();
    const bool dark = value.toUInt() == preferDark && !isDark(m_themePalette);
    QApplication::setPalette(dark ? darkPalette() : m_themePalette);
}
