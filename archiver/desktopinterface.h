#pragma once

#include "archiver/archiveoutcome.h"

#include <QString>

#include <filesystem>
#include <optional>

/// What the archiving command asks of the desktop it runs on: a window, a console, or a test.
class DesktopInterface {
public:
    virtual ~DesktopInterface() = default;

    struct SavePanel {
        QString title;
        QString message;
        QString proposedName;
        std::filesystem::path directory; ///< where it starts
    };
    /// Asks where to save, and returns when the user has answered.
    /// @return the chosen path, which may exist already; nothing when the user did not confirm.
    [[nodiscard]] virtual std::optional<std::filesystem::path> runSavePanel(const SavePanel &panel) = 0;

    struct Alert {
        QString title;
        QString text;
        QString button;
        bool isError; ///< whether it tells of a failure
    };
    /// Shows an alert and returns when it has been dismissed.
    virtual void runAlert(const Alert &alert) = 0;

    /// Whether the check box `skipChatsButton` is on.
    [[nodiscard]] virtual bool skipChats() const = 0;

    /// Sets the progress bar's range, 0 to @p maximum, and its value to 0.
    virtual void startProgress(qsizetype maximum) = 0;
    /// Sets the bar's value, which may pass the maximum, and has it drawn at once. No event is handled
    /// meanwhile.
    virtual void showProgress(qsizetype value) = 0;
    /// Tells which entry is being handled.
    virtual void showEntry(const std::filesystem::path &entry) = 0;

    /// Asked after each entry: whether the run is to end here, with what it has. Where nobody can say so,
    /// never.
    [[nodiscard]] virtual bool isInterrupted() const { return false; }

    /// Tells how the run went, when every entry has been handled and before the last alert.
    virtual void showOutcome(const ArchiveOutcome &outcome) = 0;

    /// Shows the file at @p path in the file viewer.
    virtual void reveal(const std::filesystem::path &path) = 0;
};
