#pragma once

#include "platform/mail/cwsmtp.h"
#include "platform/mail/pantomime/library.h"
#include "platform/mail/pantomime/replyredaction.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace platform {

/// Where a message is handed in.
struct MailServer {
    QString host; ///< a name that leads to an IPv4 address, or such an address; ASCII
    quint16 port = 25;
    bool encrypted = false; ///< with STARTTLS; the server's certificate is checked
    std::filesystem::path
        certificates; ///< PEM file of authorities to trust besides the system's; may be empty
    std::chrono::seconds patience{60}; ///< how long the client waits for each answer, of the network too
};

/// A message and the addresses on its envelope.
struct MailEnvelope {
    QByteArray sender;    ///< an address that isEnvelopeAddress() accepts
    QByteArray recipient; ///< the same
    QByteArray message;   ///< header and body, lines of at most 998 bytes that end with CRLF, no field "Bcc"
};

/// The SMTP client of the Pantomime framework, set up with a server and one message for it.
///
/// Works on the run loop of its thread (currentRunLoop()). What is asked of it before the server's greeting
/// waits for that. Each exchange has one ending: after the delegate has been told of it, no other event
/// follows. A lost connection, and a server that has been silent for too long, end it with
/// connectionTimedOut(); a server that turns the client away with a reply of its own, with messageNotSent().
/// A reply decides before the loss of the connection does.
class PantomimeClient final : public CWSMTP, private pantomime::Events {
public:
    /// How an exchange has ended.
    enum class Ending { LoginFailed, Sent, NotSent, TimedOut };

    PantomimeClient(MailServer server, MailEnvelope envelope);
    /// Takes leave of a server that still listens, for two seconds at most, and closes the connection. Not to
    /// be destroyed from within an event.
    ~PantomimeClient() override;
    PantomimeClient(const PantomimeClient &) = delete;
    PantomimeClient &operator=(const PantomimeClient &) = delete;

    void setDelegate(CWSMTPDelegate *delegate) override;
    /// Finds the server's address, connects, and with an encrypted connection returns when that stands and
    /// the certificate has proved to be the server's; nothing has been told to the server till then but who
    /// asks. Runs the run loop for the latter.
    [[nodiscard]] int connect() override;
    void authenticate(const QString &username, const QString &password, const QString &mechanism) override;
    void sendMessage() override;
    /// Also valid after the end: the reply that ended the exchange. Of a reply that repeats the password that
    /// this client has logged in with, the code alone (see pantomime::ReplyRedaction): who asks for it may
    /// log it.
    [[nodiscard]] QByteArray lastResponse() const override;

    [[nodiscard]] std::optional<Ending> ending() const { return m_ending; }
    /// The reason for a failure that no reply of the server explains, a sentence in English; else empty.
    [[nodiscard]] QString problem() const { return m_problem; }

private:
    enum class Opening { NotStarted, UnderWay, Done, Failed };
    enum class Encryption { None, Wanted, Asked, Done };

    void received(QByteArrayView bytes) override;
    void sent() override { restartPatience(); }
    void connected() override;
    void initialized() override;
    void authenticationCompleted() override;
    void authenticationFailed() override { end(Ending::LoginFailed, lastResponse()); }
    void messageSent() override { end(Ending::Sent, lastResponse()); }
    void messageNotSent() override { end(Ending::NotSent, lastResponse()); }
    void lost() override;
    void terminated() override;
    void timedOut() override { giveUp(QStringLiteral("The server does not answer.")); }

    /// Does @p request as soon as the server has introduced itself: the library would do it at once, and
    /// speak out of turn to a server that takes its time.
    void ask(std::function<void()> request);
    void proceed();
    void begin(const QByteArray &address);
    void startEncryption();
    [[nodiscard]] QString problemOfEncryption() const;
    void turnedAway();
    void loseConnection();
    /// Ends the exchange, once.
    void end(Ending ending, const QByteArray &reply);
    /// Ends with a reply by which the server has turned the client away.
    void refuse(const QByteArray &reply);
    /// Notes the reason (the first counts), and has failed to open, or ends as timed out.
    void giveUp(const QString &problem);
    /// Drops a server that breaks the rules; the library then finds the connection lost.
    void cutOff(const QString &problem);
    void restartPatience();
    void losePatience();
    /// Takes @p step once the library is done with the event at hand.
    void later(void (PantomimeClient::*step)());

    MailServer m_server;
    MailEnvelope m_envelope;
    std::unique_ptr<pantomime::Client> m_client; ///< null until the server's address is known
    CWSMTPDelegate *m_delegate = nullptr;
    std::unique_ptr<pantomime::Timer> m_patience;
    std::unique_ptr<pantomime::Timer> m_laterTimer;
    std::vector<void (PantomimeClient::*)()> m_laterSteps;

    Opening m_opening = Opening::NotStarted;
    Encryption m_encryption;
    bool m_connected = false;
    bool m_introduced = false;       ///< the server has said what it can
    bool m_asked = false;            ///< something has been asked of it
    std::function<void()> m_request; ///< which has not been done yet
    QByteArray m_line;               ///< what has come of the greeting, or of the reply to STARTTLS
    QByteArray m_lastLine;           ///< the last whole line that has come
    QByteArray m_unfinishedLine;     ///< what has come after it
    qsizetype m_received = 0;        ///< bytes
    pantomime::ReplyRedaction m_redaction;
    std::optional<Ending> m_ending;
    QByteArray m_reply; ///< the one that ended the exchange
    QString m_problem;
};

} // namespace platform
