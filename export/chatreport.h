#pragma once

#include "export/document.h"
#include "export/indexpage.h"
#include "export/ownfiles.h"
#include "export/plan.h"

#include <QByteArray>

#include <optional>
#include <tuple>
#include <vector>

namespace exporting {

/// What a worker tells of a chat that it has exported.
struct ChatReport {
    struct File {
        QString path; ///< relative to the folder of the export
        QByteArray digest;
    };
    enum Result : quint8 {
        Done,
        Unreadable, ///< no transcript that can be read
        NotWritten,
        Full, ///< not written since the disk takes nothing more
        Stopped,
    };

    quint8 result = Stopped;
    QString reason;           ///< in English, unless it is done
    QByteArray digest;        ///< of the transcript
    Summary summary;          ///< of this chat
    std::vector<File> beside; ///< files that belong to it
    qint64 unreadableMessages = 0;
    qint64 filesLeftOut = 0;

    QByteArray part;           ///< the chat, for a document that it shares with others
    QByteArray documentDigest; ///< of the document, where it has one of its own
    bool isWritten = false;    ///< whether that is new or has changed
};
constexpr auto membersOf(const ChatReport::File * /*type*/)
{
    return std::tuple(&ChatReport::File::path, &ChatReport::File::digest);
}
constexpr auto membersOf(const ChatReport * /*type*/)
{
    return std::tuple(&ChatReport::result, &ChatReport::reason, &ChatReport::digest, &ChatReport::summary,
                      &ChatReport::beside, &ChatReport::unreadableMessages, &ChatReport::filesLeftOut,
                      &ChatReport::part, &ChatReport::documentDigest, &ChatReport::isWritten);
}

/// A chat of a document, to be exported.
struct ChatJob {
    const Transcript &transcript;
    const PlannedDocument &document;
    const PlannedDocument::Chat &chat;
    bool beginsLikeLonger = false; ///< see chatsThatBeginLikeLonger()

    [[nodiscard]] bool hasOwnDocument() const { return document.title.isEmpty(); }
};

/// Reads a chat and writes the files that belong to it; its document too, if it has one of its own.
[[nodiscard]] ChatReport exportChat(const ChatJob &job, const Options &options, const Writer &writer,
                                    const OwnFiles &files);

} // namespace exporting
