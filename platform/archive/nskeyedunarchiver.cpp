#include "platform/archive/nskeyedunarchiver.h"

#include "platform/foundation/scalars.h"
#include "platform/propertylist/readers.h"
#include "platform/text/encoding.h"

#include <QScopedValueRollback>

#include <stdexcept>

namespace platform {

namespace {

using Kind = PropertyListKind;

/// What a made object takes beside its contents: itself, its reference counts, and what the allocator adds.
constexpr quint64 costPerObject = 96;
/// Names of one class chain that are looked at.
constexpr quint32 longestClassChain = 32;
/// No class that anybody knows has a longer name; in bytes, as archived.
constexpr qsizetype longestClassName = 512;
/// What a class takes that has been looked up: its place in a hash.
constexpr quint64 costPerKnownClass = 128;

} // namespace

std::unique_ptr<NSKeyedUnarchiver> NSKeyedUnarchiver::initForReadingWithData(const QByteArray &data,
                                                                             const ClassTable &classes)
{
    return std::unique_ptr<NSKeyedUnarchiver>(new NSKeyedUnarchiver(data, classes));
}

NSKeyedUnarchiver::NSKeyedUnarchiver(const QByteArray &data, const ClassTable &classes)
    : m_classes(classes), m_budget(data.size()), m_table(readPropertyListTable(data, m_budget))
{
    const auto objects = m_table->valueForKey(m_table->root(), "$objects");
    if (!objects || m_table->kind(*objects) != Kind::Array)
        throw FormatError(m_table->offset(m_table->root()), "not a keyed archive: it has no object table");
    m_objectTable = *objects;
    const auto top = m_table->valueForKey(m_table->root(), "$top");
    if (!top || m_table->kind(*top) != Kind::Dictionary)
        throw FormatError(m_table->offset(m_table->root()), "not a keyed archive: it names no root object");
    m_current = *top;
    m_budget.charge(m_table->size(), DecodedObjects::costPerNumber(), 0);
    m_objects.resize(m_table->size());
}

bool NSKeyedUnarchiver::looksLikePropertyList(QByteArrayView bytes)
{
    return looksBinary(bytes) || looksXml(bytes);
}

void NSKeyedUnarchiver::setClass(const ClassMakers &makers, const QByteArray &forClassName)
{
    m_substitutes.insert(forClassName, makers);
    m_knownClasses.clear();
}

ObjectRef NSKeyedUnarchiver::decodeObjectForKey(QByteArrayView key)
{
    const auto value = m_table->valueForKey(m_current, key);
    return value ? objectFor(*value) : nullptr;
}

std::optional<qint64> NSKeyedUnarchiver::uid(Node value) const
{
    if (m_table->kind(value) == Kind::UID)
        return m_table->integer(value);
    if (m_table->kind(value) != Kind::Dictionary || m_table->count(value) != 1)
        return std::nullopt;
    const auto index = m_table->valueForKey(value, "CF$UID");
    if (!index || m_table->kind(*index) != Kind::Integer)
        return std::nullopt;
    return m_table->integer(*index);
}

std::optional<NSKeyedUnarchiver::Node> NSKeyedUnarchiver::nodeOf(qint64 uid, Node value) const
{
    if (uid < 0 || uid >= m_table->count(m_objectTable))
        throw FormatError(m_table->offset(value), "a reference past the end of the object table");
    if (uid == 0)
        return std::nullopt;
    return m_table->element(m_objectTable, quint32(uid));
}

ObjectRef NSKeyedUnarchiver::objectFor(Node value)
{
    std::optional<Node> node = value;
    if (const auto index = uid(value))
        node = nodeOf(*index, value);
    if (!node)
        return nullptr;
    return m_objects.object(*node, m_table->offset(*node), [&] { return make(*node); });
}

ObjectRef NSKeyedUnarchiver::make(Node node)
{
    m_budget.charge(costPerObject, m_table->offset(node));
    try {
        return makeContents(node);
    } catch (const LayoutError &error) {
        return std::make_shared<UnreadableObject>(archivedName(node), error.fault());
    }
}

ObjectRef NSKeyedUnarchiver::makeContents(Node node)
{
    switch (m_table->kind(node)) {
    case Kind::Null: return nullptr;
    case Kind::Boolean: return std::make_shared<NSNumber>(m_table->boolean(node));
    case Kind::Integer: return std::make_shared<NSNumber>(m_table->integer(node));
    case Kind::Real: return std::make_shared<NSNumber>(m_table->real(node));
    case Kind::Date: return std::make_shared<NSDate>(m_table->date(node));
    case Kind::Data:
        m_budget.charge(quint64(m_table->data(node).size()), m_table->offset(node));
        return std::make_shared<NSData>(m_table->data(node).toByteArray());
    case Kind::String:
        m_budget.charge(quint64(m_table->stringLength(node)), sizeof(char16_t), m_table->offset(node));
        return std::make_shared<NSString>(m_table->string(node));
    case Kind::UID: throw LayoutError({m_table->offset(node), "a reference to a reference"});
    case Kind::Array:
        return std::make_shared<UnknownObject>(QStringLiteral("array")); // no object of an archive
    case Kind::Dictionary: return makeInstance(node);
    }
    return nullptr;
}

ObjectRef NSKeyedUnarchiver::makeInstance(Node node)
{
    if (uid(node)) // in the XML form
        throw LayoutError({m_table->offset(node), "a reference to a reference"});
    if (!m_table->valueForKey(node, "$class"))
        return std::make_shared<UnknownObject>(QStringLiteral("dictionary"));
    const auto record = classRecord(node);
    if (!record)
        throw LayoutError({m_table->offset(node), "an object without a class"});
    const KnownClass &known = knownClass(*record);
    if (!known.makers)
        return std::make_shared<UnknownObject>(known.name);
    const auto fromKeys = known.makers->fromKeys; // the classes may move while others are met
    const QScopedValueRollback restore(m_current, node);
    return fromKeys(*this);
}

std::optional<NSKeyedUnarchiver::Node> NSKeyedUnarchiver::classRecord(Node object) const
{
    const auto reference = m_table->valueForKey(object, "$class");
    const auto index = reference ? uid(*reference) : std::nullopt;
    const auto record = index ? nodeOf(*index, *reference) : std::nullopt;
    return record && m_table->kind(*record) == Kind::Dictionary ? record : std::nullopt;
}

QString NSKeyedUnarchiver::archivedName(Node object)
{
    const auto record = classRecord(object);
    return record ? knownClass(*record).name : QString();
}

const ClassMakers *NSKeyedUnarchiver::makersNamed(const QByteArray &name) const
{
    if (const auto substitute = m_substitutes.constFind(name); substitute != m_substitutes.constEnd())
        return &*substitute;
    const auto known = m_classes.constFind(name);
    return known != m_classes.constEnd() ? &*known : nullptr;
}

const NSKeyedUnarchiver::KnownClass &NSKeyedUnarchiver::knownClass(Node classRecord)
{
    if (const auto known = m_knownClasses.constFind(classRecord); known != m_knownClasses.constEnd())
        return *known;
    const auto nameAt = [this](std::optional<Node> node) {
        const bool isName =
            node && m_table->kind(*node) == Kind::String && m_table->stringLength(*node) <= longestClassName;
        return isName ? m_table->string(*node) : QString();
    };
    KnownClass found;
    found.name = nameAt(m_table->valueForKey(classRecord, "$classname"));
    found.makers = makersNamed(utf8FromString(found.name));
    const auto chain = m_table->valueForKey(classRecord, "$classes");
    if (chain && m_table->kind(*chain) == Kind::Array) {
        const quint32 count = std::min(m_table->count(*chain), longestClassChain);
        for (quint32 i = 0; i < count && !found.makers; ++i)
            found.makers = makersNamed(utf8FromString(nameAt(m_table->element(*chain, i))));
    }
    m_budget.charge(costPerKnownClass + quint64(found.name.size()) * sizeof(char16_t),
                    m_table->offset(classRecord));
    return *m_knownClasses.insert(classRecord, found);
}

std::optional<qint64> NSKeyedUnarchiver::decodeInt64ForKey(QByteArrayView key) const
{
    const auto value = m_table->valueForKey(m_current, key);
    if (!value)
        return std::nullopt;
    switch (m_table->kind(*value)) {
    case Kind::Boolean: return m_table->boolean(*value) ? 1 : 0;
    case Kind::Integer: return m_table->integer(*value);
    case Kind::Real: {
        const double real = m_table->real(*value);
        constexpr double limit = 9.2e18; // what a qint64 surely holds
        return real > -limit && real < limit ? std::optional(qint64(real)) : std::nullopt;
    }
    default: return std::nullopt;
    }
}

std::optional<double> NSKeyedUnarchiver::decodeDoubleForKey(QByteArrayView key) const
{
    const auto value = m_table->valueForKey(m_current, key);
    if (value && m_table->kind(*value) == Kind::Real)
        return m_table->real(*value);
    const auto integer = decodeInt64ForKey(key);
    return integer ? std::optional(double(*integer)) : std::nullopt;
}

qint32 NSKeyedUnarchiver::decodeInt32ForKey(QByteArrayView key)
{
    return qint32(decodeInt64ForKey(key).value_or(0));
}

std::optional<QByteArray> NSKeyedUnarchiver::decodeBytesForKey(QByteArrayView key)
{
    const ObjectRef object = decodeObjectForKey(key);
    if (const auto *data = dynamic_cast<const NSData *>(object.get()))
        return data->bytes();
    if (const auto *string = dynamic_cast<const NSString *>(object.get())) {
        charge(quint64(string->string().size()), 3); // a unit becomes that many bytes at most
        return utf8FromString(string->string());
    }
    return std::nullopt;
}

std::vector<ObjectRef> NSKeyedUnarchiver::decodeArrayOfObjectsForKey(QByteArrayView key)
{
    std::vector<ObjectRef> objects;
    const auto array = m_table->valueForKey(m_current, key);
    if (!array)
        return objects;
    if (m_table->kind(*array) != Kind::Array)
        throw LayoutError({m_table->offset(*array), "no array where references should stand"});
    const quint32 count = m_table->count(*array);
    charge(count, 2 * sizeof(ObjectRef)); // twice, for a list of them that the caller makes
    objects.reserve(count);
    for (quint32 i = 0; i < count; ++i)
        objects.push_back(objectFor(m_table->element(*array, i)));
    return objects;
}

ObjectRef NSKeyedUnarchiver::decodeObject()
{
    throw std::logic_error("a keyed archive has no sequence");
}

void NSKeyedUnarchiver::decodeValueOfObjCType(char /*type*/, quint32 & /*at*/)
{
    throw std::logic_error("a keyed archive has no sequence");
}

} // namespace platform
