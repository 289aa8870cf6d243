#pragma once

#include "platform/date/nsdate.h"

#include <QByteArray>
#include <QString>

#include <ctime>

/// One chat as a message of an mbox file.
struct MboxMessage {
    QString address; ///< of sender and recipient alike; may be empty
    QString subject;
    platform::NSDate date;
    QByteArray plainText; ///< UTF-8
    QByteArray html;      ///< UTF-8
};

/// The bytes of @p message: the separator line with @p writtenAt in local time, the header, and the chat as
/// multipart/alternative; UTF-8 with single line feeds throughout, ending with an empty line.
///
/// In the two parts, a line that begins with "From ", or with ">"s and "From ", gets one more ">" in front
/// (the mboxrd convention), so that every reader finds as many messages as were written. Line breaks in the
/// address and the subject become blanks: a header line can hold none.
[[nodiscard]] QByteArray mboxMessageBytes(const MboxMessage &message, std::time_t writtenAt);
