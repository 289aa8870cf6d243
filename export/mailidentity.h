#pragma once

#include "conversation/conversation.h"

#include <QByteArray>

namespace exporting {

/// How a chat's mail is told from all others, so that no mail program takes it in twice: 32 hexadecimal
/// digits, made from the participants and the earliest message. It stays the same when the chat grows.
[[nodiscard]] QByteArray mailIdentity(const conversation::Conversation &conversation);

/// The same, made from all messages: for a chat that begins like a longer one.
[[nodiscard]] QByteArray wholeMailIdentity(const conversation::Conversation &conversation);

} // namespace exporting
