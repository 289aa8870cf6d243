#pragma once

#include "conversation/conversation.h"

#include <QString>

#include <algorithm>
#include <compare>

namespace reader {

/// A place between two characters of a chat.
struct TextPosition {
    size_t message = 0;
    qsizetype character = 0; ///< of the message's text, in UTF-16 units

    friend auto operator<=>(const TextPosition &, const TextPosition &) = default;
};

/// What is selected: everything between two ends.
struct Selection {
    TextPosition anchor; ///< the end that stays
    TextPosition head;   ///< the end that moves

    [[nodiscard]] bool isEmpty() const { return anchor == head; }
    [[nodiscard]] TextPosition first() const { return std::min(anchor, head); }
    [[nodiscard]] TextPosition last() const { return std::max(anchor, head); }

    /// The characters of a message that are selected.
    struct Range {
        qsizetype first = 0;
        qsizetype last = 0; ///< behind the last one

        [[nodiscard]] bool isEmpty() const { return first >= last; }
    };
    /// @param length of the text of @p message.
    [[nodiscard]] Range in(size_t message, qsizetype length) const;
};

/// How many characters the text of @p message has.
[[nodiscard]] qsizetype textLength(const conversation::Conversation &chat, size_t message);

/// What is selected as text that can be read elsewhere: a heading for each day and a line with time and name
/// for each message; or, of one message alone, what is selected of its text. Files stand by their names in
/// brackets.
/// @return nothing when it is longer than @p longest UTF-16 units: a small transcript can name one long text
/// many times.
[[nodiscard]] std::optional<QString> copied(const conversation::Conversation &chat,
                                            const Selection &selection,
                                            qsizetype longest = qsizetype(1) << 26);

/// The text of a message from @p first to before @p last, files by their names in brackets.
[[nodiscard]] QString plainText(const conversation::Conversation &chat, const conversation::Text &text,
                                qsizetype first, qsizetype last);

} // namespace reader
