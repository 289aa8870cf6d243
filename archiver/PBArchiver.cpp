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
    if (const auto reason = target.keepPrevious())
        platform::NSLogBytes(ArchiveOutcome::Failure{target.previousPath(), *reason}.line());
    std::string failure;
    NSFileHandle mbox = NSFileHandle::createFileAtPath(m_outcome.mboxPath, failure);
    if (!mbox.isOpen())
        noteMboxFailure(failure);

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
            {unread.empty() ? folder : folder / unread, platform::stringFromUtf8(reason)});
    for (const ArchiveOutcome::Failure &unread : m_outcome.unreadFolders)
        platform::NSLogBytes(unread.line());
    if (mbox.isOpen()) {
        if (const auto unsynced = mbox.synchronizeFile())
            noteMboxFailure(*unsynced);
        else if (!mbox.standsAt(m_outcome.mboxPath))
            noteMboxFailure("it, or its folder, was moved, replaced or removed during the run");
    }
    using Ending = ArchiveOutcome::Ending;
    const bool isWritten = m_outcome.mboxFailure.isEmpty() && m_outcome.notWritten.empty();
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

void PBArchiver::noteMboxFailure(const std::string &reason)
{
    m_outcome.mboxFailure = platform::stringFromUtf8(reason);
    platform::NSLogBytes(ArchiveOutcome::Failure{m_outcome.mboxPath, m_outcome.mboxFailure}.line());
}

void PBArchiver::processLog(const std::filesystem::path &path, NSFileHandle &intoMailbox)
{
    platform::NSLogBytes(path.native());
    if (!AllowLog(path)) {
        ++m_outcome.passedOver;
        return;
    }
    const platform::ABAddressBook::Reading reading; // nobody has two names in one chat
    VORAChatLog::Outcome outcome{};
    QString reason;
    const auto chatLog = VORAChatLog::initWithFilePath(path, &outcome, &reason);
    const auto created = platform::creationTime(path);
    if (outcome == VORAChatLog::Outcome::Unreadable)
        m_outcome.unreadable.push_back({path, reason});
    else if (!chatLog)
        ++m_outcome.notTranscripts;
    if (!chatLog)
        return;
    Appending appending{Appending::NotWritten, {}};
    try {
        VORALogGenerator::GenerateLinkFiles(chatLog.get());
        VORALogGenerator::GenerateImageFiles(chatLog.get());
        VORALogGenerator::UpdateStatistics(*chatLog);
        const QByteArray digest = ChatLedger::digestOf(path);
        m_outcome.countedBefore += m_before.holds(digest) ? 1 : 0;
        m_ledger.add(digest);
        ++m_folded;
        appending = appendChatLog(*chatLog, intoMailbox, created ? created->date() : NSDate::now());
    } catch (const std::bad_alloc &) { // costs this chat alone
        appending.reason = QStringLiteral("it does not fit into memory");
        platform::NSLogBytes(ArchiveOutcome::Failure{path, appending.reason}.line());
    }
    switch (appending.result) {
    case Appending::Appended:
        ++m_outcome.archived;
        m_outcome.unreadableMessages += chatLog->unreadableMessages();
        break;
    case Appending::TooLarge: m_outcome.tooLarge.push_back({path, appending.reason}); break;
    case Appending::NotWritten: m_outcome.notWritten.push_back({path, appending.reason}); break;
    }
}

bool PBArchiver::AllowLog(const std::filesystem::path &path) const
{
    if (!m_desktop.skipChats())
        return true;
    const auto entry = platform::creationTime(path);
    const auto folder = platform::creationTime(transcriptFolder());
    return entry && folder && *entry < *folder;
}

PBArchiver::Appending PBArchiver::appendChatLog(const VORAChatLog &log, NSFileHandle &toMailbox,
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
        return {Appending::TooLarge, QStringLiteral("too large for a mail message")};
    }
    if (!toMailbox.isOpen()) // logged once already, when it could not be opened
        return {Appending::NotWritten, QStringLiteral("there is no mbox")};
    if (const auto failure = toMailbox.writeData(mboxMessageBytes(message, std::time(nullptr)))) {
        const QString reason = platform::stringFromUtf8(*failure);
        platform::NSLog(QStringLiteral("The chat with %1 could not be written to the mbox: %2")
                            .arg(log.primaryOtherParty(), reason));
        return {Appending::NotWritten, reason};
    }
    return {Appending::Appended, {}};
}
