#pragma once

#include "conversation/conversation.h"

#include <QString>

#include <functional>

namespace exporting {

// What the formats for people have in common.

/// "Kim Lee, Zoë Müller": everybody but the user; the other party where nobody else is known.
[[nodiscard]] QString titleOf(const conversation::Conversation &conversation);

/// "2 messages could not be read whole." Empty when all could be.
[[nodiscard]] QString faultsNote(const conversation::Conversation &conversation);

/// The first moment of @p conversation that is known.
[[nodiscard]] std::optional<qint64> firstMoment(const conversation::Conversation &conversation);

/// Who wrote @p message; nobody wrote a notice.
[[nodiscard]] const conversation::Speaker *speakerOf(const conversation::Conversation &conversation,
                                                     const conversation::Message &message);

/// Calls @p take with each stretch of the text of @p message, and its characters; with nothing when the
/// message has no text.
void forEachStretch(const conversation::Conversation &conversation, const conversation::Message &message,
                    const std::function<void(const conversation::Stretch &, QStringView)> &take);

/// @p text without characters that a terminal would obey or a page cannot hold: each control character but
/// line feed and tab becomes U+FFFD. Every kind of line break becomes a line feed.
[[nodiscard]] QString withoutControls(QStringView text);

} // namespace exporting
