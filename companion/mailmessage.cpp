#include "companion/mailmessage.h"

#include "platform/date/calendar.h"
#include "platform/text/encoding.h"

#include <QUuid>

#include <algorithm>

namespace companion {

namespace {

// Holds "=_", which no line of Base64 does.
constexpr QByteArrayView boundary("=_prattlebug_chat");

constexpr qsizetype longestLine = 76;

bool isPrintableAscii(QChar c)
{
    return c >= u' ' && c <= u'~';
}

/// @p text as encoded words (RFC 2047), each whole characters, on lines of their own.
QByteArray encodedWords(const QString &text)
{
    constexpr qsizetype mostBytes = 39; // 52 characters of Base64: the first word has "Subject: " before it
    QByteArray words;
    QByteArray bytes;
    const auto finishWord = [&] {
        if (!words.isEmpty())
            words += "\r\n ";
        words += "=?utf-8?B?" + bytes.toBase64() + "?=";
        bytes.clear();
    };
    for (const char32_t character : text.toStdU32String()) {
        const QByteArray next = platform::utf8FromString(QString::fromUcs4(&character, 1));
        if (bytes.size() + next.size() > mostBytes)
            finishWord();
        bytes += next;
    }
    finishWord();
    return words;
}

QByteArray subjectField(QString subject)
{
    for (QChar &c : subject) {
        if (c.category() == QChar::Other_Control)
            c = u' ';
    }
    constexpr QByteArrayView name("Subject: ");
    const bool canStand = name.size() + subject.size() <= longestLine &&
                          std::all_of(subject.cbegin(), subject.cend(), isPrintableAscii) &&
                          !subject.contains(QStringLiteral("=?")) && subject == subject.trimmed();
    return name.toByteArray() + (canStand ? subject.toLatin1() : encodedWords(subject));
}

/// Appends @p text, its line breaks as mail has them, in Base64.
void appendBase64(QByteArray &bytes, QByteArray text)
{
    text.replace("\r\n", "\n").replace('\n', "\r\n");
    const QByteArray encoded = text.toBase64();
    for (qsizetype start = 0; start < encoded.size(); start += longestLine)
        bytes.append(QByteArrayView(encoded).sliced(start, std::min(longestLine, encoded.size() - start)))
            .append("\r\n");
}

void appendPart(QByteArray &bytes, QByteArrayView type, const QByteArray &text)
{
    bytes.append("--").append(boundary).append("\r\nContent-Type: ").append(type);
    bytes.append("; charset=utf-8\r\nContent-Transfer-Encoding: base64\r\n\r\n");
    appendBase64(bytes, text);
}

} // namespace

QByteArray newMessageId(const QByteArray &from)
{
    return QUuid::createUuid().toByteArray(QUuid::WithoutBraces) + '@' +
           from.sliced(from.lastIndexOf('@') + 1);
}

QByteArray mailMessageBytes(const MailMessage &message)
{
    QByteArray bytes;
    bytes.append("From: ").append(message.from);
    bytes.append("\r\nTo: ").append(message.to);
    bytes.append("\r\n").append(subjectField(message.subject));
    bytes.append("\r\nDate: ")
        .append(
            platform::descriptionWithCalendarFormat(message.date, u"%a, %d %b %Y %H:%M:%S %z").toLatin1());
    bytes.append("\r\nMessage-ID: <").append(message.messageId);
    bytes.append(">\r\nMIME-Version: 1.0\r\nContent-Type: multipart/alternative; boundary=\"")
        .append(boundary)
        .append("\"\r\n\r\n");
    appendPart(bytes, "text/plain", platform::utf8FromString(message.plainText));
    appendPart(bytes, "text/html", message.html);
    bytes.append("--").append(boundary).append("--\r\n");
    return bytes;
}

} // namespace companion
