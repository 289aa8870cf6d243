#include "platform/propertylist/tablebuilder.h"

#include "platform/propertylist/readers.h"

namespace platform {

namespace {

// Vectors double when they are full, so that each thing may take room for two.
constexpr quint64 growth = 2;

} // namespace

PropertyListTableBuilder::Container PropertyListTableBuilder::open() const
{
    if (m_open.empty())
        return Container::None;
    return m_nodes[m_open.back().node].kind == PropertyListKind::Array ? Container::Array
                                                                       : Container::Dictionary;
}

void PropertyListTableBuilder::begin(PropertyListKind container, qint64 offset)
{
    if (depth() >= deepestPropertyList)
        throw FormatError(offset, "containers are nested too deep");
    const Index node = append(container, 0, offset);
    addToOpen(node);
    m_open.push_back({node, m_children.size(), false});
}

void PropertyListTableBuilder::end()
{
    const Open ended = m_open.back();
    const size_t children = m_children.size() - ended.firstChild;
    const auto first = quint32(m_references.size());
    PropertyListTable::Node &node = m_nodes[ended.node];
    const size_t parts =
        node.kind == PropertyListKind::Array ? 1 : 2; // a dictionary's keys go before its values
    for (size_t part = 0; part < parts; ++part) {
        for (size_t child = ended.firstChild + part; child < m_children.size(); child += parts)
            m_references.push_back(m_children[child]);
    }
    node.content = PropertyListTable::Node::packed(first, quint32(children / parts));
    m_children.resize(ended.firstChild);
    m_open.pop_back();
}

void PropertyListTableBuilder::key(QByteArrayView utf8, qint64 offset)
{
    m_children.push_back(append(PropertyListKind::String, store(utf8, offset), offset));
    m_open.back().hasKey = true;
}

void PropertyListTableBuilder::real(double value, qint64 offset)
{
    scalar(PropertyListKind::Real, std::bit_cast<quint64>(value), offset);
}

void PropertyListTableBuilder::date(const std::optional<NSDate> &value, qint64 offset)
{
    if (value)
        scalar(PropertyListKind::Date, std::bit_cast<quint64>(value->timeIntervalSinceReferenceDate()),
               offset);
    else
        null(offset);
}

void PropertyListTableBuilder::data(QByteArrayView bytes, qint64 offset)
{
    scalar(PropertyListKind::Data, store(bytes, offset), offset);
}

void PropertyListTableBuilder::string(QByteArrayView utf8, qint64 offset)
{
    scalar(PropertyListKind::String, store(utf8, offset), offset);
}

void PropertyListTableBuilder::carry(QByteArray element, qint64 offset)
{
    m_budget.charge(PropertyListTable::costOfCarrying + growth * quint64(element.size()), offset);
    m_carried.emplace(Index(m_nodes.size() - 1), std::move(element));
}

std::shared_ptr<const PropertyListTable> PropertyListTableBuilder::finish()
{
    return std::make_shared<const PropertyListTable>(std::move(m_bytes), std::move(m_nodes),
                                                     std::move(m_references), 0, std::move(m_carried));
}

PropertyListTable::Index PropertyListTableBuilder::append(PropertyListKind kind, quint64 content,
                                                          qint64 offset)
{
    m_budget.charge(growth * (sizeof(PropertyListTable::Node) + 2 * sizeof(Index)), offset);
    m_nodes.push_back({.kind = kind, .offset = quint32(offset), .content = content});
    return Index(m_nodes.size() - 1);
}

void PropertyListTableBuilder::addToOpen(Index node)
{
    if (m_open.empty())
        return;
    m_children.push_back(node);
    m_open.back().hasKey = false;
}

quint64 PropertyListTableBuilder::store(QByteArrayView bytes, qint64 offset)
{
    m_budget.charge(growth * quint64(bytes.size()), offset);
    const quint64 span = PropertyListTable::Node::packed(quint32(m_bytes.size()), quint32(bytes.size()));
    m_bytes += bytes;
    return span;
}

} // namespace platform
