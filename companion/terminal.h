#pragma once

#include <QByteArrayView>
#include <QString>
#include <QStringView>

#include <cstdio>

namespace companion {

// Terminals show characters in cells, of which Chinese, Japanese and Korean ones take two, and marks that
// combine with the character before them none.

/// The cells that @p text takes.
[[nodiscard]] qsizetype cellsOf(QStringView text);
/// @p text with blanks behind it up to @p cells.
[[nodiscard]] QString paddedTo(const QString &text, qsizetype cells);
/// @p text, cut where it would take more than @p cells, with "…" behind it then.
[[nodiscard]] QString cutTo(const QString &text, qsizetype cells);

/// A stretch of a text, in UTF-16 units.
struct Stretch {
    qsizetype start = 0;
    qsizetype end = 0;
};
/// What of @p text fits into @p cells with a "…" on each side where something is left out, so that what
/// stands at @p position can be seen with something before it.
[[nodiscard]] Stretch stretchAround(QStringView text, qsizetype position, qsizetype cells);

/// Whether @p stream is a terminal that is to have colours: not when NO_COLOR is set (no-color.org).
[[nodiscard]] bool hasColours(std::FILE *stream);

/// Writes a heading, or the sum of what was done, and a line feed to standard output: in bold where there are
/// colours, else as printLine() does.
void printHeading(QByteArrayView bytes);
/// Writes what went wrong to standard error: in red where there are colours, else as printError() does.
void printFailure(QByteArrayView bytes);

/// What standard output leads to, and what helps reading there.
class OutputStyle {
public:
    /// Of this process's standard output.
    OutputStyle();

    [[nodiscard]] bool isTerminal() const { return m_isTerminal; }
    /// Columns of the terminal; 80 where that cannot be told.
    [[nodiscard]] int width() const { return m_width; }

    /// @p text on one line, and on a terminal without what that would obey. As many units as before.
    [[nodiscard]] QString onOneLine(QString text) const;

    // Each gives @p text with escape sequences of our own around it, where there are colours. What comes from
    // a chat goes through onOneLine() first.
    [[nodiscard]] QString bold(const QString &text) const { return styled(u"1", text); }
    [[nodiscard]] QString dim(const QString &text) const { return styled(u"2", text); }
    [[nodiscard]] QString marked(const QString &text) const { return styled(u"1;31", text); }

    /// Writes a line with such sequences in it to standard output.
    static void printLine(const QString &line);

private:
    [[nodiscard]] QString styled(QStringView code, const QString &text) const;

    bool m_isTerminal;
    bool m_hasColours;
    int m_width;
};

} // namespace companion
