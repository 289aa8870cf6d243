#include "tests/archive/decoding.h"
#include "tests/archive/keyedarchivewriter.h"
#include "tests/archive/typedstreamwriter.h"

#include <gtest/gtest.h>

#include <functional>
#include <thread>

// What is kept holds nothing that holds it, and is no higher than 512 objects.

namespace {

using Value = PropertyListValue;

const char *const containsItself = "an object that contains itself";
const char *const nestedTooDeep = "objects nested more than 512 deep";
const char *const tooHigh = "objects that hold each other more than 512 deep";

std::string reason(const Decoding &decoded)
{
    return decoded.error.empty() ? "" : decoded.error.substr(decoded.error.find(": ") + 2);
}

/// On a stack of the size that threads have, which is what a program's own has as well.
Decoding inThread(const std::function<Decoding()> &decode)
{
    Decoding decoded;
    std::thread([&] {
        decoded = decode();
        EXPECT_NE(decoded.text(), ""); // which walks through all of it
    }).join();
    return decoded;
}

// Archives of a given height

QByteArray nestedStream(int height)
{
    TypedStreamWriter stream;
    for (int i = 1; i < height; ++i)
        stream.beginArray(1);
    stream.beginArray(0);
    for (int i = 0; i < height; ++i)
        stream.endObject();
    return stream.data();
}

/// An array of arrays, each of which holds the one before.
QByteArray streamOfSiblings(int height)
{
    TypedStreamWriter stream;
    stream.beginArray(height - 1);
    int before = stream.beginArray(0);
    stream.endObject();
    for (int i = 2; i < height; ++i) {
        const int number = stream.beginArray(1);
        stream.objectReference(before);
        stream.endObject();
        before = number;
    }
    stream.endObject();
    return stream.data();
}

/// Attributed strings whose attributes hold the one before, dictionaries by turns with them.
QByteArray streamOfTexts(int height)
{
    const int texts = (height - 2) / 2; // on a string and under the array
    TypedStreamWriter stream;
    stream.beginArray(texts);
    int before = -1;
    for (int i = 0; i < texts; ++i) {
        stream.types("@");
        const int number = stream.beginObject({"NSAttributedString", "NSObject"});
        stream.string("x");
        stream.types("iI");
        stream.integer(1);
        stream.integer(1);
        stream.beginDictionary(1);
        stream.string("key");
        if (before < 0)
            stream.nilObject();
        else
            stream.objectReference(before);
        stream.endObject();
        stream.endObject();
        before = number;
    }
    stream.endObject();
    return stream.data();
}

enum class Order { Before, After };

/// A chain of arrays, and a root that holds them all: each after the one that it holds, or before it.
KeyedArchiveWriter keyedChain(int height, Order order, int &root)
{
    KeyedArchiveWriter archive;
    int last = archive.array({});
    std::vector<int> chain{last};
    for (int i = 2; i < height; ++i)
        chain.push_back(last = archive.array({last}));
    if (order == Order::Before)
        std::reverse(chain.begin(), chain.end());
    root = archive.array(chain);
    return archive;
}

Decoding decodeKeyedChain(int height, Order order)
{
    int root = 0;
    return decodeKeyed(keyedChain(height, order, root).binary(root));
}

QByteArray keyedMembers(int height, const char *className, const char *member)
{
    KeyedArchiveWriter archive;
    int last = archive.string("x");
    for (int i = 1; i < height; ++i)
        last = archive.addInstance({className, "NSObject"},
                                   {{member, Value::ofUid(last)}, {"NS.relative", Value::ofUid(1)}});
    return archive.binary(last);
}

} // namespace

TEST(Bounds, AStreamThatContainsItselfIsMalformed)
{
    const struct {
        const char *what;
        std::function<void(TypedStreamWriter &)> write;
    } cases[] = {
        {"array",
         [](TypedStreamWriter &stream) {
             const int root = stream.beginArray(1);
             stream.objectReference(root);
         }},
        {"array in an array",
         [](TypedStreamWriter &stream) {
             const int root = stream.beginArray(1);
             stream.beginArray(2);
             stream.nilObject();
             stream.objectReference(root);
             stream.endObject();
         }},
        {"dictionary",
         [](TypedStreamWriter &stream) {
             const int root = stream.beginDictionary(1);
             stream.string("key");
             stream.objectReference(root);
         }},
        {"dictionary as its key",
         [](TypedStreamWriter &stream) {
             const int root = stream.beginDictionary(1);
             stream.objectReference(root);
             stream.nilObject();
         }},
        {"set",
         [](TypedStreamWriter &stream) {
             stream.types("@");
             const int root = stream.beginObject({"NSSet", "NSObject"});
             stream.types("I");
             stream.integer(1);
             stream.objectReference(root);
         }},
        {"text in its attributes",
         [](TypedStreamWriter &stream) {
             stream.types("@");
             const int root = stream.beginObject({"NSAttributedString", "NSObject"});
             stream.string("x");
             stream.types("iI");
             stream.integer(1);
             stream.integer(1);
             stream.beginDictionary(1);
             stream.string("key");
             stream.objectReference(root);
             stream.endObject();
         }},
        {"URL as its base",
         [](TypedStreamWriter &stream) {
             stream.types("@");
             const int root = stream.beginObject({"NSURL", "NSObject"});
             stream.types("c@");
             stream.byte(1);
             stream.reference(root);
             stream.string("x");
         }},
    };
    for (const auto &c : cases) {
        TypedStreamWriter stream;
        c.write(stream);
        stream.endObject();
        EXPECT_EQ(reason(decodeStream(stream.data())), containsItself) << c.what;
    }
}

TEST(Bounds, AKeyedArchiveThatContainsItselfIsMalformed)
{
    const auto uidOf = [](int uid) { return Value::ofUid(uid); };
    const struct {
        const char *what;
        const char *className;
        std::function<PropertyListValue::Members(KeyedArchiveWriter &, int root)> members;
    } cases[] = {
        {"array", "NSArray",
         [](KeyedArchiveWriter &, int root) {
             return Value::Members{{"NS.objects", Value::ofUids({root})}};
         }},
        {"array in an array", "NSArray",
         [](KeyedArchiveWriter &archive, int root) {
             return Value::Members{{"NS.objects", Value::ofUids({archive.array({0, root})})}};
         }},
        {"dictionary in a dictionary", "NSDictionary",
         [](KeyedArchiveWriter &archive, int root) {
             const int key = archive.string("key");
             return Value::Members{{"NS.keys", Value::ofUids({key})},
                                   {"NS.objects", Value::ofUids({archive.dictionary({key}, {root})})}};
         }},
        {"dictionary as its key", "NSDictionary",
         [](KeyedArchiveWriter &, int root) {
             return Value::Members{{"NS.keys", Value::ofUids({root})}, {"NS.objects", Value::ofUids({0})}};
         }},
        {"string", "NSMutableString",
         [&](KeyedArchiveWriter &, int root) { return Value::Members{{"NS.string", uidOf(root)}}; }},
        {"colour", "NSColor",
         [&](KeyedArchiveWriter &, int root) {
             return Value::Members{{"NSColorSpace", Value::ofInteger(6)}, {"NSColor", uidOf(root)}};
         }},
        {"URL", "NSURL",
         [&](KeyedArchiveWriter &, int root) { return Value::Members{{"NS.base", uidOf(root)}}; }},
        {"text", "NSAttributedString",
         [&](KeyedArchiveWriter &archive, int root) {
             return Value::Members{
                 {"NSString", uidOf(archive.string("x"))},
                 {"NSAttributes", uidOf(archive.dictionary({archive.string("key")}, {root}))}};
         }},
    };
    for (const auto &c : cases) {
        KeyedArchiveWriter archive;
        const int root = archive.reserve();
        const auto members = c.members(archive, root);
        archive.set(root, archive.instance({c.className, "NSObject"}, members));
        EXPECT_EQ(reason(decodeKeyed(archive.xml(root))), containsItself) << c.what;
        EXPECT_EQ(reason(decodeKeyed(archive.binary(root))), containsItself) << c.what;
    }
}

TEST(Bounds, HeightIsThatOfWhatIsKept)
{
    const struct {
        const char *what;
        std::function<Decoding(int height)> decode;
        const char *error;
        int far = 5'000;
    } cases[] = {
        {"nested in a stream", [](int height) { return decodeStream(nestedStream(height)); }, nestedTooDeep,
         100'000},
        {"siblings in a stream", [](int height) { return decodeStream(streamOfSiblings(height)); }, tooHigh,
         100'000},
        {"texts in a stream", [](int height) { return decodeStream(streamOfTexts(height + height % 2)); },
         tooHigh},
        {"nested by keys", [](int height) { return decodeKeyedChain(height, Order::Before); }, nestedTooDeep},
        {"siblings by keys", [](int height) { return decodeKeyedChain(height, Order::After); }, tooHigh,
         100'000},
        {"strings by keys",
         [](int height) { return decodeKeyed(keyedMembers(height, "NSMutableString", "NS.string")); },
         nestedTooDeep},
        {"URLs by keys", [](int height) { return decodeKeyed(keyedMembers(height, "NSURL", "NS.base")); },
         nestedTooDeep},
    };
    for (const auto &c : cases) {
        const Decoding highest = inThread([&] { return c.decode(512); });
        EXPECT_EQ(highest.error, "") << c.what;
        EXPECT_TRUE(highest.root) << c.what;
        EXPECT_EQ(reason(inThread([&] { return c.decode(513); })), c.error) << c.what;
        EXPECT_EQ(reason(inThread([&] { return c.decode(c.far); })), c.error) << c.what;
    }
}

TEST(Bounds, SharingIsNoHeight)
{
    // 30 arrays, each of which names the one before twice: a thousand million ways down, 30 objects high.
    TypedStreamWriter stream;
    stream.beginArray(30);
    int before = stream.string("x");
    for (int i = 1; i < 30; ++i) {
        const int number = stream.beginArray(2);
        stream.objectReference(before);
        stream.objectReference(before);
        stream.endObject();
        before = number;
    }
    stream.endObject();
    const Decoding decoded = decodeStream(stream.data());
    EXPECT_EQ(decoded.error, "");
    const auto last = elementOf(decoded.root, 29);
    EXPECT_EQ(elementOf(last, 0), elementOf(last, 1));
    EXPECT_EQ(elementOf(last, 0), elementOf(decoded.root, 28));
}

TEST(Bounds, CountsAreNotBelieved)
{
    for (const qint64 count : {-1LL, 3LL, 0x7FFFFFFFLL, -0x80000000LL, 0xFFFFFFFFLL}) {
        for (const char *className : {"NSArray", "NSMutableDictionary", "NSSet"}) {
            TypedStreamWriter stream;
            stream.types("@");
            stream.beginObject({className, "NSObject"});
            stream.types(className == QByteArrayView("NSSet") ? "I" : "i");
            stream.integer(count);
            stream.string("one");
            stream.string("two");
            stream.endObject();
            const bool negative = qint32(count) < 0 && className != QByteArrayView("NSSet");
            EXPECT_EQ(reason(decodeStream(stream.data())),
                      negative ? "a negative number of elements" : "an object is missing")
                << className << ' ' << count;
        }
    }
    TypedStreamWriter stream; // fewer than there are
    stream.beginArray(2);
    stream.beginArray(1);
    stream.string("one");
    stream.string("two");
    stream.endObject();
    stream.string("after");
    stream.endObject();
    EXPECT_EQ(decodeStream(stream.data()).text(), "( ( one ), after )");
}
