#include "platform/archive/classtable.h"
#include "platform/archive/nskeyedunarchiver.h"
#include "platform/archive/nsunarchiver.h"
#include "platform/date/nsdate.h"
#include "platform/foundation/collections.h"
#include "platform/foundation/nsattributedstring.h"
#include "platform/foundation/scalars.h"
#include "platform/text/encoding.h"

#include <algorithm>
#include <unordered_map>

// How the platform's standard classes lay out their contents in either kind of archive.

namespace platform {

namespace {

// Strings: UTF-8.

ObjectRef stringFromStream(NSUnarchiver &coder)
{
    const QByteArrayView bytes = coder.decodeBytes();
    coder.charge(quint64(bytes.size()), sizeof(char16_t));
    return std::make_shared<NSString>(stringFromUtf8(bytes));
}

ObjectRef stringFromKeys(NSKeyedUnarchiver &coder)
{
    if (const auto characters = coder.decodeForKey<NSString>("NS.string"))
        return std::make_shared<NSString>(characters->string());
    const auto bytes = coder.decodeBytesForKey("NS.bytes");
    if (!bytes)
        coder.fail("a string without characters");
    coder.charge(quint64(bytes->size()), sizeof(char16_t));
    return std::make_shared<NSString>(stringFromUtf8(*bytes));
}

// Dates: seconds since 2001. One that cannot be is nil.

ObjectRef dateObject(double secondsSince2001)
{
    const auto date = NSDate::fromInterval(secondsSince2001);
    return date ? std::make_shared<NSDate>(*date) : nullptr;
}

ObjectRef dateFromStream(NSUnarchiver &coder)
{
    return dateObject(coder.decodeReal());
}

ObjectRef dateFromKeys(NSKeyedUnarchiver &coder)
{
    const auto seconds = coder.decodeDoubleForKey("NS.time");
    if (!seconds)
        coder.fail("a date without its seconds");
    return dateObject(*seconds);
}

// Data: a length, then as many bytes.

ObjectRef dataFromStream(NSUnarchiver &coder)
{
    if (const qint64 length = coder.decodeInteger(); length == 0 && coder.nextType() == '\0')
        return std::make_shared<NSData>(QByteArray());
    const QByteArrayView bytes = coder.decodeBytes();
    coder.charge(quint64(bytes.size()), 1);
    return std::make_shared<NSData>(bytes.toByteArray());
}

ObjectRef dataFromKeys(NSKeyedUnarchiver &coder)
{
    auto bytes = coder.decodeBytesForKey("NS.data");
    if (!bytes)
        bytes = coder.decodeBytesForKey("NS.bytes");
    if (!bytes)
        coder.fail("data without bytes");
    return std::make_shared<NSData>(std::move(*bytes));
}

// Arrays and sets: a count, then as many objects.

/// How many of @p count values, each of @p bytesEach bytes at least, the object that is being made can hold:
/// room for more need not be made.
size_t roomFor(NSUnarchiver &coder, qint64 count, quint32 bytesEach)
{
    if (count < 0)
        coder.fail("a negative number of elements");
    return size_t(std::min(count, qint64(coder.bytesLeft() / bytesEach)));
}

std::vector<ObjectRef> objectsFromStream(NSUnarchiver &coder, qint64 count)
{
    std::vector<ObjectRef> objects;
    const size_t room = roomFor(coder, count, 1);
    coder.charge(room, 2 * sizeof(ObjectRef)); // twice, for a list of the elements that the caller makes
    objects.reserve(room);
    for (qint64 i = 0; i < count; ++i)
        objects.push_back(coder.decodeObject());
    return objects;
}

template <class Collection>
ObjectRef collectionFromStream(NSUnarchiver &coder)
{
    const qint64 count = coder.decodeInteger();
    return std::make_shared<Collection>(objectsFromStream(coder, count));
}

template <class Collection>
ObjectRef collectionFromKeys(NSKeyedUnarchiver &coder)
{
    return std::make_shared<Collection>(coder.decodeArrayOfObjectsForKey("NS.objects"));
}

// Dictionaries: keys and values.

/// A dictionary in the making.
class DictionaryMaker {
public:
    /// An entry, and what sorting takes for it.
    static constexpr size_t costPerPair = 2 * sizeof(NSDictionary::Entry);

    explicit DictionaryMaker(size_t room) { m_entries.reserve(room); }

    void add(const ObjectRef &key, ObjectRef value)
    {
        const auto *string = dynamic_cast<const NSString *>(key.get());
        if (string && string->string().size() <= NSDictionary::longestKey)
            m_entries.push_back({string->string(), std::move(value)});
        else
            m_hasForeignKeys = true;
    }
    ObjectRef make() { return std::make_shared<NSDictionary>(std::move(m_entries), m_hasForeignKeys); }

private:
    std::vector<NSDictionary::Entry> m_entries;
    bool m_hasForeignKeys = false;
};

ObjectRef dictionaryFromStream(NSUnarchiver &coder)
{
    const qint64 count = coder.decodeInteger();
    const size_t room = roomFor(coder, count, 2);
    coder.charge(room, DictionaryMaker::costPerPair);
    DictionaryMaker dictionary(room);
    for (qint64 i = 0; i < count; ++i) {
        const ObjectRef key = coder.decodeObject();
        dictionary.add(key, coder.decodeObject());
    }
    return dictionary.make();
}

ObjectRef dictionaryFromKeys(NSKeyedUnarchiver &coder)
{
    const std::vector<ObjectRef> keys = coder.decodeArrayOfObjectsForKey("NS.keys");
    const std::vector<ObjectRef> values = coder.decodeArrayOfObjectsForKey("NS.objects");
    if (keys.size() != values.size())
        coder.fail("a dictionary with other numbers of keys and values");
    coder.charge(keys.size(), DictionaryMaker::costPerPair);
    DictionaryMaker dictionary(keys.size());
    for (size_t i = 0; i < keys.size(); ++i)
        dictionary.add(keys[i], values[i]);
    return dictionary.make();
}

// Numbers: a type encoding, then a value of that type.

ObjectRef unreadableValue()
{
    return std::make_shared<UnknownObject>(QStringLiteral("NSValue"));
}

ObjectRef numberFromStream(NSUnarchiver &coder)
{
    if (coder.nextType() != '*') // a decimal number, which inherits from this class
        return unreadableValue();
    if (coder.decodeCString().size() > 1) // a point, a range …
        return unreadableValue();
    const char type = coder.nextType(); // the value's own group says it again
    if (type == 'f' || type == 'd')
        return std::make_shared<NSNumber>(coder.decodeReal());
    if (!typedstream::isIntegerCode(type))
        return unreadableValue();
    return std::make_shared<NSNumber>(coder.decodeInteger());
}

ObjectRef valueFromKeys(NSKeyedUnarchiver & /*coder*/)
{
    return unreadableValue(); // numbers are plain values there
}

// URLs: a string, and perhaps a base.

template <class Coder>
ObjectRef makeUrl(Coder &coder, const std::shared_ptr<const NSString> &string,
                  std::shared_ptr<const NSURL> base)
{
    // For each character of what it is resolved from: UTF-16, and three of these where it has to be escaped.
    constexpr quint64 costPerCharacter = 8;
    if (!string)
        coder.fail("a URL without its string");
    if (base)
        coder.charge(quint64(base->absoluteString().size() + string->string().size()), costPerCharacter);
    return std::make_shared<NSURL>(string->string(), std::move(base));
}

ObjectRef urlFromStream(NSUnarchiver &coder)
{
    std::shared_ptr<const NSURL> base;
    if (coder.decodeInteger() != 0)
        base = readable<NSURL>(coder.decodeObject());
    return makeUrl(coder, readable<NSString>(coder.decodeObject()), std::move(base));
}

ObjectRef urlFromKeys(NSKeyedUnarchiver &coder)
{
    auto base = readable<NSURL>(coder.decodeObjectForKey("NS.base"));
    return makeUrl(coder, readable<NSString>(coder.decodeObjectForKey("NS.relative")), std::move(base));
}

// Attributed strings: the string, then runs until its length is used up. One whose runs are not as they
// should be keeps its text, and the runs before.

using Run = NSAttributedString::Run;
/// What it takes to remember an attribute set's number.
constexpr quint64 costPerSet = 96;

/// The text of an attributed string from @p object, which stands where its string should.
QString textOf(const NSCoder &coder, const ObjectRef &object)
{
    const auto string = readable<NSString>(object);
    if (!string)
        coder.fail("an attributed string without its string");
    return string->string();
}

void readRuns(NSUnarchiver &coder, qsizetype textLength, std::vector<Run> &runs)
{
    // By number: the first mention of a number brings its set along.
    std::unordered_map<qint64, AttributesRef> sets;
    for (qint64 left = textLength; left > 0 && coder.nextType() != '\0';) {
        const qint64 set = coder.decodeInteger();
        const qint64 length = std::clamp(coder.decodeInteger(), qint64(0), left);
        auto found = sets.find(set);
        if (found == sets.end()) {
            coder.charge(1, costPerSet);
            found = sets.emplace(set, coder.decode<NSDictionary>()).first;
        }
        if (length > 0) {
            coder.charge(1, 3 * sizeof(Run)); // while the list grows there are two of them
            runs.push_back({qsizetype(length), found->second});
        }
        left -= length;
    }
}

ObjectRef attributedStringFromStream(NSUnarchiver &coder)
{
    QString text = textOf(coder, coder.decodeObject());
    std::vector<Run> runs;
    try {
        readRuns(coder, text.size(), runs);
    } catch (const LayoutError &) { // NOLINT(bugprone-empty-catch): as told above
    }
    return std::make_shared<NSAttributedString>(std::move(text), std::move(runs));
}

/// Reads one number of 7-bit groups, least significant first, high bit set on all but the last byte.
std::optional<quint64> readGroupedNumber(const QByteArray &bytes, qsizetype &position)
{
    quint64 number = 0;
    for (unsigned shift = 0; position < bytes.size() && shift < 63; shift += 7) {
        const auto byte = quint8(bytes[position++]);
        number |= quint64(byte & 0x7FU) << shift;
        if ((byte & 0x80U) == 0)
            return number;
    }
    return std::nullopt;
}

std::vector<Run> runsFromKeys(NSKeyedUnarchiver &coder, const NSArray &sets, qsizetype textLength)
{
    const QByteArray info = coder.decodeBytesForKey("NSAttributeInfo").value_or(QByteArray());
    std::vector<Run> runs;
    // Two bytes and one character make a run. Also for those of no characters, as many texts can share one
    // list.
    coder.charge(quint64(info.size() / 2), sizeof(Run));
    runs.reserve(size_t(std::min(info.size() / 2, textLength)));
    auto left = quint64(textLength);
    for (qsizetype position = 0; position < info.size() && left > 0;) {
        const auto length = readGroupedNumber(info, position);
        const auto set = readGroupedNumber(info, position);
        if (!length || !set || *set >= sets.objects().size())
            break;
        const quint64 covered = std::min(*length, left);
        if (covered > 0)
            runs.push_back({qsizetype(covered),
                            std::dynamic_pointer_cast<const NSDictionary>(sets.objects()[size_t(*set)])});
        left -= covered;
    }
    return runs;
}

ObjectRef attributedStringFromKeys(NSKeyedUnarchiver &coder)
{
    QString text = textOf(coder, coder.decodeObjectForKey("NSString"));
    const ObjectRef attributes = coder.decodeObjectForKey("NSAttributes");
    std::vector<Run> runs;
    if (auto whole = std::dynamic_pointer_cast<const NSDictionary>(attributes))
        runs.push_back({text.size(), std::move(whole)});
    else if (const auto *sets = dynamic_cast<const NSArray *>(attributes.get()))
        runs = runsFromKeys(coder, *sets, text.size());
    return std::make_shared<NSAttributedString>(std::move(text), std::move(runs));
}

// Null has no contents.

template <class Coder>
ObjectRef null(Coder & /*coder*/)
{
    return std::make_shared<UnknownObject>(QStringLiteral("NSNull"));
}

} // namespace

void addFoundationClasses(ClassTable &table)
{
    const ClassMakers string{stringFromStream, stringFromKeys};
    const ClassMakers date{dateFromStream, dateFromKeys};
    const ClassMakers data{dataFromStream, dataFromKeys};
    const ClassMakers array{collectionFromStream<NSArray>, collectionFromKeys<NSArray>};
    const ClassMakers set{collectionFromStream<NSSet>, collectionFromKeys<NSSet>};
    const ClassMakers dictionary{dictionaryFromStream, dictionaryFromKeys};
    const ClassMakers number{numberFromStream, valueFromKeys};
    const ClassMakers attributedString{attributedStringFromStream, attributedStringFromKeys};
    table.insert("NSString", string);
    table.insert("NSMutableString", string);
    table.insert("NSDate", date);
    table.insert("NSData", data);
    table.insert("NSMutableData", data);
    table.insert("NSArray", array);
    table.insert("NSMutableArray", array);
    table.insert("NSSet", set);
    table.insert("NSMutableSet", set);
    table.insert("NSDictionary", dictionary);
    table.insert("NSMutableDictionary", dictionary);
    table.insert("NSNumber", number);
    table.insert("NSValue", number);
    table.insert("NSURL", {urlFromStream, urlFromKeys});
    table.insert("NSAttributedString", attributedString);
    table.insert("NSMutableAttributedString", attributedString);
    table.insert("NSNull", {null<NSUnarchiver>, null<NSKeyedUnarchiver>});
}

} // namespace platform
