#pragma once

#include <QByteArray>
#include <QString>

namespace platform {

/// Receives the events of an SMTP client.
///
/// They come from the run loop of the thread that connected, one at a time; a client may also send one from
/// within an operation. Without the notification that the library passes along: nobody reads it.
class CWSMTPDelegate {
public:
    /// The server has taken name and password.
    virtual void authenticationCompleted() = 0;
    /// The server has rejected name and password, or offers no such login.
    virtual void authenticationFailed() = 0;
    /// The server has taken the message over.
    virtual void messageSent() = 0;
    /// The server has refused the message; the client's lastResponse() says why.
    virtual void messageNotSent() = 0;
    /// The server has not answered in time, or the connection is lost.
    virtual void connectionTimedOut() = 0;

protected:
    ~CWSMTPDelegate() = default;
};

/// An SMTP client that has been set up with a server and one message for it: of the library's client of this
/// name, what a delivery uses. Whoever sets it up also owns it.
class CWSMTP {
public:
    virtual ~CWSMTP() = default;

    /// Names the receiver of the events, which is lent and must outlive the exchange; null for nobody.
    virtual void setDelegate(CWSMTPDelegate *delegate) = 0;
    /// Opens the connection and returns when it stands or has failed.
    /// @return 0 on success, anything else on failure.
    [[nodiscard]] virtual int connect() = 0;
    /// Starts to log in. Ends with authenticationCompleted() or authenticationFailed().
    /// @param mechanism an SASL mechanism by its name, such as "LOGIN".
    virtual void authenticate(const QString &username, const QString &password, const QString &mechanism) = 0;
    /// Starts to send the message. Ends with messageSent() or messageNotSent().
    virtual void sendMessage() = 0;
    /// The server's last reply as it came, without the line break at its end; of a reply of several lines the
    /// last. Empty when there is none. Valid within an event.
    [[nodiscard]] virtual QByteArray lastResponse() const = 0;
};

} // namespace platform
