#include "VORAChatLog.h"

#include "VORAPerson.h"

#include "platform/appkit/appkitclasses.h"
#include "platform/archive/nskeyedunarchiver.h"
#include "platform/archive/nsunarchiver.h"
#include "platform/files/files.h"
#include "platform/log/nslog.h"
#include "platform/text/encoding.h"

#include <algorithm>
#include <new>

using platform::Failure;
using platform::FailureKind;
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

/// Why bytes that are no archive of the kind that @p extension stands for are none, when they are something
/// that can be named.
const char *whatElse(const QByteArray &bytes, std::string_view extension)
{
    if (bytes.isEmpty())
        return "the file is empty";
    if (extension == "ichat" && platform::NSUnarchiver::looksLikeTypedStream(bytes))
        return "this is an iChat 2 archive, whose name should end in .chat";
    if (extension == "chat" && platform::NSKeyedUnarchiver::looksLikePropertyList(bytes))
        return "this is an iChat 3 archive, whose name should end in .ichat";
    return nullptr;
}

/// The list at @p index of the root array, null when there is none.
const NSArray *listAt(const NSArray &root, size_t index)
{
    return index < root.objects().size() ? dynamic_cast<const NSArray *>(root.objects()[index].get())
                                         : nullptr;
}

tl::unexpected<Failure> doesNotFit(const std::filesystem::path &path)
{
    return tl::unexpected(Failure{FailureKind::OutOfMemory, path, "it does not fit into memory"});
}

/// @throws platform::LayoutError when there is a list of messages that could not be read.
bool hasMessageList(const NSArray &root)
{
    return root.objects().size() > messageListIndex &&
           platform::readable<NSArray>(root.objects()[messageListIndex]);
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

/// What stands behind the last point of a name, when that is what a transcript has there.
std::optional<std::string_view> extensionOf(std::string_view fileName)
{
    const size_t point = fileName.rfind('.');
    const std::string_view extension =
        point == std::string_view::npos ? std::string_view() : fileName.substr(point + 1);
    return extension == "chat" || extension == "ichat" ? std::optional(extension) : std::nullopt;
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

VORAChatLog::Loading VORAChatLog::load(const std::filesystem::path &path, const std::string &fileName,
                                       const std::function<void(const QByteArray &)> &whenRead)
{
    try {
        // What is no transcript by its name is not read.
        const platform::Result<QByteArray> file =
            extensionOf(fileName) ? platform::readWholeFile(path) : QByteArray();
        if (!file)
            return tl::unexpected(file.error());
        if (whenRead)
            whenRead(*file);
        return loadWhole(*file, path, fileName);
    } catch (const std::bad_alloc &) {
        return doesNotFit(path);
    }
}

VORAChatLog::Loading VORAChatLog::loadBytes(const QByteArray &bytes, const std::string &fileName)
{
    try {
        return loadWhole(bytes, fileName, fileName);
    } catch (const std::bad_alloc &) {
        return doesNotFit(fileName);
    }
}

VORAChatLog::Loading VORAChatLog::loadWhole(const QByteArray &bytes, const std::filesystem::path &path,
                                            const std::string &fileName)
{
    const auto fail = [&path](FailureKind kind, std::string reason, std::optional<qint64> offset = {}) {
        return tl::unexpected(Failure{kind, path, std::move(reason), offset});
    };

    const std::optional<std::string_view> extension = extensionOf(fileName);
    if (!extension)
        return fail(FailureKind::WrongName, "its name ends neither in \".chat\" nor in \".ichat\"");

    std::shared_ptr<const NSArray> root;
    try {
        root = *extension == "chat" ? LoadiChat2Data(bytes) : LoadiChat3Data(bytes);
        if (!root || !hasMessageList(*root))
            return fail(FailureKind::Malformed, "it holds no list of messages");
    } catch (const platform::FormatError &error) {
        const char *known = whatElse(bytes, *extension);
        const platform::FormatError &told = known ? platform::FormatError(0, known) : error;
        return fail(FailureKind::Malformed, told.description(), told.offset());
    }

    const size_t separator = fileName.rfind(" on ");
    if (separator == std::string::npos)
        return fail(FailureKind::WrongName,
                    "its name holds no \" on \" between the other party and the date");
    return std::unique_ptr<VORAChatLog>(
        new VORAChatLog(std::move(root), platform::stringFromUtf8(fileName.substr(0, separator))));
}

VORAChatLog::Loading VORAChatLog::loadAndLog(const std::filesystem::path &path,
                                             const std::function<void(const QByteArray &)> &whenRead)
{
    Loading loading = load(path, path.filename().native(), whenRead);
    if (!loading && loading.error().kind != FailureKind::WrongName)
        platform::NSLogBytes(loading.error().line());
    if (loading && (*loading)->unreadableMessages() > 0) {
        const QByteArray note = platform::utf8FromString((*loading)->unreadableMessagesNote());
        platform::NSLogBytes(Failure{FailureKind::Malformed, path, note.toStdString()}.line());
    }
    return loading;
}

std::unique_ptr<VORAChatLog> VORAChatLog::initWithFilePath(const std::filesystem::path &path)
{
    Loading loading = loadAndLog(path);
    return loading ? std::move(*loading) : nullptr;
}

std::shared_ptr<const NSArray> VORAChatLog::LoadiChat2Data(const QByteArray &data)
{
    const auto unarchiver = platform::NSUnarchiver::initForReadingWithData(data, transcriptClasses());
    unarchiver->decodeClassName("InstantMessage", "VORAInstantMessage");
    unarchiver->decodeClassName("Presentity", "VORAPresentity");
    unarchiver->decodeClassName("Person", "VORAPerson");
    return platform::readable<NSArray>(unarchiver->decodeObject());
}

std::shared_ptr<const NSArray> VORAChatLog::LoadiChat3Data(const QByteArray &data)
{
    const auto unarchiver = platform::NSKeyedUnarchiver::initForReadingWithData(data, transcriptClasses());
    unarchiver->setClass(platform::makersOf<VORAInstantMessage>(), "InstantMessage");
    unarchiver->setClass(platform::makersOf<VORAPresentity>(), "Presentity");
    unarchiver->setClass(platform::makersOf<VORAPerson>(), "Person");
    return platform::readable<NSArray>(unarchiver->decodeObjectForKey("root"));
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
    const auto last = std::find_if(m_messages.rbegin(), m_messages.rend(), [](const auto &message) {
        return message->TimeStamp() || !message->fault();
    });
    return last != m_messages.rend() ? (*last)->TimeStamp() : std::nullopt;
}

qsizetype VORAChatLog::unreadableMessages() const
{
    return std::count_if(m_messages.begin(), m_messages.end(),
                         [](const auto &message) { return message->fault().has_value(); });
}

QString VORAChatLog::unreadableMessagesNote() const
{
    const qsizetype count = unreadableMessages();
    if (count == 0)
        return {};
    const auto first = std::find_if(m_messages.begin(), m_messages.end(),
                                    [](const auto &message) { return message->fault().has_value(); });
    return (count == 1 ? QStringLiteral("1 unreadable message: ")
                       : QString::number(count) + QStringLiteral(" unreadable messages, the first: ")) +
           platform::stringFromUtf8(platform::LayoutError(*(*first)->fault()).description());
}
