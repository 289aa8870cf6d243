#pragma once

#include <QJsonObject>
#include <QObject>
#include <QProcess>
#include <QStringList>

#include <optional>

/// Runs `prattlebug setup --json` and follows what it says. The program with the window does nothing of an
/// import itself: it may be at work with chats.
class SetupProcess final : public QObject {
    Q_OBJECT

public:
    explicit SetupProcess(QObject *parent = nullptr);
    /// Stops it, and waits for that.
    ~SetupProcess() override;
    SetupProcess(const SetupProcess &) = delete;
    SetupProcess &operator=(const SetupProcess &) = delete;

    /// Starts it with further arguments; one that runs is stopped first, and says nothing more.
    void start(const QStringList &arguments);
    /// Asks it to stop after the file that it is at; finished() follows.
    void stop();
    [[nodiscard]] bool isRunning() const { return m_process != nullptr; }

    // What it has said since it was started.

    /// The last event of a name; nothing when there was none.
    [[nodiscard]] std::optional<QJsonObject> event(const QString &name) const;
    /// What is for people, a line each, progress left out.
    [[nodiscard]] const QStringList &lines() const { return m_lines; }
    /// What went wrong, a line each; empty when nothing did.
    [[nodiscard]] const QStringList &errors() const { return m_errors; }

    /// `prattlebug` beside this program, else on PATH; empty when there is none.
    [[nodiscard]] static QString companion();

Q_SIGNALS:
    /// @param part how much of the stage at hand is done, from 0 to 1.
    void progressed(const QString &text, double part);
    /// @param succeeded whether it ended with exit code 0.
    void finished(bool succeeded);

private:
    void readLines();
    void end(bool succeeded);

    QProcess *m_process = nullptr; ///< while it runs
    QJsonObject m_events;
    QStringList m_lines;
    QString m_title; ///< of the list that the last line is in
    QStringList m_errors;
};
