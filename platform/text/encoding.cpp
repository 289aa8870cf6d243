#include "platform/text/encoding.h"

namespace platform {

namespace {

constexpr QByteArrayView byteOrderMark("\xEF\xBB\xBF");

/// A copy in which each surrogate without its partner is U+FFFD.
QString withoutLoneSurrogates(QStringView text)
{
    QString repaired = text.toString();
    for (qsizetype i = 0; i < repaired.size(); ++i) {
        if (!repaired[i].isSurrogate())
            continue;
        if (repaired[i].isHighSurrogate() && i + 1 < repaired.size() && repaired[i + 1].isLowSurrogate())
            ++i;
        else
            repaired[i] = QChar::ReplacementCharacter;
    }
    return repaired;
}

} // namespace

QString stringFromUtf8(QByteArrayView bytes)
{
    // Qt drops one mark at the start, so give it one to drop.
    if (bytes.startsWith(byteOrderMark))
        return QString::fromUtf8(byteOrderMark.toByteArray() + bytes.toByteArray());
    return QString::fromUtf8(bytes);
}

QByteArray utf8FromString(QStringView text)
{
    return text.isValidUtf16() ? text.toUtf8() : withoutLoneSurrogates(text).toUtf8();
}

void appendUtf8(QByteArray &bytes, QStringView text)
{
    bytes += utf8FromString(text);
}

} // namespace platform
