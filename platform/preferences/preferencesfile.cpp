#include "platform/preferences/preferencesfile.h"

#include "platform/propertylist/readers.h"
#include "platform/propertylist/xmlmarkup.h"
#include "platform/propertylist/xmlwriter.h"

#include <QXmlStreamReader>

#include <algorithm>

namespace platform {

namespace {

/// The value that @p element is; Null when that cannot be read.
PropertyList valueOf(const QByteArray &element)
{
    try {
        return readPropertyList("<plist>" + element + "</plist>");
    } catch (const FormatError &) {
        return {};
    }
}

/// Cuts the dictionary at the root of an XML document into keys and values, without looking into the values.
///
/// Each byte of the document is one character to the reader, so that what is not ASCII comes through as it
/// is, and positions count bytes.
class DictionaryCutter {
public:
    explicit DictionaryCutter(const QByteArray &utf8) : m_bytes(utf8), m_xml(QString::fromLatin1(utf8))
    {
        m_xml.setNamespaceProcessing(false);
    }

    /// The next key and value, each as its element; nothing at the end, and where it is no dictionary.
    [[nodiscard]] std::optional<std::pair<QByteArray, QByteArray>> next()
    {
        std::optional<QByteArray> key = element(u"key");
        std::optional<QByteArray> value = key ? element({}) : std::nullopt;
        m_hasLoneKey = key && !value;
        if (!value)
            return std::nullopt;
        return std::pair(*std::move(key), *std::move(value));
    }

    /// Goes into the dictionary. @return whether there is one.
    [[nodiscard]] bool enter() { return startElement(u"plist") && startElement(u"dict"); }
    /// Goes on to the end of the document. @return whether the dictionary is all that it holds.
    [[nodiscard]] bool leave()
    {
        const bool isClosed = !m_hasLoneKey && m_xml.isEndElement() && !m_xml.readNextStartElement();
        while (!m_xml.atEnd())
            m_xml.readNext();
        return isClosed && !m_xml.hasError();
    }

private:
    /// Goes on to the next element inside the open one; with @p name it has to be that.
    bool startElement(QStringView name)
    {
        return m_xml.readNextStartElement() && (name.isEmpty() || m_xml.qualifiedName() == name);
    }

    /// The next element, with any comment before it.
    std::optional<QByteArray> element(QStringView name)
    {
        const qint64 start = m_xml.characterOffset();
        if (!startElement(name))
            return std::nullopt;
        m_xml.skipCurrentElement();
        if (m_xml.hasError())
            return std::nullopt;
        return m_bytes.sliced(start, m_xml.characterOffset() - start).trimmed();
    }

    QByteArray m_bytes;
    QXmlStreamReader m_xml;
    bool m_hasLoneKey = false;
};

} // namespace

std::optional<PreferencesFile> PreferencesFile::fromBytes(const QByteArray &bytes)
{
    try {
        return looksXml(bytes) ? fromXml(bytes) : fromList(bytes);
    } catch (const FormatError &) {
        return std::nullopt;
    }
}

std::optional<PreferencesFile> PreferencesFile::fromXml(const QByteArray &bytes)
{
    DictionaryCutter cutter(xmlMarkup(bytes).utf8);
    if (!cutter.enter())
        return std::nullopt;
    PreferencesFile file;
    while (std::optional<std::pair<QByteArray, QByteArray>> pair = cutter.next()) {
        auto &[key, value] = *pair;
        const PropertyList dictionary = valueOf("<dict>" + key + "<true/></dict>");
        file.m_pairs.push_back({dictionary.count() == 1 ? std::optional(dictionary.keyAt(0)) : std::nullopt,
                                std::move(key),
                                std::move(value),
                                {}});
        file.m_pairs.back().value = valueOf(file.m_pairs.back().valueElement);
    }
    return cutter.leave() ? std::optional(std::move(file)) : std::nullopt;
}

std::optional<PreferencesFile> PreferencesFile::fromList(const QByteArray &bytes)
{
    const auto [list, isWhole] = salvagePropertyList(bytes);
    if (list.kind() != PropertyListKind::Dictionary)
        return std::nullopt;
    PreferencesFile file;
    file.m_isWhole = isWhole;
    for (quint32 i = 0; i < list.count(); ++i)
        file.add(list.keyAt(i), list.valueAt(i));
    return file;
}

PropertyList PreferencesFile::value(QStringView key) const
{
    const auto found =
        std::find_if(m_pairs.begin(), m_pairs.end(), [key](const Pair &pair) { return pair.key == key; });
    return found == m_pairs.end() ? PropertyList() : found->value;
}

void PreferencesFile::apply(const std::map<QString, PropertyList> &changes)
{
    std::erase_if(m_pairs, [&changes](const Pair &pair) { return pair.key && changes.contains(*pair.key); });
    for (const auto &[key, value] : changes) {
        if (!value.isNull())
            add(key, value);
    }
}

void PreferencesFile::add(const QString &key, const PropertyList &value)
{
    m_pairs.push_back(
        {key, XMLPropertyListWriter::elementOfKey(key), XMLPropertyListWriter::elementOf(value), value});
}

QByteArray PreferencesFile::bytes() const
{
    XMLPropertyListWriter writer;
    writer.beginDictionary();
    for (const Pair &pair : m_pairs) {
        writer.element(pair.keyElement);
        writer.element(pair.valueElement);
    }
    writer.endDictionary();
    return writer.finish();
}

} // namespace platform
