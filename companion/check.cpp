#include "companion/commands.h"
#include "companion/console.h"

#include "archiver/PBArchiver.h"
#include "archiver/transcript.h"

#include "importing/importplan.h"

#include "VORAChatLog.h"

#include "platform/files/directorywalk.h"
#include "platform/files/files.h"
#include "platform/text/encoding.h"

#include <memory>

namespace companion {

namespace {

class Check {
public:
    /// @param named whether the user has named the file: then it should be a transcript.
    void file(const std::filesystem::path &path, bool named)
    {
        const VORAChatLog::Loading loading = named ? loadTranscript(path) : VORAChatLog::load(path);
        if (loading) {
            ++m_readable;
            const qsizetype unreadableMessages = (*loading)->unreadableMessages();
            m_unreadableMessages += unreadableMessages;
            if (unreadableMessages > 0)
                print(path, (*loading)->unreadableMessagesNote());
            else if (verbosity() == Verbosity::Verbose)
                print(path, QStringLiteral("can be read"));
        } else if (named || loading.error().kind != platform::FailureKind::WrongName) {
            ++m_unreadable;
            print(path, platform::stringFromUtf8(loading.error().reason));
        } else if (importing::transcriptKind(path)) {
            m_misnamed = true;
        }
    }

    /// Checks everything below @p path, at every depth.
    void folder(const std::filesystem::path &path)
    {
        platform::DirectoryWalk walk(path);
        std::vector<std::filesystem::path> entries;
        while (auto entry = walk.next())
            entries.push_back(std::move(*entry));
        qsizetype handled = 0;
        m_misnamed = false;
        for (const std::filesystem::path &entry : entries) {
            file(path / entry, false);
            m_host.showProgress(++handled, qsizetype(entries.size()));
        }
        for (const auto &[unread, reason] : walk.unreadFolders()) {
            ++m_unreadFolders;
            print(unread.empty() ? path : path / unread, platform::stringFromUtf8(reason));
        }
        m_host.endProgress();
        passedOver(path);
    }

    [[nodiscard]] int finish() const
    {
        QString summary = QString::number(m_readable) + QStringLiteral(" can be read, ");
        if (m_unreadableMessages > 0)
            summary += m_unreadableMessages == 1
                           ? QStringLiteral("with 1 unreadable message, ")
                           : QStringLiteral("with %1 unreadable messages, ").arg(m_unreadableMessages);
        summary += QString::number(m_unreadable) + QStringLiteral(" cannot.");
        if (m_unreadFolders > 0)
            summary += u' ' + QString::number(m_unreadFolders) +
                       (m_unreadFolders == 1 ? QStringLiteral(" folder could not be read.")
                                             : QStringLiteral(" folders could not be read."));
        if (m_passedOver > 0)
            summary += u' ' + QString::number(m_passedOver) +
                       QStringLiteral(" more will not be archived for their names: "
                                      "prattlebug setup makes copies that will.");
        if (verbosity() != Verbosity::Quiet)
            printLine(summary);
        return m_unreadable > 0 || m_unreadableMessages > 0 || m_unreadFolders > 0 ? exitFailed : exitDone;
    }

private:
    /// Counts what is well formed in @p folder, but what the archiver passes over for its name and has under
    /// no other.
    void passedOver(const std::filesystem::path &folder)
    {
        if (!m_misnamed)
            return;
        importing::Observer nobody;
        for (const importing::PlannedCopy &copy :
             importing::planImport({}, folder, importing::CopyLedger(), nobody).copies) {
            ++m_passedOver;
            print(copy.entry.source,
                  platform::stringFromUtf8(VORAChatLog::load(copy.entry.source).error().reason));
        }
    }

    void print(const std::filesystem::path &path, const QString &reason)
    {
        m_host.endProgress(); // shown again with the next entry
        printLine(QByteArrayView(QByteArray::fromStdString(path.native()) + ": " +
                                 platform::utf8FromString(reason)));
    }

    ConsoleHost m_host{verbosity() == Verbosity::Quiet};
    qsizetype m_readable = 0;
    qsizetype m_unreadable = 0;
    qsizetype m_unreadableMessages = 0;
    qsizetype m_passedOver = 0;
    qsizetype m_unreadFolders = 0;
    bool m_misnamed = false; ///< whether the folder at hand has a transcript that the archiver passes over
};

int check(const std::vector<std::string> &files)
{
    Check check;
    for (const std::string &given : files) {
        const std::filesystem::path path = transcriptPath(given);
        std::error_code error;
        if (std::filesystem::is_directory(path, error))
            check.folder(path);
        else
            check.file(path, true);
    }
    if (files.empty()) {
        const std::filesystem::path folder = PBArchiver::transcriptFolder();
        if (!platform::fileExists(folder)) {
            printError(QByteArrayView("There is no transcript folder: " +
                                      QByteArray::fromStdString(folder.native())));
            return exitFailed;
        }
        check.folder(folder);
    }
    return check.finish();
}

} // namespace

void addCheckCommand(CLI::App &commands, Action &action)
{
    const auto files = std::make_shared<std::vector<std::string>>();
    CLI::App *command = commands.add_subcommand(
        "check", "Decode transcripts without writing anything and list those that cannot be read");
    command->add_option("FILES", *files,
                        "Transcripts, or folders of them; without any, the transcript folder");
    command->footer("Example: prattlebug check\nWith --verbose those that can be read are listed too.\nExit "
                    "code: 1 when there are transcripts, messages or folders that cannot be read.");
    command->callback([files, &action] { action = [files] { return check(*files); }; });
}

} // namespace companion
