#include "platform/propertylist/propertylist.h"

#include "platform/text/encoding.h"

#include <QtEndian>

namespace platform {

NSDate PropertyListTable::date(Index node) const
{
    // The readers make no Date of another interval.
    return NSDate::fromInterval(real(node)).value();
}

QString PropertyListTable::string(Index node) const
{
    const QByteArrayView bytes = bytesOf(m_nodes[node]);
    if (m_nodes[node].encoding == Encoding::Utf8)
        return stringFromUtf8(bytes);
    QString text(bytes.size() / 2, Qt::Uninitialized);
    qFromBigEndian<quint16>(bytes.data(), text.size(), text.data());
    return text;
}

bool PropertyListTable::isUtf16String(const Node &node, QByteArrayView ascii) const
{
    const QByteArrayView bytes = bytesOf(node);
    if (bytes.size() != 2 * ascii.size())
        return false;
    for (qsizetype i = 0; i < ascii.size(); ++i) {
        if (bytes[2 * i] != 0 || bytes[2 * i + 1] != ascii[i])
            return false;
    }
    return true;
}

std::optional<PropertyListTable::Index> PropertyListTable::valueForKey(Index node,
                                                                       QByteArrayView asciiKey) const
{
    if (kind(node) != PropertyListKind::Dictionary)
        return std::nullopt;
    const quint32 pairs = count(node);
    for (quint32 i = 0; i < pairs; ++i) {
        if (isString(key(node, i), asciiKey))
            return value(node, i);
    }
    return std::nullopt;
}

PropertyList::PropertyList() = default;

PropertyList::PropertyList(std::shared_ptr<const PropertyListTable> table, PropertyListTable::Index node)
    : m_table(std::move(table)), m_node(node)
{
}

PropertyList::PropertyList(const PropertyListTable::Node &node, QByteArray bytes)
    : m_table(std::make_shared<const PropertyListTable>(std::move(bytes), std::vector{node},
                                                        std::vector<PropertyListTable::Index>(), 0))
{
}

PropertyList PropertyList::fromBoolean(bool value)
{
    return PropertyList({.kind = PropertyListKind::Boolean, .content = value ? 1U : 0U});
}

PropertyList PropertyList::fromInteger(qint64 value)
{
    return PropertyList({.kind = PropertyListKind::Integer, .content = quint64(value)});
}

PropertyList PropertyList::fromString(QStringView value)
{
    QByteArray bytes = utf8FromString(value);
    const quint64 span = PropertyListTable::Node::packed(0, quint32(bytes.size()));
    return PropertyList({.kind = PropertyListKind::String, .content = span}, std::move(bytes));
}

PropertyListKind PropertyList::kind() const
{
    return m_table ? m_table->kind(m_node) : PropertyListKind::Null;
}

std::optional<bool> PropertyList::boolean() const
{
    return is(PropertyListKind::Boolean) ? std::optional(m_table->boolean(m_node)) : std::nullopt;
}

std::optional<qint64> PropertyList::integer() const
{
    return is(PropertyListKind::Integer) ? std::optional(m_table->integer(m_node)) : std::nullopt;
}

std::optional<qint64> PropertyList::uid() const
{
    return is(PropertyListKind::UID) ? std::optional(m_table->integer(m_node)) : std::nullopt;
}

std::optional<double> PropertyList::real() const
{
    return is(PropertyListKind::Real) ? std::optional(m_table->real(m_node)) : std::nullopt;
}

std::optional<NSDate> PropertyList::date() const
{
    return is(PropertyListKind::Date) ? std::optional(m_table->date(m_node)) : std::nullopt;
}

std::optional<QByteArray> PropertyList::data() const
{
    return is(PropertyListKind::Data) ? std::optional(m_table->data(m_node).toByteArray()) : std::nullopt;
}

std::optional<QString> PropertyList::string() const
{
    return is(PropertyListKind::String) ? std::optional(m_table->string(m_node)) : std::nullopt;
}

std::optional<QByteArray> PropertyList::carriedElement() const
{
    return m_table ? m_table->carriedElement(m_node) : std::nullopt;
}

quint32 PropertyList::count() const
{
    return is(PropertyListKind::Array) || is(PropertyListKind::Dictionary) ? m_table->count(m_node) : 0;
}

PropertyList PropertyList::at(quint32 position) const
{
    if (!is(PropertyListKind::Array) || position >= m_table->count(m_node))
        return {};
    return {m_table, m_table->element(m_node, position)};
}

QString PropertyList::keyAt(quint32 position) const
{
    return m_table->string(m_table->key(m_node, position));
}

PropertyList PropertyList::valueAt(quint32 position) const
{
    return {m_table, m_table->value(m_node, position)};
}

PropertyList PropertyList::operator[](QStringView key) const
{
    if (!is(PropertyListKind::Dictionary))
        return {};
    const quint32 pairs = m_table->count(m_node);
    for (quint32 i = 0; i < pairs; ++i) {
        if (m_table->string(m_table->key(m_node, i)) == key)
            return valueAt(i);
    }
    return {};
}

} // namespace platform
