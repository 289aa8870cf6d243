#include "companion/commands.h"
#include "companion/console.h"

#include "archiver/PBArchiver.h"
#include "archiver/archivetarget.h"

#include "platform/files/files.h"

#include <memory>

namespace companion {

namespace {

/// The archiving command's desktop where there is no window: the answers come from the command line.
class ConsoleDesktop final : public DesktopInterface {
public:
    ConsoleDesktop(ConsoleHost &host, const std::filesystem::path &folder, bool skipChats)
        : m_host(host), m_target(folder), m_skipChats(skipChats)
    {
    }

    /// Refuses what cannot work, so that nothing is counted then.
    std::optional<std::filesystem::path> runSavePanel(const SavePanel & /*panel*/) override
    {
        if (const auto obstacle = m_target.obstacle()) {
            printError(QByteArrayView(ArchiveOutcome::Failure{m_target.folder(), *obstacle}.line()));
            return std::nullopt;
        }
        return m_target.folder();
    }

    void runAlert(const Alert &alert) override
    {
        m_host.endProgress();
        if (alert.isError)
            printError(alert.text);
        else
            printLine(alert.text);
    }

    [[nodiscard]] bool skipChats() const override { return m_skipChats; }
    void startProgress(qsizetype maximum) override { m_host.showProgress(0, m_maximum = maximum); }
    void showProgress(qsizetype value) override { m_host.showProgress(value, m_maximum); }
    void showEntry(const std::filesystem::path & /*entry*/) override {} // the console log names it
    void showOutcome(const ArchiveOutcome & /*outcome*/) override {}    // printed at the end
    void reveal(const std::filesystem::path & /*path*/) override {}     // the path is printed at the end

private:
    ConsoleHost &m_host;
    ArchiveTarget m_target;
    bool m_skipChats;
    qsizetype m_maximum = 0;
};

int archive(const std::filesystem::path &folder, bool skipNew)
{
    ConsoleHost host(verbosity() == Verbosity::Quiet);
    ConsoleDesktop desktop(host, folder, skipNew);
    PBArchiver archiver(desktop);
    archiver.beginArchiving();
    const ArchiveOutcome &outcome = archiver.outcome();
    if (outcome.ending == ArchiveOutcome::Ending::NoTranscriptFolder) {
        printError(QStringLiteral("prattlebug setup does that here: see prattlebug setup --help."));
        return exitFailed;
    }
    if (outcome.ending == ArchiveOutcome::Ending::Cancelled)
        return exitFailed;
    printLine(outcome.summary());
    for (const ArchiveOutcome::Failure &folder : outcome.unreadFolders)
        printError(QByteArrayView("Could not be read: " + folder.line()));
    if (outcome.isMboxWhole())
        printLine(QByteArrayView(outcome.mboxPath.native()));
    else
        printError(QByteArrayView("The mbox could not be written whole: " +
                                  ArchiveOutcome::Failure{outcome.mboxPath, outcome.whyNotWhole()}.line()));
    return outcome.isComplete() ? exitDone : exitFailed;
}

} // namespace

void addArchiveCommand(CLI::App &commands, Action &action)
{
    struct Options {
        std::string folder;
        bool skipNew = false;
    };
    const auto options = std::make_shared<Options>();
    CLI::App *command =
        commands.add_subcommand("archive", "Write every chat of the transcript folder into one mbox file");
    command->add_option("FOLDER", options->folder, "Folder to make for the mbox; an mbox in it is replaced")
        ->required()
        ->check([](const std::string &folder) { return folder.empty() ? "it is empty" : ""; });
    command->add_flag("--skip-new", options->skipNew,
                      "Leave out chats created after the transcript folder was");
    command->footer("Example: prattlebug archive ~/\"Prattlebug Archive\"\n"
                    "Exit code: 0 when done, 1 when there is no transcript folder, a folder in it cannot be "
                    "read, FOLDER cannot be made,\nor the mbox could not be written whole.");
    command->callback(
        [options, &action] { action = [options] { return archive(options->folder, options->skipNew); }; });
}

} // namespace companion
