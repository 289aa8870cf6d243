#include "archiver/window/archiverwindow.h"
#include "archiver/window/windowdesktop.h"

#include "archiver/PBArchiver.h"

#include "desktop/appearance.h"

#include "platform/files/processfiles.h"

#include <QAction>
#include <QApplication>
#include <QIcon>

// The archiver as a desktop application: one window, one command.

int main(int argc, char **argv)
{
    platform::prepareProcessForFiles();
    const QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("prattlebug-archiver"));
    // No display name: Qt would append it to the titles of the alerts.
    QApplication::setDesktopFileName(QStringLiteral("prattlebug-archiver"));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/icons/prattlebug-archiver.svg")));
    const Appearance appearance;

    ArchiverWindow window;
    WindowDesktop desktop(window);
    PBArchiver archiver(desktop);
    QObject::connect(&window.archiveAction(), &QAction::triggered,
                     [&archiver] { archiver.beginArchiving(); });
    window.show();
    return QApplication::exec();
}
