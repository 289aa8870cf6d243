#include "companion/terminal.h"

#include "companion/console.h"

#include "platform/text/encoding.h"

#include <cstdio>
#include <cstdlib>
#include <sys/ioctl.h>
#include <unistd.h>

namespace companion {

OutputStyle::OutputStyle() : m_isTerminal(outputIsTerminal())
{
    const char *const noColor = std::getenv("NO_COLOR"); // NOLINT(concurrency-mt-unsafe): one thread
    m_hasColours = m_isTerminal && !(noColor && *noColor);
    winsize size{};
    constexpr int usualWidth = 80;
    m_width = ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : usualWidth;
}

QString OutputStyle::styled(QStringView code, const QString &text) const
{
    return m_hasColours ? QStringLiteral("\x1b[%1m%2\x1b[0m").arg(code, text) : text;
}

QString OutputStyle::onOneLine(QString text) const
{
    for (QChar &character : text) {
        if (character.isSpace())
            character = u' ';
        else if (m_isTerminal && character.category() == QChar::Other_Control)
            character = QChar::ReplacementCharacter;
    }
    return text;
}

void OutputStyle::printLine(const QString &line)
{
    const QByteArray bytes = platform::utf8FromString(line) + '\n';
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
    std::fflush(stdout);
}

} // namespace companion
