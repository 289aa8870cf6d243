#pragma once

#include "archiver/desktopinterface.h"

#include "platform/host.h"

class ArchiverWindow;

/// The desktop that the archiving command runs on, where there is a window; and, since the model below the
/// command may have something to say too, the process's host.
///
/// Only the save panel and the alerts turn the event loop, and they are modal: while the command runs, the
/// window takes no input.
class WindowDesktop final : public DesktopInterface, public platform::Host {
public:
    /// Installs itself as host for its lifetime.
    /// @param window lent; must outlive the desktop.
    explicit WindowDesktop(ArchiverWindow &window);
    ~WindowDesktop() override;
    WindowDesktop(const WindowDesktop &) = delete;
    WindowDesktop &operator=(const WindowDesktop &) = delete;

    [[nodiscard]] std::optional<std::filesystem::path> runSavePanel(const SavePanel &panel) override;
    void runAlert(const Alert &alert) override;
    [[nodiscard]] bool skipChats() const override;
    void startProgress(qsizetype maximum) override;
    void showProgress(qsizetype value) override;
    void showEntry(const std::filesystem::path &entry) override;
    void showOutcome(const ArchiveOutcome &outcome) override;
    void reveal(const std::filesystem::path &path) override;

    void beep() override;
    /// An alert; the window is drawn again when it has been dismissed.
    void dialog(const QString &message) override;

private:
    ArchiverWindow &m_window;
    platform::Host *m_previous;
};
