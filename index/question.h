#pragma once

#include "index/chatrecord.h"
#include "index/folding.h"
#include "index/period.h"

#include <QString>

#include <optional>
#include <vector>

namespace indexing {

/// What somebody wants to find: messages for which all that is given holds.
struct Question {
    std::vector<QString> words; ///< folded; each must stand in the message's text. None is empty
    bool wholeWords = false;    ///< no letter or digit stands beside them then
    QString from;               ///< folded part of the display name, or the screen name; empty: by anybody
    QString with; ///< the same of somebody who is in the chat, or of its other party; empty: any
    std::optional<Period> since;
    std::optional<Period> until;
    Contents has; ///< what is set must be there

    /// Whether it asks for nothing in particular, so that every message is an answer.
    [[nodiscard]] bool isEmpty() const;
};

/// Whether @p given, folded, is what the person of these two names is asked for by.
[[nodiscard]] bool isCalled(const QString &given, const QString &displayName,
                            const std::optional<QString> &screenName);

/// Where the words of @p question stand in @p text, in the order of the text; stretches that touch or overlap
/// are one. Nothing when a word is missing. With no words, an empty list.
[[nodiscard]] std::optional<std::vector<FoldedText::Range>> wordsIn(const QString &text,
                                                                    const Question &question);
/// Whether they all stand there, which is quicker to tell.
[[nodiscard]] bool hasWords(const QString &text, const Question &question);

/// Whether any text of a chat has the words of @p question, each text being looked at once. What else is
/// asked for is not looked at.
[[nodiscard]] bool hasWords(const ChatRecord &record, const Question &question);

/// Whether a chat answers @p question: who is in it, and any of its messages, where it is about messages.
[[nodiscard]] bool isAnswer(const ChatRecord &record, const Question &question);

/// Whether a message of that time (Unix, milliseconds) is as @p question has it. One without a time is in no
/// period.
[[nodiscard]] bool isInPeriod(std::optional<qint64> milliseconds, const Question &question);
[[nodiscard]] bool hasContents(const Contents &contents, const Question &question);

} // namespace indexing
