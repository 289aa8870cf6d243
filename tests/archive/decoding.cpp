#include "tests/archive/decoding.h"

#include "platform/appkit/appkitclasses.h"
#include "platform/appkit/nscolor.h"
#include "platform/appkit/nsfilewrapper.h"
#include "platform/appkit/nsfont.h"
#include "platform/archive/nskeyedunarchiver.h"
#include "platform/archive/nsunarchiver.h"
#include "platform/foundation/nsattributedstring.h"
#include "platform/text/encoding.h"

using namespace platform;

namespace {

std::string describe(const NSObject *object); // NOLINT(misc-no-recursion)

std::string utf8(QStringView text)
{
    return utf8FromString(text).toStdString();
}

std::string number(double value)
{
    return QByteArray::number(value, 'g', 12).toStdString();
}

std::string list(const std::vector<ObjectRef> &objects)
{
    std::string text;
    for (const ObjectRef &object : objects)
        text += (text.empty() ? "" : " ") + describe(object.get());
    return text;
}

std::string pairs(const NSDictionary &dictionary)
{
    std::string text;
    for (const NSDictionary::Entry &entry : dictionary.entries())
        text += (text.empty() ? "" : " ") + utf8(entry.key) + '=' + describe(entry.value.get());
    return '[' + text + ']';
}

std::string runs(const NSAttributedString &string)
{
    std::string text = utf8(string.string());
    for (const NSAttributedString::Run &run : string.runs())
        text += (&run == string.runs().data() ? "|" : " ") + std::to_string(run.length) + ':' +
                (run.attributes ? pairs(*run.attributes) : "-");
    return text;
}

std::string contents(const NSFileWrapper &wrapper, const QString &name)
{
    if (wrapper.isRegularFile())
        return utf8(name) + '=' + wrapper.regularFileContents().toStdString();
    std::string text;
    for (const NSFileWrapper::Child &child : wrapper.children())
        text += (text.empty() ? "" : " ") + contents(*child.wrapper, child.name);
    return utf8(name) + '(' + text + ')';
}

std::string color(const NSColor &object)
{
    if (!object.deviceRGB())
        return "rgb:-";
    const auto &[red, green, blue] = *object.deviceRGB();
    return "rgb:" + number(red) + ',' + number(green) + ',' + number(blue);
}

std::string describe(const NSObject *object)
{
    if (!object)
        return "nil";
    if (const auto *date = dynamic_cast<const NSDate *>(object))
        return '@' + number(date->timeIntervalSinceReferenceDate());
    if (const auto *data = dynamic_cast<const NSData *>(object))
        return '<' + data->bytes().toHex().toStdString() + '>';
    if (const auto *url = dynamic_cast<const NSURL *>(object))
        return "url:" + utf8(url->absoluteString());
    if (const auto *array = dynamic_cast<const NSArray *>(object))
        return '(' + list(array->objects()) + ')';
    if (const auto *set = dynamic_cast<const NSSet *>(object))
        return '{' + list(set->objects()) + '}';
    if (const auto *dictionary = dynamic_cast<const NSDictionary *>(object))
        return pairs(*dictionary);
    if (const auto *string = dynamic_cast<const NSAttributedString *>(object))
        return runs(*string);
    if (const auto *held = dynamic_cast<const NSColor *>(object))
        return color(*held);
    if (const auto *font = dynamic_cast<const NSFont *>(object))
        return "font:" + utf8(font->fontName()) + ',' + number(font->pointSize());
    if (const auto *attachment = dynamic_cast<const NSTextAttachment *>(object))
        return "attached:" + describe(attachment->fileWrapper().get());
    if (const auto *wrapper = dynamic_cast<const NSFileWrapper *>(object))
        return (wrapper->isRegularFile() ? "file:" : "folder:") +
               contents(*wrapper, wrapper->preferredFilename().value_or(QString()));
    if (const auto *unreadable = dynamic_cast<const UnreadableObject *>(object))
        return '!' + utf8(unreadable->className()) + ": " + unreadable->fault().reason;
    if (dynamic_cast<const UnknownObject *>(object))
        return '?' + utf8(object->className());
    return utf8(object->description());
}

template <class Decode>
Decoding decoding(Decode decode)
{
    try {
        return {decode()};
    } catch (const FormatError &error) {
        return {nullptr, error.what(), error.offset()};
    }
}

} // namespace

const ClassTable &allClasses()
{
    static const ClassTable table = [] {
        ClassTable classes;
        addFoundationClasses(classes);
        addAppKitClasses(classes);
        return classes;
    }();
    return table;
}

std::string Decoding::text() const
{
    return error.empty() ? describe(root.get()) : "error: " + error;
}

Decoding decodeStream(const QByteArray &stream)
{
    return decoding(
        [&] { return NSUnarchiver::initForReadingWithData(stream, allClasses())->decodeObject(); });
}

Decoding decodeKeyed(const QByteArray &archive)
{
    return decoding([&] {
        return NSKeyedUnarchiver::initForReadingWithData(archive, allClasses())->decodeObjectForKey("root");
    });
}

ObjectRef elementOf(const ObjectRef &array, size_t position)
{
    return dynamic_cast<const NSArray &>(*array).objects().at(position);
}
