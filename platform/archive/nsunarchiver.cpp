#include "platform/archive/nsunarchiver.h"

#include "platform/foundation/scalars.h"
#include "platform/text/encoding.h"

#include <QScopedValueRollback>

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace platform {

using typedstream::NewTag;
using typedstream::NilTag;
using typedstream::TypeEncoding;

namespace {

/// What a made object takes beside its contents: itself, its reference counts, and what the allocator adds.
constexpr quint64 costPerObject = 96;
/// What a class takes that has been looked up: its place in a hash, and in a list before.
constexpr quint64 costPerKnownClass = 128;
/// No class that anybody knows has a longer name, and place-holders keep no more of theirs: a stream may give
/// one very long name to very many classes.
constexpr qsizetype longestClassName = 256;

} // namespace

std::unique_ptr<NSUnarchiver> NSUnarchiver::initForReadingWithData(const QByteArray &data,
                                                                   const ClassTable &classes)
{
    return std::unique_ptr<NSUnarchiver>(new NSUnarchiver(data, classes));
}

NSUnarchiver::NSUnarchiver(const QByteArray &data, const ClassTable &classes)
    : m_data(data), m_classes(classes), m_budget(data.size()), m_index(m_data, m_budget),
      m_scanned(m_index.bytes().firstGroup())
{
    m_stream.offset = m_scanned;
    m_stream.end = m_index.bytes().size();
}

bool NSUnarchiver::looksLikeTypedStream(QByteArrayView bytes)
{
    return typedstream::Bytes::hasSignature(bytes);
}

void NSUnarchiver::decodeClassName(const QByteArray &inArchiveName, const QByteArray &asClassName)
{
    m_trueNames.insert(inArchiveName, asClassName);
    m_knownClasses.clear();
}

char NSUnarchiver::nextType()
{
    while (m_cursor->group.atEnd()) {
        if (m_cursor == &m_stream) {
            if (m_cursor->offset == m_index.bytes().size())
                return '\0';
            if (m_cursor->offset == m_scanned) {
                m_cursor->nextNumber = StreamIndex::Number(m_index.entries().size());
                m_scanned = m_index.scanGroup(m_scanned);
                m_budget.charge(m_index.entries().size() - m_cursor->nextNumber,
                                DecodedObjects::costPerNumber(), m_scanned);
                m_objects.resize(m_index.entries().size());
            }
        } else if (m_index.bytes().peek(m_cursor->offset) == typedstream::EndOfObjectTag) {
            return '\0';
        }
        m_cursor->group = typedstream::GroupCursor(m_index.readEncoding(m_cursor->offset), m_cursor->loops);
    }
    return m_cursor->group.item().code;
}

char NSUnarchiver::expectValue(const char *what)
{
    const char code = nextType();
    if (code == '\0' && m_cursor == &m_stream)
        throw FormatError(m_cursor->offset, "the file is cut off");
    if (code == '\0')
        fail(what);
    return code;
}

NSUnarchiver::StreamIndex::Number NSUnarchiver::readObjectNumber()
{
    const qint8 head = m_index.bytes().peek(m_cursor->offset);
    if (head == NilTag) {
        ++m_cursor->offset;
        return StreamIndex::none;
    }
    if (head != NewTag)
        return m_index.readReference(m_cursor->offset);
    const StreamIndex::Number number = m_cursor->nextNumber;
    const StreamIndex::Entry &entry = m_index.entries()[number];
    m_cursor->offset = entry.end;
    m_cursor->nextNumber = entry.numberAfter;
    return number;
}

ObjectRef NSUnarchiver::decodeObject()
{
    if (expectValue("an object is missing") != '@')
        fail("a value that is no object where an object should stand");
    passValue();
    const StreamIndex::Number number = readObjectNumber();
    return number == StreamIndex::none ? nullptr : object(number);
}

const ObjectRef &NSUnarchiver::object(StreamIndex::Number number)
{
    return m_objects.object(number, m_index.entries()[number].start, [&] { return make(number); });
}

ObjectRef NSUnarchiver::make(StreamIndex::Number number)
{
    const StreamIndex::Entry &entry = m_index.entries()[number];
    m_budget.charge(costPerObject, entry.start);
    const ClassMakers *makers = makersFor(entry.classNumber);
    if (!makers)
        return std::make_shared<UnknownObject>(archivedName(entry.classNumber));
    try {
        Cursor cursor{.offset = entry.contents, .end = entry.end, .nextNumber = entry.firstInside};
        const QScopedValueRollback restore(m_cursor, &cursor);
        return makers->fromStream(*this);
    } catch (const LayoutError &error) {
        return std::make_shared<UnreadableObject>(archivedName(entry.classNumber), error.fault());
    }
}

QString NSUnarchiver::archivedName(StreamIndex::Number classNumber)
{
    QString &name = m_knownClasses[classNumber].name;
    if (name.isNull() && classNumber != StreamIndex::none) {
        const QByteArrayView whole = m_index.text(classNumber);
        const QByteArrayView archived = whole.first(std::min(whole.size(), longestClassName));
        m_budget.charge(quint64(archived.size()), sizeof(char16_t), m_cursor->offset);
        name = stringFromUtf8(archived);
    }
    return name;
}

const ClassMakers *NSUnarchiver::makersFor(StreamIndex::Number classNumber)
{
    // Up the chain to the first class that is known; the answer then holds for every class on the way.
    const ClassMakers *found = nullptr;
    std::vector<StreamIndex::Number> asked;
    for (StreamIndex::Number current = classNumber; current != StreamIndex::none && !found;
         current = m_index.entries()[current].classNumber) {
        if (const auto known = m_knownClasses.constFind(current); known != m_knownClasses.constEnd()) {
            found = known->makers;
            break;
        }
        asked.push_back(current);
        found = makersNamed(m_index.text(current));
    }
    m_budget.charge(asked.size(), costPerKnownClass, m_cursor->offset);
    for (const StreamIndex::Number number : asked)
        m_knownClasses.insert(number, {found});
    return found;
}

const ClassMakers *NSUnarchiver::makersNamed(QByteArrayView className) const
{
    if (className.size() > longestClassName)
        return nullptr;
    const QByteArray name = QByteArray::fromRawData(className.data(), className.size());
    const auto entry = m_classes.constFind(m_trueNames.value(name, name));
    return entry != m_classes.constEnd() ? &*entry : nullptr;
}

void NSUnarchiver::decodeValueOfObjCType(char type, quint32 &at)
{
    if (type != 'I')
        throw std::logic_error("only values of the type I are decoded into a quint32");
    at = typedstream::isIntegerCode(nextType()) ? quint32(decodeInteger()) : 0;
}

qint64 NSUnarchiver::decodeInteger()
{
    const char code = expectValue("a number is missing");
    if (!typedstream::isIntegerCode(code))
        fail("a value that is no integer where an integer should stand");
    passValue();
    const auto &bytes = m_index.bytes();
    switch (code) {
    case 'c': return bytes.byte(m_cursor->offset);
    case 'B':
    case 'C': return quint8(bytes.byte(m_cursor->offset));
    case 'S':
    case 'I':
    case 'L':
    case 'Q':
        return qint64(
            std::min(bytes.unsignedInteger(m_cursor->offset), quint64(std::numeric_limits<qint64>::max())));
    default: return bytes.integer(m_cursor->offset);
    }
}

double NSUnarchiver::decodeReal()
{
    const char code = expectValue("a number is missing");
    if (code != 'f' && code != 'd')
        return double(decodeInteger());
    passValue();
    return m_index.bytes().real(m_cursor->offset, code == 'f' ? 4 : 8);
}

QByteArrayView NSUnarchiver::decodeBytes()
{
    const char code = expectValue("bytes are missing");
    if (code != '+' && code != TypeEncoding::BytesCode)
        fail("a value of another type where bytes should stand");
    const TypeEncoding::Item item = m_cursor->group.item();
    passValue();
    const auto &bytes = m_index.bytes();
    return bytes.view(code == '+' ? bytes.unsharedString(m_cursor->offset)
                                  : bytes.span(m_cursor->offset, item.count));
}

QByteArrayView NSUnarchiver::decodeCString()
{
    if (expectValue("a C string is missing") != '*')
        fail("a value of another type where a C string should stand");
    passValue();
    const qint8 head = m_index.bytes().peek(m_cursor->offset);
    if (head == NilTag) {
        ++m_cursor->offset;
        return {};
    }
    if (head != NewTag)
        return m_index.text(m_index.readReference(m_cursor->offset));
    ++m_cursor->offset;
    ++m_cursor->nextNumber;
    return m_index.readSharedString(m_cursor->offset).value_or(QByteArrayView());
}

void NSUnarchiver::skipValue()
{
    switch (expectValue("a value is missing")) {
    case '@':
        passValue();
        (void)readObjectNumber();
        break;
    case '*': (void)decodeCString(); break;
    case '+':
    case TypeEncoding::BytesCode: (void)decodeBytes(); break;
    case '#':
        passValue();
        while (m_index.bytes().peek(m_cursor->offset) == NewTag) { // a class, then its superclass
            ++m_cursor->offset;
            ++m_cursor->nextNumber;
            (void)m_index.readSharedString(m_cursor->offset);
            (void)m_index.bytes().integer(m_cursor->offset);
        }
        if (m_index.bytes().peek(m_cursor->offset) == NilTag)
            ++m_cursor->offset;
        else
            (void)m_index.readReference(m_cursor->offset);
        break;
    case ':':
    case '%':
        passValue();
        (void)m_index.readSharedString(m_cursor->offset);
        break;
    default: (void)decodeReal();
    }
}

bool NSUnarchiver::nextIsObjectOfClass(QByteArrayView className)
{
    if (nextType() != '@')
        return false;
    const QScopedValueRollback restoreOffset(m_cursor->offset);
    const QScopedValueRollback restoreNumber(m_cursor->nextNumber);
    const StreamIndex::Number number = readObjectNumber();
    if (number == StreamIndex::none)
        return false;
    // No class of interest stands deeper in its chain than this.
    constexpr int longestChain = 32;
    StreamIndex::Number current = m_index.entries()[number].classNumber;
    for (int i = 0; i < longestChain && current != StreamIndex::none; ++i) {
        if (m_index.text(current) == className)
            return true;
        current = m_index.entries()[current].classNumber;
    }
    return false;
}

ObjectRef NSUnarchiver::decodeObjectForKey(QByteArrayView /*key*/)
{
    throw std::logic_error("a typed stream has no keys");
}

qint32 NSUnarchiver::decodeInt32ForKey(QByteArrayView /*key*/)
{
    throw std::logic_error("a typed stream has no keys");
}

} // namespace platform
