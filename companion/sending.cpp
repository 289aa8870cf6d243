#include "companion/commands.h"
#include "companion/console.h"
#include "companion/mailmessage.h"
#include "companion/send.h"

#include "archiver/transcript.h"

#include "VORAChatLog.h"
#include "VORAHostFlags.h"

#include "platform/mail/mailaddress.h"
#include "platform/mail/pantomime/pantomimeclient.h"
#include "platform/mail/pantomime/runloop.h"
#include "platform/mail/pantomime/servercertificate.h"
#include "platform/preferences/keys.h"
#include "platform/preferences/preferences.h"
#include "platform/text/encoding.h"

#include <QUrl>

#include <algorithm>

using platform::PantomimeClient;

namespace companion {

namespace {

// The ports of mail: from server to server, and of messages handed in, which is where STARTTLS is asked for.
constexpr int relayPort = 25;
constexpr int submissionPort = 587;

/// The server of --server, HOST or HOST:PORT; nothing when it is neither, or when the library cannot use it.
std::optional<platform::MailServer> serverFrom(const SendOptions &options)
{
    const QString text = platform::stringFromUtf8(options.server);
    constexpr QStringView notOfAServer = u"@/?#[]%"; // but of other parts of a URL, and of IPv6 addresses
    if (text.endsWith(u':') ||
        std::any_of(text.begin(), text.end(), [&](QChar c) { return notOfAServer.contains(c); }))
        return std::nullopt;
    QUrl url;
    url.setAuthority(text, QUrl::StrictMode);
    const QString host = url.host(QUrl::FullyEncoded);
    const int port = url.port(options.encrypted ? submissionPort : relayPort);
    constexpr qsizetype longestHost = 253;
    if (!url.isValid() || host.isEmpty() || host.size() > longestHost || port == 0)
        return std::nullopt;
    return platform::MailServer{host, quint16(port), options.encrypted, options.certificates,
                                std::chrono::seconds(options.timeout)};
}

/// Composes the mail about @p chatLog; nothing when it is too large, which the console log then says.
std::optional<QByteArray> compose(const VORAChatLog &chatLog, const QByteArray &from, const QByteArray &to)
{
    constexpr qsizetype largestMessage = qsizetype(64) << 20; // more than mail servers take
    MailMessage message{
        from, to, chatLog.subjectForEmail(), platform::NSDate::now(), newMessageId(from), {}, QByteArray()};
    message.plainText = chatLog.PlainChatLog();
    message.html = chatLog.HTMLChatLog();
    if (message.plainText.isNull() || message.html.isNull())
        return std::nullopt;
    if (message.plainText.size() > largestMessage || message.html.size() > largestMessage) {
        printError(u"The chat is too large for a mail.");
        return std::nullopt;
    }
    return mailMessageBytes(message);
}

/// Why the message did not go out.
QString failureOf(const PantomimeClient &client, const platform::MailServer &server)
{
    const QString name = server.host + u':' + QString::number(server.port);
    const QString reply = QString::fromLatin1(client.lastResponse());
    const auto with = [](const QString &sentence, const QString &more) {
        return more.isEmpty() ? sentence + u'.' : sentence + QStringLiteral(": ") + more;
    };
    if (!client.ending() && client.problem().isEmpty())
        return QStringLiteral("The mail library has failed."); // the console log has the reason
    if (!client.ending())
        return with(QStringLiteral("No connection to the mail server ") + name, client.problem());
    switch (*client.ending()) {
    case PantomimeClient::Ending::LoginFailed:
        return with(QStringLiteral("The mail server rejects the login"), reply);
    case PantomimeClient::Ending::NotSent:
        return with(QStringLiteral("The mail server refuses the message"), reply);
    default: return with(QStringLiteral("The mail was not sent"), client.problem());
    }
}

int deliver(VORAChatLog &chatLog, const platform::MailServer &server, const platform::MailEnvelope &envelope)
{
    PantomimeClient client(server, envelope);
    VORAHostFlags::shouldQuit = true;
    VORAHostFlags::verbose = verbosity() == Verbosity::Verbose;
    // What it returns is told by the client too, and better.
    chatLog.HandleEmailSending(client, platform::currentRunLoop());
    if (client.ending() == PantomimeClient::Ending::Sent)
        return exitDone;
    printError(failureOf(client, server));
    return exitFailed;
}

int refuse(QStringView reason)
{
    printError(reason);
    return exitWrongUsage;
}

} // namespace

int send(const SendOptions &options)
{
    const auto server = serverFrom(options);
    if (!server)
        return refuse(
            u"--server takes a host name or an IPv4 address, and after a colon a port from 1 to 65535. "
            u"IPv6 addresses cannot be used.");
    const auto isAddress = [](const std::string &text) {
        return platform::isEnvelopeAddress(platform::stringFromUtf8(text));
    };
    if (!isAddress(options.to))
        return refuse(u"--to takes a bare mail address, such as kim@example.org.");
    if (!options.from.empty() && !isAddress(options.from))
        return refuse(u"--from takes a bare mail address, such as kim@example.org.");
    if (options.encrypted && !platform::pantomime::canEncrypt())
        return refuse(u"The installed mail library cannot encrypt; nothing was sent.");
    if (!options.certificates.empty()) {
        const QString problem = platform::pantomime::problemOfAuthorities(options.certificates);
        if (!problem.isEmpty())
            return refuse(problem);
    }

    const ConsoleHost host(false);
    const std::filesystem::path file = transcriptPath(options.file);
    const VORAChatLog::Loading loading = loadTranscript(file);
    if (!loading) {
        printError(loading.error());
        return exitFailed;
    }
    const QString from = options.from.empty()
                             ? platform::CFPreferencesCopyAppValue(platform::preference::emailAddress)
                                   .string()
                                   .value_or(QString())
                             : platform::stringFromUtf8(options.from);
    if (from.isEmpty()) {
        printError(u"There is no address to send from: give --from, or set it with prattlebug prefs "
                   u"emailAddress ADDRESS.");
        return exitFailed;
    }
    if (!platform::isEnvelopeAddress(from)) {
        printError(from + QStringLiteral(" is not an address that mail can be sent from."));
        return exitFailed;
    }
    const QByteArray sender = from.toLatin1();
    const QByteArray recipient = QByteArray::fromStdString(options.to);
    const auto message = compose(**loading, sender, recipient);
    return message ? deliver(**loading, *server, {sender, recipient, *message}) : exitFailed;
}

} // namespace companion
