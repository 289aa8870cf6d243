// Two worlds meet here whose classes share their names. The library's that have a namesake of ours go by
// another name, which is given to them below.

#include "platform/mail/pantomime/pantomimeclient.h"

#include "platform/log/nslog.h"
#include "platform/text/encoding.h"

#import <Foundation/Foundation.h>
#import <GNUstepBase/GSTLS.h>
#import <Pantomime/CWDNSManager.h>
#import <Pantomime/CWInternetAddress.h>
#import <Pantomime/CWMessage.h>
#import <Pantomime/CWSMTP.h>
#import <Pantomime/CWTCPConnection.h>

#include <algorithm>
#include <objc/runtime.h>
#include <sys/socket.h>
#include <vector>

@compatibility_alias LibraryDate NSDate;
@compatibility_alias LibraryObject NSObject;
@compatibility_alias LibraryRunLoop NSRunLoop;
@compatibility_alias LibrarySMTP CWSMTP;
@compatibility_alias LibraryTimer NSTimer;

namespace {

/// More than any server has to say in one exchange.
constexpr qsizetype mostReceived = 1 << 20;

constexpr NSTimeInterval secondsToLeave = 2;

/// The library's own limits, which count in another way and shall never be met before ours.
constexpr unsigned farOffLimit = 1000000;

/// An autorelease pool for a scope.
class Pool {
public:
    Pool() : m_pool([[NSAutoreleasePool alloc] init]) {}
    ~Pool() { [m_pool release]; }
    Pool(const Pool &) = delete;
    Pool &operator=(const Pool &) = delete;

private:
    NSAutoreleasePool *m_pool;
};

void passOver(NSString * /*message*/) {}

/// To be called before the library is used.
void prepareLibrary()
{
    static const bool prepared = [] {
        const Pool pool;
        // It would look for the user's settings in the home folder that the password file names, whatever
        // HOME says, and lock them. So it finds none.
        NSMutableDictionary *configuration = GNUstepConfig(nil);
        [configuration setObject:@"/dev/null" forKey:@"GNUSTEP_USER_DEFAULTS_DIR"];
        GNUstepConfig(configuration);
        // It would write to standard error what surprises it, such as the connection that Pantomime encrypts.
        // What fails is told by events.
        _NSLog_printf_handler = passOver;
        return true;
    }();
    static_cast<void>(prepared);
}

NSString *stringFrom(const QString &text)
{
    return [NSString stringWithUTF8String:platform::utf8FromString(text).constData()];
}

CWInternetAddress *addressFrom(const QByteArray &address)
{
    CWInternetAddress *result = [[[CWInternetAddress alloc] init] autorelease];
    [result setAddress:[NSString stringWithUTF8String:address.constData()]];
    [result setType:PantomimeToRecipient];
    return result;
}

QByteArray bytesFrom(NSData *data)
{
    return data ? QByteArray(static_cast<const char *>([data bytes]), qsizetype([data length]))
                : QByteArray();
}

CWTCPConnection *connectionOf(LibrarySMTP *smtp)
{
    return static_cast<CWTCPConnection *>(static_cast<id>([smtp connection]));
}

/// Runs the thread's run loop once. An exception of the library ends here, as a loop that cannot run.
bool runOnce(LibraryDate *until)
{
    @try {
        return [[LibraryRunLoop currentRunLoop] runMode: ::NSDefaultRunLoopMode beforeDate:until];
    } @catch (NSException *exception) {
        platform::NSLog(QStringLiteral("The mail library has failed: ") +
                        QString::fromUtf8([[exception reason] UTF8String]));
        return false;
    }
}

} // namespace

/// The message as bytes that are not to be touched: the library would take it apart and write it anew.
@interface PrattlebugMessage : CWMessage {
@public
    NSData *bytes;
}
@end

@implementation PrattlebugMessage
- (void)dealloc
{
    [bytes release];
    [super dealloc];
}
- (NSData *)dataValue
{
    return bytes;
}
@end

/// Receives the library's events. It has no methods for the refusal of the sender and of a recipient: only
/// then does the library send messageNotSent: for these too.
@interface PrattlebugEvents : NSObject {
@public
    void *owner; // the exchange; the runtime would try to describe a C++ type to itself
}
@end

namespace platform {

/// One exchange with a server, from connecting to taking leave.
class PantomimeExchange {
public:
    using Ending = PantomimeClient::Ending;

    PantomimeExchange(const MailServer &server, const MailEnvelope &envelope);
    ~PantomimeExchange();
    PantomimeExchange(const PantomimeExchange &) = delete;
    PantomimeExchange &operator=(const PantomimeExchange &) = delete;

    void setDelegate(CWSMTPDelegate *delegate) { m_delegate = delegate; }
    [[nodiscard]] int connect();
    /// Does @p request as soon as the server has introduced itself: the library would do it at once, and
    /// speak out of turn to a server that takes its time.
    void ask(std::function<void()> request);
    [[nodiscard]] LibrarySMTP *smtp() const { return m_smtp; }
    /// Logs in, as ask() does.
    void authenticate(const QString &username, const QString &password, const QString &mechanism);
    /// The reply that ended the exchange, before that the latest.
    [[nodiscard]] QByteArray reply() const
    {
        return m_ending ? m_reply : withoutPassword(bytesFrom([m_smtp lastResponse]));
    }
    [[nodiscard]] std::optional<Ending> ending() const { return m_ending; }
    [[nodiscard]] const QString &problem() const { return m_problem; }

    // Events

    void established();
    void lost();
    void terminated();
    void initialized();
    void received(QByteArrayView data);
    void sent() { restartPatience(); }
    void authenticationCompleted();
    /// The first ending counts.
    void end(Ending ending, const QByteArray &reply);
    void timedOut() { giveUp(QStringLiteral("The server does not answer.")); }
    void patienceIsOver();
    /// Later actions, see doLater().
    void proceed();
    void turnedAway();

private:
    enum class Opening { NotStarted, UnderWay, Done, Failed };
    enum class Encryption { None, Wanted, Asked, Done };

    /// Notes why (the first reason counts), and has failed to open, or ends as timed out.
    void giveUp(const QString &problem);
    /// Has @p selector sent to the receiver of events once the library has done with the event at hand.
    void doLater(SEL selector);
    /// @p reply, or where the server repeats the password in it, its code alone: replies go into logs and
    /// preferences.
    [[nodiscard]] QByteArray withoutPassword(const QByteArray &reply) const;
    void startEncryption();
    /// What is wrong with the server's certificate; empty when it is the server's own.
    [[nodiscard]] QString certificateProblem() const;
    /// Makes an end of a server that does not keep to the rules; the library then finds the connection lost.
    void cutOff(const QString &problem);
    void restartPatience();
    void stopPatience();

    MailServer m_server;
    LibrarySMTP *m_smtp;
    PrattlebugEvents *m_events;
    LibraryTimer *m_patience = nil;
    CWSMTPDelegate *m_delegate = nullptr;

    Opening m_opening = Opening::NotStarted;
    Encryption m_encryption;
    bool m_connected = false;
    bool m_introduced = false;               ///< the server has said what it can
    bool m_asked = false;                    ///< something has been asked of it
    std::function<void()> m_request;         ///< which has not been done yet
    QByteArray m_line;                       ///< what has come of the greeting, or of the reply to STARTTLS
    qsizetype m_received = 0;                ///< bytes
    std::vector<QByteArray> m_passwordForms; ///< what the password looks like in a reply
    std::optional<Ending> m_ending;
    QByteArray m_reply;
    QString m_problem;
};

} // namespace platform

@implementation PrattlebugEvents
static platform::PantomimeExchange *exchangeOf(PrattlebugEvents *events)
{
    return static_cast<platform::PantomimeExchange *>(events->owner);
}

- (void)connectionEstablished:(NSNotification *)notification
{
    exchangeOf(self)->established();
}
- (void)connectionLost:(NSNotification *)notification
{
    exchangeOf(self)->lost();
}
- (void)connectionTerminated:(NSNotification *)notification
{
    exchangeOf(self)->terminated();
}
- (void)connectionTimedOut:(NSNotification *)notification
{
    exchangeOf(self)->timedOut();
}
- (void)serviceInitialized:(NSNotification *)notification
{
    exchangeOf(self)->initialized();
}
- (void)service:(CWService *)service receivedData:(NSData *)data
{
    exchangeOf(self)->received(
        QByteArrayView(static_cast<const char *>([data bytes]), qsizetype([data length])));
}
- (void)service:(CWService *)service sentData:(NSData *)data
{
    exchangeOf(self)->sent();
}
- (void)authenticationCompleted:(NSNotification *)notification
{
    exchangeOf(self)->authenticationCompleted();
}
- (void)authenticationFailed:(NSNotification *)notification
{
    exchangeOf(self)->end(platform::PantomimeExchange::Ending::LoginFailed, exchangeOf(self)->reply());
}
- (void)messageSent:(NSNotification *)notification
{
    exchangeOf(self)->end(platform::PantomimeExchange::Ending::Sent, exchangeOf(self)->reply());
}
- (void)messageNotSent:(NSNotification *)notification
{
    exchangeOf(self)->end(platform::PantomimeExchange::Ending::NotSent, exchangeOf(self)->reply());
}
- (void)patienceIsOver:(LibraryTimer *)timer
{
    exchangeOf(self)->patienceIsOver();
}
- (void)proceed
{
    exchangeOf(self)->proceed();
}
- (void)turnedAway
{
    exchangeOf(self)->turnedAway();
}
@end

namespace platform {

PantomimeExchange::PantomimeExchange(const MailServer &server, const MailEnvelope &envelope)
    : m_server(server), m_encryption(server.encrypted ? Encryption::Wanted : Encryption::None)
{
    prepareLibrary();
    const Pool pool;
    m_events = [[PrattlebugEvents alloc] init];
    m_events->owner = this;

    PrattlebugMessage *message = [[[PrattlebugMessage alloc] init] autorelease];
    QByteArrayView bytes(envelope.message);
    if (bytes.endsWith("\r\n"))
        bytes.chop(2); // the library adds one
    message->bytes = [[NSData alloc] initWithBytes:bytes.data() length:NSUInteger(bytes.size())];
    [message setFrom:addressFrom(envelope.sender)];
    [message addRecipient:addressFrom(envelope.recipient)];

    m_smtp = [[LibrarySMTP alloc] initWithName:stringFrom(server.host) port:server.port];
    [m_smtp setDelegate:m_events];
    // The recipients are the message's too: with others set, the library would not ask for its bytes.
    [m_smtp setMessage:message];
    [m_smtp setConnectionTimeout:farOffLimit];
    [m_smtp setReadTimeout:farOffLimit];
    [m_smtp setWriteTimeout:farOffLimit];
}

PantomimeExchange::~PantomimeExchange()
{
    const Pool pool;
    stopPatience();
    m_delegate = nullptr;
    const bool serverListens = m_opening == Opening::Done && m_ending != Ending::TimedOut;
    @try {
        if (m_connected && serverListens) {
            m_ending = m_ending.value_or(Ending::NotSent);
            [m_smtp close]; // QUIT; the server's answer terminates the connection
            LibraryDate *until = [LibraryDate dateWithTimeIntervalSinceNow:secondsToLeave];
            while (m_connected && [until timeIntervalSinceNow] > 0 && runOnce(until)) {
            }
        }
        [m_smtp setDelegate:nil];
        if (m_connected)
            [m_smtp cancelRequest];
    } @catch (NSException *exception) {
        [m_smtp setDelegate:nil]; // closed by the system then
    }
    [LibraryObject cancelPreviousPerformRequestsWithTarget:m_events];
    [m_smtp release];
    [m_events release];
}

int PantomimeExchange::connect()
{
    const Pool pool;
    m_opening = Opening::UnderWay;
    restartPatience();
    @try {
        // The library's resolver for connections in the background asks name servers by itself. This one asks
        // the system, and leaves the answer where the other finds it.
        if ([[CWDNSManager singleInstance] addressesForName:stringFrom(m_server.host) background:NO])
            [m_smtp connectInBackgroundAndNotify];
        else
            giveUp(QStringLiteral("There is no such host."));
    } @catch (NSException *exception) {
        giveUp(QString::fromUtf8([[exception reason] UTF8String]));
    }
    while (m_opening == Opening::UnderWay) {
        const Pool turn;
        if (!runOnce([LibraryDate distantFuture]))
            giveUp(QStringLiteral("The run loop does not run."));
    }
    return m_opening == Opening::Done ? 0 : -1;
}

void PantomimeExchange::ask(std::function<void()> request)
{
    if (m_ending || m_opening != Opening::Done)
        return;
    m_asked = true;
    m_request = std::move(request);
    restartPatience();
    if (m_introduced)
        proceed();
}

void PantomimeExchange::proceed()
{
    if (const auto request = std::exchange(m_request, nullptr); request && !m_ending) {
        const Pool pool;
        request();
    }
}

void PantomimeExchange::authenticate(const QString &username, const QString &password,
                                     const QString &mechanism)
{
    for (const QByteArray &bytes : {platform::utf8FromString(password), password.toLatin1()}) {
        for (const QByteArray &form : {bytes, bytes.toBase64(QByteArray::OmitTrailingEquals)}) {
            if (!form.isEmpty())
                m_passwordForms.push_back(form);
        }
    }
    ask([=, smtp = m_smtp] {
        [smtp authenticate:stringFrom(username)
                  password:stringFrom(password)
                 mechanism:stringFrom(mechanism)];
    });
}

QByteArray PantomimeExchange::withoutPassword(const QByteArray &reply) const
{
    constexpr qsizetype codeSize = 3;
    const QByteArray text = reply.sliced(std::min(codeSize, reply.size()));
    const bool repeats = std::any_of(m_passwordForms.begin(), m_passwordForms.end(),
                                     [&text](const QByteArray &form) { return text.contains(form); });
    return repeats ? reply.first(codeSize) + " (withheld: the server repeats the password)" : reply;
}

// Opening

void PantomimeExchange::established()
{
    // The library says so of every connection in the background, made or refused.
    sockaddr_storage peer{};
    socklen_t size = sizeof peer;
    if (getpeername([connectionOf(m_smtp) fd], reinterpret_cast<sockaddr *>(&peer), &size) != 0) {
        giveUp(QStringLiteral("The server refuses the connection."));
        return;
    }
    m_connected = true;
    if (m_opening == Opening::UnderWay && m_encryption == Encryption::None)
        m_opening = Opening::Done;
}

void PantomimeExchange::initialized()
{
    if (m_encryption == Encryption::Wanted) {
        startEncryption();
        return;
    }
    if (m_encryption == Encryption::Asked && m_opening == Opening::UnderWay) {
        const QString wrong = certificateProblem();
        if (!wrong.isEmpty()) {
            giveUp(wrong);
            return;
        }
        m_encryption = Encryption::Done;
        m_opening = Opening::Done;
    }
    m_introduced = true;
    if (m_request)
        doLater(@selector(proceed)); // where EHLO was refused, the library has yet to say HELO
}

void PantomimeExchange::startEncryption()
{
    NSArray *capabilities = [m_smtp capabilities];
    bool offered = false;
    for (NSUInteger i = 0; i < [capabilities count]; ++i)
        offered |= [[capabilities objectAtIndex:i] caseInsensitiveCompare:@"STARTTLS"] == NSOrderedSame;
    if (!offered) {
        giveUp(QStringLiteral("The server offers no encryption."));
        return;
    }
    m_encryption = Encryption::Asked;
    m_line.clear();
    [m_smtp startTLS];
}

QString PantomimeExchange::certificateProblem() const
{
    QString none = QStringLiteral("No encrypted connection has come about.");
    CWTCPConnection *connection = connectionOf(m_smtp);
    if (![connection isSSL])
        return none; // the library goes on in clear after a failed handshake

    // The library checks no certificate, and where it can be told to, it gets the names wrong. So down to the
    // session.
    const Ivar handleVariable = class_getInstanceVariable([connection class], "_ssl");
    id handle = handleVariable ? object_getIvar(connection, handleVariable) : nil;
    const Ivar sessionVariable = handle ? class_getInstanceVariable([handle class], "session") : nullptr;
    GSTLSSession *session = sessionVariable ? object_getIvar(handle, sessionVariable) : nil;
    if (![session isKindOfClass:[GSTLSSession class]] || ![session active])
        return none;

    gnutls_certificate_credentials_t trusted = [[session credentials] credentials];
    gnutls_certificate_set_x509_system_trust(trusted);
    if (!m_server.certificates.empty() &&
        gnutls_certificate_set_x509_trust_file(trusted, m_server.certificates.c_str(), GNUTLS_X509_FMT_PEM) <=
            0)
        return QStringLiteral("The file of authorities to trust holds none.");
    unsigned status = 0;
    const int result =
        gnutls_certificate_verify_peers3(session->session, m_server.host.toLatin1().constData(), &status);
    if (result != GNUTLS_E_SUCCESS)
        return QStringLiteral("The server's certificate could not be checked: ") +
               QString::fromUtf8(gnutls_strerror(result));
    if (status == 0)
        return {};
    gnutls_datum_t text{};
    QString reason = QStringLiteral("The server's certificate is not to be trusted.");
    if (gnutls_certificate_verification_status_print(status, GNUTLS_CRT_X509, &text, 0) == GNUTLS_E_SUCCESS) {
        reason = QString::fromUtf8(reinterpret_cast<const char *>(text.data), int(text.size));
        gnutls_free(text.data);
    }
    return reason.remove(QChar::Null).trimmed();
}

// What comes from the server

void PantomimeExchange::received(QByteArrayView data)
{
    m_received += data.size();
    if (m_received > mostReceived) {
        cutOff(QStringLiteral("The server does not stop talking."));
        return;
    }
    // The two lines that the library passes over when they say no: the greeting, and the reply to STARTTLS.
    const bool greeting = !m_introduced && m_encryption != Encryption::Asked;
    const bool encryptionReply = m_encryption == Encryption::Asked && ![connectionOf(m_smtp) isSSL];
    if (!greeting && !encryptionReply)
        return;
    if (m_line.contains('\n')) {
        // Only a forger speaks on in clear, to be heard after the handshake.
        if (encryptionReply)
            cutOff(QStringLiteral("No encrypted connection has come about."));
        return;
    }
    m_line += data;
    const qsizetype lineFeed = m_line.indexOf('\n');
    if (lineFeed < 0)
        return;
    if (encryptionReply && lineFeed + 1 < m_line.size())
        cutOff(QStringLiteral("The server speaks in clear when it should encrypt."));
    else if ((m_line.startsWith('4') || m_line.startsWith('5')) && !m_line.startsWith("421"))
        doLater(@selector(turnedAway));
}

void PantomimeExchange::turnedAway()
{
    const QByteArray reply = m_line.first(m_line.indexOf('\n')).trimmed();
    if (m_opening == Opening::UnderWay)
        giveUp(QStringLiteral("The server answers: ") + QString::fromLatin1(reply));
    else
        end(Ending::NotSent, reply);
}

void PantomimeExchange::lost()
{
    m_connected = false;
    giveUp(QStringLiteral("The connection has been lost."));
}

void PantomimeExchange::terminated()
{
    m_connected = false; // by us, or by the server with the reply 421
    const QByteArray reply = withoutPassword(bytesFrom([m_smtp lastResponse]));
    if (m_opening == Opening::UnderWay)
        giveUp(QStringLiteral("The server answers: ") + QString::fromLatin1(reply));
    else
        end(Ending::NotSent, reply);
}

void PantomimeExchange::authenticationCompleted()
{
    restartPatience();
    if (!m_ending && m_delegate)
        m_delegate->authenticationCompleted();
}

// Endings

void PantomimeExchange::end(Ending ending, const QByteArray &reply)
{
    if (m_ending || m_opening != Opening::Done)
        return;
    m_ending = ending;
    m_reply = reply;
    m_request = nullptr;
    stopPatience();
    if (!m_delegate)
        return;
    switch (ending) {
    case Ending::LoginFailed: m_delegate->authenticationFailed(); break;
    case Ending::Sent: m_delegate->messageSent(); break;
    case Ending::NotSent: m_delegate->messageNotSent(); break;
    case Ending::TimedOut: m_delegate->connectionTimedOut(); break;
    }
}

void PantomimeExchange::giveUp(const QString &problem)
{
    if (m_ending)
        return;
    if (m_problem.isEmpty())
        m_problem = problem;
    if (m_opening == Opening::UnderWay) {
        m_opening = Opening::Failed;
        stopPatience();
    } else {
        end(Ending::TimedOut, {});
    }
}

void PantomimeExchange::cutOff(const QString &problem)
{
    if (m_problem.isEmpty())
        m_problem = problem;
    ::shutdown([connectionOf(m_smtp) fd], SHUT_RDWR);
}

void PantomimeExchange::patienceIsOver()
{
    m_patience = nil;
    if (m_introduced && !m_asked)
        restartPatience(); // it is the server that waits
    else
        giveUp(QStringLiteral("The server has been silent for %1 s.").arg(m_server.patience.count()));
}

void PantomimeExchange::restartPatience()
{
    stopPatience();
    if (!m_ending)
        m_patience = [LibraryTimer scheduledTimerWithTimeInterval:NSTimeInterval(m_server.patience.count())
                                                           target:m_events
                                                         selector:@selector(patienceIsOver:)
                                                         userInfo:nil
                                                          repeats:NO];
}

void PantomimeExchange::stopPatience()
{
    [m_patience invalidate];
    m_patience = nil;
}

void PantomimeExchange::doLater(SEL selector)
{
    [m_events performSelector:selector withObject:nil afterDelay:0];
}

// The client

bool PantomimeClient::canEncrypt()
{
    prepareLibrary();
    const Pool pool;
    return [NSFileHandle sslClass] != Nil && [CWTCPConnection instancesRespondToSelector:@selector(startSSL)];
}

PantomimeClient::PantomimeClient(const MailServer &server, const MailEnvelope &envelope)
    : m_exchange(std::make_unique<PantomimeExchange>(server, envelope))
{
}

PantomimeClient::~PantomimeClient() = default;

void PantomimeClient::setDelegate(CWSMTPDelegate *delegate)
{
    m_exchange->setDelegate(delegate);
}

int PantomimeClient::connect()
{
    return m_exchange->connect();
}

void PantomimeClient::authenticate(const QString &username, const QString &password, const QString &mechanism)
{
    m_exchange->authenticate(username, password, mechanism);
}

void PantomimeClient::sendMessage()
{
    LibrarySMTP *smtp = m_exchange->smtp();
    m_exchange->ask([=] { [smtp sendMessage]; });
}

QByteArray PantomimeClient::lastResponse() const
{
    return m_exchange->reply();
}

std::optional<PantomimeClient::Ending> PantomimeClient::ending() const
{
    return m_exchange->ending();
}

QString PantomimeClient::problem() const
{
    return m_exchange->problem();
}

} // namespace platform

// The run loop and its timers

@interface PrattlebugTimerTarget : NSObject {
@public
    void *owner; // the timer; null when there is none any more
}
- (void)fire:(LibraryTimer *)nsTimer;
@end

namespace {

class LoopTimer final : public platform::NSTimer {
public:
    LoopTimer(double timeInterval, Action action, platform::CWSMTP &userInfo)
        : NSTimer(userInfo), m_action(std::move(action)), m_target([[PrattlebugTimerTarget alloc] init])
    {
        const Pool pool;
        m_target->owner = this;
        m_timer = [[LibraryTimer scheduledTimerWithTimeInterval:timeInterval
                                                         target:m_target
                                                       selector:@selector(fire:)
                                                       userInfo:nil
                                                        repeats:NO] retain];
    }
    ~LoopTimer() override
    {
        m_target->owner = nullptr;
        [m_timer invalidate];
        [m_timer release];
        [m_target release];
    }

    void fire()
    {
        const Action action = m_action; // which may destroy this
        action(*this);
    }

private:
    Action m_action;
    PrattlebugTimerTarget *m_target;
    LibraryTimer *m_timer;
};

class CurrentRunLoop final : public platform::NSRunLoop {
public:
    std::unique_ptr<platform::NSTimer> scheduledTimer(double timeInterval, platform::NSTimer::Action action,
                                                      platform::CWSMTP &userInfo) override
    {
        return std::make_unique<LoopTimer>(timeInterval, std::move(action), userInfo);
    }

    bool runMode(platform::NSRunLoopMode /*the only one*/, const platform::NSDate &beforeDate) override
    {
        const Pool pool;
        return runOnce(
            [LibraryDate dateWithTimeIntervalSinceReferenceDate:beforeDate.timeIntervalSinceReferenceDate()]);
    }
};

} // namespace

@implementation PrattlebugTimerTarget
- (void)fire:(LibraryTimer *)nsTimer
{
    [[self retain] autorelease];
    if (owner)
        static_cast<LoopTimer *>(owner)->fire();
}
@end

platform::NSRunLoop &platform::currentRunLoop()
{
    prepareLibrary();
    static CurrentRunLoop loop; // without a state: it stands for that of whichever thread asks
    return loop;
}
