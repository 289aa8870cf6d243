#include "archiver/PBArchiver.h"

#include "VORALogGenerator.h"

#include "archiver/archivetarget.h"
#include "archiver/mboxmessage.h"

#include "galleries/statistics.h"
#include "galleries/supportfolder.h"

#include "platform/addressbook/addressbook.h"
#include "platform/files/directorywalk.h"
#include "platform/files/files.h"
#include "platform/files/temporaries.h"
#include "platform/log/nslog.h"
#include "platform/preferences/keys.h"
#include "platform/preferences/preferences.h"
#include "platform/text/encoding.h"

#include <new>
#include <system_error>

using platform::Failure;
using platform::FailureKind;
using platform::NSDate;
using platform::NSFileHandle;

namespace {

/// How many chats the statistics have counted.
qsizetype countedChats()
{
    return galleries::Statistics::load(galleries::statisticsStorePath()).counts.chatcount;
}

/// Removes what runs that were killed have left.
void removeLeftTemporaries()
{
    for (const auto &folder :
         {galleries::supportFolder(), galleries::imagesFolder(), platform::preferencesFolder()})
        platform::removeLeftTemporaries(folder);
}

} // namespace

std::filesystem::path PBArchiver::transcriptFolder()
{
    return platform::homeDirectory() / "Documents" / "iChats (Prattlebugged)";
}

void PBArchiver::beginArchiving()
{
    m_outcome = {};

    const std::filesystem::path folder = transcriptFolder();
    if (!platform::fileExists(folder)) {
        m_outcome.ending = ArchiveOutcome::Ending::NoTranscriptFolder;
        m_desktop.runAlert(
            {QStringLiteral("Archiver Error"),
             QStringLiteral("You must have Prattlebug set up in order to use this program. Please go to the "
                            "Prattlebug preferences and click Start to finish setup."),
             QStringLiteral("Cancel"), true});
        return;
    }
    const auto output =
        m_desktop.runSavePanel({QStringLiteral("Generated mbox File"),
                                QStringLiteral("After the Prattlebug Archiver has finished processing, "
                                               "import this file into your mail program."),
                                QStringLiteral("Prattlebug Archive"), platform::homeDirectory()});
    if (!output) {
        m_outcome.ending = ArchiveOutcome::Ending::Cancelled;
        return;
    }

    removeLeftTemporaries();
    platform::DirectoryWalk walk(folder);
    std::error_code ignored; // a folder of that name may stand there already
    std::filesystem::create_directory(*output, ignored);
    const ArchiveTarget target(*output);
    m_outcome.mboxPath = target.mboxPath();
    if (const auto kept = target.keepPrevious(); !kept)
        platform::NSLogBytes(kept.error().line());
    NSFileHandle mbox;
    if (auto made = NSFileHandle::createFileAtPath(m_outcome.mboxPath))
        mbox = std::move(*made);
    else
        noteMboxFailure(made.error());

    m_before = ChatLedger::load();
    m_ledger = m_before;
    m_folded = 0;
    const qsizetype countedBefore = countedChats();
    m_desktop.startProgress(qsizetype(platform::contentsOfDirectory(folder).size()));
    qsizetype handled = 0;
    bool isInterrupted = false;
    {
        const VORALogGenerator::Run run;
        while (const auto entry = walk.next()) {
            isInterrupted = m_desktop.isInterrupted();
            if (isInterrupted)
                break;
            m_desktop.showEntry(*entry);
            processLog(folder / *entry, mbox);
            m_desktop.showProgress(++handled);
        }
    }

    if (m_folded > 0 &&
        countedChats() - countedBefore == m_folded) // else the stores may not hold all of them
        m_ledger.save();
    for (const auto &[unread, reason] : walk.unreadFolders())
        m_outcome.unreadFolders.push_back(
            {platform::FailureKind::System, unread.empty() ? folder : folder / unread, reason});
    for (const ArchiveOutcome::Failure &unread : m_outcome.unreadFolders)
        platform::NSLogBytes(unread.line());
    if (mbox.isOpen()) {
        if (const auto synced = mbox.synchronizeFile(); !synced)
            noteMboxFailure(synced.error());
        else if (!mbox.standsAt(m_outcome.mboxPath))
            noteMboxFailure({FailureKind::Missing, m_outcome.mboxPath,
                             "it, or its folder, was moved, replaced or removed during the run"});
    }
    using Ending = ArchiveOutcome::Ending;
    const bool isWritten = !m_outcome.mboxFailure && m_outcome.notWritten.empty();
    m_outcome.ending = isInterrupted ? Ending::Interrupted
                       : isWritten   ? Ending::Done
                                     : Ending::MboxIncomplete;
    if (m_outcome.isMboxWhole())
        target.dropPrevious();
    else if (target.hasPrevious())
        m_outcome.previousPath = target.previousPath();
    m_desktop.showOutcome(m_outcome);
    if (isInterrupted)
        return;
    m_desktop.runAlert({QStringLiteral("Import Complete"),
                        QStringLiteral("The archive file is ready to be imported into your mail client."),
                        QStringLiteral("OK"), false});
    m_desktop.reveal(m_outcome.mboxPath);
}

void PBArchiver::noteMboxFailure(const Failure &failure)
{
    m_outcome.mboxFailure = failure;
    platform::NSLogBytes(failure.line());
}

void PBArchiver::processLog(const std::filesystem::path &path, NSFileHandle &intoMailbox)
{
    platform::NSLogBytes(path.native());
    if (!AllowLog(path)) {
        ++m_outcome.passedOver;
        return;
    }
    const platform::ABAddressBook::Reading reading; // nobody has two names in one chat
    QByteArray digest;
    const VORAChatLog::Loading loading = VORAChatLog::loadAndLog(
        path, [&digest](const QByteArray &bytes) { digest = ChatLedger::digestOf(bytes); });
    const auto created = platform::creationTime(path);
    if (!loading && loading.error().kind == FailureKind::WrongName)
        ++m_outcome.notTranscripts;
    else if (!loading)
        m_outcome.unreadable.push_back(loading.error());
    if (!loading)
        return;
    const VORAChatLog *chatLog = loading->get();
    platform::Result<> appended;
    try {
        VORALogGenerator::WholeChat wholeChat;
        VORALogGenerator::GenerateLinkFiles(chatLog);
        VORALogGenerator::GenerateImageFiles(chatLog);
        VORALogGenerator::UpdateStatistics(*chatLog);
        wholeChat.keep();
        m_outcome.countedBefore += m_before.holds(digest) ? 1 : 0;
        m_ledger.add(digest);
        ++m_folded;
        appended = appendChatLog(*chatLog, intoMailbox, created ? created->date() : NSDate::now());
    } catch (const std::bad_alloc &) { // costs this chat alone
        appended = tl::unexpected(Failure{FailureKind::OutOfMemory, path, "it does not fit into memory"});
        platform::NSLogBytes(appended.error().line());
    }
    if (appended) {
        ++m_outcome.archived;
        m_outcome.unreadableMessages += chatLog->unreadableMessages();
        return;
    }
    Failure failure = appended.error();
    failure.path = path; // of the chat, not of the mbox
    auto &list = failure.kind == FailureKind::TooLarge ? m_outcome.tooLarge : m_outcome.notWritten;
    list.push_back(std::move(failure));
}

bool PBArchiver::AllowLog(const std::filesystem::path &path) const
{
    if (!m_desktop.skipChats())
        return true;
    const auto entry = platform::creationTime(path);
    const auto folder = platform::creationTime(transcriptFolder());
    return entry && folder && *entry < *folder;
}

platform::Result<> PBArchiver::appendChatLog(const VORAChatLog &log, NSFileHandle &toMailbox,
                                             const NSDate &onDate)
{
    MboxMessage message{.address = platform::CFPreferencesCopyAppValue(platform::preference::emailAddress)
                                       .string()
                                       .value_or(QString()),
                        .subject = log.subjectForEmail(),
                        .date = onDate,
                        .plainText = {},
                        .html = {}};
    message.plainText = platform::utf8FromString(log.PlainChatLog());
    if (!message.plainText.isEmpty())
        message.html = log.HTMLChatLog();
    if (message.plainText.isEmpty() || message.html.isEmpty()) {
        platform::NSLog(
            QStringLiteral("The chat with %1 is too large for a mail message and has been left out.")
                .arg(log.primaryOtherParty()));
        return tl::unexpected(Failure{FailureKind::TooLarge, {}, "too large for a mail message"});
    }
    if (!toMailbox.isOpen()) // logged once already, when it could not be opened
        return tl::unexpected(Failure{FailureKind::Missing, {}, "there is no mbox"});
    auto written = toMailbox.writeData(mboxMessageBytes(message, std::time(nullptr)));
    if (!written)
        platform::NSLog(QStringLiteral("The chat with %1 could not be written to the mbox: %2")
                            .arg(log.primaryOtherParty(), platform::stringFromUtf8(written.error().reason)));
    return written;
}
