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
constexpr qsizetype shortestKeptOnce = 100; // UTF-16 units: shorter texts are simply repeated
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
            message.place, message.milliseconds, persons.at(message.person), message.contents, {}, {}};
        const QString &text = record.texts.at(message.text);
        auto &firstPlace = firstPlaces.at(message.text);
        if (firstPlace && text.size() >= shortestKeptOnce) {
            stored.textOfPlace = firstPlace;
        } else {
            firstPlace = message.place;
            stored.text = text;
            size += text.size();
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
        stream << message.place << message.milliseconds.value_or(noTime) << message.person
               << flagsOf(message.contents) << message.textOfPlace.value_or(noPlace)
               << platform::utf8FromString(message.text);
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
