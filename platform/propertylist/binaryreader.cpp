#include "platform/propertylist/carriedelement.h"
#include "platform/propertylist/readers.h"

#include <QtEndian>

#include <limits>

namespace platform {

namespace {

// A file is the magic and two digits of a version, the objects in any order, the table of their offsets, and
// a trailer. Everything is big-endian. An object begins with a marker: its kind in the high half, in the low
// half a size, or for small values the value itself.

constexpr QByteArrayView magic("bplist");
// 00 and 01 hold the same; what others exist are different formats
constexpr QByteArrayView versions("bplist0");
constexpr quint64 headerSize = 8;

// The trailer: 6 bytes of no interest, size of an offset, size of a reference, then 8 bytes each: number of
// objects, top object, where the offset table begins.
constexpr quint64 trailerSize = 32;
constexpr quint64 offsetSizeAt = 6;
constexpr quint64 referenceSizeAt = 7;
constexpr quint64 objectCountAt = 8;
constexpr quint64 topObjectAt = 16;
constexpr quint64 offsetTableAt = 24;

enum Marker : quint8 { // the high half
    Special = 0x0,
    Integer = 0x1, // 2 to the power of the low half is how many bytes follow
    Real = 0x2,    // likewise
    Date = 0x3,    // the low half is 3: 8 bytes, seconds since 2001
    Data = 0x4,    // from here to UTF8String, and containers: a count, see countAt()
    AsciiString = 0x5,
    Utf16String = 0x6, // counted in units
    Utf8String = 0x7,
    Uid = 0x8, // the low half is one less than the number of bytes
    Array = 0xA,
    OrderedSet = 0xB,
    Set = 0xC,
    Dictionary = 0xD, // the references of all keys, then those of all values
};

constexpr quint8 nullMarker = 0x00;
constexpr quint8 falseMarker = 0x08;
constexpr quint8 trueMarker = 0x09;
constexpr quint8 fillMarker = 0x0F;
constexpr unsigned countFollows = 0xF; // in the low half: the count is the integer object behind the marker

quint64 bigEndian(const char *from, unsigned size)
{
    switch (size) {
    case 1: return quint8(*from);
    case 2: return qFromBigEndian<quint16>(from);
    case 4: return qFromBigEndian<quint32>(from);
    case 8: return qFromBigEndian<quint64>(from);
    default: break;
    }
    quint64 value = 0;
    for (unsigned i = 0; i < size; ++i)
        value = value << 8U | quint8(from[i]);
    return value;
}

class BinaryReader {
public:
    BinaryReader(const QByteArray &bytes, DecodingBudget &budget, Salvage *salvage)
        : m_file(bytes), m_bytes(bytes.constData()), m_budget(budget), m_salvage(salvage)
    {
    }

    std::shared_ptr<const PropertyListTable> read();

private:
    using Node = PropertyListTable::Node;
    using Index = PropertyListTable::Index;

    void readTrailer();
    [[nodiscard]] Node entry(const char *offset);
    [[nodiscard]] Node object(quint64 offset);
    [[nodiscard]] Node special(Node node, quint8 marker) const;
    [[nodiscard]] Node integer(Node node, quint8 marker) const;
    [[nodiscard]] Node real(Node node, quint8 marker) const;
    [[nodiscard]] Node date(Node node, quint8 marker) const;
    [[nodiscard]] Node uid(Node node, quint8 marker) const;
    [[nodiscard]] Node text(Node node, PropertyListKind kind, quint8 marker, unsigned unitSize = 1) const;
    [[nodiscard]] Node container(Node node, PropertyListKind kind, quint8 marker,
                                 unsigned referencesEach = 1);
    [[nodiscard]] quint64 countAt(quint64 &position, quint8 marker, qint64 offset) const;
    [[nodiscard]] std::vector<Index> references(std::vector<Node> &nodes) const;
    void carryWhatDoesNotFit(const Node &node, Index index);

    /// @throws FormatError unless @p count things of @p size bytes each lie between @p position and the
    /// objects' end.
    void require(quint64 position, quint64 count, quint64 size, qint64 offset) const
    {
        if (count > (m_objectsEnd - position) / size)
            throw FormatError(offset, "an object reaches beyond the objects' end");
    }

    QByteArray m_file;
    const char *m_bytes;
    DecodingBudget &m_budget;
    Salvage *m_salvage; // may be null
    PropertyListTable::CarriedElements m_carried;
    unsigned m_offsetSize = 0;
    unsigned m_referenceSize = 0;
    quint64 m_objectCount = 0;
    quint64 m_topObject = 0;
    quint64 m_objectsEnd = 0; // where the offset table begins
    quint64 m_referenceCount = 0;
};

std::shared_ptr<const PropertyListTable> BinaryReader::read()
{
    readTrailer();
    m_budget.charge(m_objectCount, sizeof(Node), qint64(m_objectsEnd));
    std::vector<Node> nodes;
    nodes.reserve(m_objectCount);
    const char *entry = m_bytes + m_objectsEnd;
    for (quint64 i = 0; i < m_objectCount; ++i, entry += m_offsetSize) {
        try {
            nodes.push_back(this->entry(entry));
        } catch (const FormatError &) {
            if (!m_salvage)
                throw;
            ++m_salvage->unreadableObjects;
            nodes.emplace_back();
        }
        if (m_salvage)
            carryWhatDoesNotFit(nodes.back(), Index(i));
    }
    std::vector<Index> found = references(nodes);
    return std::make_shared<const PropertyListTable>(m_file, std::move(nodes), std::move(found),
                                                     Index(m_topObject), std::move(m_carried));
}

/// The object whose offset stands at @p offset.
PropertyListTable::Node BinaryReader::entry(const char *offset)
{
    const quint64 place = bigEndian(offset, m_offsetSize);
    if (place < headerSize || place >= m_objectsEnd)
        throw FormatError(offset - m_bytes, "the offset of an object lies outside the objects");
    return object(place);
}

void BinaryReader::carryWhatDoesNotFit(const Node &node, Index index)
{
    constexpr quint8 date = Date << 4U | 3U;
    constexpr quint8 wideInteger = Integer << 4U | 4U;
    const auto marker = quint8(m_bytes[node.offset]); // of an object that could not be read, the magic's
    const char *content = m_bytes + node.offset + 1;
    QByteArray element;
    if (marker == date && node.kind == PropertyListKind::Null)
        element = dateElement(std::bit_cast<double>(bigEndian(content, 8)));
    else if (marker == wideInteger && bigEndian(content + 8, 8) != node.content)
        element = integerElement(bigEndian(content, 8), bigEndian(content + 8, 8));
    else
        return;
    m_budget.charge(PropertyListTable::costOfCarrying + quint64(element.size()), node.offset);
    m_carried.emplace(index, std::move(element));
}

void BinaryReader::readTrailer()
{
    const auto size = quint64(m_file.size());
    if (!m_file.startsWith(versions))
        throw FormatError(0, "a binary property list of an unknown version");
    if (size < headerSize + trailerSize)
        throw FormatError(qint64(size), "the file is cut off");
    const quint64 trailerAt = size - trailerSize;
    const char *trailer = m_bytes + trailerAt;
    m_offsetSize = quint8(trailer[offsetSizeAt]);
    m_referenceSize = quint8(trailer[referenceSizeAt]);
    m_objectCount = bigEndian(trailer + objectCountAt, 8);
    m_topObject = bigEndian(trailer + topObjectAt, 8);
    m_objectsEnd = bigEndian(trailer + offsetTableAt, 8);
    const auto require = [trailerAt](bool isPossible, quint64 fieldAt) {
        if (!isPossible)
            throw FormatError(qint64(trailerAt + fieldAt),
                              "the file is cut off: what it ends with is no trailer of a property list");
    };
    require(m_offsetSize >= 1 && m_offsetSize <= 8, offsetSizeAt);
    require(m_referenceSize >= 1 && m_referenceSize <= 8, referenceSizeAt);
    require(m_objectsEnd > headerSize && m_objectsEnd <= trailerAt, offsetTableAt);
    require(m_objectCount <= (trailerAt - m_objectsEnd) / m_offsetSize, objectCountAt);
    require(m_topObject < m_objectCount, topObjectAt);
}

PropertyListTable::Node BinaryReader::object(quint64 offset)
{
    const Node node{.offset = quint32(offset)};
    const auto marker = quint8(m_bytes[offset]);
    switch (marker >> 4U) {
    case Special: return special(node, marker);
    case Integer: return integer(node, marker);
    case Real: return real(node, marker);
    case Date: return date(node, marker);
    case Data: return text(node, PropertyListKind::Data, marker);
    case AsciiString:
    case Utf8String: // of which ASCII is a part; what is none is read as tolerantly
        return text(node, PropertyListKind::String, marker);
    case Utf16String: return text(node, PropertyListKind::String, marker, 2);
    case Uid: return uid(node, marker);
    case Array:
    case OrderedSet:
    case Set: return container(node, PropertyListKind::Array, marker);
    case Dictionary: return container(node, PropertyListKind::Dictionary, marker, 2);
    default: throw FormatError(qint64(offset), "an object of an unknown kind");
    }
}

PropertyListTable::Node BinaryReader::special(Node node, quint8 marker) const
{
    switch (marker) {
    case nullMarker:
    case fillMarker: return node;
    case falseMarker:
    case trueMarker:
        node.kind = PropertyListKind::Boolean;
        node.content = marker == trueMarker ? 1 : 0;
        return node;
    default: throw FormatError(node.offset, "an object of an unknown kind");
    }
}

PropertyListTable::Node BinaryReader::integer(Node node, quint8 marker) const
{
    const unsigned power = marker & 0xFU;
    if (power > 4)
        throw FormatError(node.offset, "an integer of an impossible size");
    const unsigned size = 1U << power;
    const quint64 position = quint64(node.offset) + 1;
    require(position, 1, size, node.offset);
    node.kind = PropertyListKind::Integer;
    if (size <= 8) { // up to 4 bytes unsigned, 8 signed
        node.content = bigEndian(m_bytes + position, size);
        return node;
    }
    const auto high = qint64(bigEndian(m_bytes + position, 8));
    const auto low = qint64(bigEndian(m_bytes + position + 8, 8));
    const bool fits = high == (low < 0 ? -1 : 0);
    const qint64 nearest = high < 0 ? std::numeric_limits<qint64>::min() : std::numeric_limits<qint64>::max();
    node.content = quint64(fits ? low : nearest);
    return node;
}

PropertyListTable::Node BinaryReader::real(Node node, quint8 marker) const
{
    const unsigned size = 1U << (marker & 0xFU);
    if (size != 4 && size != 8)
        throw FormatError(node.offset, "a real of an impossible size");
    const quint64 position = quint64(node.offset) + 1;
    require(position, 1, size, node.offset);
    const quint64 bits = bigEndian(m_bytes + position, size);
    node.kind = PropertyListKind::Real;
    node.content = size == 8 ? bits : std::bit_cast<quint64>(double(std::bit_cast<float>(quint32(bits))));
    return node;
}

PropertyListTable::Node BinaryReader::date(Node node, quint8 marker) const
{
    if ((marker & 0xFU) != 3)
        throw FormatError(node.offset, "a date of an impossible size");
    const quint64 position = quint64(node.offset) + 1;
    require(position, 1, 8, node.offset);
    const quint64 bits = bigEndian(m_bytes + position, 8);
    if (NSDate::fromInterval(std::bit_cast<double>(bits))) {
        node.kind = PropertyListKind::Date;
        node.content = bits;
    }
    return node;
}

PropertyListTable::Node BinaryReader::uid(Node node, quint8 marker) const
{
    const unsigned size = (marker & 0xFU) + 1;
    const quint64 position = quint64(node.offset) + 1;
    require(position, 1, size, node.offset);
    const unsigned excess = size > 8 ? size - 8 : 0;
    const quint64 value = bigEndian(m_bytes + position + excess, size - excess);
    if (bigEndian(m_bytes + position, excess) != 0 || qint64(value) < 0)
        throw FormatError(node.offset, "a UID that is too large");
    node.kind = PropertyListKind::UID;
    node.content = value;
    return node;
}

PropertyListTable::Node BinaryReader::text(Node node, PropertyListKind kind, quint8 marker,
                                           unsigned unitSize) const
{
    quint64 position = quint64(node.offset) + 1;
    const quint64 units = countAt(position, marker, node.offset);
    require(position, units, unitSize, node.offset);
    node.kind = kind;
    node.encoding =
        unitSize == 2 ? PropertyListTable::Encoding::Utf16BigEndian : PropertyListTable::Encoding::Utf8;
    node.content = Node::packed(quint32(position), quint32(units * unitSize));
    return node;
}

/// A container whose content is, until references() has run, where its references stand in the file.
PropertyListTable::Node BinaryReader::container(Node node, PropertyListKind kind, quint8 marker,
                                                unsigned referencesEach)
{
    quint64 position = quint64(node.offset) + 1;
    const quint64 count = countAt(position, marker, node.offset);
    require(position, count, quint64(referencesEach) * m_referenceSize, node.offset);
    // Here rather than once for all: many offsets may name one long array.
    const quint64 added = count * referencesEach;
    m_budget.charge(added, sizeof(Index), node.offset);
    m_referenceCount += added;
    if (m_referenceCount > std::numeric_limits<quint32>::max())
        throw FormatError(node.offset, "more references than 32 bits can count");
    node.kind = kind;
    node.content = Node::packed(quint32(position), quint32(count));
    return node;
}

/// The count of the object with this marker; moves @p position, just behind the marker, to where its contents
/// begin.
quint64 BinaryReader::countAt(quint64 &position, quint8 marker, qint64 offset) const
{
    const unsigned inMarker = marker & 0xFU;
    if (inMarker != countFollows)
        return inMarker;
    require(position, 1, 1, offset);
    const auto integerMarker = quint8(m_bytes[position++]);
    const unsigned power = integerMarker & 0xFU;
    if (integerMarker >> 4U != Integer || power > 3)
        throw FormatError(offset, "the count of an object is no integer");
    const unsigned size = 1U << power;
    require(position, 1, size, offset);
    const quint64 count = bigEndian(m_bytes + position, size);
    position += size;
    return count;
}

std::vector<PropertyListTable::Index> BinaryReader::references(std::vector<Node> &nodes) const
{
    std::vector<Index> found;
    found.reserve(m_referenceCount);
    for (Node &node : nodes) {
        if (node.kind != PropertyListKind::Array && node.kind != PropertyListKind::Dictionary)
            continue;
        const quint64 count = quint64(node.count()) * (node.kind == PropertyListKind::Array ? 1 : 2);
        const char *at = m_bytes + node.first();
        node.content = Node::packed(quint32(found.size()), node.count());
        for (quint64 i = 0; i < count; ++i, at += m_referenceSize) {
            const quint64 reference = bigEndian(at, m_referenceSize);
            if (reference >= m_objectCount)
                throw FormatError(at - m_bytes, "a reference to an object that is not there");
            found.push_back(Index(reference));
        }
    }
    return found;
}

} // namespace

bool looksBinary(QByteArrayView bytes)
{
    return bytes.startsWith(magic);
}

std::shared_ptr<const PropertyListTable> readBinaryPropertyList(const QByteArray &bytes,
                                                                DecodingBudget &budget, Salvage *salvage)
{
    return BinaryReader(bytes, budget, salvage).read();
}

} // namespace platform
