#include "platform/addressbook/valuedecoding.h"

#include "platform/text/encoding.h"

#include <QStringConverter>
#include <QStringDecoder>

#include <algorithm>
#include <array>
#include <cerrno>
#include <iconv.h>

namespace platform {

namespace {

constexpr QByteArrayView replacementCharacter("\xEF\xBF\xBD");

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

/// One of iconv's converters to UTF-8, if it knows @p charset.
class Iconv {
public:
    explicit Iconv(const QByteArray &charset)
    {
        // A slash would start iconv's own options and file names.
        const bool isName = !charset.isEmpty() && charset.size() <= 40 &&
                            std::all_of(charset.begin(), charset.end(), [](char c) {
                                return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
                                       c == '_' || c == ':' || c == '.' || c == '+';
                            });
        if (isName)
            m_descriptor = iconv_open("UTF-8", charset.constData());
    }
    Iconv(const Iconv &) = delete;
    Iconv &operator=(const Iconv &) = delete;
    ~Iconv()
    {
        if (*this)
            iconv_close(m_descriptor);
    }

    // iconv_open(3) reports failure as this value and no other.
    explicit operator bool() const { return m_descriptor != none(); }

    [[nodiscard]] QByteArray utf8(QByteArray bytes)
    {
        QByteArray result;
        std::array<char, 4096> chunk{};
        char *from = bytes.data();
        size_t left = size_t(bytes.size());
        while (left > 0) {
            char *to = chunk.data();
            size_t room = chunk.size();
            const size_t before = left;
            const bool failed = iconv(m_descriptor, &from, &left, &to, &room) == size_t(-1);
            const bool isFull = failed && errno == E2BIG && (left < before || to != chunk.data());
            result.append(chunk.data(), to - chunk.data());
            if (failed && !isFull) {
                result += replacementCharacter;
                ++from; // each round ends further on, whatever the converter does
                --left;
            }
        }
        char *to = chunk.data();
        size_t room = chunk.size();
        iconv(m_descriptor, nullptr, nullptr, &to, &room); // what it has kept back for a combining character
        result.append(chunk.data(), to - chunk.data());
        return result;
    }

private:
    static iconv_t none() { return iconv_t(-1); } // iconv's interface
    iconv_t m_descriptor = none();
};

QString textInCharset(const QByteArray &bytes, const QByteArray &charset)
{
    if (charset.isEmpty() || charset == "UTF-8" || charset == "US-ASCII")
        return stringFromUtf8(bytes);
    // Asked for by name: Qt knows "LOCALE" too, which says nothing about the file.
    if (charset == "ISO-8859-1")
        return QString::fromLatin1(bytes);
    if (charset == "UTF-16" || charset == "UTF-16LE" || charset == "UTF-16BE") {
        QStringDecoder decoder(charset.constData());
        return decoder(bytes);
    }
    Iconv converter(charset);
    return stringFromUtf8(converter ? converter.utf8(bytes) : bytes);
}

} // namespace

QByteArray asciiCompatible(const QByteArray &bytes)
{
    std::optional<QStringConverter::Encoding> encoding;
    if (bytes.startsWith("\xFF\xFE") || bytes.startsWith(QByteArrayView("B\0", 2)))
        encoding = QStringConverter::Utf16LE;
    else if (bytes.startsWith("\xFE\xFF") || bytes.startsWith(QByteArrayView("\0B", 2)))
        encoding = QStringConverter::Utf16BE;
    if (!encoding)
        return bytes;
    QStringDecoder decoder(*encoding);
    return utf8FromString(QString(decoder(bytes)));
}

QString valueText(const ContentLine &line)
{
    const QByteArray encoding = line.parameter("ENCODING");
    QByteArray bytes;
    if (encoding == "QUOTED-PRINTABLE")
        bytes = decodedQuotedPrintable(line.value);
    else if (encoding == "BASE64" || encoding == "B")
        bytes = QByteArray::fromBase64(line.value.toByteArray());
    else
        bytes = line.value.toByteArray();
    return textInCharset(bytes, line.parameter("CHARSET"));
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
