#include "platform/propertylist/xmlwriter.h"

#include "platform/date/calendar.h"
#include "platform/text/encoding.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace platform {

namespace {

constexpr QByteArrayView header("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                                "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                                "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                                "<plist version=\"1.0\">\n");

/// How many bytes of data go on a line: 76 characters of Base64.
constexpr qsizetype dataLine = 57;

/// Whether the unit at @p at is one that XML cannot hold there.
bool isUnfitForXml(QStringView text, qsizetype at)
{
    const QChar c = text[at];
    if (c.unicode() < 0x20)
        return c != u'\t' && c != u'\n' && c != u'\r';
    if (c.isHighSurrogate())
        return at + 1 == text.size() || !text[at + 1].isLowSurrogate();
    if (c.isLowSurrogate())
        return at == 0 || !text[at - 1].isHighSurrogate();
    return c.unicode() >= 0xFFFE;
}

/// What stands for @p c in text between tags; empty for a character that stands for itself.
QByteArrayView escaped(QChar c)
{
    switch (c.unicode()) {
    case u'&': return "&amp;";
    case u'<': return "&lt;";
    case u'>': return "&gt;";
    case u'\r': return "&#13;";
    default: return {};
    }
}

bool isPlain(QChar c)
{
    const char16_t unit = c.unicode();
    return unit >= 0x20 ? unit < 0xD800 && unit != u'&' && unit != u'<' && unit != u'>'
                        : unit == u'\t' || unit == u'\n';
}

void appendEscaped(QByteArray &bytes, QStringView text)
{
    qsizetype at = 0;
    while (at < text.size()) {
        qsizetype end = at;
        while (end < text.size() && isPlain(text[end]))
            ++end;
        if (end > at)
            bytes += text.sliced(at, end - at).toUtf8();
        at = end;
        if (at == text.size())
            return;
        if (const QByteArrayView escape = escaped(text[at]); !escape.empty()) {
            bytes += escape;
            ++at;
            continue;
        }
        const qsizetype units = isUnfitForXml(text, at) ? 0 : text[at].isSurrogate() ? 2 : 1;
        appendUtf8(bytes, units == 0 ? QStringView(u"\uFFFD") : text.sliced(at, units));
        at += std::max(units, qsizetype(1));
    }
}

} // namespace

XMLPropertyListWriter::XMLPropertyListWriter() : m_bytes(header.toByteArray()) {}

void XMLPropertyListWriter::beginArray()
{
    begin("<array>\n");
}

void XMLPropertyListWriter::endArray()
{
    end("<array>\n", "</array>\n", "<array/>\n");
}

void XMLPropertyListWriter::beginDictionary()
{
    begin("<dict>\n");
}

void XMLPropertyListWriter::endDictionary()
{
    end("<dict>\n", "</dict>\n", "<dict/>\n");
}

void XMLPropertyListWriter::key(QStringView key)
{
    text("<key>", key, "</key>\n");
}

void XMLPropertyListWriter::boolean(bool value)
{
    line(value ? "<true/>" : "<false/>");
}

void XMLPropertyListWriter::integer(qint64 value)
{
    line("<integer>" + QByteArray::number(value) + "</integer>");
}

void XMLPropertyListWriter::real(double value)
{
    std::array<char, 32> digits{}; // the longest has 24
    QByteArrayView shown;
    if (std::isnan(value))
        shown = "nan";
    else if (std::isinf(value))
        shown = value > 0 ? "+infinity" : "-infinity";
    else
        shown = QByteArrayView(digits.data(),
                               std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr);
    line("<real>" + shown.toByteArray() + "</real>");
}

void XMLPropertyListWriter::date(const NSDate &value)
{
    line("<date>" + utf8FromString(utcDescription(value)) + "</date>");
}

void XMLPropertyListWriter::data(QByteArrayView value)
{
    line("<data>");
    while (!value.empty()) {
        const QByteArrayView bytes = value.first(std::min(value.size(), dataLine));
        line(QByteArray::fromRawData(bytes.data(), bytes.size()).toBase64());
        value = value.sliced(bytes.size());
    }
    line("</data>");
}

void XMLPropertyListWriter::string(QStringView value)
{
    text("<string>", value, "</string>\n");
}

// Recursion goes as deep as the list, which its reader has bounded.
void XMLPropertyListWriter::value(const PropertyList &value)
{
    switch (value.kind()) {
    case PropertyListKind::Null: return string({});
    case PropertyListKind::Boolean: return boolean(value.boolean().value());
    case PropertyListKind::Integer: return integer(value.integer().value());
    case PropertyListKind::Real: return real(value.real().value());
    case PropertyListKind::Date: return date(value.date().value());
    case PropertyListKind::Data: return data(value.data().value());
    case PropertyListKind::String: return string(value.string().value());
    case PropertyListKind::UID:
        beginDictionary();
        key(u"CF$UID");
        integer(value.uid().value());
        return endDictionary();
    case PropertyListKind::Array:
        beginArray();
        for (quint32 i = 0; i < value.count(); ++i)
            this->value(value.at(i));
        return endArray();
    case PropertyListKind::Dictionary:
        beginDictionary();
        for (quint32 i = 0; i < value.count(); ++i) {
            key(value.keyAt(i));
            this->value(value.valueAt(i));
        }
        return endDictionary();
    }
}

QByteArray XMLPropertyListWriter::finish()
{
    m_bytes += "</plist>\n";
    return std::move(m_bytes);
}

void XMLPropertyListWriter::begin(QByteArrayView tag)
{
    indent();
    m_bytes += tag;
    ++m_depth;
}

void XMLPropertyListWriter::end(QByteArrayView openingTag, QByteArrayView closingTag, QByteArrayView emptyTag)
{
    --m_depth;
    if (m_bytes.endsWith(openingTag)) { // in text there is no tag, so nothing has been written since
        m_bytes.chop(openingTag.size());
        m_bytes += emptyTag;
        return;
    }
    indent();
    m_bytes += closingTag;
}

void XMLPropertyListWriter::text(QByteArrayView openingTag, QStringView content, QByteArrayView closingTag)
{
    indent();
    m_bytes += openingTag;
    appendEscaped(m_bytes, content);
    m_bytes += closingTag;
}

void XMLPropertyListWriter::line(QByteArrayView content)
{
    indent();
    m_bytes += content;
    m_bytes += '\n';
}

QString withoutCharactersUnfitForXml(QStringView text)
{
    QString fit = text.toString();
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (isUnfitForXml(text, i))
            fit[i] = QChar::ReplacementCharacter;
    }
    return fit;
}

} // namespace platform
