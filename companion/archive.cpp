#include "companion/commands.h"
#include "companion/console.h"
#include "companion/interruption.h"
#include "companion/terminal.h"

#include "archiver/PBArchiver.h"
#include "archiver/archivetarget.h"
#include "archiver/chatledger.h"
#include "archiver/setaside.h"

#include "platform/files/directorywalk.h"
#include "platform/files/files.h"
#include "platform/text/encoding.h"

#include <QLocale>

#include <memory>

namespace companion {

namespace {

struct Options {
    std::string folder;
    bool skipNew = false;
    bool fresh = false;
};

QString countedBefore(qsizetype count)
{
    return QLocale(QLocale::English).toString(count) +
           (count == 1 ? QStringLiteral(" of these chats was counted before; --fresh counts each once")
                       : QStringLiteral(" of these chats were counted before; --fresh counts each once"));
}

/// How many entries a walk of the transcript folder will come to, and how many of them are named as
/// transcripts are.
struct Total {
    qsizetype entries = 0;
    qsizetype transcripts = 0;
    qsizetype countedBefore = 0; ///< of these, those that the stores hold already
};

Total countEntries(const std::filesystem::path &folder)
{
    Total total;
    const ChatLedger ledger = ChatLedger::load();
    platform::DirectoryWalk walk(folder);
    while (const auto entry = walk.next()) {
        ++total.entries;
        if ((entry->extension() == ".chat" || entry->extension() == ".ichat") &&
            entry->filename().native().find(" on ") != std::string::npos) {
            ++total.transcripts;
            if (!ledger.isEmpty() && ledger.holdsFile(folder / *entry))
                ++total.countedBefore;
        }
    }
    return total;
}

/// The archiving command's desktop where there is no window: the answers come from the command line.
class ConsoleDesktop final : public DesktopInterface {
public:
    ConsoleDesktop(ConsoleHost &host, const Interruption &interruption, const Options &options)
        : m_host(host), m_interruption(interruption), m_target(options.folder), m_skipChats(options.skipNew),
          m_fresh(options.fresh)
    {
    }

    /// Refuses what cannot work, so that nothing is counted then.
    std::optional<std::filesystem::path> runSavePanel(const SavePanel & /*panel*/) override
    {
        if (const auto obstacle = m_target.obstacle()) {
            printError(platform::Failure{.path = m_target.folder(),
                                         .reason = platform::utf8FromString(*obstacle).toStdString()});
            return std::nullopt;
        }
        if (const auto warning = m_target.warning())
            printError(*warning);
        if (m_fresh && !setAside())
            return std::nullopt;
        m_total = countEntries(PBArchiver::transcriptFolder());
        if (m_total.countedBefore > 0 && verbosity() != Verbosity::Quiet)
            printError(countedBefore(m_total.countedBefore));
        return m_target.folder();
    }

    void runAlert(const Alert &alert) override
    {
        m_host.endProgress();
        if (alert.isError)
            printError(alert.text);
        else if (m_isMboxWhole)
            printLine(alert.text);
    }

    [[nodiscard]] bool skipChats() const override { return m_skipChats; }
    /// The command's own maximum counts the top level alone.
    void startProgress(qsizetype /*maximum*/) override { m_host.showProgress(0, m_total.entries); }
    void showProgress(qsizetype value) override { m_host.showProgress(value, m_total.entries); }
    void showEntry(const std::filesystem::path &entry) override
    {
        m_host.setEntry(QByteArray::fromStdString((PBArchiver::transcriptFolder() / entry).native()));
    }
    [[nodiscard]] bool isInterrupted() const override { return m_interruption.signal() != 0; }
    void showOutcome(const ArchiveOutcome &outcome) override
    {
        m_host.endProgress();
        m_isMboxWhole = outcome.isMboxWhole();
    }
    void reveal(const std::filesystem::path & /*path*/) override {} // the path is printed at the end

    [[nodiscard]] const Total &total() const { return m_total; }

private:
    /// @return false when that has failed, which has been told.
    [[nodiscard]] static bool setAside()
    {
        const SetAside result = setGalleriesAside();
        if (!result.failure.isEmpty())
            printError(QStringLiteral("The stores and pages could not be set aside: ") + result.failure);
        else if (!result.folder.empty())
            printLine(QByteArrayView("The stores and pages of earlier runs are now in " +
                                     QByteArray::fromStdString(result.folder.native())));
        return result.failure.isEmpty();
    }

    ConsoleHost &m_host;
    const Interruption &m_interruption;
    ArchiveTarget m_target;
    bool m_skipChats;
    bool m_fresh;
    bool m_isMboxWhole = false;
    Total m_total;
};

void printInterruption(const ArchiveOutcome &outcome, qsizetype total)
{
    const QLocale english(QLocale::English);
    QByteArray text = "Interrupted: " + english.toString(outcome.archived).toLatin1() + " of " +
                      english.toString(total).toLatin1() + (total == 1 ? " chat is in " : " chats are in ") +
                      QByteArray::fromStdString(outcome.mboxPath.native());
    if (!outcome.previousPath.empty())
        text += "; the archive before it is " + QByteArray::fromStdString(outcome.previousPath.native());
    printError(QByteArrayView(text));
}

int archive(const Options &options)
{
    using Ending = ArchiveOutcome::Ending;
    const Interruption interruption;
    ConsoleHost host(verbosity() == Verbosity::Quiet);
    ConsoleDesktop desktop(host, interruption, options);
    PBArchiver archiver(desktop);
    archiver.beginArchiving();
    const ArchiveOutcome &outcome = archiver.outcome();
    if (outcome.ending == Ending::NoTranscriptFolder)
        printError(QStringLiteral("Run prattlebug setup for that: see prattlebug setup --help."));
    if (outcome.mboxPath.empty())
        return exitFailed;

    printHeading(platform::utf8FromString(outcome.summary()));
    if (outcome.countedBefore > 0)
        printLine(countedBefore(outcome.countedBefore));
    for (const QByteArray &line : outcome.failureLines())
        printFailure(line);
    if (const auto failure = outcome.whyNotWhole())
        printFailure("The mbox could not be written whole: " + failure->line());
    if (outcome.ending == Ending::Interrupted) {
        printInterruption(outcome, desktop.total().transcripts);
        return exitSignalled + interruption.signal();
    }
    if (outcome.ending == Ending::Done)
        printLine(QByteArrayView(outcome.mboxPath.native()));
    if (!outcome.previousPath.empty())
        printError(QByteArrayView("The archive before it is " +
                                  QByteArray::fromStdString(outcome.previousPath.native())));
    return outcome.isComplete() ? exitDone : exitFailed;
}

} // namespace

void addArchiveCommand(CLI::App &commands, Action &action)
{
    const auto options = std::make_shared<Options>();
    CLI::App *command =
        commands.add_subcommand("archive", "Write every chat of the transcript folder into one mbox file");
    command
        ->add_option("FOLDER", options->folder,
                     "Folder for the mbox, created if necessary; an earlier mbox in it is replaced once the "
                     "new one is complete")
        ->required()
        ->check([](const std::string &folder) { return folder.empty() ? "it is empty" : ""; });
    command->add_flag("--skip-new", options->skipNew, "Skip chats that are newer than the transcript folder");
    command->add_flag("--fresh", options->fresh,
                      "First move the galleries and statistics of earlier runs to another folder, so that "
                      "each chat is counted once");
    command->footer(
        "Example: prattlebug archive ~/\"Prattlebug Archive\"\n"
        "Exit code: 1 when there is no transcript folder, when a folder in it cannot be read, when "
        "FOLDER cannot be created,\nor when the mbox could not be written completely; 128 plus the "
        "signal's number when interrupted.");
    command->callback([options, &action] { action = [options] { return archive(*options); }; });
}

} // namespace companion
