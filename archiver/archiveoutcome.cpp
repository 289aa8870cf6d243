#include "archiver/archiveoutcome.h"

#include "platform/text/encoding.h"

#include <QStringList>

using platform::Failure;

namespace {

/// "1 chat", "2 chats".
QString counted(size_t count, const QString &one, const QString &many)
{
    return QString::number(count) + u' ' + (count == 1 ? one : many);
}

QString chats(size_t count)
{
    return counted(count, QStringLiteral("chat"), QStringLiteral("chats"));
}

} // namespace

QString ArchiveOutcome::summary() const
{
    QStringList parts{chats(size_t(archived)) + QStringLiteral(" archived")};
    if (unreadableMessages > 0)
        parts += QStringLiteral("with ") + counted(size_t(unreadableMessages),
                                                   QStringLiteral("unreadable message"),
                                                   QStringLiteral("unreadable messages"));
    if (notTranscripts > 0)
        parts += counted(size_t(notTranscripts), QStringLiteral("entry that is no transcript"),
                         QStringLiteral("entries that are no transcripts"));
    if (passedOver > 0)
        parts += QString::number(passedOver) + QStringLiteral(" passed over as new");
    if (!unreadable.empty())
        parts += chats(unreadable.size()) + QStringLiteral(" could not be read");
    if (!notWritten.empty() || !tooLarge.empty())
        parts += chats(notWritten.size() + tooLarge.size()) + QStringLiteral(" could not be written");
    if (!unreadFolders.empty())
        parts += counted(unreadFolders.size(), QStringLiteral("folder"), QStringLiteral("folders")) +
                 QStringLiteral(" could not be read");
    return parts.join(QStringLiteral(", ")) + u'.';
}

QByteArrayList ArchiveOutcome::failureLines() const
{
    QByteArrayList lines;
    const auto add = [&lines](const char *what, const std::vector<Failure> &failures) {
        for (const Failure &failure : failures)
            lines += what + failure.line();
    };
    add("Could not be read: ", unreadable);
    add("Could not be written: ", tooLarge);
    add("Could not be written: ", notWritten);
    add("Could not be read: ", unreadFolders);
    return lines;
}

std::optional<Failure> ArchiveOutcome::whyNotWhole() const
{
    if (mboxFailure || notWritten.empty())
        return mboxFailure;
    return Failure{notWritten.front().kind, mboxPath, notWritten.front().reason};
}
