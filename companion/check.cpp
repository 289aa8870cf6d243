#include "companion/commands.h"
#include "companion/console.h"
#include "companion/terminal.h"

#include "archiver/PBArchiver.h"
#include "archiver/transcript.h"

#include "importing/importplan.h"

#include "index/workerprocesses.h"

#include "VORAChatLog.h"

#include "platform/files/directorywalk.h"
#include "platform/files/files.h"
#include "platform/foundation/valuestream.h"
#include "platform/text/encoding.h"

#include <QDataStream>
#include <QIODevice>

#include <memory>
#include <utility>
#include <vector>

namespace companion {

namespace {

/// What a worker process has found out about a file.
struct Finding {
    bool isReadable = false;
    bool isPassedOver = false; ///< for its name
    qint64 unreadableMessages = 0;
    QString reason; ///< why it, or these messages, cannot be read
};

constexpr auto membersOf(const Finding * /*unused*/)
{
    return std::tuple(&Finding::isReadable, &Finding::isPassedOver, &Finding::unreadableMessages,
                      &Finding::reason);
}

Finding findingOf(const std::filesystem::path &path, bool isNamed)
{
    const VORAChatLog::Loading loading = isNamed ? loadTranscript(path) : VORAChatLog::load(path);
    if (!loading)
        return {.isPassedOver = !isNamed && loading.error().kind == platform::FailureKind::WrongName,
                .reason = platform::stringFromUtf8(loading.error().reason)};
    return {.isReadable = true,
            .unreadableMessages = (*loading)->unreadableMessages(),
            .reason = (*loading)->unreadableMessagesNote()};
}

QByteArray serialized(const Finding &finding)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    platform::writeValue(stream, finding);
    return bytes;
}

Finding findingFrom(const indexing::JobResult &result)
{
    Finding finding;
    if (result.bytes) {
        QDataStream stream(*result.bytes);
        platform::readValue(stream, finding);
    } else {
        finding.reason = platform::stringFromUtf8(result.failure);
    }
    return finding;
}

class Check {
public:
    using Paths = std::vector<std::filesystem::path>;

    /// Checks files that the user has named: they should all be transcripts.
    void files(const Paths &paths) { read({}, paths, true); }

    /// Checks everything below @p path, at every depth.
    void folder(const std::filesystem::path &path)
    {
        platform::DirectoryWalk walk(path);
        Paths entries;
        while (auto entry = walk.next())
            entries.push_back(std::move(*entry));
        m_misnamed = false;
        read(path, entries, false);
        for (const auto &[unread, reason] : walk.unreadFolders()) {
            ++m_unreadFolders;
            print(unread.empty() ? path : path / unread, platform::stringFromUtf8(reason));
        }
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
            printHeading(platform::utf8FromString(summary));
        return m_unreadable > 0 || m_unreadableMessages > 0 || m_unreadFolders > 0 ? exitFailed : exitDone;
    }

private:
    /// @param paths relative to @p folder.
    /// @param areNamed whether the user has named them, not the folder they are in.
    void read(const std::filesystem::path &folder, const Paths &paths, bool areNamed)
    {
        qsizetype handled = 0;
        indexing::runInWorkers(
            paths.size(), [&](size_t job) { return serialized(findingOf(folder / paths[job], areNamed)); },
            [&](size_t job, const indexing::JobResult &result) {
                add(folder / paths[job], findingFrom(result));
                if (!areNamed)
                    m_host.showProgress(++handled, qsizetype(paths.size()));
                return true;
            });
        m_host.endProgress();
    }

    void add(const std::filesystem::path &path, const Finding &finding)
    {
        if (finding.isReadable) {
            ++m_readable;
            m_unreadableMessages += finding.unreadableMessages;
            if (finding.unreadableMessages > 0)
                print(path, finding.reason);
            else if (verbosity() == Verbosity::Verbose)
                print(path, QStringLiteral("can be read"));
        } else if (!finding.isPassedOver) {
            ++m_unreadable;
            print(path, finding.reason);
        } else if (importing::transcriptKind(path)) {
            m_misnamed = true;
        }
    }

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
    Check::Paths named; // those that follow each other
    for (const std::string &given : files) {
        const std::filesystem::path path = transcriptPath(given);
        std::error_code error;
        if (!std::filesystem::is_directory(path, error)) {
            named.push_back(path);
            continue;
        }
        check.files(std::exchange(named, {}));
        check.folder(path);
    }
    check.files(named);
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
    command->add_option("FILES", *files, "Transcripts or folders; by default the transcript folder");
    command->footer("Example: prattlebug check\nWith --verbose, readable transcripts are listed too.\nExit "
                    "code: 1 when a transcript, a message or a folder cannot be read.");
    command->callback([files, &action] { action = [files] { return check(*files); }; });
}

} // namespace companion
