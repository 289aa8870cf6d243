#include "platform/propertylist/readers.h"
#include "platform/propertylist/scalartext.h"
#include "platform/propertylist/tablebuilder.h"
#include "platform/text/encoding.h"
#include "platform/text/nextstep.h"
#include "platform/text/utf8text.h"

#include <limits>

namespace platform {

namespace {

bool isBlank(char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

int hexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

/// Whether a string may hold @p c without quotes around it.
bool isBare(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' ||
           c == '$' || c == '/' || c == ':' || c == '.' || c == '-';
}

class TextReader {
public:
    TextReader(QByteArrayView text, DecodingBudget &budget) : m_text(text), m_builder(budget) {}

    std::shared_ptr<const PropertyListTable> read();

private:
    void readStart();
    void readElement();
    void readMember();
    void readValue();
    void close();
    void afterValue();

    [[nodiscard]] bool atString() const;
    [[nodiscard]] QByteArray readString();
    [[nodiscard]] QByteArray readQuoted(char quote);
    void readEscape(QString &text);
    [[nodiscard]] quint8 readOctal();
    [[nodiscard]] char16_t readUnit();
    void readData();
    void readTyped();

    void skipBlanks();
    [[nodiscard]] bool atEnd() const { return m_position == m_text.size(); }
    [[nodiscard]] bool at(char c) const { return !atEnd() && m_text[m_position] == c; }
    [[nodiscard]] bool at(QByteArrayView start) const { return m_text.sliced(m_position).startsWith(start); }
    [[nodiscard]] bool take(char c)
    {
        const bool isThere = at(c);
        m_position += isThere ? 1 : 0;
        return isThere;
    }
    [[noreturn]] void fail(const char *reason) const { throw FormatError(m_position, reason); }
    [[noreturn]] void unexpected() const
    {
        fail(atEnd() ? "the text ends in the middle" : "an unexpected character");
    }

    QByteArrayView m_text;
    qsizetype m_position = 0;
    PropertyListTableBuilder m_builder;
    bool m_withoutBraces = false; // the outermost dictionary is a strings file
};

std::shared_ptr<const PropertyListTable> TextReader::read()
{
    readStart();
    while (!m_builder.isComplete()) {
        skipBlanks();
        if (m_builder.open() == PropertyListTableBuilder::Container::Array)
            readElement();
        else
            readMember();
    }
    skipBlanks();
    if (!atEnd())
        fail("more text behind the value");
    return m_builder.finish();
}

void TextReader::readStart()
{
    skipBlanks();
    if (atEnd())
        fail("no value");
    if (!atString())
        return readValue();
    const qsizetype start = m_position;
    const QByteArray string = readString();
    skipBlanks();
    m_withoutBraces = at('=') || at(';');
    if (!m_withoutBraces)
        return m_builder.string(string, start);
    m_position = start;
    m_builder.begin(PropertyListKind::Dictionary, start);
}

void TextReader::readElement()
{
    if (take(')'))
        close();
    else
        readValue();
}

void TextReader::readMember()
{
    const bool outermost = m_withoutBraces && m_builder.depth() == 1;
    if (outermost ? atEnd() : take('}'))
        return close();
    if (!atString())
        unexpected();
    const qsizetype start = m_position;
    const QByteArray key = readString();
    m_builder.key(key, start);
    skipBlanks();
    if (take('=')) {
        skipBlanks();
        readValue();
    } else { // in strings files a key alone is its own value
        m_builder.string(key, start);
        afterValue();
    }
}

/// Reads a scalar, or begins a container.
void TextReader::readValue()
{
    const qsizetype start = m_position;
    if (take('('))
        return m_builder.begin(PropertyListKind::Array, start);
    if (take('{'))
        return m_builder.begin(PropertyListKind::Dictionary, start);
    if (at("<*"))
        readTyped();
    else if (at('<'))
        readData();
    else if (atString())
        m_builder.string(readString(), start);
    else
        unexpected();
    afterValue();
}

void TextReader::close()
{
    m_builder.end();
    afterValue();
}

/// Takes what has to stand between the value just read and the next.
void TextReader::afterValue()
{
    skipBlanks();
    switch (m_builder.open()) {
    case PropertyListTableBuilder::Container::None: return;
    case PropertyListTableBuilder::Container::Array:
        if (!take(',') && !at(')'))
            unexpected();
        return;
    case PropertyListTableBuilder::Container::Dictionary:
        if (!take(';'))
            unexpected();
        return;
    }
}

bool TextReader::atString() const
{
    return !atEnd() &&
           (m_text[m_position] == '"' || m_text[m_position] == '\'' || isBare(m_text[m_position]));
}

QByteArray TextReader::readString()
{
    if (take('"'))
        return readQuoted('"');
    if (take('\''))
        return readQuoted('\'');
    const qsizetype start = m_position;
    while (!atEnd() && isBare(m_text[m_position]))
        ++m_position;
    return m_text.sliced(start, m_position - start).toByteArray();
}

QByteArray TextReader::readQuoted(char quote)
{
    QString text; // UTF-16 while escapes may spell a surrogate pair
    while (true) {
        const qsizetype start = m_position;
        while (!atEnd() && m_text[m_position] != quote && m_text[m_position] != '\\')
            ++m_position;
        const QByteArrayView plain = m_text.sliced(start, m_position - start);
        if (atEnd())
            fail("a string without its closing quote");
        if (take(quote)) {
            if (text.isEmpty())
                return plain.toByteArray();
            text += stringFromUtf8(plain);
            return utf8FromString(text);
        }
        text += stringFromUtf8(plain);
        ++m_position; // the backslash
        readEscape(text);
    }
}

/// Appends what the escape behind a backslash stands for; one without a meaning stands for its character.
void TextReader::readEscape(QString &text)
{
    if (atEnd())
        return; // the caller notices
    const char c = m_text[m_position];
    if (c >= '0' && c <= '7') {
        text += QChar(characterFromNextStep(readOctal()));
        return;
    }
    if (quint8(c) >= 0x80)
        return; // the character follows, in several bytes
    ++m_position;
    constexpr QByteArrayView letters("abfnrtv");
    constexpr QStringView meanings(u"\a\b\f\n\r\t\v");
    if (c == 'U')
        text += QChar(readUnit());
    else if (const qsizetype letter = letters.indexOf(c); letter >= 0)
        text += meanings[letter];
    else
        text += QLatin1Char(c);
}

/// Up to three octal digits, as many as one byte holds.
quint8 TextReader::readOctal()
{
    int value = 0;
    for (int digits = 0; digits < 3 && !atEnd(); ++digits) {
        const char c = m_text[m_position];
        if (c < '0' || c > '7' || value * 8 + (c - '0') > 0xFF)
            break;
        value = value * 8 + (c - '0');
        ++m_position;
    }
    return quint8(value);
}

/// Up to four hexadecimal digits.
char16_t TextReader::readUnit()
{
    int unit = 0;
    int digits = 0;
    for (; digits < 4 && !atEnd() && hexDigit(m_text[m_position]) >= 0; ++digits)
        unit = unit * 16 + hexDigit(m_text[m_position++]);
    if (digits == 0)
        fail("an escape \\U without digits");
    return char16_t(unit);
}

void TextReader::readData()
{
    const qsizetype start = m_position++;
    QByteArray bytes;
    int high = -1; // the first digit of a byte that is half read
    for (; !take('>'); ++m_position) {
        if (atEnd())
            unexpected();
        const char c = m_text[m_position];
        if (isBlank(c))
            continue;
        const int digit = hexDigit(c);
        if (digit < 0)
            fail("no hexadecimal digit");
        if (high >= 0)
            bytes += char(high << 4U | digit);
        high = high >= 0 ? -1 : digit;
    }
    if (high >= 0)
        fail("half a byte of data");
    m_builder.data(bytes, start);
}

/// GNUstep's typed scalars: <*I5>, <*R1.5>, <*BY>, <*BN>, <*D2005-03-01 21:07:45 +0000>.
void TextReader::readTyped()
{
    const qsizetype start = m_position;
    const qsizetype end = m_text.indexOf('>', start);
    const QByteArrayView inner = end < 0 ? QByteArrayView() : m_text.sliced(start + 2, end - start - 2);
    if (inner.empty())
        fail("a typed value that is none");
    const QByteArrayView text = inner.sliced(1);
    const std::optional<qint64> integer = integerFromText(text);
    const std::optional<double> real = realFromText(text);
    const DateText date = dateFromDescription(text);
    if (inner[0] == 'I' && integer) {
        m_builder.integer(*integer, start);
        using Limits = std::numeric_limits<qint64>;
        if (*integer == Limits::min() || *integer == Limits::max()) // or what lies beyond
            m_builder.carry("<integer>" + text.trimmed().toByteArray() + "</integer>", start);
    } else if (inner[0] == 'R' && real) {
        m_builder.real(*real, start);
    } else if (inner[0] == 'B' && (text == QByteArrayView("Y") || text == QByteArrayView("N"))) {
        m_builder.boolean(text == QByteArrayView("Y"), start);
    } else if (inner[0] == 'D' && date.wellFormed) {
        m_builder.date(date.date, start);
        if (!date.date)
            m_builder.carry("<date>" + text.trimmed().toByteArray() + "</date>", start);
    } else {
        fail("a typed value that is none");
    }
    m_position = end + 1;
}

void TextReader::skipBlanks()
{
    while (!atEnd()) {
        if (isBlank(m_text[m_position])) {
            ++m_position;
        } else if (at("//")) {
            while (!atEnd() && m_text[m_position] != '\n' && m_text[m_position] != '\r')
                ++m_position;
        } else if (at("/*")) {
            const qsizetype end = m_text.indexOf("*/", m_position + 2);
            if (end < 0)
                fail("a comment without its end");
            m_position = end + 2;
        } else {
            return;
        }
    }
}

} // namespace

std::shared_ptr<const PropertyListTable> readTextPropertyList(const QByteArray &bytes, DecodingBudget &budget)
{
    const Utf8Text text = utf8Text(bytes);
    if (text.endsInHalfUnit)
        throw FormatError(bytes.size(), "half a UTF-16 unit at the end");
    return TextReader(text.bytes, budget).read();
}

} // namespace platform
