#pragma once

#include <QByteArray>
#include <QByteArrayView>

#include <optional>
#include <vector>

namespace platform {

/// One property of a vCard, taken apart but not decoded: `[group.]NAME[;parameter…]:value`. The group is
/// dropped.
struct ContentLine {
    /// One value of a parameter. Both are in upper case: none of the parameters read here minds letter case.
    struct Parameter {
        QByteArray name;
        QByteArray value;
    };

    QByteArray name; ///< in upper case
    /// A list of values (`TYPE=home,pref`, quoted or not) stands here as one parameter each. A value without
    /// a name, as version 2.1 has it, stands under ENCODING when it names one, else under TYPE.
    std::vector<Parameter> parameters;
    QByteArrayView value; ///< valid until the reader's next line

    /// The first value of parameter @p parameter; empty when there is none.
    [[nodiscard]] QByteArray parameter(QByteArrayView parameter) const;
    /// Whether @p parameter has @p wanted among its values.
    [[nodiscard]] bool hasParameter(QByteArrayView parameter, QByteArrayView wanted) const;
};

/// Cuts a vCard file's bytes (ASCII or a superset of it) into content lines: RFC 6350, section 3, and the
/// vCard 2.1, sections 2.1.1 to 2.1.4. Takes time in proportion to the bytes, whatever they
/// hold.
///
/// Physical lines end with CRLF, LF or CR. One that starts with a blank or tab belongs to the line before; a
/// line whose parameters say quoted-printable goes on behind an `=` at its end, but not into the BEGIN or END
/// of a card. A byte-order mark of UTF-8 before a line is dropped.
class ContentLineReader {
public:
    /// What becomes of the blank or tab that marks a continuation: since version 3.0 it is put in by the
    /// fold, before that it was in the text already.
    enum class FoldingBlank : quint8 { drop, keep };

    /// @p text is lent and must outlive the reader.
    explicit ContentLineReader(QByteArrayView text) : m_text(text) {}

    /// The next line that has a name and a colon; others (lines of base64 data, empty ones) are passed over.
    /// Nothing at the end.
    [[nodiscard]] std::optional<ContentLine> next(FoldingBlank blank);

private:
    [[nodiscard]] bool atEnd() const { return m_position >= m_text.size(); }
    [[nodiscard]] bool nextIsFolded() const;
    [[nodiscard]] QByteArrayView physicalLine(qsizetype &position) const;
    [[nodiscard]] QByteArrayView logicalLine(FoldingBlank blank);

    QByteArrayView m_text;
    qsizetype m_position = 0;
    QByteArray m_unfolded; ///< the line of several physical ones that was handed out last
};

/// Whether @p line, without its line end, is `BEGIN:VCARD` or `END:VCARD`: @p keyword says which.
[[nodiscard]] bool isCardBoundary(QByteArrayView line, QByteArrayView keyword);

} // namespace platform
