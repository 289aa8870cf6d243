#pragma once

#include "VORAChatLog.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>

#include <compare>
#include <optional>
#include <vector>

namespace indexing {

/// Somebody as transcripts know them: a service, such as "AIM", and the identifier there.
struct Person {
    std::optional<QString> service;
    std::optional<QString> screenName;

    /// The name they are shown by, as the address book has it now; empty when there is no identifier.
    [[nodiscard]] QString displayName() const;

    friend bool operator==(const Person &, const Person &) = default;
};

/// What a message holds beside its text.
struct Contents {
    bool link = false;
    bool file = false;    ///< any attached file, pictures included
    bool picture = false; ///< an attached file whose name is a picture's

    friend bool operator==(const Contents &, const Contents &) = default;
};

/// One message that somebody wrote. (Notices of the program, which no rendering shows either, are not kept.)
struct ChatMessage {
    quint32 place = 0;                  ///< its position among all messages of its chat, notices included
    std::optional<qint64> milliseconds; ///< Unix time; nothing when the message has no time
    quint32 person = 0;                 ///< position in ChatRecord::people
    Contents contents;
    quint32 text = 0; ///< position in ChatRecord::texts

    friend bool operator==(const ChatMessage &, const ChatMessage &) = default;
};

/// What is kept of one chat to list it and to find things in it.
struct ChatRecord {
    QString otherParty;                   ///< as the file's name has it
    std::vector<Person> people;           ///< everybody in it, each once: the participants first
    quint32 participants = 0;             ///< how many of them are participants
    std::vector<QString> texts;           ///< each text object once, however many messages name it
    QMap<quint32, QStringList> fileNames; ///< of texts with attached files: see readableText()
    std::vector<ChatMessage> messages;    ///< in order
    qint64 words = 0;
    qint64 links = 0;
    qint64 files = 0;
    qint64 pictures = 0;
};

[[nodiscard]] ChatRecord recordOf(const VORAChatLog &chatLog);

/// The names of the attached files in @p text, in order, for readableText(): no more of them, nor longer
/// ones, than anybody would read.
[[nodiscard]] QStringList fileNamesIn(const platform::NSAttributedString &text);

/// @p text for people: each attached file, which is a U+FFFC in it, as its name in brackets, "[garden.jpg]".
/// @param fileNames of these files, in order; empty where a file has none, and then, or when there are fewer
/// of them, it is "[file]".
[[nodiscard]] QString readableText(const QString &text, const QStringList &fileNames);

/// A record as bytes, to be handed from one process of ours to another, and back.
[[nodiscard]] QByteArray serialized(const ChatRecord &record);
/// @p bytes come from serialized().
[[nodiscard]] ChatRecord chatRecordFrom(const QByteArray &bytes);

} // namespace indexing
