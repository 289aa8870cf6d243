#include "companion/terminal.h"

#include "companion/console.h"

#include "platform/text/encoding.h"
#include "platform/text/terminaltext.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cwchar>
#include <locale.h> // newlocale(), which <clocale> does not have
#include <sys/ioctl.h>
#include <unistd.h>

namespace companion {

namespace {

/// The cells of each character of a text, asked of the C library.
class Cells {
public:
    Cells() : m_previous(uselocale(utf8Locale())) {}
    ~Cells() { uselocale(m_previous); }
    Cells(const Cells &) = delete;
    Cells &operator=(const Cells &) = delete;

    /// Of the character that begins at @p position, which goes on to the next one.
    static qsizetype next(QStringView text, qsizetype &position)
    {
        const QChar unit = text[position++];
        if (!unit.isHighSurrogate() || position == text.size() || !text[position].isLowSurrogate())
            return of(unit.unicode());
        return of(QChar::surrogateToUcs4(unit, text[position++]));
    }
    /// Of the character before @p position, which goes back to where that begins.
    static qsizetype previous(QStringView text, qsizetype &position)
    {
        --position;
        if (text[position].isLowSurrogate() && position > 0 && text[position - 1].isHighSurrogate())
            --position;
        qsizetype start = position;
        return next(text, start);
    }

private:
    static qsizetype of(char32_t character)
    {
        const int cells = wcwidth(wchar_t(character));
        return cells < 0 ? 1 : cells; // shown as U+FFFD
    }
    static locale_t utf8Locale()
    {
        static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr); // glibc has it built in
        return locale ? locale : LC_GLOBAL_LOCALE;
    }

    locale_t m_previous;
};

void printStyled(std::FILE *stream, const char *code, QByteArrayView bytes)
{
    if (!hasColours(stream)) {
        platform::writeText(stream, bytes.toByteArray() + '\n');
        return;
    }
    const QByteArray line = "\x1b[" + QByteArray(code) + 'm' + platform::terminalText(bytes) + "\x1b[0m\n";
    std::fwrite(line.constData(), 1, size_t(line.size()), stream);
    std::fflush(stream);
}

} // namespace

qsizetype cellsOf(QStringView text)
{
    const Cells cells;
    qsizetype sum = 0;
    for (qsizetype position = 0; position < text.size();)
        sum += Cells::next(text, position);
    return sum;
}

QString paddedTo(const QString &text, qsizetype cells)
{
    return text + QString(std::max<qsizetype>(cells - cellsOf(text), 0), u' ');
}

QString cutTo(const QString &text, qsizetype cells)
{
    const Stretch shown = stretchAround(text, 0, cells);
    return shown.end == text.size() ? text
                                    : text.left(shown.end) + (cells > 0 ? QStringLiteral("…") : QString());
}

Stretch stretchAround(QStringView text, qsizetype position, qsizetype cells)
{
    // A character takes up to two cells, and two "…" one each.
    if (2 * text.size() <= cells || cellsOf(text) <= cells)
        return {0, text.size()};
    const Cells counting;
    Stretch stretch{position, position};
    qsizetype used = 0;
    const auto extendBack = [&](qsizetype limit) {
        for (qsizetype before = stretch.start; before > 0; stretch.start = before) {
            const qsizetype more = Cells::previous(text, before);
            if (used + more > limit)
                break;
            used += more;
        }
        for (qsizetype after = stretch.start; after < stretch.end; stretch.start = after) {
            if (Cells::next(text, after) > 0) // no mark without its character
                break;
        }
    };
    extendBack(cells / 3);
    const qsizetype limit = cells - (stretch.start > 0 ? 2 : 1);
    for (qsizetype after = stretch.end; after < text.size(); stretch.end = after) {
        used += Cells::next(text, after);
        if (used > limit)
            break;
    }
    if (stretch.end == text.size())
        extendBack(cells - 1);
    return stretch;
}

bool hasColours(std::FILE *stream)
{
    const char *const noColor = std::getenv("NO_COLOR"); // NOLINT(concurrency-mt-unsafe): one thread
    return isatty(fileno(stream)) == 1 && !(noColor && *noColor);
}

void printHeading(QByteArrayView bytes)
{
    printStyled(stdout, "1", bytes);
}

void printFailure(QByteArrayView bytes)
{
    printStyled(stderr, "31", bytes);
}

OutputStyle::OutputStyle() : m_isTerminal(outputIsTerminal()), m_hasColours(hasColours(stdout))
{
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
