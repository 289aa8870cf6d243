#include "archiver/PBArchiver.h"

#include "VORALogGenerator.h"

#include "archiver/mboxmessage.h"

#include "galleries/supportfolder.h"

#include "platform/addressbook/addressbook.h"
#include "platform/files/directorywalk.h"
#include "platform/files/files.h"
#include "platform/files/temporaries.h"
#include "platform/log/nslog.h"
#include "platform/preferences/keys.h"
#include "platform/preferences/preferences.h"
#include "platform/text/encoding.h"

#include <QStringList>

#include <new>
#include <system_error>

using platform::NSDate;
using platform::NSFileHandle;

namespace {

void logAbout(const std::filesystem::path &path, const QString &text)
{
    platform::NSLogBytes(QByteArray::fromStdString(path.native()) + ": " + platform::utf8FromString(text));
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
    m_counts = {};
    m_mboxPath.clear();

    const std::filesystem::path folder = transcriptFolder();
    if (!platform::fileExists(folder)) {
        m_ending = Ending::NoTranscriptFolder;
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
        m_ending = Ending::Cancelled;
        return;
    }

    removeLeftTemporaries();
    platform::DirectoryWalk walk(folder);
    std::error_code ignored; // a folder of that name may stand there already
    std::filesystem::create_directory(*output, ignored);
    m_mboxPath = *output / "Prattlebug Archive mbox";
    std::string failure;
    NSFileHandle mbox = NSFileHandle::createFileAtPath(m_mboxPath, failure);
    if (!mbox.isOpen())
        logAbout(m_mboxPath, platform::stringFromUtf8(failure));

    m_desktop.startProgress(qsizetype(platform::contentsOfDirectory(folder).size()));
    qsizetype handled = 0;
    {
        const VORALogGenerator::Run run;
        while (const auto entry = walk.next()) {
            m_desktop.showEntry(*entry);
            processLog(folder / *entry, mbox);
            m_desktop.showProgress(++handled);
        }
    }

    const auto unsynced = mbox.synchronizeFile();
    if (mbox.isOpen() && unsynced)
        logAbout(m_mboxPath, platform::stringFromUtf8(*unsynced));
    m_ending = unsynced || m_counts.notWritten > 0 ? Ending::MboxIncomplete : Ending::Done;
    m_desktop.showOutcome(summary(), m_ending == Ending::Done);
    m_desktop.runAlert({QStringLiteral("Import Complete"),
                        QStringLiteral("The archive file is ready to be imported into your mail client."),
                        QStringLiteral("OK"), false});
    m_desktop.reveal(m_mboxPath);
}

void PBArchiver::processLog(const std::filesystem::path &path, NSFileHandle &intoMailbox)
{
    platform::NSLogBytes(path.native());
    if (!AllowLog(path)) {
        ++m_counts.passedOver;
        return;
    }
    const platform::ABAddressBook::Reading reading; // nobody has two names in one chat
    VORAChatLog::Outcome outcome{};
    const auto chatLog = VORAChatLog::initWithFilePath(path, &outcome);
    const auto created = platform::creationTime(path);
    if (!chatLog) {
        ++(outcome == VORAChatLog::Outcome::Unreadable ? m_counts.unreadable : m_counts.notTranscripts);
        return;
    }
    bool written = false;
    try {
        VORALogGenerator::GenerateLinkFiles(chatLog.get());
        VORALogGenerator::GenerateImageFiles(chatLog.get());
        VORALogGenerator::UpdateStatistics(*chatLog);
        written = appendChatLog(*chatLog, intoMailbox, created ? created->date() : NSDate::now());
    } catch (const std::bad_alloc &) { // costs this chat alone
        logAbout(path, QStringLiteral("it does not fit into memory"));
    }
    ++(written ? m_counts.archived : m_counts.notWritten);
    if (written)
        m_counts.unreadableMessages += chatLog->unreadableMessages();
}

bool PBArchiver::AllowLog(const std::filesystem::path &path) const
{
    if (!m_desktop.skipChats())
        return true;
    const auto entry = platform::creationTime(path);
    const auto folder = platform::creationTime(transcriptFolder());
    return entry && folder && *entry < *folder;
}

bool PBArchiver::appendChatLog(const VORAChatLog &log, NSFileHandle &toMailbox, const NSDate &onDate)
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
        return false;
    }
    if (!toMailbox.isOpen())
        return false; // said once already, when it could not be opened
    if (const auto failure = toMailbox.writeData(mboxMessageBytes(message, std::time(nullptr)))) {
        platform::NSLog(QStringLiteral("The chat with %1 could not be written to the mbox: %2")
                            .arg(log.primaryOtherParty(), platform::stringFromUtf8(*failure)));
        return false;
    }
    return true;
}

QString PBArchiver::summary() const
{
    const auto chats = [](qsizetype count) {
        return count == 1 ? QStringLiteral("1 chat") : QString::number(count) + QStringLiteral(" chats");
    };
    QStringList parts{chats(m_counts.archived) + QStringLiteral(" archived")};
    if (m_counts.unreadableMessages > 0)
        parts += m_counts.unreadableMessages == 1
                     ? QStringLiteral("with 1 unreadable message")
                     : QStringLiteral("with %1 unreadable messages").arg(m_counts.unreadableMessages);
    if (m_counts.notTranscripts > 0)
        parts += QString::number(m_counts.notTranscripts) +
                 (m_counts.notTranscripts == 1 ? QStringLiteral(" entry that is no transcript")
                                               : QStringLiteral(" entries that are no transcripts"));
    if (m_counts.passedOver > 0)
        parts += QString::number(m_counts.passedOver) + QStringLiteral(" passed over as new");
    if (m_counts.unreadable > 0)
        parts += chats(m_counts.unreadable) + QStringLiteral(" could not be read");
    if (m_counts.notWritten > 0)
        parts += chats(m_counts.notWritten) + QStringLiteral(" could not be written");
    return parts.join(QStringLiteral(", ")) + u'.';
}
