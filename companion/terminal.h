#pragma once

#include <QByteArray>
#include <QString>

namespace companion {

/// What standard output leads to, and what helps reading there.
class OutputStyle {
public:
    /// Of this process's standard output: colours on a terminal, unless NO_COLOR is set (no-color.org).
    OutputStyle();

    [[nodiscard]] bool isTerminal() const { return m_isTerminal; }
    /// Columns of the terminal; 80 where that cannot be told.
    [[nodiscard]] int width() const { return m_width; }

    [[nodiscard]] QString bold(const QString &text) const { return styled(u"1", text); }
    [[nodiscard]] QString dim(const QString &text) const { return styled(u"2", text); }
    [[nodiscard]] QString marked(const QString &text) const { return styled(u"1;31", text); }

private:
    [[nodiscard]] QString styled(QStringView code, const QString &text) const;

    bool m_isTerminal;
    bool m_hasColours;
    int m_width;
};

/// @p text with a blank for each line break and tab, and U+FFFD for what a terminal would obey. As many units
/// as before.
[[nodiscard]] QString onOneLine(QString text);

} // namespace companion
