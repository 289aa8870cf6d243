#include "companion/chatindexuse.h"
#include "companion/commands.h"
#include "companion/console.h"
#include "companion/filters.h"
#include "companion/interruption.h"

#include "archiver/PBArchiver.h"
#include "archiver/transcript.h"

#include "export/exporting.h"

#include "index/workerprocesses.h"

#include "platform/files/directorywalk.h"
#include "platform/files/files.h"
#include "platform/text/encoding.h"

#include <CLI/Validators.hpp>

#include <QLocale>

#include <algorithm>
#include <map>
#include <memory>

namespace companion {

namespace {

using exporting::Attachments;
using exporting::Format;
using exporting::Grouping;
using exporting::Outcome;
using exporting::Transcript;

const std::map<std::string, Format> formats{{"html", Format::Html},         {"text", Format::Text},
                                            {"markdown", Format::Markdown}, {"json", Format::Json},
                                            {"jsonl", Format::JsonLines},   {"csv", Format::Csv},
                                            {"eml", Format::Eml},           {"maildir", Format::Maildir}};
const std::map<std::string, Grouping> groupings{{"chat", Grouping::Chat},
                                                {"person", Grouping::Person},
                                                {"month", Grouping::Month},
                                                {"year", Grouping::Year}};
const std::map<std::string, Attachments> attachmentPlaces{
    {"inside", Attachments::Inside}, {"beside", Attachments::Beside}, {"none", Attachments::None}};

struct Options {
    Filters filters;
    std::string folder;
    std::vector<std::string> files;
    std::string format = "html";
    std::string grouping = "chat";
    std::string attachments;
    bool mirror = false;

    [[nodiscard]] exporting::Options chosen() const
    {
        return {formats.at(format), groupings.at(grouping),
                attachments.empty() ? Attachments::Usual : attachmentPlaces.at(attachments)};
    }
    /// Whether the chats' dates decide what stands where.
    [[nodiscard]] bool needsDates() const
    {
        return chosen().grouping != Grouping::Chat || chosen().format == Format::JsonLines ||
               exporting::isMail(chosen().format);
    }
};

/// The chats that are to be exported.
struct Choice {
    std::vector<Transcript> transcripts;
    std::vector<std::string> unreadFolders; ///< what and why, in English
};

Transcript keptTranscript(const std::filesystem::path &path)
{
    return {PBArchiver::transcriptFolder() / path, path.native(), path.filename().native(), {}};
}

/// All chats of the transcript folder.
Choice wholeFolder()
{
    Choice choice;
    platform::DirectoryWalk walk(PBArchiver::transcriptFolder());
    while (const auto path = walk.next()) {
        const std::string name = path->filename().native();
        if ((name.ends_with(".chat") || name.ends_with(".ichat")) && name.find(" on ") != std::string::npos)
            choice.transcripts.push_back(keptTranscript(*path));
    }
    std::sort(choice.transcripts.begin(), choice.transcripts.end(),
              [](const Transcript &a, const Transcript &b) { return a.name < b.name; });
    for (const auto &unread : walk.unreadFolders())
        choice.unreadFolders.push_back((PBArchiver::transcriptFolder() / unread.folder).native() + ": " +
                                       unread.reason);
    return choice;
}

/// Those of the transcript folder that answer @p question, with their dates, and those that cannot be read.
/// @return nothing when that could not be found out, which has been told.
std::optional<Choice> asIndexKnows(const indexing::Question &question)
{
    const auto index = upToDateIndex(&question);
    if (!index)
        return std::nullopt;
    Choice choice;
    const auto failure = index->findChats(question, indexing::ChatIndex::Order::OldestFirst,
                                          [&choice](const indexing::Chat &chat) {
                                              Transcript transcript = keptTranscript(chat.path);
                                              transcript.first = chat.first;
                                              choice.transcripts.push_back(std::move(transcript));
                                              return true;
                                          });
    if (failure) {
        printError(
            QByteArrayView("The search could not be finished: " + QByteArray::fromStdString(*failure)));
        return std::nullopt;
    }
    for (const auto &unreadable : index->unreadable())
        choice.transcripts.push_back(keptTranscript(unreadable.path));
    choice.unreadFolders = index->unreadFolders();
    return choice;
}

Transcript namedTranscript(const std::string &given)
{
    const std::filesystem::path path = transcriptPath(given);
    const std::filesystem::path kept =
        std::filesystem::absolute(path).lexically_normal().lexically_relative(PBArchiver::transcriptFolder());
    const bool isKept = !kept.empty() && *kept.begin() != ".." && *kept.begin() != ".";
    return {path,
            isKept ? kept.native() : std::filesystem::absolute(path).lexically_normal().native(),
            transcriptFileName(path),
            {}};
}

/// The files that the user has named, or those of them that answer @p question.
Choice namedFiles(const Options &options, const indexing::Question &question)
{
    Choice choice;
    for (const std::string &file : options.files) {
        Transcript transcript = namedTranscript(file);
        if (std::none_of(choice.transcripts.begin(), choice.transcripts.end(),
                         [&](const Transcript &other) { return other.name == transcript.name; }))
            choice.transcripts.push_back(std::move(transcript));
    }
    if (question.isEmpty() && !options.needsDates())
        return choice;
    // A worker tells 'n' for what is not wanted, else the date of the first message.
    std::vector<Transcript> wanted;
    indexing::runInWorkers(
        choice.transcripts.size(),
        [&](size_t job) {
            const auto loading = loadTranscript(choice.transcripts[job].path);
            if (!loading)
                return QByteArray(); // it is named when it is to be exported
            const indexing::ChatRecord record = indexing::recordOf(**loading);
            if (!indexing::isAnswer(record, question))
                return QByteArrayLiteral("n");
            std::optional<qint64> first;
            for (const indexing::ChatMessage &message : record.messages) {
                if (message.milliseconds)
                    first = std::min(first.value_or(*message.milliseconds), *message.milliseconds);
            }
            return first ? QByteArray::number(*first) : QByteArray();
        },
        [&](size_t job, const indexing::JobResult &result) {
            if (result.bytes != QByteArrayLiteral("n")) {
                Transcript &transcript = wanted.emplace_back(std::move(choice.transcripts[job]));
                if (result.bytes && !result.bytes->isEmpty())
                    transcript.first = result.bytes->toLongLong();
            }
            return true;
        });
    choice.transcripts = std::move(wanted);
    return choice;
}

std::optional<Choice> chosenChats(const Options &options)
{
    const indexing::Question question = options.filters.question();
    if (!options.files.empty())
        return namedFiles(options, question);
    if (!question.isEmpty() || options.needsDates())
        return asIndexKnows(question);
    if (!platform::fileExists(PBArchiver::transcriptFolder())) {
        printError(QByteArrayView("There is no transcript folder: " +
                                  QByteArray::fromStdString(PBArchiver::transcriptFolder().native()) +
                                  "; prattlebug setup makes it."));
        return std::nullopt;
    }
    return wholeFolder();
}

/// What mails are not to share a Message-ID with.
/// @return nothing when that could not be found out, which has been told.
std::optional<std::vector<Transcript>> keptChats(const Options &options)
{
    const bool areChosen = !options.files.empty() || !options.filters.question().isEmpty();
    if (!exporting::isMail(options.chosen().format) || !areChosen ||
        !platform::fileExists(PBArchiver::transcriptFolder()))
        return std::vector<Transcript>();
    auto kept = asIndexKnows({});
    return kept ? std::optional(std::move(kept->transcripts)) : std::nullopt;
}

QString counted(qint64 count, const char *one, const char *many)
{
    return QLocale(QLocale::English).toString(count) + u' ' + QLatin1String(count == 1 ? one : many);
}

/// "12 documents written, 2 unchanged, 1 chat could not be read."
QString summaryOf(const Outcome &outcome)
{
    QString text = counted(outcome.written, "document", "documents") + QStringLiteral(" written");
    if (outcome.unchanged > 0)
        text += QStringLiteral(", %1 unchanged").arg(outcome.unchanged);
    if (outcome.removed > 0)
        text += QStringLiteral(", %1 removed").arg(outcome.removed);
    if (outcome.unreadableMessages > 0)
        text += QStringLiteral(", with ") +
                counted(outcome.unreadableMessages, "unreadable message", "unreadable messages");
    if (!outcome.unreadable.empty())
        text += QStringLiteral(", ") + counted(qint64(outcome.unreadable.size()), "chat", "chats") +
                QStringLiteral(" could not be read");
    if (!outcome.notWritten.empty())
        text += QStringLiteral(", ") + counted(qint64(outcome.notWritten.size()), "document", "documents") +
                QStringLiteral(" could not be written");
    return text + u'.';
}

void printFailures(const char *what, const std::vector<platform::Failure> &failures)
{
    for (const platform::Failure &failure : failures)
        printError(QByteArrayView(what + failure.line()));
}

int tell(const Options &options, const Choice &choice, const Outcome &outcome, int signal)
{
    printLine(summaryOf(outcome));
    printFailures("Could not be read: ", outcome.unreadable);
    printFailures("Could not be written: ", outcome.notWritten);
    for (const std::string &folder : choice.unreadFolders)
        printError(QByteArrayView("This folder could not be read: " + QByteArray::fromStdString(folder)));
    if (outcome.filesLeftOut > 0)
        printError(counted(outcome.filesLeftOut, "attached file was", "attached files were") +
                   QStringLiteral(" left out: one chat would have become too large."));
    if (outcome.failure)
        printError(QByteArrayView("The export could not be finished: " + outcome.failure->line()));
    if (outcome.isInterrupted) {
        printError(QStringLiteral("Interrupted: what has been written is whole; the same command goes on."));
        return exitSignalled + signal;
    }
    if (!outcome.failure)
        printLine(QByteArrayView(options.folder));
    const bool isNamedUnread = !options.files.empty() && !outcome.unreadable.empty();
    return outcome.isComplete() && choice.unreadFolders.empty() && !isNamedUnread ? exitDone : exitFailed;
}

bool isInTranscriptFolder(const std::filesystem::path &folder)
{
    const auto below = std::filesystem::absolute(folder).lexically_normal().lexically_relative(
        PBArchiver::transcriptFolder());
    return !below.empty() && *below.begin() != "..";
}

int exportChats(const Options &options)
{
    if (isInTranscriptFolder(options.folder)) {
        printError(QStringLiteral("Nothing is written into the transcript folder: choose another one."));
        return exitWrongUsage;
    }
    const auto choice = chosenChats(options);
    if (!choice)
        return exitFailed;
    if (choice->transcripts.empty()) {
        printError(QStringLiteral("No chat is to be exported."));
        return exitFailed;
    }
    const auto kept = keptChats(options);
    if (!kept)
        return exitFailed;
    const Interruption interruption;
    ConsoleHost host(verbosity() == Verbosity::Quiet);
    // Chats of a folder that could not be listed may well belong there.
    const exporting::Manner manner{options.chosen(), options.mirror && choice->unreadFolders.empty(), 0,
                                   *kept};
    const Outcome outcome =
        exporting::exportChats(options.folder, choice->transcripts, manner, [&](size_t done, size_t total) {
            host.showProgress(qsizetype(done), qsizetype(total), "chats");
            return interruption.signal() == 0;
        });
    host.endProgress();
    return tell(options, *choice, outcome, interruption.signal());
}

template <class Value>
std::vector<std::string> wordsOf(const std::map<std::string, Value> &values)
{
    std::vector<std::string> words;
    for (const auto &[word, value] : values)
        words.push_back(word);
    return words;
}

} // namespace

void addExportCommand(CLI::App &commands, Action &action)
{
    const auto options = std::make_shared<Options>();
    CLI::App *command = commands.add_subcommand(
        "export", "Write chats as web pages, text, tables, mails and more into a folder");
    command
        ->add_option("FOLDER", options->folder,
                     "Folder for the export, which is made; again in the same one "
                     "writes only what has changed")
        ->required()
        ->check([](const std::string &folder) { return folder.empty() ? "it is empty" : ""; });
    command->add_option("FILES", options->files,
                        "Transcripts, also relative to the transcript folder; without any, all in there");
    command->add_option("--as", options->format, "Format")
        ->check(CLI::IsMember(wordsOf(formats)))
        ->capture_default_str();
    command->add_option("--by", options->grouping, "What shares a file")
        ->check(CLI::IsMember(wordsOf(groupings)))
        ->capture_default_str();
    command
        ->add_option("--attachments", options->attachments,
                     "Where attached files go; without it, all inside mails, pictures inside web pages and "
                     "all else beside")
        ->check(CLI::IsMember(wordsOf(attachmentPlaces)));
    command->add_flag("--mirror", options->mirror,
                      "Remove files of earlier exports of this format that this one does not write");
    options->filters.addAsOptionsTo(*command);
    command->footer(
        "Example: prattlebug export ~/Chats\n"
        "         prattlebug export --as text --by person --with kim ~/\"Chats with Kim\"\n"
        "Filters choose whole chats, by any of their messages. A file that is not of this export is never "
        "replaced.\n"
        "Exit code: 1 when there is nothing to export, or anything could not be written; 128 and the "
        "signal's number\nwhen it was interrupted. Damaged chats are named at the end.");
    command->callback([options, &action] {
        if (options->attachments == "inside" && !exporting::holdsFiles(options->chosen().format))
            throw CLI::ValidationError("--attachments",
                                       options->format + " cannot hold files: beside or none");
        const bool isMail = exporting::isMail(options->chosen().format);
        if (isMail && options->attachments == "beside")
            throw CLI::ValidationError("--attachments", "mails hold their files: inside or none");
        if (isMail && options->grouping != "chat")
            throw CLI::ValidationError("--by", "a mail holds one chat");
        action = [options] { return exportChats(*options); };
    });
}

} // namespace companion
