#pragma once

#include "platform/date/nsdate.h"

#include <QByteArray>
#include <QString>

namespace companion {

/// One chat as a message for a mail server. (In an mbox it looks different: what stands there is not sent.)
struct MailMessage {
    QByteArray from; ///< a bare ASCII address
    QByteArray to;   ///< the same
    QString subject; ///< of any characters; control characters become blanks
    platform::NSDate date;
    QByteArray messageId; ///< without angle brackets
    QString plainText;
    QByteArray html; ///< UTF-8
};

/// An identifier that no other message has, in the domain of the address @p from.
[[nodiscard]] QByteArray newMessageId(const QByteArray &from);

/// The bytes of @p message by RFC 5322 and MIME: ASCII in lines that end with CRLF and have at most 76
/// characters (of an address, more), the chat as multipart/alternative, its line feeds as CRLF, UTF-8 in
/// Base64.
[[nodiscard]] QByteArray mailMessageBytes(const MailMessage &message);

} // namespace companion
