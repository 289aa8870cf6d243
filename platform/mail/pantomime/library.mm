// The one file that sees Objective-C.

#include "platform/mail/pantomime/library.h"

#include "platform/log/nslog.h"

#include <QString>

#import <Foundation/Foundation.h>
#import <GNUstepBase/GSTLS.h>
#import <Pantomime/CWDNSManager.h>
#import <Pantomime/CWInternetAddress.h>
#import <Pantomime/CWMessage.h>
#import <Pantomime/CWSMTP.h>
#import <Pantomime/CWTCPConnection.h>

#include <objc/runtime.h>

namespace {

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
        // Failures arrive as events.
        _NSLog_printf_handler = passOver;
        return true;
    }();
    static_cast<void>(prepared);
}

/// Calls @p operation, logs what the library throws in it, and returns whether it has thrown nothing.
bool succeeds(const std::function<void()> &operation)
{
    @try {
        operation();
        return true;
    } @catch (NSException *exception) {
        platform::NSLog(QStringLiteral("The mail library has failed: ") +
                        QString::fromUtf8([[exception reason] UTF8String]));
        return false;
    }
}

NSString *stringFrom(const QByteArray &utf8)
{
    return [NSString stringWithUTF8String:utf8.constData()];
}

CWInternetAddress *addressFrom(const QByteArray &address)
{
    CWInternetAddress *result = [[[CWInternetAddress alloc] init] autorelease];
    [result setAddress:stringFrom(address)];
    [result setType:PantomimeToRecipient];
    return result;
}

QByteArrayView bytesOf(NSData *data)
{
    return {static_cast<const char *>([data bytes]), qsizetype([data length])};
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

@interface CWSMTP (Private)
- (void)_parseRCPT;
@end

/// Sends to a recipient whose mail the server forwards: 251 is as good as 250 (RFC 5321, 3.4), which is the
/// only reply that the library takes for a yes.
@interface PrattlebugSMTP : CWSMTP
@end

@implementation PrattlebugSMTP
- (void)_parseRCPT
{
    if ([self lastResponseCode] == 251)
        [_responsesFromServer addObject:[NSData dataWithBytes:"250" length:3]];
    [super _parseRCPT];
}
@end

/// Receives the library's events. It has no methods for the refusal of the sender and of a recipient: only
/// then does the library send messageNotSent: for these too.
@interface PrattlebugEvents : NSObject {
@public
    void *receiver; // C++, whose types the runtime would try to describe to itself
}
@end

@implementation PrattlebugEvents
static platform::pantomime::Events &receiverOf(PrattlebugEvents *events)
{
    return *static_cast<platform::pantomime::Events *>(events->receiver);
}
- (void)service:(CWService *)service receivedData:(NSData *)data
{
    receiverOf(self).received(bytesOf(data));
}
- (void)service:(CWService *)service sentData:(NSData *)data
{
    receiverOf(self).sent();
}
- (void)connectionEstablished:(NSNotification *)notification
{
    receiverOf(self).connected();
}
- (void)serviceInitialized:(NSNotification *)notification
{
    receiverOf(self).initialized();
}
- (void)authenticationCompleted:(NSNotification *)notification
{
    receiverOf(self).authenticationCompleted();
}
- (void)authenticationFailed:(NSNotification *)notification
{
    receiverOf(self).authenticationFailed();
}
- (void)messageSent:(NSNotification *)notification
{
    receiverOf(self).messageSent();
}
- (void)messageNotSent:(NSNotification *)notification
{
    receiverOf(self).messageNotSent();
}
- (void)connectionLost:(NSNotification *)notification
{
    receiverOf(self).lost();
}
- (void)connectionTerminated:(NSNotification *)notification
{
    receiverOf(self).terminated();
}
- (void)connectionTimedOut:(NSNotification *)notification
{
    receiverOf(self).timedOut();
}
@end

@interface PrattlebugTimerTarget : NSObject {
@public
    void *action; // a function of C++
}
- (void)fire:(NSTimer *)timer;
@end

@implementation PrattlebugTimerTarget
- (void)dealloc
{
    delete static_cast<std::function<void()> *>(action);
    [super dealloc];
}
- (void)fire:(NSTimer *)timer
{
    [[self retain] autorelease]; // the action may destroy the timer
    (*static_cast<std::function<void()> *>(action))();
}
@end

namespace platform::pantomime {

namespace {

PrattlebugSMTP *smtpFrom(void *object)
{
    return static_cast<PrattlebugSMTP *>(object);
}

CWTCPConnection *connectionOf(void *smtp)
{
    return static_cast<CWTCPConnection *>(static_cast<id>([smtpFrom(smtp) connection]));
}

} // namespace

bool canEncrypt()
{
    prepareLibrary();
    const Pool pool;
    return [NSFileHandle sslClass] != Nil && [CWTCPConnection instancesRespondToSelector:@selector(startSSL)];
}

bool runLoopOnce(double limit)
{
    prepareLibrary();
    const Pool pool;
    bool hasRun = false;
    return succeeds([&] {
               NSDate *date = [NSDate dateWithTimeIntervalSinceReferenceDate:limit];
               hasRun = [[NSRunLoop currentRunLoop] runMode:NSDefaultRunLoopMode beforeDate:date];
           }) &&
           hasRun;
}

// Timers

Timer::Timer(double seconds, std::function<void()> action)
{
    prepareLibrary();
    const Pool pool;
    PrattlebugTimerTarget *target = [[PrattlebugTimerTarget alloc] init];
    target->action = new std::function<void()>(std::move(action));
    m_target = target;
    m_timer = [[NSTimer scheduledTimerWithTimeInterval:seconds
                                                target:target
                                              selector:@selector(fire:)
                                              userInfo:nil
                                               repeats:NO] retain];
}

Timer::~Timer()
{
    NSTimer *timer = static_cast<NSTimer *>(m_timer);
    [timer invalidate];
    [timer release];
    [static_cast<PrattlebugTimerTarget *>(m_target) release];
}

// The client

Client::Client(const QByteArray &address, quint16 port, const QByteArray &sender, const QByteArray &recipient,
               QByteArrayView message, Events &events)
{
    constexpr unsigned farOff = 1000000; // seconds; the library's limits must not be reached before ours
    prepareLibrary();
    const Pool pool;
    PrattlebugEvents *receiver = [[PrattlebugEvents alloc] init];
    receiver->receiver = &events;
    m_events = receiver;

    PrattlebugMessage *whole = [[[PrattlebugMessage alloc] init] autorelease];
    if (message.endsWith("\r\n"))
        message.chop(2); // the library adds one
    whole->bytes = [[NSData alloc] initWithBytes:message.data() length:NSUInteger(message.size())];
    [whole setFrom:addressFrom(sender)];
    [whole addRecipient:addressFrom(recipient)];

    PrattlebugSMTP *smtp = [[PrattlebugSMTP alloc] initWithName:stringFrom(address) port:port];
    [smtp setDelegate:receiver];
    // The recipients are the message's too: with others set, the library would not ask for its bytes.
    [smtp setMessage:whole];
    [smtp setConnectionTimeout:farOff];
    [smtp setReadTimeout:farOff];
    [smtp setWriteTimeout:farOff];
    m_smtp = smtp;
}

Client::~Client()
{
    const Pool pool;
    [smtpFrom(m_smtp) setDelegate:nil];
    [smtpFrom(m_smtp) release];
    [static_cast<PrattlebugEvents *>(m_events) release];
}

bool Client::connect()
{
    const Pool pool;
    return succeeds([this] {
        // Otherwise the library would ask the name servers about the digits. Asked like this it asks the
        // system, which knows an address when it sees one, and remembers the answer.
        [[CWDNSManager singleInstance] addressesForName:[smtpFrom(m_smtp) name] background:NO];
        [smtpFrom(m_smtp) connectInBackgroundAndNotify];
    });
}

void Client::startEncryption()
{
    const Pool pool;
    [smtpFrom(m_smtp) startTLS];
}

void Client::authenticate(const QByteArray &username, const QByteArray &password, const QByteArray &mechanism)
{
    const Pool pool;
    [smtpFrom(m_smtp) authenticate:stringFrom(username)
                          password:stringFrom(password)
                         mechanism:stringFrom(mechanism)];
}

void Client::sendMessage()
{
    const Pool pool;
    [smtpFrom(m_smtp) sendMessage];
}

void Client::leave()
{
    const Pool pool;
    static_cast<void>(succeeds([this] { [smtpFrom(m_smtp) close]; }));
}

void Client::cancel()
{
    const Pool pool;
    [smtpFrom(m_smtp) setDelegate:nil];
    static_cast<void>(succeeds([this] { [smtpFrom(m_smtp) cancelRequest]; }));
}

bool Client::offers(const char *extension) const
{
    const Pool pool;
    NSString *name = stringFrom(extension);
    NSArray *offered = [smtpFrom(m_smtp) capabilities];
    for (NSUInteger i = 0; i < [offered count]; ++i) {
        if ([[offered objectAtIndex:i] caseInsensitiveCompare:name] == NSOrderedSame)
            return true;
    }
    return false;
}

QByteArray Client::lastReply() const
{
    return bytesOf([smtpFrom(m_smtp) lastResponse]).toByteArray();
}

int Client::socket() const
{
    CWTCPConnection *connection = connectionOf(m_smtp);
    return connection ? [connection fd] : -1;
}

bool Client::isEncrypted() const
{
    return [connectionOf(m_smtp) isSSL];
}

Client::Encryption Client::encryption() const
{
    // The library checks no certificate, and where it can be told to, it gets the names wrong. So the session
    // is taken out of it.
    CWTCPConnection *connection = connectionOf(m_smtp);
    if (![connection isSSL])
        return {}; // the library goes on in clear after a failed handshake
    const Ivar handleVariable = class_getInstanceVariable([connection class], "_ssl");
    id handle = handleVariable ? object_getIvar(connection, handleVariable) : nil;
    const Ivar sessionVariable = handle ? class_getInstanceVariable([handle class], "session") : nullptr;
    GSTLSSession *session = sessionVariable ? object_getIvar(handle, sessionVariable) : nil;
    if (![session isKindOfClass:[GSTLSSession class]] || ![session active])
        return {};
    return {session->session, [[session credentials] credentials]};
}

} // namespace platform::pantomime
