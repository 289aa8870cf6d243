#include "conversation/conversation.h"

#include "platform/foundation/valuestream.h"

#include <QHash>
#include <QIODevice>

namespace conversation {

using platform::NSFileWrapper;

namespace {

/// Characters or bytes as what shares them is told by.
using Identity = std::pair<const void *, qsizetype>;

template <class Shared>
Identity identity(const Shared &shared)
{
    return {shared.constData(), shared.size()};
}

} // namespace

/// A text, by the position of its characters.
struct StoredText {
    quint32 characters = 0;
    std::vector<Stretch> stretches;
};

struct StoredChild {
    QString name;
    quint32 file = 0; ///< position of a file that stands before its folder
};

struct StoredFile {
    bool isRegular = true;
    std::optional<QString> name;
    quint32 contents = 0; ///< position of its bytes
    std::vector<StoredChild> children;
};

/// What the conversation holds by pointers that many of its parts may share: as bytes they stand once too.
struct Stored {
    std::vector<QString> characters;
    std::vector<StoredText> texts;
    std::vector<QByteArray> contents;
    std::vector<StoredFile> files;                ///< with those inside of folders
    std::vector<std::optional<quint32>> attached; ///< for each of Conversation::files its position in `files`
};

namespace {

class Storing {
public:
    explicit Storing(const Conversation &conversation)
    {
        for (const Text &text : conversation.texts) {
            m_stored.texts.push_back(
                {number(text.characters, m_characters, m_stored.characters), text.stretches});
        }
        for (const auto &wrapper : conversation.files)
            m_stored.attached.push_back(wrapper ? std::optional(add(*wrapper)) : std::nullopt);
    }

    [[nodiscard]] const Stored &stored() const { return m_stored; }

private:
    template <class Shared>
    static quint32 number(const Shared &shared, QHash<Identity, quint32> &numbers, std::vector<Shared> &list)
    {
        const auto known = numbers.constFind(identity(shared));
        if (known != numbers.cend())
            return *known;
        list.push_back(shared);
        return *numbers.insert(identity(shared), quint32(list.size()) - 1);
    }

    quint32 add(const NSFileWrapper &wrapper) // as deep as its folders are, which the unarchivers bound
    {
        if (const auto known = m_files.constFind(&wrapper); known != m_files.cend())
            return *known;
        StoredFile file{wrapper.isRegularFile(),
                        wrapper.preferredFilename(),
                        number(wrapper.regularFileContents(), m_contents, m_stored.contents),
                        {}};
        for (const NSFileWrapper::Child &child : wrapper.children())
            file.children.push_back({child.name, add(*child.wrapper)});
        m_stored.files.push_back(std::move(file));
        return *m_files.insert(&wrapper, quint32(m_stored.files.size()) - 1);
    }

    Stored m_stored;
    QHash<Identity, quint32> m_characters;
    QHash<Identity, quint32> m_contents;
    QHash<const NSFileWrapper *, quint32> m_files;
};

void restore(const Stored &stored, Conversation &conversation)
{
    for (const StoredText &text : stored.texts)
        conversation.texts.push_back({stored.characters[text.characters], text.stretches});
    std::vector<std::shared_ptr<const NSFileWrapper>> files;
    for (const StoredFile &file : stored.files) {
        if (file.isRegular) {
            files.push_back(std::make_shared<NSFileWrapper>(file.name, stored.contents[file.contents]));
            continue;
        }
        std::vector<NSFileWrapper::Child> children;
        for (const StoredChild &child : file.children)
            children.push_back({child.name, files[child.file]});
        files.push_back(std::make_shared<NSFileWrapper>(file.name, std::move(children)));
    }
    for (const std::optional<quint32> &file : stored.attached)
        conversation.files.push_back(file ? files[*file] : nullptr);
}

} // namespace

static constexpr auto membersOf(const Speaker * /*unused*/)
{
    return std::tuple(&Speaker::service, &Speaker::screenName, &Speaker::displayName, &Speaker::isUser);
}

static constexpr auto membersOf(const Style * /*unused*/)
{
    return std::tuple(&Style::fontFamily, &Style::pointSize, &Style::bold, &Style::italic, &Style::color);
}

static constexpr auto membersOf(const Stretch * /*unused*/)
{
    return std::tuple(&Stretch::length, &Stretch::style, &Stretch::link, &Stretch::file);
}

static constexpr auto membersOf(const Message * /*unused*/)
{
    return std::tuple(&Message::milliseconds, &Message::speaker, &Message::text, &Message::fault);
}

static constexpr auto membersOf(const StoredText * /*unused*/)
{
    return std::tuple(&StoredText::characters, &StoredText::stretches);
}

static constexpr auto membersOf(const StoredChild * /*unused*/)
{
    return std::tuple(&StoredChild::name, &StoredChild::file);
}

static constexpr auto membersOf(const StoredFile * /*unused*/)
{
    return std::tuple(&StoredFile::isRegular, &StoredFile::name, &StoredFile::contents,
                      &StoredFile::children);
}

static constexpr auto membersOf(const Stored * /*unused*/)
{
    return std::tuple(&Stored::characters, &Stored::texts, &Stored::contents, &Stored::files,
                      &Stored::attached);
}

// All but what Stored stands in for.
static constexpr auto membersOf(const Conversation * /*unused*/)
{
    return std::tuple(&Conversation::otherParty, &Conversation::participants, &Conversation::speakers,
                      &Conversation::messages, &Conversation::styles, &Conversation::links);
}

QByteArray serialized(const Conversation &conversation)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    platform::writeValue(stream, conversation);
    platform::writeValue(stream, Storing(conversation).stored());
    return bytes;
}

Conversation conversationFrom(const QByteArray &bytes)
{
    Conversation conversation;
    Stored stored;
    QDataStream stream(bytes);
    platform::readValue(stream, conversation);
    platform::readValue(stream, stored);
    restore(stored, conversation);
    return conversation;
}

} // namespace conversation
