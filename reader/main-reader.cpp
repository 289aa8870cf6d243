#include "reader/helperwork.h"
#include "reader/readerwindow.h"

#include "desktop/appearance.h"

#include "platform/files/processfiles.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QIcon>

// The reader: one window on all chats, or on those that the command line names.

int main(int argc, char **argv)
{
    platform::prepareProcessForFiles();
    if (const auto exitCode = reader::workForTheWindow(argc, argv))
        return *exitCode;

    const QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("prattlebug-reader"));
    QApplication::setApplicationVersion(QStringLiteral(PRATTLEBUG_VERSION));
    QApplication::setOrganizationName(QStringLiteral("prattlebug"));
    QApplication::setDesktopFileName(QStringLiteral("prattlebug-reader"));
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/icons/prattlebug-reader.svg")));

    QCommandLineParser options;
    options.setApplicationDescription(QApplication::translate(
        "reader", "Reads iChat transcripts: those of the home folder, or the ones that are named."));
    options.addHelpOption();
    options.addVersionOption();
    options.addPositionalArgument(
        QStringLiteral("FILE"),
        QApplication::translate("reader", "Transcripts, or folders with transcripts."),
        QStringLiteral("[FILE...]"));
    options.process(application);

    const Appearance appearance;
    reader::ReaderWindow window(options.positionalArguments());
    window.show();
    return QApplication::exec();
}
