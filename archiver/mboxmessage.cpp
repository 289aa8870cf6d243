#include "archiver/mboxmessage.h"

#include "platform/date/calendar.h"
#include "platform/text/encoding.h"

#include <array>

using platform::utf8FromString;

namespace {

constexpr QByteArrayView boundary("_____fbtvcfbtvcfbtvcfbtvcfbtvcfbtvcfbtvc");

/// @p value fit for one line: CR, LF or the pair becomes one blank.
QByteArray headerValue(QString value)
{
    value.replace(QStringLiteral("\r\n"), QStringLiteral(" "));
    value.replace(u'\r', u' ');
    value.replace(u'\n', u' ');
    return utf8FromString(value);
}

bool isSeparatorLike(QByteArrayView line)
{
    while (line.startsWith('>'))
        line = line.sliced(1);
    return line.startsWith("From ");
}

/// Appends @p text with one more ">" before each line that a reader could take for a separator line.
void appendQuoted(QByteArray &bytes, QByteArrayView text)
{
    while (!text.isEmpty()) {
        const qsizetype lineFeed = text.indexOf('\n');
        const QByteArrayView line = lineFeed < 0 ? text : text.first(lineFeed + 1);
        if (isSeparatorLike(line))
            bytes += '>';
        bytes += line;
        text = text.sliced(line.size());
    }
}

void appendPart(QByteArray &bytes, QByteArrayView type, QByteArrayView content)
{
    bytes.append("--")
        .append(boundary)
        .append("\nContent-Type: ")
        .append(type)
        .append("; charset=\"utf8\"\n\n");
    appendQuoted(bytes, content);
    bytes.append('\n');
}

} // namespace

QByteArray mboxMessageBytes(const MboxMessage &message, std::time_t writtenAt)
{
    const QByteArray address = headerValue(message.address);
    std::array<char, 26> writingTime{}; // what ctime_r() asks for
    ctime_r(&writtenAt, writingTime.data());

    QByteArray bytes;
    bytes.reserve(message.plainText.size() + message.html.size() + 1024);
    bytes.append("From ").append(address).append(' ').append(writingTime.data());
    bytes.append("From: ").append(address);
    bytes.append("\nTo: ").append(address);
    bytes.append("\nSubject: ").append(headerValue(message.subject));
    bytes.append("\nDate: ")
        .append(
            utf8FromString(platform::descriptionWithCalendarFormat(message.date, u"%d %b %y %H:%M:%S\n")));
    bytes.append("Content-Type: multipart/alternative;\n\tboundary=\"").append(boundary).append("\"\n\n");
    appendPart(bytes, "text/plain", message.plainText);
    appendPart(bytes, "text/html", message.html);
    bytes.append("--").append(boundary).append("--\n\n");
    return bytes;
}
