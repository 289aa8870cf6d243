#pragma once

#include <QString>
#include <QStringView>

#include <vector>

namespace indexing {

// Texts are compared in a folded form, in which what people take for the same letters is the same:
//
// - letter case does not count (Unicode's simple case folding, and ß is ss);
// - accents and other marks do not count after Latin, Greek and Cyrillic letters, so "zoe" is found in "Zoë",
//   whichever way it is spelt; nor do the strokes of letters such as ø and ł, and ı is an i;
// - everywhere else marks make another letter and do count: か is not が;
// - both Unicode spellings of a character are the same (NFC);
// - NUL and lone surrogates, which a search engine cannot hold, become U+FFFD.
//
// A text is folded piece by piece, a piece being a character with the marks that follow it, so that every
// position of the folded text belongs to one of the original.

/// @p text in its folded form.
[[nodiscard]] QString folded(QStringView text);

/// A folded text that knows where its characters come from.
class FoldedText {
public:
    explicit FoldedText(QStringView text);

    [[nodiscard]] const QString &string() const { return m_string; }
    /// The stretch of the original text that became @p length units from @p position on, @p length being at
    /// least 1: whole pieces, so that no mark is cut off its letter.
    struct Range {
        qsizetype position; ///< in UTF-16 units
        qsizetype length;

        friend bool operator==(const Range &, const Range &) = default;
    };
    [[nodiscard]] Range original(qsizetype position, qsizetype length) const;

private:
    QString m_string;
    std::vector<qsizetype> m_starts; // of each unit of m_string, where its piece starts in the original;
    std::vector<qsizetype> m_ends;   // and where that piece ends
};

} // namespace indexing
