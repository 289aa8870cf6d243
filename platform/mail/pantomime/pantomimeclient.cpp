#include "platform/mail/pantomime/pantomimeclient.h"

#include "platform/date/nsdate.h"
#include "platform/mail/pantomime/connecting.h"
#include "platform/mail/pantomime/servercertificate.h"
#include "platform/text/encoding.h"

#include <sys/socket.h>
#include <utility>

namespace platform {

namespace {

/// More than any server has to say in one exchange.
constexpr qsizetype mostReceived = 1 << 20;

constexpr double secondsToLeave = 2;

} // namespace

PantomimeClient::PantomimeClient(MailServer server, MailEnvelope envelope)
    : m_server(std::move(server)), m_envelope(std::move(envelope)),
      m_encryption(m_server.encrypted ? Encryption::Wanted : Encryption::None)
{
}

PantomimeClient::~PantomimeClient()
{
    m_patience.reset();
    m_delegate = nullptr;
    if (!m_connected)
        return;
    if (m_opening == Opening::Done && m_ending != Ending::TimedOut) { // the server listens
        m_ending = m_ending.value_or(Ending::NotSent);
        m_client->leave();
        const double limit = NSDate::now().timeIntervalSinceReferenceDate() + secondsToLeave;
        while (m_connected && NSDate::now().timeIntervalSinceReferenceDate() < limit &&
               pantomime::runLoopOnce(limit)) {
        }
    }
    if (m_connected)
        m_client->cancel();
}

void PantomimeClient::setDelegate(CWSMTPDelegate *delegate)
{
    m_delegate = delegate;
}

int PantomimeClient::connect()
{
    m_opening = Opening::UnderWay;
    const auto [address, problem] = pantomime::addressOf(m_server.host.toLatin1(), m_server.patience);
    if (!problem.isEmpty())
        giveUp(problem);
    else if (const QString reason = pantomime::problemOfReaching(address); !reason.isEmpty())
        giveUp(reason);
    else
        begin(address);
    while (m_opening == Opening::UnderWay) {
        if (!pantomime::runLoopOnce(NSDate::distantFuture().timeIntervalSinceReferenceDate()))
            giveUp(QStringLiteral("The run loop does not run."));
    }
    return m_opening == Opening::Done ? 0 : -1;
}

void PantomimeClient::authenticate(const QString &username, const QString &password, const QString &mechanism)
{
    m_redaction = pantomime::ReplyRedaction(password);
    ask([this, username, password, mechanism] {
        m_client->authenticate(utf8FromString(username), utf8FromString(password), utf8FromString(mechanism));
    });
}

void PantomimeClient::sendMessage()
{
    ask([this] { m_client->sendMessage(); });
}

QByteArray PantomimeClient::lastResponse() const
{
    if (m_ending)
        return m_reply;
    return m_client ? m_redaction.redacted(m_client->lastReply()) : QByteArray();
}

void PantomimeClient::ask(std::function<void()> request)
{
    if (m_ending || m_opening != Opening::Done)
        return;
    m_asked = true;
    m_request = std::move(request);
    restartPatience();
    if (m_introduced)
        proceed();
}

void PantomimeClient::proceed()
{
    if (const auto request = std::exchange(m_request, nullptr); request && !m_ending)
        request();
}

// Opening

void PantomimeClient::begin(const QByteArray &address)
{
    pantomime::Events &events = *this;
    m_client = std::make_unique<pantomime::Client>(address, m_server.port, m_envelope.sender,
                                                   m_envelope.recipient, m_envelope.message, events);
    restartPatience();
    if (!m_client->connect())
        giveUp(QStringLiteral("The mail library cannot connect."));
}

void PantomimeClient::connected()
{
    sockaddr_storage peer{};
    socklen_t size = sizeof peer;
    if (getpeername(m_client->socket(), reinterpret_cast<sockaddr *>(&peer), &size) != 0) {
        giveUp(QStringLiteral("It refuses the connection or cannot be reached."));
        return;
    }
    m_connected = true;
    if (m_opening == Opening::UnderWay && m_encryption == Encryption::None)
        m_opening = Opening::Done;
}

void PantomimeClient::initialized()
{
    if (m_encryption == Encryption::Wanted) {
        startEncryption();
        return;
    }
    if (m_encryption == Encryption::Asked && m_opening == Opening::UnderWay) {
        const QString problem = problemOfEncryption();
        if (!problem.isEmpty()) {
            giveUp(problem);
            return;
        }
        m_encryption = Encryption::Done;
        m_opening = Opening::Done;
    }
    m_introduced = true;
    if (m_request)
        later(&PantomimeClient::proceed); // where EHLO was refused, the library has yet to say HELO
}

void PantomimeClient::startEncryption()
{
    if (!m_client->offers("STARTTLS")) {
        giveUp(QStringLiteral("The server offers no encryption."));
        return;
    }
    m_encryption = Encryption::Asked;
    m_line.clear();
    m_client->startEncryption();
}

QString PantomimeClient::problemOfEncryption() const
{
    const auto [session, credentials] = m_client->encryption();
    if (!session)
        return QStringLiteral("No encrypted connection has come about.");
    return pantomime::problemOfCertificate(session, credentials, m_server.host.toLatin1(),
                                           m_server.certificates);
}

// What comes from the server

void PantomimeClient::received(QByteArrayView bytes)
{
    m_received += bytes.size();
    if (m_received > mostReceived) {
        cutOff(QStringLiteral("The server does not stop talking."));
        return;
    }
    m_unfinishedLine += bytes;
    for (qsizetype end = 0; (end = m_unfinishedLine.indexOf('\n')) >= 0;) {
        m_lastLine = m_unfinishedLine.first(end).trimmed();
        m_unfinishedLine.remove(0, end + 1);
    }
    // The two lines that the library passes over when they say no: the greeting, and the reply to STARTTLS.
    const bool greeting = !m_introduced && m_encryption != Encryption::Asked;
    const bool encryptionReply = m_encryption == Encryption::Asked && !m_client->isEncrypted();
    if (!greeting && !encryptionReply)
        return;
    if (m_line.contains('\n')) {
        // Only a forger speaks on in clear, to be heard after the handshake.
        if (encryptionReply)
            cutOff(QStringLiteral("No encrypted connection has come about."));
        return;
    }
    m_line += bytes;
    const qsizetype lineFeed = m_line.indexOf('\n');
    if (lineFeed < 0)
        return;
    if (encryptionReply && lineFeed + 1 < m_line.size())
        cutOff(QStringLiteral("The server speaks in clear when it should encrypt."));
    else if ((m_line.startsWith('4') || m_line.startsWith('5')) && !m_line.startsWith("421"))
        later(&PantomimeClient::turnedAway);
}

void PantomimeClient::turnedAway()
{
    refuse(m_line.first(m_line.indexOf('\n')).trimmed());
}

void PantomimeClient::lost()
{
    m_connected = false;
    later(&PantomimeClient::loseConnection); // the library has yet to look at the last reply
}

void PantomimeClient::loseConnection()
{
    // The one reply that the library tells nothing of when it finds the connection lost.
    if (m_lastLine.startsWith("421") && !m_lastLine.startsWith("421-"))
        refuse(m_redaction.redacted(m_lastLine));
    else
        giveUp(QStringLiteral("The connection has been lost."));
}

void PantomimeClient::terminated()
{
    m_connected = false;
    refuse(lastResponse());
}

void PantomimeClient::authenticationCompleted()
{
    restartPatience();
    if (!m_ending && m_delegate)
        m_delegate->authenticationCompleted();
}

// Endings

void PantomimeClient::end(Ending ending, const QByteArray &reply)
{
    if (m_ending || m_opening != Opening::Done)
        return;
    m_ending = ending;
    m_reply = reply;
    m_request = nullptr;
    m_patience.reset();
    if (!m_delegate)
        return;
    switch (ending) {
    case Ending::LoginFailed: m_delegate->authenticationFailed(); break;
    case Ending::Sent: m_delegate->messageSent(); break;
    case Ending::NotSent: m_delegate->messageNotSent(); break;
    case Ending::TimedOut: m_delegate->connectionTimedOut(); break;
    }
}

void PantomimeClient::refuse(const QByteArray &reply)
{
    if (m_opening == Opening::UnderWay)
        giveUp(QStringLiteral("The server answers: ") + QString::fromLatin1(reply));
    else
        end(Ending::NotSent, reply);
}

void PantomimeClient::giveUp(const QString &problem)
{
    if (m_ending)
        return;
    if (m_problem.isEmpty())
        m_problem = problem;
    if (m_opening == Opening::UnderWay) {
        m_opening = Opening::Failed;
        m_patience.reset();
    } else {
        end(Ending::TimedOut, {});
    }
}

void PantomimeClient::cutOff(const QString &problem)
{
    if (m_problem.isEmpty())
        m_problem = problem;
    ::shutdown(m_client->socket(), SHUT_RDWR);
}

void PantomimeClient::losePatience()
{
    if (m_introduced && !m_asked) {
        restartPatience(); // it is the server that waits
        return;
    }
    giveUp(QStringLiteral("The server has been silent for %1 s.").arg(m_server.patience.count()));
    if (m_encryption == Encryption::Asked)
        ::shutdown(m_client->socket(), SHUT_RDWR); // the library would wait for the handshake's end
}

void PantomimeClient::restartPatience()
{
    m_patience.reset();
    if (!m_ending)
        m_patience =
            std::make_unique<pantomime::Timer>(double(m_server.patience.count()), [this] { losePatience(); });
}

void PantomimeClient::later(void (PantomimeClient::*step)())
{
    m_laterSteps.push_back(step);
    if (m_laterTimer)
        return;
    m_laterTimer = std::make_unique<pantomime::Timer>(0, [this] {
        m_laterTimer.reset();
        for (const auto next : std::exchange(m_laterSteps, {}))
            (this->*next)();
    });
}

} // namespace platform
