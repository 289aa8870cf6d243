#include "platform/addressbook/valuedecoding.h"

#include "platform/text/charset.h"
#include "platform/text/encoding.h"

namespace platform {

namespace {

int hexadecimalDigit(char character)
{
    if (character >= '0' && character <= '9')
        return character - '0';
    if (character >= 'A' && character <= 'F')
        return character - 'A' + 10;
    if (character >= 'a' && character <= 'f')
        return character - 'a' + 10;
    return -1;
}

/// Text from bytes of which nothing says what they are: UTF-8 if they can be, else what Windows wrote in the
/// west, in which every byte means something.
QString guessedText(const QByteArray &bytes)
{
    if (bytes.isValidUtf8())
        return stringFromUtf8(bytes);
    return stringFromCharset(bytes, "windows-1252").value_or(QString::fromLatin1(bytes));
}

QString textInCharset(const QByteArray &bytes, const QByteArray &charset)
{
    if (charset == "UTF-8")
        return stringFromUtf8(bytes);
    std::optional<QString> text;
    if (!charset.isEmpty() && charset != "US-ASCII")
        text = stringFromCharset(bytes, charset);
    return text ? *std::move(text) : guessedText(bytes);
}

} // namespace

QString valueText(const ContentLine &line, FileEncoding file)
{
    const QByteArray encoding = line.parameter("ENCODING");
    const QByteArray charset = line.parameter("CHARSET");
    if (encoding == "QUOTED-PRINTABLE")
        return textInCharset(decodedQuotedPrintable(line.value), charset);
    if (encoding == "BASE64" || encoding == "B")
        return textInCharset(QByteArray::fromBase64(line.value.toByteArray()), charset);
    return file == FileEncoding::Unicode ? stringFromUtf8(line.value)
                                         : textInCharset(line.value.toByteArray(), charset);
}

QByteArray decodedQuotedPrintable(QByteArrayView bytes)
{
    QByteArray result;
    result.reserve(bytes.size());
    for (qsizetype i = 0; i < bytes.size(); ++i) {
        const bool isEscape = bytes[i] == '=' && bytes.size() - i > 2;
        const int high = isEscape ? hexadecimalDigit(bytes[i + 1]) : -1;
        const int low = isEscape ? hexadecimalDigit(bytes[i + 2]) : -1;
        if (high >= 0 && low >= 0) {
            result += char(high * 16 + low);
            i += 2;
        } else {
            result += bytes[i];
        }
    }
    return result;
}

QString unescaped(QStringView text)
{
    QString result;
    result.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar following = text[i] == u'\\' && i + 1 < text.size() ? text[i + 1] : QChar();
        if (following == u'n' || following == u'N')
            result += u'\n';
        else if (following == u',' || following == u';' || following == u':' || following == u'\\')
            result += following;
        else {
            result += text[i];
            continue;
        }
        ++i;
    }
    return result;
}

qsizetype findSeparator(QStringView text, QChar separator, qsizetype from)
{
    for (qsizetype i = from; i < text.size(); ++i) {
        if (text[i] == u'\\')
            ++i;
        else if (text[i] == separator)
            return i;
    }
    return text.size();
}

} // namespace platform
