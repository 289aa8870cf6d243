#include "galleries/filenames.h"

#include "galleries/supportfolder.h"

#include "platform/text/encoding.h"

#include <QCryptographicHash>

namespace galleries {

namespace {

constexpr qsizetype longestFileName = 255; // bytes; what Linux file systems hold
constexpr qsizetype longestSuffix = 64;    // bytes

QString withoutSeparators(QStringView text)
{
    QString result = text.toString();
    result.replace(u'/', u':');
    result.replace(QChar::Null, u':');
    return result;
}

bool isReserved(const QString &name)
{
    for (const char *reserved : {linkTemplateName, imageTemplateName, statisticsTemplateName, ".", ".."}) {
        if (name == QLatin1String(reserved))
            return true;
    }
    return false;
}

/// As many whole characters from the start of @p text as fit into @p size bytes of UTF-8.
QString start(QStringView text, qsizetype size)
{
    qsizetype end = 0;
    while (end < text.size()) {
        const bool isPair =
            text[end].isHighSurrogate() && end + 1 < text.size() && text[end + 1].isLowSurrogate();
        const char16_t unit = text[end].unicode();
        size -= isPair ? 4 : unit < 0x80 ? 1 : unit < 0x800 ? 2 : 3;
        if (size < 0)
            break;
        end += isPair ? 2 : 1;
    }
    return text.first(end).toString();
}

/// @p stem cut so that it takes @p size bytes with a hash of @p wholeName at its end.
QString shortened(QStringView stem, qsizetype size, QByteArrayView wholeName)
{
    constexpr qsizetype digits = 8;
    const QByteArray hash =
        QCryptographicHash::hash(wholeName, QCryptographicHash::Sha256).toHex().first(digits);
    return start(stem, size - digits - 1) + u'-' + QLatin1String(hash);
}

void appendByte(QString &text, quint8 byte, const char *digits)
{
    text += u'%';
    text += QLatin1Char(digits[byte >> 4U]);
    text += QLatin1Char(digits[byte & 0xFU]);
}

bool isAsciiLetterOrDigit(char16_t unit)
{
    return (unit >= u'0' && unit <= u'9') || (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z');
}

} // namespace

FileName fileName(QStringView name, QStringView suffix)
{
    if (platform::utf8FromString(suffix).size() > longestSuffix)
        return fileName(name.toString().append(suffix), {});

    FileName result{name.isEmpty() ? QStringLiteral("_") : withoutSeparators(name),
                    withoutSeparators(suffix)};
    if (isReserved(result.text()))
        result.stem += u'_';
    const QByteArray whole = platform::utf8FromString(result.text());
    if (whole.size() > longestFileName) {
        const qsizetype suffixSize = platform::utf8FromString(result.suffix).size();
        result.stem = shortened(result.stem, longestFileName - suffixSize, whole);
    }
    return result;
}

QString urlSafeForm(QStringView text)
{
    QString safe;
    safe.reserve(text.size() * 3);
    for (qsizetype i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i].unicode();
        if (isAsciiLetterOrDigit(unit)) {
            safe += text[i];
            continue;
        }
        if (unit <= 0xFF) {
            appendByte(safe, quint8(unit), "0123456789ABCDEF");
            continue;
        }
        const bool isPair = text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate();
        for (const char byte : platform::utf8FromString(text.sliced(i, isPair ? 2 : 1)))
            appendByte(safe, quint8(byte), "0123456789abcdef");
        i += isPair ? 1 : 0;
    }
    return safe;
}

} // namespace galleries
