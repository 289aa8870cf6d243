#include "VORAChatLog.h"

#include "VORAPerson.h"

#include "platform/appkit/appkitclasses.h"
#include "platform/archive/nskeyedunarchiver.h"
#include "platform/archive/nsunarchiver.h"
#include "platform/files/files.h"
#include "platform/log/nslog.h"
#include "platform/text/encoding.h"

using platform::NSArray;

namespace {

// Where iChat puts things in the root array; the other elements do not matter here.
constexpr size_t messageListIndex = 2;
constexpr size_t participantListIndex = 3;

const platform::ClassTable &transcriptClasses()
{
    static const platform::ClassTable table = [] {
        platform::ClassTable classes;
        platform::addFoundationClasses(classes);
        platform::addAppKitClasses(classes);
        classes.insert("VORAInstantMessage", platform::makersOf<VORAInstantMessage>());
        classes.insert("VORAPresentity", platform::makersOf<VORAPresentity>());
        classes.insert("VORAPerson", platform::makersOf<VORAPerson>());
        return classes;
    }();
    return table;
}

/// The list at @p index of the root array, null when there is none.
const NSArray *listAt(const NSArray &root, size_t index)
{
    return index < root.objects().size() ? dynamic_cast<const NSArray *>(root.objects()[index].get())
                                         : nullptr;
}

/// The elements of @p list that are of class T.
template <class T>
std::vector<std::shared_ptr<const T>> elementsOf(const NSArray *list)
{
    std::vector<std::shared_ptr<const T>> elements;
    if (!list)
        return elements;
    elements.reserve(list->objects().size());
    for (const platform::ObjectRef &object : list->objects()) {
        if (auto element = std::dynamic_pointer_cast<const T>(object))
            elements.push_back(std::move(element));
    }
    return elements;
}

} // namespace

VORAChatLog::VORAChatLog(std::shared_ptr<const NSArray> loadedArray, QString primaryOtherParty)
    : m_loadedArray(std::move(loadedArray)), m_primaryOtherParty(std::move(primaryOtherParty)),
      m_messages(elementsOf<VORAInstantMessage>(listAt(*m_loadedArray, messageListIndex))),
      m_participants(elementsOf<VORAPresentity>(listAt(*m_loadedArray, participantListIndex)))
{
    if (const NSArray *participants = listAt(*m_loadedArray, participantListIndex))
        m_participantCount = qint64(participants->objects().size());
}

VORAChatLog::Loading VORAChatLog::load(const std::filesystem::path &path)
{
    return load(path, path.filename().native());
}

VORAChatLog::Loading VORAChatLog::load(const std::filesystem::path &path, const std::string &fileName)
{
    const auto notATranscript = [](QString reason) {
        return Loading{Outcome::NotATranscript, nullptr, std::move(reason)};
    };
    const auto unreadable = [](const std::string &reason) {
        return Loading{Outcome::Unreadable, nullptr, platform::stringFromUtf8(reason)};
    };

    const size_t point = fileName.rfind('.');
    const std::string extension = point == std::string::npos ? std::string() : fileName.substr(point + 1);
    if (extension != "chat" && extension != "ichat")
        return notATranscript(QStringLiteral("its name ends neither in \".chat\" nor in \".ichat\""));

    const platform::FileContents file = platform::readWholeFile(path);
    if (!file.bytes)
        return unreadable(file.error);
    std::shared_ptr<const NSArray> root;
    try {
        root = extension == "chat" ? LoadiChat2Data(*file.bytes) : LoadiChat3Data(*file.bytes);
    } catch (const platform::FormatError &error) {
        return unreadable(error.description());
    }
    if (!root || !listAt(*root, messageListIndex))
        return unreadable("it holds no list of messages");

    const size_t separator = fileName.rfind(" on ");
    if (separator == std::string::npos)
        return notATranscript(
            QStringLiteral("its name holds no \" on \" between the other party and the date"));
    return {Outcome::Loaded,
            std::unique_ptr<VORAChatLog>(
                new VORAChatLog(std::move(root), platform::stringFromUtf8(fileName.substr(0, separator)))),
            {}};
}

std::unique_ptr<VORAChatLog> VORAChatLog::initWithFilePath(const std::filesystem::path &path,
                                                           Outcome *outcome, QString *reason)
{
    Loading loading = load(path);
    if (loading.outcome == Outcome::Unreadable)
        platform::NSLogBytes(QByteArray::fromStdString(path.native()) + ": " +
                             platform::utf8FromString(loading.reason));
    if (outcome)
        *outcome = loading.outcome;
    if (reason)
        *reason = loading.reason;
    return std::move(loading.chatLog);
}

std::shared_ptr<const NSArray> VORAChatLog::LoadiChat2Data(const QByteArray &data)
{
    const auto unarchiver = platform::NSUnarchiver::initForReadingWithData(data, transcriptClasses());
    unarchiver->decodeClassName("InstantMessage", "VORAInstantMessage");
    unarchiver->decodeClassName("Presentity", "VORAPresentity");
    unarchiver->decodeClassName("Person", "VORAPerson");
    return unarchiver->decode<NSArray>();
}

std::shared_ptr<const NSArray> VORAChatLog::LoadiChat3Data(const QByteArray &data)
{
    const auto unarchiver = platform::NSKeyedUnarchiver::initForReadingWithData(data, transcriptClasses());
    unarchiver->setClass(platform::makersOf<VORAInstantMessage>(), "InstantMessage");
    unarchiver->setClass(platform::makersOf<VORAPresentity>(), "Presentity");
    unarchiver->setClass(platform::makersOf<VORAPerson>(), "Person");
    return unarchiver->decodeForKey<NSArray>("root");
}

std::unique_ptr<VORAChatLog> VORAChatLog::withMessages(const Messages &messages, const QString &otherParty,
                                                       const Participants &participants)
{
    const auto list = [](const auto &elements) {
        return std::make_shared<NSArray>(std::vector<platform::ObjectRef>(elements.begin(), elements.end()));
    };
    const std::vector<platform::ObjectRef> root{nullptr, nullptr, list(messages), list(participants)};
    return std::unique_ptr<VORAChatLog>(new VORAChatLog(std::make_shared<NSArray>(root), otherParty));
}

QString VORAChatLog::description() const
{
    return m_loadedArray->description();
}

std::optional<platform::NSDate> VORAChatLog::LastMessageDate() const
{
    return m_messages.empty() ? std::nullopt : m_messages.back()->TimeStamp();
}
