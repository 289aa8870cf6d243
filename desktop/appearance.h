#pragma once

#include <QObject>
#include <QPalette>
#include <QString>

class QDBusVariant;

/// Follows the desktop's choice of a light or a dark appearance.
///
/// Desktops whose theme Qt knows bring their own palette, which stays. On the others Qt shows light whatever
/// the user has chosen; there the choice is asked of the desktop portal, and dark colours are set when it is
/// dark, at the start and whenever it changes.
class Appearance final : public QObject {
    Q_OBJECT
public:
    /// Needs the application object.
    Appearance();

private:
    void follow(const QVariant &colorScheme);
    Q_SLOT void settingChanged(const QString &group, const QString &key, const QDBusVariant &value);

    QPalette m_themePalette; ///< what Qt chose
};
