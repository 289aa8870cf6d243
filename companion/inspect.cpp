#include "companion/commands.h"
#include "companion/console.h"
#include "companion/jsonwriter.h"

#include "VORAInstantMessage.h"
#include "VORAPerson.h"

#include "platform/appkit/appkitclasses.h"
#include "platform/archive/nskeyedunarchiver.h"
#include "platform/archive/nsunarchiver.h"
#include "platform/files/files.h"
#include "platform/foundation/scalars.h"
#include "platform/text/encoding.h"

#include <cstdio>
#include <memory>

using platform::FailureKind;
using platform::NSObject;

namespace companion {

namespace {

class ObjectWriter {
public:
    explicit ObjectWriter(JsonWriter &json) : m_json(json) {}

    void write(const NSObject *object) // the unarchivers bound a graph's height
    {
        if (!object)
            m_json.null();
        else if (const auto *string = dynamic_cast<const platform::NSString *>(object))
            m_json.string(string->string());
        else if (const auto *number = dynamic_cast<const platform::NSNumber *>(object))
            std::visit([this](auto value) { writeNumber(value); }, number->value());
        else if (const auto *array = dynamic_cast<const platform::NSArray *>(object))
            writeList(array->objects());
        else if (const auto *set = dynamic_cast<const platform::NSSet *>(object))
            writeList(set->objects());
        else if (const auto *dictionary = dynamic_cast<const platform::NSDictionary *>(object);
                 dictionary && !dictionary->hasForeignKeys())
            writeDictionary(dictionary);
        else
            writeObject(*object);
    }

private:
    void writeNumber(bool value) { m_json.boolean(value); }
    void writeNumber(qint64 value) { m_json.integer(value); }
    void writeNumber(double value) { m_json.real(value); }

    void writeList(const std::vector<platform::ObjectRef> &objects)
    {
        m_json.beginArray();
        for (const platform::ObjectRef &object : objects)
            write(object.get());
        m_json.endArray();
    }

    void writeDictionary(const platform::NSDictionary *dictionary)
    {
        m_json.beginObject();
        if (dictionary) {
            for (const platform::NSDictionary::Entry &entry : dictionary->entries())
                field(entry.key, entry.value.get());
        }
        m_json.endObject();
    }

    void writeObject(const NSObject &object)
    {
        m_json.beginObject();
        if (const auto *date = dynamic_cast<const platform::NSDate *>(&object)) {
            m_json.key(u"date");
            m_json.real(date->timeIntervalSinceReferenceDate());
        } else if (const auto *data = dynamic_cast<const platform::NSData *>(&object)) {
            m_json.key(u"data_length");
            m_json.integer(data->bytes().size());
        } else if (const auto *url = dynamic_cast<const platform::NSURL *>(&object)) {
            m_json.key(u"url");
            m_json.string(url->relativeString());
            field(u"base", url->baseURL().get());
        } else if (const auto *text = dynamic_cast<const platform::NSAttributedString *>(&object)) {
            writeText(*text);
        } else if (const auto *message = dynamic_cast<const VORAInstantMessage *>(&object)) {
            writeMessage(*message);
        } else if (const auto *presentity = dynamic_cast<const VORAPresentity *>(&object)) {
            writeClass(u"Presentity");
            optionalField(u"service", presentity->Protocol());
            optionalField(u"name", presentity->rawName());
        } else {
            writeClass(dynamic_cast<const VORAPerson *>(&object) ? QStringLiteral("Person")
                                                                 : object.className());
            if (const auto *unreadable = dynamic_cast<const platform::UnreadableObject *>(&object))
                writeFault(unreadable->fault());
        }
        m_json.endObject();
    }

    void writeClass(QStringView className)
    {
        m_json.key(u"object");
        m_json.string(className);
    }

    void writeText(const platform::NSAttributedString &text)
    {
        m_json.key(u"text");
        m_json.string(text.string());
        m_json.key(u"utf16_length");
        m_json.integer(text.length());
        m_json.key(u"runs");
        m_json.beginArray();
        for (const platform::NSAttributedString::Run &run : text.runs()) {
            m_json.beginObject();
            m_json.key(u"length");
            m_json.integer(run.length);
            m_json.key(u"attributes");
            writeDictionary(run.attributes.get());
            m_json.endObject();
        }
        m_json.endArray();
    }

    void writeMessage(const VORAInstantMessage &message)
    {
        writeClass(u"InstantMessage");
        field(u"sender", message.sender().get());
        field(u"time", message.TimeStamp() ? &*message.TimeStamp() : nullptr);
        field(u"text", message.string().get());
        m_json.key(u"flags");
        m_json.integer(message.flags());
        if (message.fault())
            writeFault(*message.fault());
    }

    void writeFault(const platform::LayoutFault &fault)
    {
        m_json.key(u"unreadable");
        m_json.string(platform::stringFromUtf8(platform::LayoutError(fault).description()));
    }

    void field(QStringView key, const NSObject *value)
    {
        m_json.key(key);
        write(value);
    }

    void optionalField(QStringView key, const std::optional<QString> &value)
    {
        m_json.key(key);
        if (value)
            m_json.string(*value);
        else
            m_json.null();
    }

    JsonWriter &m_json;
};

platform::ClassTable inspectedClasses()
{
    platform::ClassTable classes;
    platform::addFoundationClasses(classes);
    platform::addAppKitClasses(classes);
    classes.insert("InstantMessage", platform::makersOf<VORAInstantMessage>());
    classes.insert("Presentity", platform::makersOf<VORAPresentity>());
    classes.insert("Person", platform::makersOf<VORAPerson>());
    return classes;
}

platform::ObjectRef decodeRoot(const QByteArray &bytes)
{
    const platform::ClassTable classes = inspectedClasses();
    if (platform::NSUnarchiver::looksLikeTypedStream(bytes))
        return platform::NSUnarchiver::initForReadingWithData(bytes, classes)->decodeObject();
    return platform::NSKeyedUnarchiver::initForReadingWithData(bytes, classes)->decodeObjectForKey("root");
}

int inspect(const std::filesystem::path &path)
{
    const auto fail = [&path](FailureKind kind, const std::string &reason) {
        printError({kind, path, reason});
        return exitFailed;
    };
    const auto file = platform::readWholeFile(path);
    if (!file)
        return fail(file.error().kind, file.error().reason);
    try {
        JsonWriter json;
        const platform::ObjectRef root = decodeRoot(*file);
        ObjectWriter(json).write(root.get());
        printLine(QByteArrayView(json.document()));
    } catch (const platform::FormatError &error) {
        return fail(FailureKind::Malformed, error.description());
    } catch (const JsonWriter::TooLarge &error) {
        return fail(FailureKind::TooLarge, error.what());
    }
    return exitDone;
}

} // namespace

void addInspectCommand(CLI::App &commands, Action &action)
{
    const auto file = std::make_shared<std::string>();
    CLI::App *command =
        commands.add_subcommand("inspect", "Print the contents of a transcript's archive as JSON");
    command->add_option("FILE", *file, "Typed stream or keyed archive; the first bytes tell which")
        ->required();
    command->footer("Example: prattlebug inspect \"Kim on 2005-03-01.chat\" | less\n"
                    "Exit code: 1 when the file is malformed, or the output would be larger than 64 MiB.");
    command->callback([file, &action] { action = [file] { return inspect(*file); }; });
}

} // namespace companion
