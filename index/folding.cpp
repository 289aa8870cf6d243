#include "index/folding.h"

#include <QChar>
#include <QList>

#include <array>
#include <memory>

namespace indexing {

namespace {

bool isMark(char32_t character)
{
    const QChar::Category category = QChar::category(character);
    return category == QChar::Mark_NonSpacing || category == QChar::Mark_SpacingCombining ||
           category == QChar::Mark_Enclosing;
}

/// Vowels and final consonants that join the Korean syllable before them.
bool joinsSyllable(char32_t character)
{
    return character >= 0x1160 && character <= 0x11FF;
}

bool losesItsMarks(char32_t letter)
{
    const QChar::Script script = QChar::script(letter);
    return script == QChar::Script_Latin || script == QChar::Script_Greek || script == QChar::Script_Cyrillic;
}

/// Letters whose stroke or missing dot Unicode does not take for a mark.
char16_t withoutStroke(char16_t letter)
{
    switch (letter) {
    case u'ø': return u'o';
    case u'ł': return u'l';
    case u'đ': return u'd';
    case u'ħ': return u'h';
    case u'ŧ': return u't';
    case u'ı': return u'i';
    default: return letter;
    }
}

/// One piece (a character and its marks) in its folded form.
QString foldedPiece(QStringView piece)
{
    const QString decomposed = piece.toString()
                                   .normalized(QString::NormalizationForm_D)
                                   .toCaseFolded()
                                   .normalized(QString::NormalizationForm_D);
    QString kept;
    bool dropsMarks = false;
    for (const char32_t character : decomposed.toUcs4()) {
        if (!isMark(character)) {
            dropsMarks = losesItsMarks(character);
        } else if (dropsMarks) {
            continue;
        }
        if (character == U'ß') // Qt's case folding is the simple one, a character for a character
            kept += QStringView(u"ss");
        else if (QChar::requiresSurrogates(character))
            kept += QStringView(QChar::fromUcs4(character));
        else
            kept += QChar(withoutStroke(char16_t(character)));
    }
    return kept.normalized(QString::NormalizationForm_C);
}

/// The folded forms of single units that are pieces of their own and stay one unit, worked out 256 at a time
/// when first asked for: most text needs nothing else.
class SingleUnits {
public:
    /// 0 when the unit needs more than this table.
    [[nodiscard]] char16_t folded(char16_t unit)
    {
        auto &page = m_pages.at(unit >> 8U);
        if (!page)
            page = makePage(char16_t(unit & 0xFF00U));
        return page->at(unit & 0xFFU);
    }

private:
    using Page = std::array<char16_t, 256>;

    [[nodiscard]] static std::unique_ptr<Page> makePage(char16_t first)
    {
        auto page = std::make_unique<Page>();
        for (unsigned i = 0; i < page->size(); ++i) {
            const QChar unit(char16_t(first + i));
            if (unit.isNull() || unit.isSurrogate())
                continue;
            const QString piece = foldedPiece(QStringView(&unit, 1));
            page->at(i) = piece.size() == 1 ? piece.front().unicode() : 0;
        }
        return page;
    }

    std::array<std::unique_ptr<Page>, 256> m_pages;
};

/// Calls @p take with each piece of @p text in its folded form, and where the piece starts and ends.
template <class Take>
void foldPieces(QStringView text, Take take)
{
    static SingleUnits singleUnits;
    const auto characterAt = [text](qsizetype position) -> char32_t {
        const QChar unit = text[position];
        if (unit.isHighSurrogate() && position + 1 < text.size() && text[position + 1].isLowSurrogate())
            return QChar::surrogateToUcs4(unit, text[position + 1]);
        return unit.unicode();
    };
    qsizetype start = 0;
    while (start < text.size()) {
        const char32_t character = characterAt(start);
        qsizetype end = start + (QChar::requiresSurrogates(character) ? 2 : 1);
        const bool isAlone = end == text.size() || text[end].unicode() < 0x300;
        if (!isAlone) {
            while (end < text.size() && (isMark(characterAt(end)) || joinsSyllable(characterAt(end))))
                end += QChar::requiresSurrogates(characterAt(end)) ? 2 : 1;
        }
        const QChar unit = text[start];
        if (unit.isNull() || (end == start + 1 && unit.isSurrogate())) {
            constexpr QChar replacement = QChar::ReplacementCharacter;
            take(QStringView(&replacement, 1), start, start + 1);
            end = start + 1;
        } else if (const char16_t single = end == start + 1 ? singleUnits.folded(unit.unicode()) : u'\0') {
            const QChar foldedUnit(single);
            take(QStringView(&foldedUnit, 1), start, end);
        } else {
            const QString piece = foldedPiece(text.sliced(start, end - start));
            take(QStringView(piece), start, end);
        }
        start = end;
    }
}

} // namespace

QString folded(QStringView text)
{
    QString result;
    result.reserve(text.size());
    foldPieces(text, [&](QStringView piece, qsizetype, qsizetype) { result += piece; });
    return result;
}

FoldedText::FoldedText(QStringView text)
{
    foldPieces(text, [&](QStringView piece, qsizetype start, qsizetype end) {
        m_string += piece;
        m_starts.insert(m_starts.end(), size_t(piece.size()), start);
        m_ends.insert(m_ends.end(), size_t(piece.size()), end);
    });
}

FoldedText::Range FoldedText::original(qsizetype position, qsizetype length) const
{
    const qsizetype start = m_starts.at(size_t(position));
    return {start, m_ends.at(size_t(position + length - 1)) - start};
}

} // namespace indexing
