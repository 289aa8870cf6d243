#include "platform/foundation/collections.h"

#include <algorithm>
#include <compare>

namespace platform {

NSDictionary::NSDictionary(std::vector<Entry> entries, bool hasForeignKeys)
    : m_entries(std::move(entries)), m_hasForeignKeys(hasForeignKeys)
{
    const auto byKey = [](const Entry &a, const Entry &b) { return a.key < b.key; };
    if (!std::is_sorted(m_entries.begin(), m_entries.end(), byKey))
        std::stable_sort(m_entries.begin(), m_entries.end(), byKey);
    // Of equal keys keep the last: walking backwards, unique() keeps the first it meets.
    const auto firstKept = std::unique(m_entries.rbegin(), m_entries.rend(),
                                       [](const Entry &a, const Entry &b) { return a.key == b.key; });
    m_entries.erase(m_entries.begin(), firstKept.base());
}

ObjectRef NSDictionary::objectForKey(QStringView key) const
{
    // In few entries a key is found soonest by its length.
    constexpr size_t few = 16;
    if (m_entries.size() <= few) {
        for (const Entry &entry : m_entries) {
            if (entry.key.size() == key.size() && entry.key == key)
                return entry.value;
        }
        return nullptr;
    }
    const auto found =
        std::lower_bound(m_entries.begin(), m_entries.end(), key,
                         [](const Entry &entry, QStringView wanted) { return entry.key < wanted; });
    return found != m_entries.end() && found->key == key ? found->value : nullptr;
}

namespace {

class DescriptionWriter {
public:
    void write(const NSObject *object, int level)
    {
        if (m_text.size() > longestDescription)
            return;
        if (const auto *array = dynamic_cast<const NSArray *>(object))
            writeList(array->objects(), u'(', u')', level);
        else if (const auto *set = dynamic_cast<const NSSet *>(object))
            writeList(set->objects(), u'{', u'}', level);
        else if (const auto *dictionary = dynamic_cast<const NSDictionary *>(object))
            writeDictionary(*dictionary, level);
        else
            writeQuoted(object ? object->description() : QStringLiteral("(null)"));
    }

    QString finish()
    {
        if (m_text.size() > longestDescription) {
            m_text.truncate(longestDescription);
            m_text += u'\u2026';
        }
        return std::move(m_text);
    }

private:
    void indent(int level) { m_text += QString(qsizetype(level) * 4, u' '); }

    void writeList(const std::vector<ObjectRef> &objects, QChar open, QChar close, int level)
    {
        m_text += open;
        for (size_t i = 0; i < objects.size() && m_text.size() <= longestDescription; ++i) {
            m_text += i == 0 ? QStringLiteral("\n") : QStringLiteral(",\n");
            indent(level + 1);
            write(objects[i].get(), level + 1);
        }
        m_text += u'\n';
        indent(level);
        m_text += close;
    }

    void writeDictionary(const NSDictionary &dictionary, int level)
    {
        m_text += QStringLiteral("{\n");
        for (const NSDictionary::Entry &entry : dictionary.entries()) {
            if (m_text.size() > longestDescription)
                break;
            indent(level + 1);
            writeQuoted(entry.key);
            m_text += QStringLiteral(" = ");
            write(entry.value.get(), level + 1);
            m_text += QStringLiteral(";\n");
        }
        indent(level);
        m_text += u'}';
    }

    void writeQuoted(const QString &text)
    {
        const auto isPlain = [](QChar c) {
            return c.unicode() < 0x80 && (c.isLetterOrNumber() || QStringView(u"_$/:.").contains(c));
        };
        if (!text.isEmpty() && std::all_of(text.begin(), text.end(), isPlain)) {
            m_text += text;
            return;
        }
        m_text += u'"';
        for (const QChar c : text) {
            if (c == u'"' || c == u'\\')
                (m_text += u'\\') += c;
            else if (c == u'\n')
                m_text += QStringLiteral("\\n");
            else if (c.unicode() < 0x20 || c.unicode() > 0x7E)
                m_text += QStringLiteral("\\U") + QString::number(c.unicode(), 16).rightJustified(4, u'0');
            else
                m_text += c;
        }
        m_text += u'"';
    }

    QString m_text;
};

} // namespace

QString descriptionOf(const NSObject *object)
{
    DescriptionWriter writer;
    writer.write(object, 0);
    return writer.finish();
}

QString NSArray::description() const
{
    return descriptionOf(this);
}

QString NSSet::description() const
{
    return descriptionOf(this);
}

QString NSDictionary::description() const
{
    return descriptionOf(this);
}

} // namespace platform
