#pragma once

#include "VORAChatLog.h"

#include "platform/appkit/nsfilewrapper.h"

#include <QByteArray>
#include <QString>

#include <array>
#include <compare>
#include <memory>
#include <optional>
#include <vector>

namespace conversation {

/// Somebody who wrote something in a chat.
struct Speaker {
    std::optional<QString> service;    ///< such as "AIM"
    std::optional<QString> screenName; ///< as archived
    QString displayName;               ///< as the address book has it now; never empty
    bool isUser = false;               ///< whether the transcript is this person's

    friend bool operator==(const Speaker &, const Speaker &) = default;
};

/// How a stretch of text was written; what the archive does not say is absent.
struct Style {
    QString fontFamily;   ///< such as "Helvetica"; empty when it is not said
    double pointSize = 0; ///< 0 when it is not said
    bool bold = false;
    bool italic = false;
    std::optional<std::array<quint8, 3>> color; ///< red, green, blue

    friend bool operator==(const Style &, const Style &) = default;
};

/// Characters of a text that share all that is said of them.
struct Stretch {
    qsizetype length = 0;        ///< in UTF-16 units, at least 1
    quint32 style = 0;           ///< position in Conversation::styles
    std::optional<quint32> link; ///< position in Conversation::links
    std::optional<quint32> file; ///< position in Conversation::files: the characters stand for this file

    friend bool operator==(const Stretch &, const Stretch &) = default;
};

/// The text of a message. Its stretches cover it from start to end without gaps.
struct Text {
    QString characters;
    std::vector<Stretch> stretches;

    friend bool operator==(const Text &, const Text &) = default;
};

struct Message {
    std::optional<qint64> milliseconds; ///< Unix time; nothing when the archive does not say
    std::optional<quint32> speaker;     ///< position in Conversation::speakers; nothing for a notice
    std::optional<quint32> text;        ///< position in Conversation::texts
    QString fault; ///< why not all of it could be read, in English; empty when it is whole

    /// Whether it is a notice of the program rather than something that somebody said.
    [[nodiscard]] bool isNotice() const { return !speaker || !text; }

    friend bool operator==(const Message &, const Message &) = default;
};

/// A chat as people read it: values only, worked out once, that may go from one thread or process to another.
/// What a transcript names many times stands here once, as in the transcript: a small file cannot make a
/// large conversation.
struct Conversation {
    QString otherParty;                ///< as the file's name has it
    std::vector<Speaker> participants; ///< as the transcript lists them: everybody but the user
    std::vector<Speaker> speakers;     ///< in the order of their first messages
    std::vector<Message> messages; ///< all, in order: a message's position is what the index calls its place
    std::vector<Text> texts;
    std::vector<Style> styles;  ///< each once; the first is the one of which nothing is said
    std::vector<QString> links; ///< where links lead: absolute where they can be, in any scheme
    /// Attached files and folders; null where a text has an attachment without a file.
    std::vector<std::shared_ptr<const platform::NSFileWrapper>> files;
};

/// @p chatLog with the names as the address book has them now.
[[nodiscard]] Conversation conversationOf(const VORAChatLog &chatLog);

/// A conversation as bytes, to be handed from one process of ours to another, and back.
[[nodiscard]] QByteArray serialized(const Conversation &conversation);
/// @p bytes come from serialized().
[[nodiscard]] Conversation conversationFrom(const QByteArray &bytes);

} // namespace conversation
