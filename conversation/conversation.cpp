#include "conversation/conversation.h"

#include "conversation/style.h"

#include "platform/addressbook/addressbook.h"
#include "platform/foundation/scalars.h"

#include <QHash>
#include <QSet>

#include <map>
#include <tuple>

namespace conversation {

namespace {

/// An AIM screen name as the service compares them: without blanks, in any case.
QString comparable(const QString &screenName)
{
    return screenName.toCaseFolded().remove(u' ');
}

Speaker speakerFrom(const VORAPresentity &presentity)
{
    Speaker speaker{presentity.Protocol(), presentity.rawName(), presentity.Name().value_or(QString())};
    if (speaker.displayName.isEmpty())
        speaker.displayName = speaker.screenName.value_or(QString());
    if (speaker.displayName.isEmpty())
        speaker.displayName = QStringLiteral("Unknown");
    return speaker;
}

/// Marks the user among the speakers: whoever bears a screen name of the user's card. Where nobody does, as
/// in chats of an account long gone, whoever is neither listed as a participant nor the other party.
void markUser(Conversation &conversation)
{
    QSet<QString> own;
    QSet<QString> others;
    if (const platform::ABPerson *me = platform::ABAddressBook::sharedAddressBook().me()) {
        for (const QString &name : me->aimNames)
            own.insert(comparable(name));
    }
    for (const Speaker &participant : conversation.participants)
        others.insert(comparable(participant.screenName.value_or(QString())));
    bool isMarked = false;
    for (Speaker &speaker : conversation.speakers) {
        speaker.isUser = speaker.screenName && own.contains(comparable(*speaker.screenName));
        isMarked |= speaker.isUser;
    }
    for (Speaker &speaker : conversation.speakers) {
        if (!isMarked && speaker.screenName)
            speaker.isUser = !others.contains(comparable(*speaker.screenName)) &&
                             speaker.displayName != conversation.otherParty &&
                             speaker.screenName != conversation.otherParty;
    }
}

/// Puts the parts of a chat into a conversation, each once.
class Collecting {
public:
    explicit Collecting(Conversation &conversation) : m_conversation(conversation)
    {
        m_conversation.styles.emplace_back();
    }

    void add(const VORAInstantMessage &message)
    {
        Message entry;
        if (message.TimeStamp())
            entry.milliseconds = message.TimeStamp()->unixMilliseconds();
        if (message.sender())
            entry.speaker = speaker(*message.sender());
        if (message.string() && !message.string()->string().isEmpty()) // one without characters is a notice
            entry.text = text(*message.string());
        if (message.fault())
            entry.fault = QString::fromLatin1(message.fault()->reason);
        m_conversation.messages.push_back(std::move(entry));
    }

private:
    /// How the characters of one set of attributes look and what they stand for.
    using Looks = Stretch; // without a length

    quint32 speaker(const VORAPresentity &presentity)
    {
        // Most messages name one of a few objects.
        if (const auto known = m_presentities.constFind(&presentity); known != m_presentities.cend())
            return *known;
        const auto key =
            std::pair(presentity.Protocol().value_or(QString()), presentity.rawName().value_or(QString()));
        auto number = m_speakers.constFind(key);
        if (number == m_speakers.cend()) {
            number = m_speakers.insert(key, quint32(m_conversation.speakers.size()));
            m_conversation.speakers.push_back(speakerFrom(presentity));
        }
        m_presentities.insert(&presentity, *number);
        return *number;
    }

    quint32 text(const platform::NSAttributedString &string)
    {
        if (const auto known = m_texts.constFind(&string); known != m_texts.cend())
            return *known;
        Text text{string.string(), {}};
        for (const auto &run : string.runs()) {
            Stretch stretch = looks(run.attributes);
            stretch.length = run.length;
            // A file is a character of its own: several of them may follow each other with one object.
            if (!text.stretches.empty() && !stretch.file) {
                Stretch &last = text.stretches.back();
                if (last.style == stretch.style && last.link == stretch.link && !last.file) {
                    last.length += stretch.length;
                    continue;
                }
            }
            text.stretches.push_back(stretch);
        }
        const auto number = quint32(m_conversation.texts.size());
        m_conversation.texts.push_back(std::move(text));
        m_texts.insert(&string, number);
        return number;
    }

    Looks looks(const platform::AttributesRef &attributes)
    {
        if (!attributes)
            return {};
        if (const auto known = m_looks.constFind(attributes.get()); known != m_looks.cend())
            return *known;
        Looks looks;
        looks.style = style(styleOf(attributes));
        looks.link = link(attributes->objectForKey(platform::NSLinkAttributeName).get());
        looks.file = file(attributes->objectForKey(platform::NSAttachmentAttributeName).get());
        m_looks.insert(attributes.get(), looks);
        return looks;
    }

    quint32 style(const Style &style)
    {
        auto &styles = m_conversation.styles;
        const std::tuple key(style.fontFamily, style.pointSize, style.bold, style.italic, style.color);
        const auto [place, isNew] = m_styles.try_emplace(key, quint32(styles.size()));
        if (isNew && style == styles.front())
            place->second = 0;
        else if (isNew)
            styles.push_back(style);
        return place->second;
    }

    std::optional<quint32> link(const platform::NSObject *value)
    {
        const auto *url = dynamic_cast<const platform::NSURL *>(value);
        const auto *string = dynamic_cast<const platform::NSString *>(value);
        if (!url && !string)
            return std::nullopt;
        const auto known = m_links.constFind(value);
        if (known != m_links.cend())
            return *known;
        m_conversation.links.push_back(url ? url->absoluteString() : string->string());
        return *m_links.insert(value, quint32(m_conversation.links.size()) - 1);
    }

    std::optional<quint32> file(const platform::NSObject *value)
    {
        const auto *attachment = dynamic_cast<const platform::NSTextAttachment *>(value);
        if (!attachment)
            return std::nullopt;
        const auto known = m_files.constFind(attachment->fileWrapper().get());
        if (known != m_files.cend())
            return *known;
        m_conversation.files.push_back(attachment->fileWrapper());
        return *m_files.insert(attachment->fileWrapper().get(), quint32(m_conversation.files.size()) - 1);
    }

    Conversation &m_conversation;
    QHash<const VORAPresentity *, quint32> m_presentities;
    QHash<std::pair<QString, QString>, quint32> m_speakers;
    QHash<const platform::NSAttributedString *, quint32> m_texts;
    QHash<const platform::NSDictionary *, Looks> m_looks;
    std::map<std::tuple<QString, double, bool, bool, std::optional<std::array<quint8, 3>>>, quint32> m_styles;
    QHash<const platform::NSObject *, quint32> m_links;
    QHash<const platform::NSFileWrapper *, quint32> m_files;
};

} // namespace

Conversation conversationOf(const VORAChatLog &chatLog)
{
    const platform::ABAddressBook::Reading reading;
    Conversation conversation;
    conversation.otherParty = chatLog.primaryOtherParty();
    for (const auto &participant : chatLog.participants())
        conversation.participants.push_back(speakerFrom(*participant));
    Collecting collecting(conversation);
    conversation.messages.reserve(chatLog.messages().size());
    for (const auto &message : chatLog.messages())
        collecting.add(*message);
    markUser(conversation);
    return conversation;
}

} // namespace conversation
