#pragma once

#include "platform/mail/cwsmtp.h"
#include "platform/mail/nsrunloop.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>

namespace platform {

class PantomimeExchange;

/// Where a message is handed in.
struct MailServer {
    QString host; ///< a name that leads to an IPv4 address, or such an address; ASCII
    quint16 port = 25;
    bool encrypted = false; ///< with STARTTLS; the server's certificate is checked
    std::filesystem::path
        certificates; ///< PEM file of authorities to trust besides the system's; may be empty
    std::chrono::seconds patience{60}; ///< how long the server may leave the client waiting for an answer
};

/// A message and the addresses on its envelope.
struct MailEnvelope {
    QByteArray sender;    ///< a bare ASCII address, without angle brackets, blanks and control characters
    QByteArray recipient; ///< the same
    QByteArray message;   ///< header and body, lines of at most 998 bytes that end with CRLF, no field "Bcc"
};

/// The SMTP client of the Pantomime framework, set up with a server and one message for it.
///
/// Works on the run loop of its thread (currentRunLoop()), which connect() runs too until the connection
/// stands. What is asked of it before the server's greeting waits for that. Each exchange has one ending:
/// when the delegate has been told of it, no other event follows. A lost connection, and a server that has
/// been silent for too long, end it with connectionTimedOut(); a server that turns the client away with a
/// reply of its own, with messageNotSent().
class PantomimeClient final : public CWSMTP {
public:
    /// How an exchange has ended.
    enum class Ending { LoginFailed, Sent, NotSent, TimedOut };

    /// Whether the installed framework can encrypt a connection.
    [[nodiscard]] static bool canEncrypt();

    PantomimeClient(const MailServer &server, const MailEnvelope &envelope);
    /// Takes leave of a server that still listens, for two seconds at most, and closes the connection. Not to
    /// be destroyed from within an event.
    ~PantomimeClient() override;
    PantomimeClient(const PantomimeClient &) = delete;
    PantomimeClient &operator=(const PantomimeClient &) = delete;

    void setDelegate(CWSMTPDelegate *delegate) override;
    /// With an encrypted connection, returns when that stands and the certificate has proved to be the
    /// server's; nothing has been told to the server till then but who asks. Looking the name up and the
    /// handshake have limits of their own, about half a minute each.
    [[nodiscard]] int connect() override;
    void authenticate(const QString &username, const QString &password, const QString &mechanism) override;
    void sendMessage() override;
    /// Also valid after the end: the reply that ended the exchange. Of a reply that repeats the password that
    /// this client has logged in with, as it is or in Base64, the code alone: who asks for it may log it.
    [[nodiscard]] QByteArray lastResponse() const override;

    [[nodiscard]] std::optional<Ending> ending() const;
    /// What stands behind a failure that no reply of the server explains, a sentence in English; else empty.
    [[nodiscard]] QString problem() const;

private:
    std::unique_ptr<PantomimeExchange> m_exchange;
};

/// The run loop of the calling thread.
[[nodiscard]] NSRunLoop &currentRunLoop();

} // namespace platform
