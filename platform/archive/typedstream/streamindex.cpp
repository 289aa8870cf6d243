#include "platform/archive/typedstream/streamindex.h"

#include <algorithm>

namespace platform::typedstream {

namespace {

/// Memory of one element in a vector that grows by doubling.
template <class T>
constexpr quint64 growingCost()
{
    return 3 * sizeof(T);
}

} // namespace

quint32 StreamIndex::scanGroup(quint32 offset)
{
    m_offset = offset;
    pushFrame(none);
    beginGroup(m_frames.back());
    while (!m_frames.empty()) {
        Frame &frame = m_frames.back();
        if (!frame.group.atEnd()) {
            const TypeEncoding::Item item = frame.group.item();
            frame.group.advance(m_loops);
            scanValue(item); // may push a frame
        } else if (frame.object == none) {
            m_frames.pop_back();
        } else if (m_bytes.peek(m_offset) == EndOfObjectTag) {
            Entry &entry = m_entries[frame.object];
            entry.end = ++m_offset;
            entry.numberAfter = Number(m_entries.size());
            m_frames.pop_back();
        } else {
            beginGroup(frame);
        }
    }
    return m_offset;
}

void StreamIndex::scanValue(const TypeEncoding::Item &item)
{
    switch (item.code) {
    case '@': scanObject(); break;
    case '#': (void)scanClass(); break;
    case '*': scanCString(); break;
    case ':':
    case '%': (void)scanSharedString(); break;
    case '+': (void)m_bytes.unsharedString(m_offset); break;
    case 'f': (void)m_bytes.real(m_offset, 4); break;
    case 'd': (void)m_bytes.real(m_offset, 8); break;
    case TypeEncoding::BytesCode: (void)m_bytes.span(m_offset, item.count); break;
    default:
        if (isByteCode(item.code))
            (void)m_bytes.byte(m_offset);
        else
            (void)m_bytes.integer(m_offset);
    }
}

void StreamIndex::scanObject()
{
    const qint8 head = m_bytes.peek(m_offset);
    if (head == NilTag) {
        ++m_offset;
    } else if (head == NewTag) {
        const Number object = addEntry(Kind::Object, m_offset++);
        const Number classNumber = scanClass();
        Entry &entry = m_entries[object];
        entry.classNumber = classNumber;
        entry.contents = m_offset;
        entry.firstInside = Number(m_entries.size());
        pushFrame(object);
    } else {
        (void)scanReference(Kind::Object, Number(m_entries.size()));
    }
}

StreamIndex::Number StreamIndex::scanClass()
{
    const Number firstOfChain = Number(m_entries.size());
    Number first = none;
    Number previous = none;
    for (;;) {
        const qint8 head = m_bytes.peek(m_offset);
        Number current = none;
        if (head == NilTag)
            ++m_offset;
        else if (head == NewTag)
            current = addEntry(Kind::Class, m_offset++);
        else
            current = scanReference(Kind::Class, firstOfChain); // below the chain itself: no circles
        if (previous == none)
            first = current;
        else
            m_entries[previous].classNumber = current;
        if (head != NewTag)
            return first;
        const quint32 name = scanSharedString();
        (void)m_bytes.integer(m_offset); // the class's version
        m_entries[current].contents = name;
        previous = current;
    }
}

void StreamIndex::scanCString()
{
    const qint8 head = m_bytes.peek(m_offset);
    if (head == NilTag) {
        ++m_offset;
    } else if (head == NewTag) {
        const Number number = addEntry(Kind::CString, m_offset++);
        const quint32 text = scanSharedString();
        m_entries[number].contents = text;
    } else {
        (void)scanReference(Kind::CString, Number(m_entries.size()));
    }
}

StreamIndex::Number StreamIndex::scanReference(Kind kind, Number below)
{
    const quint32 start = m_offset;
    const auto number = readReference(m_offset);
    if (number >= below)
        throw FormatError(start, "a reference to what has not been read");
    if (m_entries[number].kind != kind)
        throw FormatError(start, "a reference to something of another kind");
    return number;
}

quint32 StreamIndex::scanSharedString()
{
    const quint32 start = m_offset;
    const qint8 head = m_bytes.peek(m_offset);
    if (head == NilTag) {
        ++m_offset;
        return none;
    }
    if (head == NewTag) {
        const Span span = m_bytes.unsharedString(++m_offset);
        m_budget.charge(growingCost<SharedString>(), start);
        m_strings.push_back({span});
        return quint32(m_strings.size() - 1);
    }
    const auto number = readReference(m_offset);
    if (number >= m_strings.size())
        throw FormatError(start, "a reference to a string that has not been read");
    return number;
}

const TypeEncoding &StreamIndex::encoding(quint32 stringNumber)
{
    if (stringNumber == none)
        throw FormatError(m_offset, "no type encoding");
    SharedString &string = m_strings[stringNumber];
    if (string.encoding == none) {
        const QByteArrayView text = m_bytes.view(string.span);
        m_budget.charge(sizeof(TypeEncoding) + quint64(text.size()) * growingCost<TypeEncoding::Item>(),
                        string.span.offset);
        m_encodings.emplace_back(text, string.span.offset);
        string.encoding = quint32(m_encodings.size() - 1);
    }
    return m_encodings[string.encoding];
}

StreamIndex::Number StreamIndex::addEntry(Kind kind, quint32 start)
{
    m_budget.charge(sizeof(Entry) + sizeof(Entry) / 8, start);
    m_entries.push_back({.kind = kind, .start = start});
    return Number(m_entries.size() - 1);
}

void StreamIndex::pushFrame(Number object)
{
    if (m_frames.size() == m_framesCharged) {
        m_budget.charge(growingCost<Frame>(), m_offset);
        ++m_framesCharged;
    }
    m_frames.push_back({object, {}});
}

void StreamIndex::beginGroup(Frame &frame)
{
    const TypeEncoding &next = encoding(scanSharedString());
    if (const size_t most = m_loops.size() + TypeEncoding::greatestNesting; most > m_loopsCharged) {
        m_budget.charge(most - m_loopsCharged, growingCost<Loop>(), m_offset);
        m_loopsCharged = most;
    }
    frame.group = GroupCursor(next, m_loops);
}

const TypeEncoding &StreamIndex::readEncoding(quint32 &offset)
{
    if (m_bytes.peek(offset) != NewTag)
        return encoding(readReference(offset));
    const Span span = m_bytes.unsharedString(++offset);
    // Literals entered the table in the order in which they stand in the stream.
    const auto found =
        std::lower_bound(m_strings.begin(), m_strings.end(), span.offset,
                         [](const SharedString &string, quint32 at) { return string.span.offset < at; });
    return encoding(quint32(found - m_strings.begin()));
}

std::optional<QByteArrayView> StreamIndex::readSharedString(quint32 &offset) const
{
    const qint8 head = m_bytes.peek(offset);
    if (head == NilTag) {
        ++offset;
        return std::nullopt;
    }
    if (head == NewTag)
        return m_bytes.view(m_bytes.unsharedString(++offset));
    return m_bytes.view(m_strings[readReference(offset)].span);
}

QByteArrayView StreamIndex::text(Number number) const
{
    const quint32 string = m_entries[number].contents;
    return string == none ? QByteArrayView() : m_bytes.view(m_strings[string].span);
}

} // namespace platform::typedstream
