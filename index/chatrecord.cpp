#include "index/chatrecord.h"

#include "VORAPresentity.h"

#include <QDataStream>
#include <QHash>
#include <QIODevice>
#include <QSet>

#include <algorithm>

namespace indexing {

namespace {

/// Gives every person and every text of a chat a number.
class Numbering {
public:
    explicit Numbering(ChatRecord &record) : m_record(record) {}

    quint32 person(const VORAPresentity &presentity)
    {
        // Most messages name one of a few objects.
        if (const auto known = m_presentities.constFind(&presentity); known != m_presentities.cend())
            return *known;
        const Person person{presentity.Protocol(), presentity.rawName()};
        const auto key = std::pair(person.service.value_or(QString()), person.screenName.value_or(QString()));
        auto number = m_people.constFind(key);
        if (number == m_people.cend() || m_record.people[*number] != person) {
            number = m_people.insert(key, quint32(m_record.people.size()));
            m_record.people.push_back(person);
        }
        m_presentities.insert(&presentity, *number);
        return *number;
    }

    quint32 text(const platform::NSAttributedString &text)
    {
        const auto known = m_texts.constFind(&text);
        if (known != m_texts.cend())
            return *known;
        m_texts.insert(&text, quint32(m_record.texts.size()));
        m_record.texts.push_back(text.string());
        return quint32(m_record.texts.size()) - 1;
    }

private:
    ChatRecord &m_record;
    QHash<const VORAPresentity *, quint32> m_presentities;
    QHash<std::pair<QString, QString>, quint32> m_people;
    QHash<const platform::NSAttributedString *, quint32> m_texts;
};

bool isPicture(const platform::NSFileWrapper &file)
{
    static const QSet<QString> extensions{
        QStringLiteral("jpg"),  QStringLiteral("jpeg"), QStringLiteral("png"),  QStringLiteral("gif"),
        QStringLiteral("tif"),  QStringLiteral("tiff"), QStringLiteral("bmp"),  QStringLiteral("webp"),
        QStringLiteral("heic"), QStringLiteral("pict"), QStringLiteral("pct"),  QStringLiteral("psd"),
        QStringLiteral("svg"),  QStringLiteral("jp2"),  QStringLiteral("icns"), QStringLiteral("ico")};
    const QString name = file.preferredFilename().value_or(QString());
    return file.isRegularFile() && extensions.contains(name.mid(name.lastIndexOf(u'.') + 1).toLower());
}

/// What a text brings to every message that has it.
struct TextContents {
    Contents contents;
    qint64 words = 0;
    qint64 links = 0;
    qint64 files = 0;
    qint64 pictures = 0;
};

TextContents contentsOf(const VORAInstantMessage &message)
{
    const auto &text = *message.string();
    TextContents result;
    result.words = message.wordCountInSet(nullptr);
    if (text.hasAttribute(platform::NSLinkAttributeName))
        result.links = qint64(message.allURLs().urls.size());
    if (text.hasAttribute(platform::NSAttachmentAttributeName)) {
        const auto files = message.allImages().images;
        result.files = qint64(files.size());
        result.pictures =
            std::count_if(files.begin(), files.end(), [](const auto &file) { return isPicture(*file); });
    }
    result.contents = {result.links > 0, result.files > 0, result.pictures > 0};
    return result;
}

// Not as operators: Qt has some for std::optional from 6.6 on.
template <class Value>
void write(QDataStream &stream, const std::optional<Value> &value)
{
    stream << value.has_value() << value.value_or(Value());
}

template <class Value>
void read(QDataStream &stream, std::optional<Value> &value)
{
    bool isThere = false;
    stream >> isThere >> value.emplace();
    if (!isThere)
        value.reset();
}

void write(QDataStream &stream, const QString &text)
{
    stream << text;
}

void read(QDataStream &stream, QString &text)
{
    stream >> text;
}

void write(QDataStream &stream, const Person &person)
{
    write(stream, person.service);
    write(stream, person.screenName);
}

void read(QDataStream &stream, Person &person)
{
    read(stream, person.service);
    read(stream, person.screenName);
}

void write(QDataStream &stream, const ChatMessage &message)
{
    write(stream, message.milliseconds);
    stream << message.place << message.person << message.contents.link << message.contents.file
           << message.contents.picture << message.text;
}

void read(QDataStream &stream, ChatMessage &message)
{
    read(stream, message.milliseconds);
    stream >> message.place >> message.person >> message.contents.link >> message.contents.file >>
        message.contents.picture >> message.text;
}

template <class Element>
void write(QDataStream &stream, const std::vector<Element> &elements)
{
    stream << quint32(elements.size());
    for (const Element &element : elements)
        write(stream, element);
}

template <class Element>
void read(QDataStream &stream, std::vector<Element> &elements)
{
    quint32 count = 0;
    stream >> count;
    for (quint32 i = 0; i < count && stream.status() == QDataStream::Ok; ++i)
        read(stream, elements.emplace_back());
}

} // namespace

QString Person::displayName() const
{
    return VORAPresentity(service, screenName).Name().value_or(QString());
}

ChatRecord recordOf(const VORAChatLog &chatLog)
{
    ChatRecord record;
    record.otherParty = chatLog.primaryOtherParty();
    Numbering numbers(record);
    for (const auto &participant : chatLog.participants())
        (void)numbers.person(*participant);
    record.participants = quint32(record.people.size());
    std::vector<TextContents> texts;
    const auto &messages = chatLog.messages();
    for (size_t place = 0; place < messages.size(); ++place) {
        const VORAInstantMessage &message = *messages[place];
        if (message.isStatusMessage())
            continue;
        ChatMessage entry;
        entry.place = quint32(place);
        if (message.TimeStamp())
            entry.milliseconds = message.TimeStamp()->unixMilliseconds();
        entry.person = numbers.person(*message.sender());
        entry.text = numbers.text(*message.string());
        if (entry.text == texts.size()) // each text is looked at once, however many messages have it
            texts.push_back(contentsOf(message));
        const TextContents &contents = texts[entry.text];
        entry.contents = contents.contents;
        record.words += contents.words;
        record.links += contents.links;
        record.files += contents.files;
        record.pictures += contents.pictures;
        record.messages.push_back(entry);
    }
    return record;
}

QByteArray serialized(const ChatRecord &record)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << record.otherParty;
    write(stream, record.people);
    stream << record.participants;
    write(stream, record.texts);
    write(stream, record.messages);
    stream << record.words << record.links << record.files << record.pictures;
    return bytes;
}

ChatRecord chatRecordFrom(const QByteArray &bytes)
{
    ChatRecord record;
    QDataStream stream(bytes);
    stream >> record.otherParty;
    read(stream, record.people);
    stream >> record.participants;
    read(stream, record.texts);
    read(stream, record.messages);
    stream >> record.words >> record.links >> record.files >> record.pictures;
    return record;
}

} // namespace indexing
