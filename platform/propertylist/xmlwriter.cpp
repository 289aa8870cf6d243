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

/// Whether @p c is one byte, itself, in the document.
bool isPlain(QChar c)
{
    const char16_t unit = c.unicode();
    return unit >= 0x20 ? unit < 0x80 && unit != u'&' && unit != u'<' && unit != u'>'
                        : unit == u'\t' || unit == u'\n';
}

void appendPlain(QByteArray &bytes, QStringView text)
{
    const qsizetype before = bytes.size();
    bytes.resize(before + text.size());
    std::transform(text.begin(), text.end(), bytes.data() + before,
                   [](QChar c) { return char(c.unicode()); });
}

void appendEscaped(QByteArray &bytes, QStringView text)
{
    while (!text.isEmpty()) {
        const auto plainEnd = std::find_if_not(text.begin(), text.end(), isPlain);
        appendPlain(bytes, text.first(plainEnd - text.begin()));
        text = text.sliced(plainEnd - text.begin());

        qsizetype special = 0; // beyond ASCII, or unfit
        while (special < text.size() && !isPlain(text[special]) && escaped(text[special]).empty())
            ++special;
        appendUtf8(bytes, withoutCharactersUnfitForXml(text.first(special)));
        text = text.sliced(special);

        if (!text.isEmpty() && !isPlain(text.front())) {
            bytes += escaped(text.front());
            text = text.sliced(1);
        }
    }
}

} // namespace

XMLPropertyListWriter::XMLPropertyListWriter() : m_bytes(header.toByteArray()) {}

QByteArray XMLPropertyListWriter::elementOf(const PropertyList &value)
{
    XMLPropertyListWriter writer(1);
    writer.value(value);
    return writer.m_bytes.trimmed();
}

QByteArray XMLPropertyListWriter::elementOfKey(QStringView key)
{
    XMLPropertyListWriter writer(1);
    writer.key(key);
    return writer.m_bytes.trimmed();
}

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
    std::array<char, 20> digits{}; // as many as the smallest has with its sign
    const char *end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    line("<integer>", QByteArrayView(digits.data(), end), "</integer>");
}

void XMLPropertyListWriter::real(double value)
{
    if (std::isnan(value))
        return line("<real>nan</real>");
    if (std::isinf(value))
        return line(value > 0 ? "<real>+infinity</real>" : "<real>-infinity</real>");
    std::array<char, 32> digits{}; // the longest has 24
    const char *end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    line("<real>", QByteArrayView(digits.data(), end), "</real>");
}

void XMLPropertyListWriter::date(const NSDate &value)
{
    line("<date>", utf8FromString(utcDescription(value)), "</date>");
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
    if (const auto carried = value.carriedElement()) {
        element(*carried);
    } else if (value.kind() == PropertyListKind::Array) {
        beginArray();
        for (quint32 i = 0; i < value.count(); ++i)
            this->value(value.at(i));
        endArray();
    } else if (value.kind() == PropertyListKind::Dictionary) {
        beginDictionary();
        for (quint32 i = 0; i < value.count(); ++i) {
            key(value.keyAt(i));
            this->value(value.valueAt(i));
        }
        endDictionary();
    } else if (const auto heldString = value.string()) {
        string(*heldString);
    } else if (const auto heldInteger = value.integer()) {
        integer(*heldInteger);
    } else if (const auto heldDate = value.date()) {
        date(*heldDate);
    } else if (const auto heldReal = value.real()) {
        real(*heldReal);
    } else if (const auto heldBoolean = value.boolean()) {
        boolean(*heldBoolean);
    } else if (const auto heldData = value.data()) {
        data(*heldData);
    } else if (const auto heldUid = value.uid()) {
        beginDictionary();
        key(u"CF$UID");
        integer(*heldUid);
        endDictionary();
    } else { // Null
        line("<null/>");
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

void XMLPropertyListWriter::line(QByteArrayView opening, QByteArrayView content, QByteArrayView closing)
{
    indent();
    m_bytes += opening;
    m_bytes += content;
    m_bytes += closing;
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
