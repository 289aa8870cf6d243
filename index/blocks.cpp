#include "index/blocks.h"

#include "index/folding.h"

#include "platform/text/encoding.h"

#include <QDataStream>
#include <QIODevice>

#include <limits>

namespace indexing {

namespace {

constexpr size_t messagesInBlock = 16;
constexpr qsizetype textInBlock = 4000;     // UTF-16 units, after which a new block begins
constexpr qsizetype shortestKeptOnce = 100; // UTF-16 units, names of files included: less is simply repeated
constexpr quint8 hasFileNames = 8;          // beside the flags of its contents
constexpr auto noTime = std::numeric_limits<qint64>::min();
constexpr auto noPlace = std::numeric_limits<quint32>::max();

quint8 flagsOf(const Contents &contents)
{
    return quint8((contents.link ? 1U : 0U) | (contents.file ? 2U : 0U) | (contents.picture ? 4U : 0U));
}

Contents contentsFrom(quint8 flags)
{
    return {(flags & 1U) != 0, (flags & 2U) != 0, (flags & 4U) != 0};
}

} // namespace

std::vector<Block> blocksOf(const ChatRecord &record, const std::vector<quint32> &persons)
{
    std::vector<Block> blocks;
    std::vector<std::optional<quint32>> firstPlaces(record.texts.size());
    qsizetype size = 0;
    for (const ChatMessage &message : record.messages) {
        if (blocks.empty() || blocks.back().size() == messagesInBlock || size >= textInBlock) {
            blocks.emplace_back();
            size = 0;
        }
        StoredMessage stored{
            message.place, message.milliseconds, persons.at(message.person), message.contents, {}, {}, {}};
        const QString &text = record.texts.at(message.text);
        const QStringList fileNames = record.fileNames.value(message.text);
        const qsizetype textSize = text.size() + fileNames.join(QString()).size();
        auto &firstPlace = firstPlaces.at(message.text);
        if (firstPlace && textSize >= shortestKeptOnce) {
            stored.textOfPlace = firstPlace;
        } else {
            firstPlace = message.place;
            stored.text = text;
            stored.fileNames = fileNames;
            size += textSize;
        }
        blocks.back().push_back(std::move(stored));
    }
    return blocks;
}

QByteArray serialized(const Block &block)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    for (const StoredMessage &message : block) {
        const bool hasNames = !message.fileNames.isEmpty();
        stream << message.place << message.milliseconds.value_or(noTime) << message.person
               << quint8(flagsOf(message.contents) | (hasNames ? hasFileNames : 0U))
               << message.textOfPlace.value_or(noPlace) << platform::utf8FromString(message.text);
        if (hasNames)
            stream << message.fileNames;
    }
    return bytes;
}

Block blockFrom(const QByteArray &bytes)
{
    Block block;
    QDataStream stream(bytes);
    while (!stream.atEnd()) {
        StoredMessage message;
        qint64 time = noTime;
        quint32 textOfPlace = noPlace;
        quint8 flags = 0;
        QByteArray text;
        stream >> message.place >> time >> message.person >> flags >> textOfPlace >> text;
        if ((flags & hasFileNames) != 0)
            stream >> message.fileNames;
        if (stream.status() != QDataStream::Ok)
            break;
        if (time != noTime)
            message.milliseconds = time;
        if (textOfPlace != noPlace)
            message.textOfPlace = textOfPlace;
        message.contents = contentsFrom(flags);
        message.text = platform::stringFromUtf8(text);
        block.push_back(std::move(message));
    }
    return block;
}

QString foldedTexts(const Block &block)
{
    QString texts;
    for (const StoredMessage &message : block) {
        texts += folded(message.text);
        texts += u'\n'; // so that no group of characters goes from one into the next but through this
    }
    return texts;
}

} // namespace indexing
