#include "companion/jsonwriter.h"

#include "platform/text/encoding.h"

#include <array>
#include <charconv>
#include <cmath>

namespace companion {

void JsonWriter::key(QStringView key)
{
    beforeValue();
    appendQuoted(key);
    m_document += ": ";
    m_afterKey = true;
}

void JsonWriter::string(QStringView value)
{
    beforeValue();
    appendQuoted(value);
}

void JsonWriter::integer(qint64 value)
{
    literal(QByteArray::number(value));
}

void JsonWriter::real(double value)
{
    if (!std::isfinite(value))
        return null();
    std::array<char, 32> digits{};
    const auto end = std::to_chars(digits.begin(), digits.end(), value).ptr;
    QByteArray text(digits.data(), end - digits.data());
    if (!text.contains('.') && !text.contains('e'))
        text += ".0";
    literal(text);
}

void JsonWriter::open(char bracket)
{
    beforeValue();
    m_document += bracket;
    m_empty.push_back(true);
}

void JsonWriter::close(char bracket)
{
    const bool wasEmpty = m_empty.back();
    m_empty.pop_back();
    if (!wasEmpty)
        newLine();
    m_document += bracket;
}

void JsonWriter::literal(QByteArrayView text)
{
    beforeValue();
    m_document += text;
}

void JsonWriter::beforeValue()
{
    if (m_document.size() > largestDocument)
        throw TooLarge();
    if (m_afterKey) {
        m_afterKey = false;
        return;
    }
    if (m_empty.empty())
        return;
    if (!m_empty.back())
        m_document += ',';
    m_empty.back() = false;
    newLine();
}

void JsonWriter::newLine()
{
    m_document += '\n';
    m_document += QByteArray(qsizetype(m_empty.size()) * 2, ' ');
}

void JsonWriter::appendQuoted(QStringView text)
{
    if (m_document.size() + text.size() > largestDocument)
        throw TooLarge();
    m_document += '"';
    for (const char c : platform::utf8FromString(text)) {
        switch (c) {
        case '"': m_document += "\\\""; break;
        case '\\': m_document += "\\\\"; break;
        case '\n': m_document += "\\n"; break;
        case '\t': m_document += "\\t"; break;
        case '\r': m_document += "\\r"; break;
        default:
            if (quint8(c) < 0x20)
                m_document += "\\u" + QByteArray::number(c, 16).rightJustified(4, '0');
            else
                m_document += c;
        }
    }
    m_document += '"';
}

} // namespace companion
