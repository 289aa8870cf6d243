#pragma once

#include <QByteArray>
#include <QObject>
#include <QProcess>
#include <QString>
#include <QTimer>

#include <optional>

namespace reader {

/// A process of this very program that does one kind of work (helperwork.h) and answers with bytes. What a
/// file does to its reader is done to that process: when it dies, or takes too long, only this request has no
/// answer, and another process takes over.
///
/// It is started early, so that the first answer need not wait for that, and it does one request at a time.
class HelperProcess final : public QObject {
    Q_OBJECT

public:
    /// @param work what helperwork.h knows it by.
    HelperProcess(QString work, QObject *parent);
    ~HelperProcess() override;
    HelperProcess(const HelperProcess &) = delete;
    HelperProcess &operator=(const HelperProcess &) = delete;

    /// Has it work on @p request. An earlier request that has no answer yet is given up.
    /// @param allowed milliseconds until the process is ended without an answer; 0 for no end.
    void ask(const QByteArray &request, int allowed);
    /// Gives up what is asked.
    void giveUp();
    [[nodiscard]] bool isBusy() const { return m_isBusy; }

Q_SIGNALS:
    void answered(const QByteArray &answer);
    /// @param reason for people.
    void failed(const QString &reason);

private:
    void start();
    void end();
    void send(const QByteArray &request);
    void receive();
    void fail(const QString &reason);

    QString m_work;
    QProcess *m_process = nullptr;
    bool m_isBusy = false;            ///< whether somebody waits for an answer
    int m_unanswered = 0;             ///< requests that the process is at, one of them given up perhaps
    std::optional<QByteArray> m_next; ///< what is asked while the process is at what has been given up
    int m_nextAllowed = 0;
    quint64 m_size = 0; ///< of the answer that arrives
    bool m_hasSize = false;
    QByteArray m_answer;
    QTimer m_limit;
    QTimer m_patience; ///< with the process that is at something given up
};

} // namespace reader
