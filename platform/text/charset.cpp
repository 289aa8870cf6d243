#include "platform/text/charset.h"

#include <QStringDecoder>

#include <algorithm>

namespace platform {

namespace {

/// Whether @p name can be a charset's. Converters are looked for in files too, and Qt knows "locale", which
/// says nothing about the bytes.
bool isCharsetName(const QByteArray &name)
{
    constexpr qsizetype longest = 40; // of registered names
    constexpr QByteArrayView signs("-_:.+");
    return name.size() <= longest && name.compare("locale", Qt::CaseInsensitive) != 0 &&
           std::all_of(name.begin(), name.end(), [signs](char c) {
               return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
                      signs.contains(c);
           });
}

} // namespace

std::optional<QString> stringFromCharset(QByteArrayView bytes, const QByteArray &charset)
{
    if (!isCharsetName(charset))
        return std::nullopt;
    QStringDecoder decoder(charset.constData(), QStringConverter::Flag::Stateless);
    if (!decoder.isValid())
        return std::nullopt;
    QString text = decoder(bytes);
    // A character that is cut off at the end counts as an error, but leaves no trace in the text.
    if (decoder.hasError() && !text.contains(QChar::ReplacementCharacter))
        text += QChar::ReplacementCharacter;
    return text;
}

} // namespace platform
