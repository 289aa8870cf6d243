#include "platform/appkit/nsfilewrapper.h"

#include "platform/text/charset.h"
#include "platform/text/encoding.h"

#include <QtEndian>

namespace platform {

namespace {

constexpr QByteArrayView signature("rtfd");
constexpr quint32 dataRecord = 1;
constexpr quint32 folderRecord = 3;
constexpr quint32 paddedData = 0x80000000; ///< stands for the length of data that is padded to a block
constexpr int deepestFolder = 64;
constexpr quint32 numberSize = 4;

// What things take in memory, with what the allocator adds.
constexpr quint64 costPerFile = 160;
constexpr quint64 costPerText = 32;
constexpr quint64 costPerLegacyByte = 6; ///< a list that grows

constexpr QByteArrayView contentsEntry("..");
constexpr QByteArrayView fileAttributesEntry(".");
constexpr QByteArrayView nameEntry("__@UTF8PreferredName@__");
constexpr QByteArrayView
    legacyNameEntry("__@PreferredName@__"); ///< in the 8-bit encoding of the sender's system

/// Thrown where the bytes are no such form.
struct Malformed {};

/// Takes bytes off the front of a part of the form.
class Source {
public:
    explicit Source(QByteArrayView bytes) : m_bytes(bytes) {}

    [[nodiscard]] qsizetype left() const { return m_bytes.size(); }

    QByteArrayView take(quint32 length)
    {
        if (qsizetype(length) > m_bytes.size())
            throw Malformed();
        const QByteArrayView taken = m_bytes.first(length);
        m_bytes = m_bytes.sliced(length);
        return taken;
    }

    quint32 takeNumber() { return qFromLittleEndian<quint32>(take(numberSize).data()); }

private:
    QByteArrayView m_bytes;
};

class Reader {
public:
    explicit Reader(const NSFileWrapper::Charge &charge) : m_charge(charge) {}

    [[nodiscard]] std::shared_ptr<const NSFileWrapper> readAll(QByteArrayView bytes) const
    {
        Source source(bytes);
        if (source.take(quint32(signature.size())) != signature || source.takeNumber() != 0 ||
            source.takeNumber() != folderRecord)
            throw Malformed();
        return readFolder(source, 0);
    }

private:
    struct Entry {
        QByteArrayView name;
        quint32 length = 0; ///< of the record
    };

    [[nodiscard]] std::shared_ptr<const NSFileWrapper> readFolder(Source &source, int depth) const;
    [[nodiscard]] std::shared_ptr<const NSFileWrapper> readRecord(QByteArrayView record, int depth) const;
    [[nodiscard]] std::vector<Entry> readEntries(Source &source) const;
    [[nodiscard]] QByteArray readData(Source &source) const;
    [[nodiscard]] QByteArray dataOf(QByteArrayView record) const;
    [[nodiscard]] QString text(QByteArrayView utf8) const;

    const NSFileWrapper::Charge &m_charge;
};

QByteArray Reader::readData(Source &source) const
{
    quint32 length = source.takeNumber();
    if (length == paddedData) {
        length = source.takeNumber();
        source.take(source.takeNumber());
    }
    const QByteArrayView data = source.take(length);
    m_charge(quint64(data.size()));
    return data.toByteArray();
}

/// The bytes of a record that should be data.
QByteArray Reader::dataOf(QByteArrayView record) const
{
    Source source(record);
    if (source.takeNumber() != dataRecord)
        throw Malformed();
    return readData(source);
}

std::shared_ptr<const NSFileWrapper> Reader::readRecord(QByteArrayView record, int depth) const
{
    Source source(record);
    m_charge(costPerFile);
    switch (source.takeNumber()) {
    case dataRecord: return std::make_shared<NSFileWrapper>(std::nullopt, readData(source));
    case folderRecord: return readFolder(source, depth);
    default: throw Malformed();
    }
}

/// The names of a folder's entries and the lengths of their records, which follow.
std::vector<Reader::Entry> Reader::readEntries(Source &source) const
{
    const quint32 count = source.takeNumber();
    if (count > source.left() / (2 * numberSize))
        throw Malformed();
    m_charge(quint64(count) * sizeof(Entry));
    std::vector<Entry> entries(count);
    for (Entry &entry : entries)
        entry.name = source.take(source.takeNumber());
    for (Entry &entry : entries)
        entry.length = source.takeNumber();
    return entries;
}

std::shared_ptr<const NSFileWrapper> Reader::readFolder(Source &source, int depth) const
{
    if (depth > deepestFolder)
        throw Malformed();
    const std::vector<Entry> entries = readEntries(source);
    std::optional<QString> name;
    std::optional<QString> legacyName;
    std::optional<QByteArray> contents;
    std::vector<NSFileWrapper::Child> children;
    m_charge(entries.size() * sizeof(NSFileWrapper::Child));
    children.reserve(entries.size());
    for (const Entry &entry : entries) {
        const QByteArrayView record = source.take(entry.length);
        if (entry.name == nameEntry) {
            name = text(dataOf(record));
        } else if (entry.name == legacyNameEntry) {
            m_charge(costPerLegacyByte * quint64(record.size()));
            legacyName = stringFromCharset(dataOf(record), "MACINTOSH");
        } else if (entry.name == contentsEntry) {
            contents = dataOf(record);
        } else if (entry.name != fileAttributesEntry) {
            children.push_back({text(entry.name), readRecord(record, depth + 1)});
        }
    }
    if (!name)
        name = std::move(legacyName);
    if (name && name->isEmpty())
        name.reset();
    if (contents)
        return std::make_shared<NSFileWrapper>(std::move(name), std::move(*contents));
    return std::make_shared<NSFileWrapper>(std::move(name), std::move(children));
}

QString Reader::text(QByteArrayView utf8) const
{
    m_charge(costPerText + sizeof(char16_t) * quint64(utf8.size()));
    return stringFromUtf8(utf8);
}

} // namespace

NSFileWrapper::NSFileWrapper(std::optional<QString> preferredFilename, QByteArray contents)
    : m_name(std::move(preferredFilename)), m_regular(true), m_contents(std::move(contents))
{
}

NSFileWrapper::NSFileWrapper(std::optional<QString> preferredFilename, std::vector<Child> children)
    : m_name(std::move(preferredFilename)), m_regular(false), m_children(std::move(children))
{
}

std::shared_ptr<const NSFileWrapper> NSFileWrapper::initWithSerializedRepresentation(const QByteArray &bytes,
                                                                                     const Charge &charge)
{
    try {
        return Reader(charge).readAll(bytes);
    } catch (const Malformed &) {
        return std::make_shared<NSFileWrapper>(std::nullopt, bytes);
    }
}

bool NSFileWrapper::looksSerialized(QByteArrayView bytes)
{
    return bytes.startsWith(signature);
}

qint64 NSFileWrapper::totalSize() const // no deeper than the reader goes
{
    qint64 total = m_contents.size();
    for (const Child &child : m_children)
        total += child.wrapper->totalSize();
    return total;
}

} // namespace platform
