#include "platform/text/terminaltext.h"

#include "platform/text/encoding.h"

#include <algorithm>
#include <unistd.h>

namespace platform {

QByteArray terminalText(QByteArrayView bytes)
{
    QString text = stringFromUtf8(bytes);
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    std::replace_if(
        text.begin(), text.end(),
        [](QChar c) { return c.category() == QChar::Other_Control && c != u'\n' && c != u'\t'; },
        QChar(QChar::ReplacementCharacter));
    return utf8FromString(text);
}

void writeText(std::FILE *stream, QByteArrayView bytes)
{
    const bool isTerminal = ::isatty(::fileno(stream)) == 1;
    const QByteArray shown = isTerminal ? terminalText(bytes) : QByteArray();
    const QByteArrayView written = isTerminal ? QByteArrayView(shown) : bytes;
    std::fwrite(written.data(), 1, size_t(written.size()), stream);
    std::fflush(stream);
}

} // namespace platform
