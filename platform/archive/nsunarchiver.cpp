#include "platform/archive/nsunarchiver.h"

#include "platform/foundation/scalars.h"
#include "platform/text/encoding.h"

#include <QScopedValueRollback>

#include <stdexcept>

namespace platform {

using typedstream::NewTag;
using typedstream::NilTag;
using typedstream::TypeEncoding;

namespace {

/// What a made object takes beside its contents: itself, its reference counts, and what the allocator adds.
constexpr quint64 costPerObject = 96;

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
}

void NSUnarchiver::decodeClassName(const QByteArray &inArchiveName, const QByteArray &asClassName)
{
    m_trueNames.insert(inArchiveName, asClassName);
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
        m_cursor->group = typedstream::GroupCursor(m_index.readEncoding(m_cursor->offset));
    }
    return m_cursor->group.item().code;
}

char NSUnarchiver::expectValue(const char *what)
{
    const char code = nextType();
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
    m_cursor->group.advance();
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
    if (!makers) {
        const QByteArrayView name =
            entry.classNumber == StreamIndex::none ? "" : m_index.text(entry.classNumber);
        m_budget.charge(quint64(name.size()), sizeof(char16_t), entry.start);
        return std::make_shared<UnknownObject>(stringFromUtf8(name));
    }
    Cursor cursor{entry.contents, entry.firstInside, {}};
    const QScopedValueRollback restore(m_cursor, &cursor);
    return makers->fromStream(*this);
}

const ClassMakers *NSUnarchiver::makersFor(StreamIndex::Number classNumber)
{
    // Up the chain to the first class that is known; the answer then holds for every class on the way.
    const ClassMakers *found = nullptr;
    std::vector<StreamIndex::Number> asked;
    for (StreamIndex::Number current = classNumber; current != StreamIndex::none;
         current = m_index.entries()[current].classNumber) {
        if (const auto known = m_makers.constFind(current); known != m_makers.constEnd()) {
            found = *known;
            break;
        }
        asked.push_back(current);
        const QByteArrayView view = m_index.text(current);
        const QByteArray name = QByteArray::fromRawData(view.data(), view.size());
        if (const auto entry = m_classes.constFind(m_trueNames.value(name, name));
            entry != m_classes.constEnd()) {
            found = &*entry;
            break;
        }
    }
    m_budget.charge(asked.size(), 64, 0);
    for (const StreamIndex::Number number : asked)
        m_makers.insert(number, found);
    return found;
}

void NSUnarchiver::decodeValueOfObjCType(char type, quint32 &at)
{
    if (type != 'I')
        throw std::logic_error("only values of the type I are decoded into a quint32");
    at = quint32(decodeInteger());
}

qint64 NSUnarchiver::decodeInteger()
{
    const char code = expectValue("a number is missing");
    if (!typedstream::isIntegerCode(code))
        fail("a value that is no integer where an integer should stand");
    m_cursor->group.advance();
    const auto &bytes = m_index.bytes();
    switch (code) {
    case 'c': return bytes.byte(m_cursor->offset);
    case 'B':
    case 'C': return quint8(bytes.byte(m_cursor->offset));
    case 's': return qint16(bytes.integer(m_cursor->offset));
    case 'S': return quint16(bytes.unsignedInteger(m_cursor->offset));
    case 'I':
    case 'L':
    case 'Q': return bytes.unsignedInteger(m_cursor->offset);
    default: return bytes.integer(m_cursor->offset);
    }
}

double NSUnarchiver::decodeReal()
{
    const char code = expectValue("a number is missing");
    if (code != 'f' && code != 'd')
        return double(decodeInteger());
    m_cursor->group.advance();
    return m_index.bytes().real(m_cursor->offset, code == 'f' ? 4 : 8);
}

QByteArrayView NSUnarchiver::decodeBytes()
{
    const char code = expectValue("bytes are missing");
    if (code != '+' && code != TypeEncoding::BytesCode)
        fail("a value of another type where bytes should stand");
    const TypeEncoding::Item item = m_cursor->group.item();
    m_cursor->group.advance();
    const auto &bytes = m_index.bytes();
    return bytes.view(code == '+' ? bytes.unsharedString(m_cursor->offset)
                                  : bytes.span(m_cursor->offset, item.count));
}

QByteArrayView NSUnarchiver::decodeCString()
{
    if (expectValue("a C string is missing") != '*')
        fail("a value of another type where a C string should stand");
    m_cursor->group.advance();
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
        m_cursor->group.advance();
        (void)readObjectNumber();
        break;
    case '*': (void)decodeCString(); break;
    case '+':
    case TypeEncoding::BytesCode: (void)decodeBytes(); break;
    case '#':
        m_cursor->group.advance();
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
        m_cursor->group.advance();
        (void)m_index.readSharedString(m_cursor->offset);
        break;
    default: (void)decodeReal();
    }
}

bool NSUnarchiver::nextIsObjectOfClass(QByteArrayView className)
{
    if (nextType() != '@')
        return false;
    Cursor ahead = *m_cursor;
    const QScopedValueRollback restore(m_cursor, &ahead);
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
