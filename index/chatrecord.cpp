#include "index/chatrecord.h"

#include "VORAPresentity.h"

#include "platform/foundation/valuestream.h"

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
    QStringList fileNames; ///< of the attached files in it: see readableText()
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
    if (text.string().contains(QChar::ObjectReplacementCharacter))
        result.fileNames = fileNamesIn(text);
    result.contents = {result.links > 0, result.files > 0, result.pictures > 0};
    return result;
}

} // namespace

static constexpr auto membersOf(const Person * /*unused*/)
{
    return std::tuple(&Person::service, &Person::screenName);
}

static constexpr auto membersOf(const Contents * /*unused*/)
{
    return std::tuple(&Contents::link, &Contents::file, &Contents::picture);
}

static constexpr auto membersOf(const ChatMessage * /*unused*/)
{
    return std::tuple(&ChatMessage::place, &ChatMessage::milliseconds, &ChatMessage::person,
                      &ChatMessage::contents, &ChatMessage::text);
}

static constexpr auto membersOf(const ChatRecord * /*unused*/)
{
    return std::tuple(&ChatRecord::otherParty, &ChatRecord::people, &ChatRecord::participants,
                      &ChatRecord::texts, &ChatRecord::messages, &ChatRecord::words, &ChatRecord::links,
                      &ChatRecord::files, &ChatRecord::pictures);
}

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
        if (entry.text == texts.size()) { // each text is looked at once, however many messages have it
            texts.push_back(contentsOf(message));
            if (!texts.back().fileNames.isEmpty())
                record.fileNames.insert(entry.text, texts.back().fileNames);
        }
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

QStringList fileNamesIn(const platform::NSAttributedString &text)
{
    constexpr qsizetype mostNames = 64;
    constexpr qsizetype longestName = 120; // UTF-16 units
    QStringList names;
    qsizetype position = 0;
    for (const platform::NSAttributedString::Run &run : text.runs()) {
        const QStringView characters = QStringView(text.string()).sliced(position, run.length);
        position += run.length;
        const qsizetype count = characters.count(QChar::ObjectReplacementCharacter);
        if (count == 0)
            continue;
        const auto value =
            run.attributes ? run.attributes->objectForKey(platform::NSAttachmentAttributeName) : nullptr;
        const auto *const attachment = dynamic_cast<const platform::NSTextAttachment *>(value.get());
        const QString name = attachment && attachment->fileWrapper()
                                 ? attachment->fileWrapper()->preferredFilename().value_or(QString())
                                 : QString();
        for (qsizetype i = 0; i < count; ++i) {
            names += name.size() > longestName ? name.left(longestName - 1) + u'…' : name;
            if (names.size() == mostNames)
                return names;
        }
    }
    return names;
}

QString readableText(const QString &text, const QStringList &fileNames)
{
    if (!text.contains(QChar::ObjectReplacementCharacter))
        return text;
    QString result;
    qsizetype file = 0;
    for (const QChar character : text) {
        if (character != QChar::ObjectReplacementCharacter) {
            result += character;
            continue;
        }
        const QString name = fileNames.value(file++);
        result += u'[' + (name.isEmpty() ? QStringLiteral("file") : name) + u']';
    }
    return result;
}

QByteArray serialized(const ChatRecord &record)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    platform::writeValue(stream, record);
    stream << record.fileNames;
    return bytes;
}

ChatRecord chatRecordFrom(const QByteArray &bytes)
{
    ChatRecord record;
    QDataStream stream(bytes);
    platform::readValue(stream, record);
    stream >> record.fileNames;
    return record;
}

} // namespace indexing
