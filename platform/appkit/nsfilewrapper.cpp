#include "platform/appkit/nsfilewrapper.h"

#include "platform/formaterror.h"
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

constexpr QByteArrayView contentsEntry("..");
constexpr QByteArrayView fileAttributesEntry(".");
constexpr QByteArrayView nameEntry("__@UTF8PreferredName@__");
constexpr QByteArrayView
    legacyNameEntry("__@PreferredName@__"); ///< in the 8-bit encoding of the sender's system

/// Takes bytes off the front of a part of the form.
class Source {
public:
    explicit Source(QByteArrayView bytes) : m_bytes(bytes) {}

    [[nodiscard]] bool atEnd() const { return m_bytes.isEmpty(); }

    QByteArrayView take(quint32 length)
    {
        if (qsizetype(length) > m_bytes.size())
            throw FormatError(0, "a length that reaches past the end of the file wrapper");
        const QByteArrayView taken = m_bytes.first(length);
        m_bytes = m_bytes.sliced(length);
        return taken;
    }

    quint32 takeNumber() { return qFromLittleEndian<quint32>(take(4).data()); }

private:
    QByteArrayView m_bytes;
};

QByteArray takeData(Source &source)
{
    quint32 length = source.takeNumber();
    if (length == paddedData) {
        length = source.takeNumber();
        source.take(source.takeNumber());
    }
    return source.take(length).toByteArray();
}

/// The bytes of a record that should be data.
QByteArray dataOf(QByteArrayView record)
{
    Source source(record);
    if (source.takeNumber() != dataRecord)
        throw FormatError(0, "a folder where data should stand");
    return takeData(source);
}

std::shared_ptr<const NSFileWrapper> readFolder(Source &source, int depth);

std::shared_ptr<const NSFileWrapper> readRecord(QByteArrayView record, int depth) // NOLINT(misc-no-recursion)
{
    Source source(record);
    switch (source.takeNumber()) {
    case dataRecord: return std::make_shared<NSFileWrapper>(std::nullopt, takeData(source));
    case folderRecord: return readFolder(source, depth);
    default: throw FormatError(0, "a record of an unknown type");
    }
}

std::shared_ptr<const NSFileWrapper> readFolder(Source &source, int depth) // NOLINT(misc-no-recursion)
{
    if (depth > deepestFolder)
        throw FormatError(0, "folders nested too deep");
    const quint32 count = source.takeNumber();
    std::vector<QByteArrayView> names; // grows with what is there, not with what the count says
    std::vector<quint32> lengths;
    for (quint32 i = 0; i < count; ++i)
        names.push_back(source.take(source.takeNumber()));
    for (quint32 i = 0; i < count; ++i)
        lengths.push_back(source.takeNumber());

    std::optional<QString> name;
    std::optional<QString> legacyName;
    std::optional<QByteArray> contents;
    std::vector<NSFileWrapper::Child> children;
    for (quint32 i = 0; i < count; ++i) {
        const QByteArrayView record = source.take(lengths[i]);
        if (names[i] == nameEntry)
            name = stringFromUtf8(dataOf(record));
        else if (names[i] == legacyNameEntry)
            legacyName = stringFromCharset(dataOf(record), "MACINTOSH");
        else if (names[i] == contentsEntry)
            contents = dataOf(record);
        else if (names[i] != fileAttributesEntry)
            children.push_back({stringFromUtf8(names[i]), readRecord(record, depth + 1)});
    }
    if (!name)
        name = legacyName;
    if (name && name->isEmpty())
        name.reset();
    if (contents)
        return std::make_shared<NSFileWrapper>(name, std::move(*contents));
    return std::make_shared<NSFileWrapper>(name, std::move(children));
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

std::shared_ptr<const NSFileWrapper> NSFileWrapper::initWithSerializedRepresentation(const QByteArray &bytes)
{
    try {
        Source source(bytes);
        if (source.take(quint32(signature.size())) != signature || source.takeNumber() != 0)
            throw FormatError(0, "no signature");
        if (source.takeNumber() != folderRecord)
            throw FormatError(0, "no folder record");
        return readFolder(source, 0);
    } catch (const FormatError &) {
        return std::make_shared<NSFileWrapper>(std::nullopt, bytes);
    }
}

qint64 NSFileWrapper::totalSize() const // NOLINT(misc-no-recursion): no deeper than the reader goes
{
    qint64 total = m_contents.size();
    for (const Child &child : m_children)
        total += child.wrapper->totalSize();
    return total;
}

} // namespace platform
