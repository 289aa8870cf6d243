#pragma once

#include <QElapsedTimer>
#include <QMainWindow>
#include <QPixmap>
#include <QPointer>
#include <QString>

class QAction;
class QCheckBox;
class QLabel;
class QProgressBar;
class QPushButton;
class Manual;

/// The archiver's one window: the archive button, the check box, the progress bar and, below the bar, a quiet
/// line of text; and the menus.
///
/// The archiving command runs without turning the event loop, so what changes meanwhile is drawn here at
/// once.
class ArchiverWindow final : public QMainWindow {
public:
    ArchiverWindow();

    /// What the archive button and its menu item trigger. Connected by whoever has the command.
    [[nodiscard]] QAction &archiveAction() const { return *m_archiveAction; }
    /// The program's icon at the size and for the density of this window.
    [[nodiscard]] QPixmap picture() const;
    /// Whether the check box is on.
    [[nodiscard]] bool skipChats() const;

    /// Shows that the command is at work, or has ended: its controls are off meanwhile. Redraws the window.
    void setArchiving(bool archiving);
    /// Sets the bar's range, 0 to @p maximum, and its value to 0, and redraws it. Where there is nothing to
    /// count, the bar is full.
    void startProgress(qsizetype maximum);
    /// Sets the bar's value and redraws it; past the maximum the bar stays full.
    void showProgress(qsizetype value);
    /// Shows @p text in the quiet line, cut in its middle where it is longer than the line, and redraws it.
    void showEntry(const QString &text);
    /// Shows @p text in the quiet line, over as many lines as it needs, and redraws the window.
    /// @param details what the button beside it and the menu's Status list, a line each; there is no button
    /// when it is empty.
    void showOutcome(const QString &text, const QString &details);
    /// Says in the quiet line whether there is anything to archive, and where to go when there is not.
    void showReadiness();

private:
    void repaintAtOnce(QWidget &changed);
    void addMenus();
    void layOut();
    void showHelp();
    void showAbout();
    void importChats();
    void readChats();
    void showPreferences();
    void showStatus();
    void showDetails();

    QAction *m_archiveAction;
    QPushButton *m_archiveButton;
    QProgressBar *m_progressBar;
    QCheckBox *m_skipChatsButton;
    QLabel *m_line;
    QPushButton *m_detailsButton;
    QString m_details;          ///< of the last run
    QPointer<Manual> m_manual;  ///< while it is open
    QElapsedTimer m_sinceWhole; ///< since the whole window was drawn
};
