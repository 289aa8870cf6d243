#include "companion/commands.h"
#include "companion/console.h"
#include "companion/mailmessage.h"
#include "companion/transcript.h"

#include "VORAChatLog.h"
#include "VORAHostFlags.h"

#include "platform/mail/pantomime/pantomimeclient.h"
#include "platform/preferences/preferences.h"
#include "platform/text/encoding.h"

#include <CLI/Validators.hpp>

#include <charconv>
#include <memory>

using platform::PantomimeClient;

namespace companion {

namespace {

struct Options {
    std::string server;
    std::string to;
    std::string from;
    std::string file;
    std::string certificates;
    bool encrypted = false;
    int timeout = 60;
};

// The ports of mail: from server to server, and of messages handed in, which is where STARTTLS is asked for.
constexpr quint16 relayPort = 25;
constexpr quint16 submissionPort = 587;

/// The server of --server, HOST or HOST:PORT; nothing when it is neither.
std::optional<platform::MailServer> serverFrom(const Options &options)
{
    const std::string &text = options.server;
    const size_t colon = text.find(':');
    const std::string host = text.substr(0, colon);
    quint16 port = options.encrypted ? submissionPort : relayPort;
    if (colon != std::string::npos) {
        const char *end = text.data() + text.size();
        const auto [rest, error] = std::from_chars(text.data() + colon + 1, end, port);
        if (error != std::errc() || rest != end || port == 0)
            return std::nullopt;
    }
    constexpr size_t longestHost = 253;
    constexpr std::string_view characters =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789.-_";
    if (host.empty() || host.size() > longestHost || host.find_first_not_of(characters) != std::string::npos)
        return std::nullopt;
    return platform::MailServer{QString::fromLatin1(host), port, options.encrypted, options.certificates,
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

int send(const Options &options)
{
    const auto server = serverFrom(options);
    if (!server)
        return refuse(
            u"--server takes a host name or an IPv4 address, and a port from 1 to 65535 behind a colon.");
    const QByteArray to = QByteArray::fromStdString(options.to);
    if (!isMailAddress(to))
        return refuse(u"--to takes a bare mail address, such as kim@example.org.");
    QByteArray from = QByteArray::fromStdString(options.from);
    if (!from.isEmpty() && !isMailAddress(from))
        return refuse(u"--from takes a bare mail address, such as kim@example.org.");
    if (options.encrypted && !PantomimeClient::canEncrypt())
        return refuse(u"The installed mail library cannot encrypt; nothing was sent.");

    const ConsoleHost host(false);
    const std::filesystem::path file = transcriptPath(options.file);
    const VORAChatLog::Loading loading = loadTranscript(file);
    if (!loading.chatLog) {
        printError(QByteArrayView(QByteArray::fromStdString(file.native()) + ": " +
                                  platform::utf8FromString(loading.reason)));
        return exitFailed;
    }
    if (from.isEmpty())
        from = platform::utf8FromString(
            platform::CFPreferencesCopyAppValue(u"emailAddress").string().value_or(QString()));
    if (!isMailAddress(from)) {
        printError(u"There is no address to send from: give --from, or set it with prattlebug prefs "
                   u"emailAddress ADDRESS.");
        return exitFailed;
    }
    const auto message = compose(*loading.chatLog, from, to);
    return message ? deliver(*loading.chatLog, *server, {from, to, *message}) : exitFailed;
}

} // namespace

void addSendCommand(CLI::App &commands, Action &action)
{
    const auto options = std::make_shared<Options>();
    CLI::App *command = commands.add_subcommand("send", "Send one chat by mail");
    command->add_option("FILE", options->file, "Transcript, *.chat or *.ichat")->required();
    command
        ->add_option("--server", options->server,
                     "Mail server; port 25, with --starttls 587, if none is given")
        ->type_name("HOST[:PORT]")
        ->required();
    command->add_option("--to", options->to, "Recipient")->type_name("ADDRESS")->required();
    command->add_option("--from", options->from, "Sender, instead of the preference emailAddress")
        ->type_name("ADDRESS");
    CLI::Option *encrypted = command->add_flag("--starttls", options->encrypted,
                                               "Send over an encrypted connection only, to a server whose "
                                               "certificate is trusted");
    command
        ->add_option("--ca-file", options->certificates,
                     "Authorities to trust besides the system's, in PEM form")
        ->type_name("FILE")
        ->needs(encrypted);
    constexpr int longestTimeout = 3600;
    command->add_option("--timeout", options->timeout, "How long the server may be silent")
        ->type_name("SECONDS")
        ->check(CLI::Range(1, longestTimeout))
        ->capture_default_str();
    command->footer(
        "For a server that wants a login, set the preferences emailNeedsUsername to 1, emailUsername and\n"
        "emailPassword. Without --starttls the password is sent unencrypted.\n"
        "Example: prattlebug send --server mail.example.org --starttls --to kim@example.org "
        "\"Kim on 2005-03-01.ichat\"\n"
        "Exit code: 0 when the server has taken the mail, 1 when not.");
    command->callback([options, &action] { action = [options] { return send(*options); }; });
}

} // namespace companion
