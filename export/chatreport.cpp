#include "export/chatreport.h"

#include "export/ledger.h"
#include "export/mailidentity.h"
#include "export/moments.h"
#include "export/reading.h"

#include "VORAChatLog.h"

#include "platform/files/files.h"

#include <algorithm>

namespace exporting {

namespace {

using conversation::Conversation;
using conversation::Message;

Summary summaryOf(const Conversation &conversation)
{
    Summary summary{.title = titleOf(conversation), .people = {}, .first = {}, .last = {}, .chats = 1};
    for (const auto &participant : conversation.participants) {
        if (std::find(summary.people.begin(), summary.people.end(), participant.displayName) ==
            summary.people.end())
            summary.people.push_back(participant.displayName);
    }
    if (summary.people.empty())
        summary.people.push_back(conversation.otherParty);
    for (const Message &message : conversation.messages) {
        summary.messages += message.isNotice() ? 0 : 1;
        if (!message.milliseconds)
            continue;
        summary.first = std::min(summary.first.value_or(*message.milliseconds), *message.milliseconds);
        summary.last = std::max(summary.last.value_or(*message.milliseconds), *message.milliseconds);
    }
    summary.files = qint64(conversation.files.size());
    return summary;
}

/// Notes in @p report that a file could not be written.
void note(ChatReport &report, const OwnFiles::Result &result, const QString &path)
{
    report.result = result.isFull ? ChatReport::Full : ChatReport::NotWritten;
    report.reason = path + QStringLiteral(": ") + platform::stringFromUtf8(QByteArrayView(*result.failure));
}

/// @return false when one of them could not be written.
bool writeBeside(ChatReport &report, const AttachedFiles &attached, const QString &documentPath,
                 const OwnFiles &files)
{
    const QString folder = documentPath.first(documentPath.lastIndexOf(u'/') + 1);
    for (const AttachedFiles::Beside &file : attached.beside()) {
        const QString path = folder + file.path;
        const OwnFiles::Result result = files.write(path, file.contents);
        if (result.failure) {
            note(report, result, path);
            return false;
        }
        report.beside.push_back({path, result.digest});
        report.isWritten = report.isWritten || result.isWritten;
    }
    return true;
}

QByteArray mailIdentityFor(const ChatJob &job, const Options &options, const Conversation &conversation)
{
    if (!isMail(options.format))
        return {};
    return job.beginsLikeLonger ? wholeMailIdentity(conversation) : mailIdentity(conversation);
}

} // namespace

ChatReport exportChat(const ChatJob &job, const Options &options, const Writer &writer, const OwnFiles &files)
{
    ChatReport report;
    const auto file = platform::readWholeFile(job.transcript.path);
    const VORAChatLog::Loading loading =
        file ? VORAChatLog::loadBytes(*file, job.transcript.fileName) : tl::unexpected(file.error());
    if (!loading) {
        report.result = ChatReport::Unreadable;
        report.reason = platform::stringFromUtf8(QByteArrayView(loading.error().reason));
        return report;
    }
    const VORAChatLog &chatLog = **loading;
    report.digest = digestOf(*file);
    report.unreadableMessages = chatLog.unreadableMessages();

    const qsizetype limit = Output::limitFor(file->size());
    const Conversation conversation = conversation::conversationOf(chatLog);
    const AttachedFiles attached(conversation, options, job.chat.filesFolder, limit);
    report.summary = summaryOf(conversation);
    report.filesLeftOut = attached.leftOut();
    try {
        Output output(limit);
        const QString title = report.summary.title + QStringLiteral(" – ") + dayText(report.summary.first);
        if (job.hasOwnDocument())
            writer.begin(output, title);
        writer.add(output,
                   {conversation, attached, platform::stringFromUtf8(QByteArrayView(job.transcript.name)),
                    mailIdentityFor(job, options, conversation)});
        if (job.hasOwnDocument())
            writer.end(output);
        if (!writeBeside(report, attached, job.document.path, files))
            return report;
        report.result = ChatReport::Done;
        if (!job.hasOwnDocument()) {
            report.part = std::move(output.bytes());
            return report;
        }
        const OwnFiles::Result result = files.write(job.document.path, output.bytes());
        report.documentDigest = result.digest;
        report.isWritten = report.isWritten || result.isWritten;
        if (result.failure)
            note(report, result, job.document.path);
    } catch (const TooLarge &error) {
        report.result = ChatReport::NotWritten;
        report.reason = QString::fromLatin1(error.what());
    }
    return report;
}

} // namespace exporting
