#include "archiver/window/windowdesktop.h"

#include "archiver/window/archiverwindow.h"
#include "archiver/window/filemanager.h"
#include "archiver/window/savepanel.h"

#include "platform/files/files.h"
#include "platform/text/encoding.h"

#include <QApplication>
#include <QMessageBox>

WindowDesktop::WindowDesktop(ArchiverWindow &window)
    : m_window(window), m_previous(platform::Host::install(this))
{
}

WindowDesktop::~WindowDesktop()
{
    platform::Host::install(m_previous);
}

std::optional<std::filesystem::path> WindowDesktop::runSavePanel(const SavePanel &panel)
{
    ::SavePanel dialog(panel, &m_window);
    const bool confirmed = dialog.exec() == QDialog::Accepted;
    dialog.hide();
    if (!confirmed)
        return std::nullopt;
    m_window.setArchiving(true);
    return dialog.path();
}

void WindowDesktop::runAlert(const Alert &alert)
{
    QMessageBox box(&m_window);
    box.setWindowTitle(alert.title);
    if (alert.isError)
        box.setIcon(QMessageBox::Warning);
    else
        box.setIconPixmap(m_window.picture());
    box.setTextFormat(Qt::PlainText);
    box.setText(alert.text);
    box.addButton(alert.button, QMessageBox::RejectRole); // the only one, so Escape dismisses it too
    box.exec();
    m_window.repaint();
}

bool WindowDesktop::skipChats() const
{
    return m_window.skipChats();
}

void WindowDesktop::startProgress(qsizetype maximum)
{
    m_window.startProgress(maximum);
}

void WindowDesktop::showProgress(qsizetype value)
{
    m_window.showProgress(value);
}

void WindowDesktop::showEntry(const std::filesystem::path &entry)
{
    m_window.showEntry(platform::displayPath(entry));
}

void WindowDesktop::showOutcome(const ArchiveOutcome &outcome)
{
    QString text = outcome.summary();
    if (outcome.ending == ArchiveOutcome::Ending::MboxIncomplete)
        text +=
            QStringLiteral(" The mbox could not be written whole: %1.")
                .arg(platform::stringFromUtf8(outcome.whyNotWhole().value_or(platform::Failure()).reason));
    if (!outcome.previousPath.empty())
        text += QStringLiteral(" The one before it is kept as %1.")
                    .arg(platform::displayPath(outcome.previousPath.filename()));
    m_window.showOutcome(text, platform::stringFromUtf8(outcome.failureLines().join('\n')));
    m_window.setArchiving(false);
}

void WindowDesktop::reveal(const std::filesystem::path &path)
{
    revealInFileManager(path);
}

void WindowDesktop::beep()
{
    QApplication::beep();
}

void WindowDesktop::dialog(const QString &message)
{
    runAlert({QStringLiteral("Prattlebug"), message, QStringLiteral("OK"), true});
}
