#include "platform/text/encoding.h"

#include "platform/text/byteordermark.h"

#include <QStringDecoder>

#include <algorithm>

namespace platform {

namespace {

/// Whether a surrogate is among the @p block code units at @p units. Of a fixed length and without a way out
/// in the middle, so that compilers look at many at a time.
constexpr qsizetype block = 32;
bool holdsSurrogate(const char16_t *units)
{
    unsigned found = 0;
    for (qsizetype i = 0; i < block; ++i)
        found |= unsigned((units[i] & 0xF800) == 0xD800);
    return found != 0;
}

/// Where the first surrogate without its partner stands at or after @p from; the text's length when none
/// does.
qsizetype indexOfLoneSurrogate(QStringView text, qsizetype from)
{
    qsizetype i = from;
    while (i < text.size()) {
        const qsizetype end = std::min(i + block, text.size());
        if (end - i == block && !holdsSurrogate(text.utf16() + i)) {
            i = end;
            continue;
        }
        for (; i < end; ++i) {
            if (!text[i].isSurrogate())
                continue;
            if (!text[i].isHighSurrogate() || i + 1 == text.size() || !text[i + 1].isLowSurrogate())
                return i;
            ++i;
        }
    }
    return text.size();
}

} // namespace

QString stringFromUtf8(QByteArrayView bytes)
{
    if (!byteOrderMark(bytes))
        return QString::fromUtf8(bytes);
    using Flag = QStringConverter::Flag;
    QStringDecoder decoder(QStringConverter::Utf8, Flag::ConvertInitialBom | Flag::Stateless);
    return decoder(bytes);
}

QByteArray utf8FromString(QStringView text)
{
    qsizetype lone = indexOfLoneSurrogate(text, 0);
    if (lone == text.size())
        return text.toUtf8();
    QString repaired = text.toString();
    for (; lone < text.size(); lone = indexOfLoneSurrogate(text, lone + 1))
        repaired[lone] = QChar::ReplacementCharacter;
    return repaired.toUtf8();
}

void appendUtf8(QByteArray &bytes, QStringView text)
{
    bytes += utf8FromString(text);
}

} // namespace platform
