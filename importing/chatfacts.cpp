#include "importing/chatfacts.h"

#include "VORAChatLog.h"

#include "platform/appkit/nscolor.h"
#include "platform/appkit/nsfont.h"
#include "platform/foundation/scalars.h"
#include "platform/propertylist/readers.h"
#include "platform/text/encoding.h"

#include <QCryptographicHash>
#include <QHash>

#include <algorithm>
#include <bit>
#include <cmath>
#include <string_view>

namespace importing {

namespace {

constexpr auto algorithm = QCryptographicHash::Blake2b_256;

/// Values one after another, each with what tells where it ends.
class Digest {
public:
    void number(qint64 value)
    {
        m_hash.addData(QByteArrayView(reinterpret_cast<const char *>(&value), sizeof value));
    }
    void real(double value) { number(std::bit_cast<qint64>(value)); }
    void bytes(QByteArrayView bytes)
    {
        number(bytes.size());
        m_hash.addData(bytes);
    }
    void text(QStringView text)
    {
        bytes(QByteArrayView(reinterpret_cast<const char *>(text.utf16()),
                             text.size() * qsizetype(sizeof(char16_t))));
    }
    template <class Value, class Add>
    void optional(const Value &value, Add add)
    {
        number(value ? 1 : 0);
        if (value)
            add(*value);
    }
    [[nodiscard]] QByteArray result() const { return m_hash.result(); }

private:
    QCryptographicHash m_hash{algorithm};
};

void addPresentity(Digest &digest, const VORAPresentity &presentity)
{
    const auto text = [&](const QString &value) { digest.text(value); };
    digest.optional(presentity.Protocol(), text);
    digest.optional(presentity.rawName(), text);
}

void addSenderAndTime(Digest &digest, const VORAInstantMessage &message)
{
    digest.optional(message.sender(), [&](const VORAPresentity &sender) { addPresentity(digest, sender); });
    digest.optional(message.TimeStamp(), [&](const platform::NSDate &time) {
        digest.real(time.timeIntervalSinceReferenceDate());
    });
}

/// Digests of objects by their contents. Each object is looked at once, however often others name it.
class ObjectDigests {
public:
    /// Of what the program knows of an object; of a class that it does not know, the name.
    QByteArray of(const platform::NSObject *object)
    {
        if (!object)
            return {};
        if (const auto known = m_digests.constFind(object); known != m_digests.constEnd())
            return *known;
        Digest digest;
        digest.text(object->className());
        addContents(digest, *object);
        return *m_digests.insert(object, digest.result());
    }

private:
    template <class Range, class Projection>
    void addAll(Digest &digest, const Range &range, Projection add)
    {
        digest.number(std::ssize(range));
        for (const auto &element : range)
            add(element);
    }

    void addContents(Digest &digest, const platform::NSObject &object)
    {
        const auto element = [&](const platform::ObjectRef &value) { digest.bytes(of(value.get())); };
        if (const auto *string = dynamic_cast<const platform::NSString *>(&object)) {
            digest.text(string->string());
        } else if (const auto *url = dynamic_cast<const platform::NSURL *>(&object)) {
            digest.text(url->relativeString());
            digest.bytes(of(url->baseURL().get()));
        } else if (const auto *font = dynamic_cast<const platform::NSFont *>(&object)) {
            digest.text(font->fontName());
            digest.real(font->pointSize());
        } else if (const auto *color = dynamic_cast<const platform::NSColor *>(&object)) {
            digest.optional(color->deviceRGB(), [&](const platform::NSColor::DeviceRGB &rgb) {
                std::ranges::for_each(rgb, [&](double component) { digest.real(component); });
            });
        } else if (const auto *attachment = dynamic_cast<const platform::NSTextAttachment *>(&object)) {
            digest.bytes(of(attachment->fileWrapper().get()));
        } else if (const auto *wrapper = dynamic_cast<const platform::NSFileWrapper *>(&object)) {
            digest.optional(wrapper->preferredFilename(), [&](const QString &name) { digest.text(name); });
            digest.number(wrapper->isRegularFile() ? 1 : 0);
            digest.bytes(wrapper->regularFileContents());
            addAll(digest, wrapper->children(), [&](const platform::NSFileWrapper::Child &child) {
                digest.text(child.name);
                digest.bytes(of(child.wrapper.get()));
            });
        } else if (const auto *dictionary = dynamic_cast<const platform::NSDictionary *>(&object)) {
            addAll(digest, dictionary->entries(), [&](const platform::NSDictionary::Entry &entry) {
                digest.text(entry.key);
                element(entry.value);
            });
        } else if (const auto *array = dynamic_cast<const platform::NSArray *>(&object)) {
            addAll(digest, array->objects(), element);
        } else if (const auto *set = dynamic_cast<const platform::NSSet *>(&object)) {
            addAll(digest, set->objects(), element);
        } else if (const auto *text = dynamic_cast<const platform::NSAttributedString *>(&object)) {
            digest.text(text->string());
            addAll(digest, text->runs(), [&](const platform::NSAttributedString::Run &run) {
                digest.number(run.length);
                digest.bytes(of(run.attributes.get()));
            });
        } else {
            digest.text(object.description()); // numbers, dates, data; else the class
        }
    }

    QHash<const platform::NSObject *, QByteArray> m_digests;
};

VORAChatLog::Loading load(const QByteArray &bytes, Kind kind)
{
    return VORAChatLog::loadBytes(bytes, kind == Kind::Chat ? " on .chat" : " on .ichat");
}

/// Whether the bytes begin as an archive of the kind does; no more of the beginning is asked for than there
/// is.
bool beginsAsArchive(const QByteArray &bytes, Kind kind)
{
    const auto begins = [&](std::string_view with) {
        return std::string_view(bytes.data(), size_t(bytes.size())).substr(0, with.size()) ==
               with.substr(0, size_t(bytes.size()));
    };
    if (kind == Kind::Chat)
        return begins("\x04\x0bstreamtyped") || begins("\x04\x0btypedstream");
    return begins("bplist0") || platform::looksXml(bytes);
}

std::optional<timespec> unixTime(const platform::NSDate &date)
{
    constexpr qint64 secondsUntil2001 = 978307200;
    constexpr qint64 least = -(qint64(1) << 31); // what the usual file systems hold
    constexpr qint64 past = qint64(1) << 34;
    const double interval = date.timeIntervalSinceReferenceDate();
    const double whole = std::floor(interval);
    const qint64 seconds = qint64(whole) + secondsUntil2001;
    if (seconds < least || seconds >= past)
        return std::nullopt;
    return timespec{seconds, long((interval - whole) * 1e9)};
}

} // namespace

QByteArray digestOf(const QByteArray &bytes)
{
    return QCryptographicHash::hash(bytes, algorithm);
}

ChatFacts factsOf(const QByteArray &bytes, Kind kind)
{
    ChatFacts facts;
    const VORAChatLog::Loading loading = load(bytes, kind);
    if (!loading) {
        facts.reason = bytes.isEmpty() ? QStringLiteral("it is empty")
                                       : platform::stringFromUtf8(loading.error().reason);
        if (beginsAsArchive(bytes, kind))
            facts.condition = ChatFacts::Condition::Damaged;
        return facts;
    }
    const VORAChatLog *chatLog = loading->get();
    facts.condition = ChatFacts::Condition::Whole;
    facts.reason = chatLog->unreadableMessagesNote();
    const VORAChatLog::Messages &messages = chatLog->messages();
    facts.messages = std::ssize(messages);
    for (auto message = messages.rbegin(); message != messages.rend() && !facts.lastMessage; ++message) {
        if ((*message)->TimeStamp())
            facts.lastMessage = unixTime(*(*message)->TimeStamp());
    }
    if (messages.empty())
        return facts;
    if (chatLog->unreadableMessages() > 0) { // nobody can tell whether another one holds all of it
        facts.condition = ChatFacts::Condition::Damaged;
        return facts;
    }

    std::vector<QByteArray> participants;
    for (const auto &participant : chatLog->participants()) {
        Digest digest;
        addPresentity(digest, *participant);
        participants.push_back(digest.result());
    }
    std::ranges::sort(participants);
    Digest chat;
    for (const QByteArray &participant : participants)
        chat.bytes(participant);
    addSenderAndTime(chat, *messages.front());
    facts.chat = chat.result();
    return facts;
}

std::vector<QByteArray> beginningsOf(const QByteArray &bytes, Kind kind)
{
    std::vector<QByteArray> beginnings;
    const VORAChatLog::Loading loading = load(bytes, kind);
    if (!loading)
        return beginnings;
    ObjectDigests objects;
    for (const auto &message : (*loading)->messages()) {
        Digest digest;
        if (!beginnings.empty())
            digest.bytes(beginnings.back());
        addSenderAndTime(digest, *message);
        digest.bytes(objects.of(message->string().get()));
        beginnings.push_back(digest.result());
    }
    return beginnings;
}

} // namespace importing
