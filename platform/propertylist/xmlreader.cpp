#include "platform/propertylist/readers.h"
#include "platform/propertylist/scalartext.h"
#include "platform/propertylist/tablebuilder.h"
#include "platform/propertylist/xmlmarkup.h"
#include "platform/text/encoding.h"

#include <QXmlStreamReader>

namespace platform {

namespace {

/// The bytes that Base64 @p text holds, blanks anywhere in it; nothing when it is malformed.
std::optional<QByteArray> dataFromText(QStringView text)
{
    QByteArray letters;
    letters.reserve(text.size());
    for (const QChar c : text) {
        if (c != u' ' && c != u'\t' && c != u'\n' && c != u'\r')
            letters += c.unicode() < 0x80 ? char(c.unicode()) : '?'; // none of the alphabet
    }
    QByteArray::FromBase64Result result =
        QByteArray::fromBase64Encoding(std::move(letters), QByteArray::AbortOnBase64DecodingErrors);
    if (!result)
        return std::nullopt;
    return std::move(result.decoded);
}

class XmlReader {
public:
    XmlReader(const XmlMarkup &markup, DecodingBudget &budget)
        : m_xml(markup.utf8), m_dropped(markup.dropped), m_builder(budget)
    {
        m_xml.setNamespaceProcessing(false);
    }

    std::shared_ptr<const PropertyListTable> read();

private:
    void startElement();
    void startValue(QStringView name, qint64 offset);
    void endElement();
    void readText();

    [[nodiscard]] qint64 offset() const { return m_dropped + m_xml.characterOffset(); }
    [[noreturn]] void fail(const char *reason) const { throw FormatError(offset(), reason); }
    /// Reports what the library's parser has found.
    [[noreturn]] void failAsParser() const
    {
        if (m_xml.error() == QXmlStreamReader::PrematureEndOfDocumentError)
            fail("the file is cut off");
        throw FormatError(offset(), utf8FromString(m_xml.errorString()).toStdString());
    }
    template <typename Value>
    [[nodiscard]] Value orFail(std::optional<Value> value, const char *reason) const
    {
        if (!value)
            fail(reason);
        return *std::move(value);
    }

    QXmlStreamReader m_xml;
    qint64 m_dropped;
    PropertyListTableBuilder m_builder;
    QString m_text; // of the element that is being read
    bool m_insidePlist = false;
};

std::shared_ptr<const PropertyListTable> XmlReader::read()
{
    while (!m_xml.atEnd()) {
        switch (m_xml.readNext()) {
        case QXmlStreamReader::StartElement: startElement(); break;
        case QXmlStreamReader::EndElement: endElement(); break;
        case QXmlStreamReader::Characters:
            if (!m_xml.isWhitespace())
                fail("text between values");
            break;
        case QXmlStreamReader::EntityReference: fail("an entity that is not declared");
        default: // comments and the like, and errors
            break;
        }
    }
    if (m_xml.hasError())
        failAsParser();
    return m_builder.finish();
}

void XmlReader::startElement()
{
    const QStringView name = m_xml.qualifiedName();
    const qint64 start = offset();
    if (!m_insidePlist) {
        if (name != u"plist")
            fail("the root element is no plist");
        m_insidePlist = true;
    } else if (m_builder.isComplete()) {
        fail("more than one value");
    } else if (m_builder.wantsKey()) {
        if (name != u"key")
            fail("a value without a key");
        readText();
        m_builder.key(utf8FromString(m_text), start);
    } else {
        startValue(name, start);
    }
}

void XmlReader::startValue(QStringView name, qint64 start)
{
    if (name == u"dict")
        return m_builder.begin(PropertyListKind::Dictionary, start);
    if (name == u"array")
        return m_builder.begin(PropertyListKind::Array, start);

    // The name is gone with the next token.
    enum : quint8 { String, Integer, Real, True, False, Date, Data, Null } kind{};
    if (name == u"string")
        kind = String;
    else if (name == u"integer")
        kind = Integer;
    else if (name == u"real")
        kind = Real;
    else if (name == u"true")
        kind = True;
    else if (name == u"false")
        kind = False;
    else if (name == u"date")
        kind = Date;
    else if (name == u"data")
        kind = Data;
    else if (name == u"null")
        kind = Null;
    else
        fail(name == u"key" ? "a key where a value should be" : "an unknown element");

    readText();
    switch (kind) {
    case String: return m_builder.string(utf8FromString(m_text), start);
    case Integer:
        return m_builder.integer(orFail(integerFromText(utf8FromString(m_text)), "an integer that is none"),
                                 start);
    case Real:
        return m_builder.real(orFail(realFromText(utf8FromString(m_text)), "a real that is none"), start);
    case True:
    case False: return m_builder.boolean(kind == True, start);
    case Date: {
        const DateText text = dateFromXmlText(utf8FromString(m_text));
        if (!text.wellFormed)
            fail("a date that is none");
        return m_builder.date(text.date, start);
    }
    case Null: return m_builder.null(start);
    case Data: return m_builder.data(orFail(dataFromText(m_text), "data that is no Base64"), start);
    }
}

/// The end of a container or of the plist; a scalar's is taken by readText().
void XmlReader::endElement()
{
    switch (m_builder.open()) {
    case PropertyListTableBuilder::Container::None:
        if (!m_builder.isComplete())
            fail("no value");
        return;
    case PropertyListTableBuilder::Container::Dictionary:
        if (!m_builder.wantsKey())
            fail("a key without a value");
        break;
    case PropertyListTableBuilder::Container::Array: break;
    }
    m_builder.end();
}

/// Reads the text of a scalar up to the end of its element.
void XmlReader::readText()
{
    m_text.resize(0); // keeps its memory, which clear() would not
    while (true) {
        switch (m_xml.readNext()) {
        case QXmlStreamReader::Characters: m_text += m_xml.text(); break;
        case QXmlStreamReader::EndElement: return;
        case QXmlStreamReader::StartElement: fail("an element inside a value that holds text");
        case QXmlStreamReader::EntityReference: fail("an entity that is not declared");
        case QXmlStreamReader::Invalid: failAsParser();
        default: // comments, processing instructions
            break;
        }
    }
}

} // namespace

std::shared_ptr<const PropertyListTable> readXmlPropertyList(const QByteArray &bytes, DecodingBudget &budget)
{
    return XmlReader(xmlMarkup(bytes), budget).read();
}

} // namespace platform
