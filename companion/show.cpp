#include "companion/commands.h"
#include "companion/console.h"
#include "companion/jsonwriter.h"
#include "companion/localtime.h"
#include "companion/terminal.h"

#include "archiver/transcript.h"

#include "index/chatrecord.h"

#include "VORAChatLog.h"

#include "platform/addressbook/addressbook.h"
#include "platform/date/calendar.h"
#include "platform/text/encoding.h"

#include <CLI/Validators.hpp>

#include <memory>

namespace companion {

namespace {

void writeText(JsonWriter &json, QStringView key, const std::optional<QString> &text)
{
    json.key(key);
    if (text)
        json.string(*text);
    else
        json.null();
}

std::optional<QString> timeText(const std::optional<platform::NSDate> &time)
{
    if (!time)
        return std::nullopt;
    const qint64 milliseconds = ((time->unixMilliseconds() % 1000) + 1000) % 1000;
    QString text = platform::utcDescription(*time);
    text.chop(1); // the closing Z
    return text + u'.' + QString::number(milliseconds).rightJustified(3, u'0') + u'Z';
}

void writeLinks(JsonWriter &json, const LinkRecord &record)
{
    json.key(u"links");
    json.beginArray();
    for (const QString &url : record.urls)
        json.string(url);
    json.endArray();
}

void writeFiles(JsonWriter &json, const ImageRecord &record)
{
    json.key(u"files");
    json.beginArray();
    for (const auto &file : record.images) {
        json.beginObject();
        writeText(json, u"name", file->preferredFilename());
        json.key(u"bytes");
        json.integer(file->totalSize());
        json.endObject();
    }
    json.endArray();
}

QByteArray chatAsJson(const VORAChatLog &chatLog)
{
    JsonWriter json;
    json.beginObject();
    json.key(u"subject");
    json.string(chatSubject(chatLog.primaryOtherParty(), std::nullopt));
    json.key(u"participants");
    json.beginArray();
    for (const auto &participant : chatLog.participants()) {
        if (participant->rawName())
            json.string(*participant->rawName());
        else
            json.null();
    }
    json.endArray();
    json.key(u"messages");
    json.beginArray();
    for (const auto &message : chatLog.messages()) {
        json.beginObject();
        writeText(json, u"speaker", message->Speaker());
        writeText(json, u"rawSpeaker", message->rawSpeaker());
        writeText(json, u"time", timeText(message->TimeStamp()));
        writeText(json, u"text",
                  message->string() ? std::optional(message->string()->string()) : std::nullopt);
        json.key(u"status");
        json.boolean(message->isStatusMessage());
        writeLinks(json, message->allURLs());
        writeFiles(json, message->allImages());
        json.endObject();
    }
    json.endArray();
    json.endObject();
    return json.document() + '\n';
}

QByteArray render(const VORAChatLog &chatLog, const std::string &form)
{
    if (form == "html")
        return chatLog.HTMLChatLog();
    if (form == "subject")
        return platform::utf8FromString(chatSubject(chatLog.primaryOtherParty(), std::nullopt)) + '\n';
    if (form == "json")
        return chatAsJson(chatLog);
    const QString text = chatLog.PlainChatLog();
    return text.isNull() ? QByteArray() : platform::utf8FromString(text) + '\n';
}

/// Prints the messages of the plain form with a time before each, under headings of days, and with attached
/// files as people can read them.
/// @param plain that form; its credit stands here, too.
void printWithTimes(const VORAChatLog &chatLog, const QByteArray &plain)
{
    const OutputStyle style;
    const platform::ABAddressBook::Reading oneReading;
    QString dayAtHand;
    for (const auto &message : chatLog.messages()) {
        if (message->isStatusMessage())
            continue;
        const auto &time = message->TimeStamp();
        const auto milliseconds = time ? std::optional(time->unixMilliseconds()) : std::nullopt;
        if (const QString day = dayOf(milliseconds); milliseconds && day != dayAtHand) {
            OutputStyle::printLine(style.bold(day));
            dayAtHand = day;
        }
        const QString text =
            indexing::readableText(message->PlainString(), indexing::fileNamesIn(*message->string()));
        QString before = timeOfDay(milliseconds) + QStringLiteral("  ");
        for (const QStringView line : QStringView(text).chopped(1).split(u'\n')) {
            printLine(before + line.toString());
            before.fill(u' ');
        }
    }
    print(plain.sliced(plain.lastIndexOf('\n', plain.size() - 2) + 1));
}

struct Options {
    std::string file;
    std::string form = "plain";
    bool withTimes = false;
};

int show(const Options &options)
{
    if (options.withTimes && options.form != "plain") {
        printError(QStringLiteral("--times is for the plain form; json has the times anyway."));
        return exitWrongUsage;
    }
    const std::filesystem::path file = transcriptPath(options.file);
    const VORAChatLog::Loading loading = loadTranscript(file);
    if (!loading) {
        printError(loading.error());
        return exitFailed;
    }
    QByteArray output;
    try {
        output = render(**loading, options.form);
    } catch (const JsonWriter::TooLarge &error) {
        printError({.kind = platform::FailureKind::TooLarge, .path = file, .reason = error.what()});
        return exitFailed;
    }
    if (output.isNull()) // the console log has the reason
        return exitFailed;
    if (options.withTimes) // of what is not too large for the plain form
        printWithTimes(**loading, output);
    else
        print(output);
    return exitDone;
}

} // namespace

void addShowCommand(CLI::App &commands, Action &action)
{
    const auto options = std::make_shared<Options>();
    CLI::App *command = commands.add_subcommand("show", "Print one chat");
    command
        ->add_option(
            "FILE", options->file,
            "Transcript, *.chat or *.ichat; also relative to the transcript folder, as search prints it")
        ->required();
    command->add_option("--as", options->form, "Form of the output")
        ->check(CLI::IsMember({"plain", "html", "subject", "json"}))
        ->capture_default_str();
    command->add_flag("--times", options->withTimes,
                      "In the plain form, a local time before each message and a heading for each day");
    command->footer("Example: prattlebug show --as html \"Kim on 2005-03-01.ichat\" > kim.html\n"
                    "         prattlebug show --times \"Kim on 2005-03-01.ichat\"\n"
                    "Exit code: 1 when the file is no readable transcript.");
    command->callback([options, &action] { action = [options] { return show(*options); }; });
}

} // namespace companion
