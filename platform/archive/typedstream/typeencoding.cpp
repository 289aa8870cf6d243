#include "platform/archive/typedstream/typeencoding.h"

#include "platform/formaterror.h"

#include <limits>

namespace platform::typedstream {

namespace {

/// How many empty arrays of bytes one encoding may name: the only values that take no bytes of the stream.
constexpr int mostEmptyItems = 16;

class Parser {
public:
    Parser(QByteArrayView text, qint64 offset, std::vector<TypeEncoding::Item> &items)
        : m_text(text), m_offset(offset), m_items(items)
    {
    }

    void parseAll()
    {
        while (m_position < m_text.size())
            parseType(0);
    }

private:
    [[noreturn]] void fail(const char *reason) const { throw FormatError(m_offset, reason); }

    [[nodiscard]] char peek() const { return m_position < m_text.size() ? m_text[m_position] : '\0'; }

    char next()
    {
        if (m_position == m_text.size())
            fail("an unfinished type encoding");
        return m_text[m_position++];
    }

    void parseType(int depth) // no deeper than greatestNesting
    {
        if (depth > TypeEncoding::greatestNesting)
            fail("type encodings nested too deep");
        const char code = next();
        switch (code) {
        case 'r':
        case 'n':
        case 'N':
        case 'o':
        case 'O':
        case 'R':
        case 'V':
        case 'A':
        case '!': return;
        case '[': return parseArray(depth);
        case '{': return parseStruct(depth);
        default:
            if (!QByteArrayView("@#*:%+fd").contains(code) && !isIntegerCode(code))
                fail("an unknown type code");
            m_items.push_back({code, 0, 0});
        }
    }

    void parseStruct(int depth)
    {
        while (peek() != '=' && peek() != '}')
            next(); // the struct's name
        if (peek() == '=')
            next();
        while (peek() != '}') {
            if (peek() == '"')
                skipFieldName();
            else
                parseType(depth + 1);
        }
        next();
    }

    void skipFieldName()
    {
        next();
        while (next() != '"') {
        }
    }

    void parseArray(int depth)
    {
        quint64 count = 0;
        while (peek() >= '0' && peek() <= '9') {
            count = count * 10 + quint64(next() - '0');
            if (count > quint64(std::numeric_limits<qint32>::max()))
                fail("an array larger than any stream");
        }
        if (isByteCode(peek())) {
            next();
            if (count == 0 && ++m_emptyItems > mostEmptyItems)
                fail("a type encoding of too many empty arrays");
            m_items.push_back({TypeEncoding::BytesCode, quint32(count), 0});
        } else {
            const size_t head = m_items.size();
            m_items.push_back({TypeEncoding::LoopCode, quint32(count), 0});
            while (peek() != ']')
                parseType(depth + 1);
            if (count == 0 || isEmpty(head + 1))
                m_items.resize(head);
            else
                m_items[head].end = quint32(m_items.size());
        }
        if (next() != ']')
            fail("an unfinished array in a type encoding");
    }

    /// Whether reading the items from @p first on would take no bytes of the stream.
    [[nodiscard]] bool isEmpty(size_t first) const
    {
        for (size_t i = first; i < m_items.size(); ++i) {
            if (m_items[i].code != TypeEncoding::BytesCode || m_items[i].count > 0)
                return false;
        }
        return true;
    }

    QByteArrayView m_text;
    qint64 m_offset;
    std::vector<TypeEncoding::Item> &m_items;
    qsizetype m_position = 0;
    int m_emptyItems = 0;
};

} // namespace

TypeEncoding::TypeEncoding(QByteArrayView text, qint64 offset)
{
    Parser(text, offset, m_items).parseAll();
}

bool isIntegerCode(char code)
{
    return code != '\0' && QByteArrayView("cCBsSiIlLqQ").contains(code);
}

bool isByteCode(char code)
{
    return code == 'c' || code == 'C' || code == 'B';
}

} // namespace platform::typedstream
