#pragma once

#include <QByteArray>

#include <functional>

struct gnutls_session_int;
struct gnutls_certificate_credentials_st;

// Pantomime and GNUstep's run loop in the terms of C++. Everything here belongs to the thread that uses it
// first. Strings are UTF-8. What the library throws while it handles an event, or in an operation that was
// called from one, ends in runLoopOnce() and is logged there.

namespace platform::pantomime {

/// Whether the installed library can encrypt a connection.
[[nodiscard]] bool canEncrypt();

/// Runs the thread's run loop once: waits for a timer, for an event or until @p limit, and handles what comes
/// first.
/// @param limit seconds since 2001-01-01 00:00:00 UTC.
/// @return false when nothing is left to wait for, or handling an event has failed in the library.
[[nodiscard]] bool runLoopOnce(double limit);

/// Calls an action once, from the run loop of the thread that makes the timer. Destroying it takes the call
/// back; the action itself may do that.
class Timer {
public:
    /// @param seconds from now; 0 is as soon as the event at hand has been handled.
    Timer(double seconds, std::function<void()> action);
    ~Timer();
    Timer(const Timer &) = delete;
    Timer &operator=(const Timer &) = delete;

private:
    void *m_target; ///< an object of Objective-C
    void *m_timer;  ///< the same
};

/// Receives what a Client has to tell.
class Events {
public:
    /// Bytes have come, which the library looks at next.
    virtual void received(QByteArrayView bytes) = 0;
    virtual void sent() = 0;
    /// The attempt to connect is over, whether it has worked or not.
    virtual void connected() = 0;
    /// The server has said what it can. Comes again once the connection is encrypted, or when that has
    /// failed.
    virtual void initialized() = 0;
    virtual void authenticationCompleted() = 0;
    virtual void authenticationFailed() = 0;
    virtual void messageSent() = 0;
    virtual void messageNotSent() = 0;
    /// The server has closed the connection. Replies that came just before are told of afterwards.
    virtual void lost() = 0;
    /// The connection was closed by us, or by the server with the reply 421.
    virtual void terminated() = 0;
    virtual void timedOut() = 0;

protected:
    ~Events() = default;
};

/// The library's SMTP client with one message to send. Each operation begins something; the events tell how
/// it goes on. The library keeps none of its own limits of time.
class Client {
public:
    /// @param address an IPv4 address in digits.
    /// @param message sent as it is, with CRLF at its end.
    /// @param events lent; must outlive the client.
    Client(const QByteArray &address, quint16 port, const QByteArray &sender, const QByteArray &recipient,
           QByteArrayView message, Events &events);
    ~Client();
    Client(const Client &) = delete;
    Client &operator=(const Client &) = delete;

    /// @return false when the library has thrown. Where there is no way to the server, no event says so.
    [[nodiscard]] bool connect();
    void startEncryption();
    void authenticate(const QByteArray &username, const QByteArray &password, const QByteArray &mechanism);
    void sendMessage();
    /// Says QUIT. The server's answer terminates the connection.
    void leave();
    /// Closes the connection. No event follows.
    void cancel();

    /// Whether the server has told of this extension, in capitals.
    [[nodiscard]] bool offers(const char *extension) const;
    /// The last line of the server's last reply.
    [[nodiscard]] QByteArray lastReply() const;
    /// The descriptor of the connection's socket, lent; -1 when there is none.
    [[nodiscard]] int socket() const;
    [[nodiscard]] bool isEncrypted() const;
    /// The session of the encrypted connection and its credentials, lent; null unless its handshake has
    /// succeeded.
    struct Encryption {
        gnutls_session_int *session = nullptr;
        gnutls_certificate_credentials_st *credentials = nullptr;
    };
    [[nodiscard]] Encryption encryption() const;

private:
    void *m_smtp;   ///< an object of Objective-C
    void *m_events; ///< the same
};

} // namespace platform::pantomime
