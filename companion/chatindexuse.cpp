#include "companion/chatindexuse.h"

#include "companion/commands.h"
#include "companion/console.h"

#include "archiver/PBArchiver.h"

#include "platform/addressbook/addressbook.h"
#include "platform/files/files.h"

#include <algorithm>
#include <chrono>
#include <optional>

namespace companion {

namespace {

using indexing::ChatIndex;

bool hasTranscriptFolder()
{
    const std::filesystem::path folder = PBArchiver::transcriptFolder();
    if (platform::fileExists(folder))
        return true;
    printError(QByteArrayView("There is no transcript folder: " + QByteArray::fromStdString(folder.native()) +
                              "; prattlebug setup makes it."));
    return false;
}

/// ChatIndex::update() with a bar that appears when it takes longer than a moment.
std::optional<std::string> update(ChatIndex &index, bool again)
{
    ConsoleHost host(verbosity() == Verbosity::Quiet);
    using Clock = std::chrono::steady_clock;
    constexpr auto aMoment = std::chrono::milliseconds(300);
    constexpr auto betweenDrawings = std::chrono::milliseconds(100);
    auto nextDrawing = Clock::now() + aMoment;
    const platform::ABAddressBook::Reading oneReading;
    return index.update(
        [&](size_t done, size_t total) {
            if (Clock::now() >= nextDrawing) {
                host.showProgress(qsizetype(done), qsizetype(total));
                nextDrawing = Clock::now() + betweenDrawings;
            }
            return true;
        },
        again);
}

void tellWhatIsMissing(const ChatIndex &index)
{
    for (const std::string &folder : index.unreadFolders())
        printError(QByteArrayView("This folder could not be read: " + QByteArray::fromStdString(folder)));
    if (verbosity() == Verbosity::Quiet)
        return;
    const auto tell = [](const std::vector<indexing::UnreadableTranscript> &transcripts,
                         const QByteArray &what) {
        for (const auto &transcript : transcripts) {
            if (transcript.isNew)
                printError(QByteArrayView(what + QByteArray::fromStdString(transcript.path.native()) + ": " +
                                          QByteArray::fromStdString(transcript.reason)));
        }
    };
    tell(index.unreadable(), "Cannot be read: ");
    tell(index.partlyUnreadable(), "Cannot be read whole: ");
}

} // namespace

std::unique_ptr<ChatIndex> upToDateIndex(const indexing::Question *isFor, bool inMemory)
{
    if (!hasTranscriptFolder())
        return nullptr;
    if (!inMemory) {
        auto index = std::make_unique<ChatIndex>(PBArchiver::transcriptFolder(), ChatIndex::fileInHome());
        const auto failure = update(*index, false);
        if (!failure) {
            tellWhatIsMissing(*index);
            return index;
        }
        printError(
            QByteArrayView("The index cannot be used (" +
                           QByteArray::fromStdString(ChatIndex::fileInHome().native() + ": " + *failure) +
                           "); reading all transcripts instead."));
    }
    const auto keeps = [question =
                            isFor ? *isFor : indexing::Question()](const indexing::ChatRecord &record) {
        return question.words.empty() || indexing::hasWords(record, question);
    };
    auto index = std::make_unique<ChatIndex>(PBArchiver::transcriptFolder(), keeps);
    if (const auto failure = update(*index, false))
        printError(QByteArrayView(QByteArray::fromStdString(*failure)));
    tellWhatIsMissing(*index);
    return index;
}

int bringIndexUpToDate(bool again)
{
    if (!hasTranscriptFolder())
        return exitFailed;
    ChatIndex index(PBArchiver::transcriptFolder(), ChatIndex::fileInHome());
    if (const auto failure = update(index, again)) {
        printError(
            QByteArrayView("The index cannot be kept in " +
                           QByteArray::fromStdString(ChatIndex::fileInHome().native() + ": " + *failure)));
        return exitFailed;
    }
    tellWhatIsMissing(index);
    if (verbosity() != Verbosity::Quiet) {
        qint64 messages = 0;
        for (const indexing::Chat &chat : index.chats())
            messages += chat.messages;
        const auto unreadable = qsizetype(index.unreadable().size());
        const auto partlyUnreadable = qsizetype(index.partlyUnreadable().size());
        QString line = QStringLiteral("%1 chats with %2 messages are in the index")
                           .arg(index.chats().size())
                           .arg(messages);
        if (unreadable > 0)
            line += QStringLiteral("; %1 transcripts cannot be read").arg(unreadable);
        if (partlyUnreadable > 0)
            line += QStringLiteral("; %1 have unreadable messages").arg(partlyUnreadable);
        printLine(line);
    }
    return index.unreadFolders().empty() ? exitDone : exitFailed;
}

} // namespace companion
