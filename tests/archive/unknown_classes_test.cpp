#include "tests/archive/decoding.h"
#include "tests/archive/keyedarchivewriter.h"
#include "tests/archive/typedstreamwriter.h"

#include "platform/appkit/nsfilewrapper.h"

#include <gtest/gtest.h>

// What no class here knows is stepped over, whatever it holds, and never makes an archive unreadable.

namespace {

constexpr int veryDeep = 100'000;

/// One group of every type of value, and of several at once. Holds an object's number to point back to.
void writeEveryType(TypedStreamWriter &stream, int holder)
{
    stream.types("cCBsSiIlLqQ");
    for (const int value : {0x86, 0x84, 1})
        stream.byte(value); // the char types have no tags
    for (const int value : {-300, 300, -70000, 70000, 0, 1, 2, 3})
        stream.integer(value);
    stream.types("fd{?=ff}");
    for (const double value : {0.5, -7.0, 1.0, 2.5})
        stream.real(value, 4);
    stream.types("[4c][2{?=i[2s]}]");
    stream.raw("\x84\x85\x86\x92");
    for (int i = 0; i < 6; ++i)
        stream.integer(i);
    stream.types("+:%");
    stream.unsharedString("\x86\x86");
    stream.sharedString("selector:");
    stream.literalString("atom");
    stream.types("*#**");
    stream.cString("text");
    stream.classChain({"NSScroller", "NSControl", "NSObject"});
    stream.cString("text");
    stream.nil();
    stream.types("@#@");
    stream.reference(holder);
    stream.classChain({"NSScroller"});
    stream.nil();
}

} // namespace

TEST(UnknownClasses, OfAStreamMayHoldAnything)
{
    TypedStreamWriter stream;
    const int root = stream.beginArray(4);
    stream.types("@");
    const int odd = stream.beginObject({"Odd", "NSObject"});
    writeEveryType(stream, root);
    stream.types("@");
    stream.beginObject({"Even", "NSObject"});
    writeEveryType(stream, odd);
    stream.endObject();
    const int inside = stream.string("inside");
    const int circle = stream.beginArray(2); // an array that contains itself
    stream.objectReference(circle);
    stream.objectReference(odd);
    stream.endObject();
    const int holder = stream.beginArray(1);
    stream.objectReference(odd);
    stream.endObject();
    stream.beginArray(7); // fewer elements than it says
    stream.endObject();
    stream.endObject();
    stream.objectReference(inside);
    stream.objectReference(holder);
    stream.string("after");
    stream.endObject();

    const Decoding decoded = decodeStream(stream.data());
    EXPECT_EQ(decoded.text(), "( \"<Odd>\", inside, ( \"<Odd>\" ), after )");
    EXPECT_EQ(elementOf(decoded.root, 0), elementOf(elementOf(decoded.root, 2), 0));
}

TEST(UnknownClasses, OfAStreamMayBeNestedVeryDeep)
{
    TypedStreamWriter stream;
    stream.beginArray(3);
    stream.types("@");
    stream.beginObject({"Odd", "NSObject"});
    for (int i = 0; i < veryDeep; ++i) {
        stream.types("[2[2[2@]]]");
        for (int element = 1; element < 8; ++element)
            stream.nil();
        stream.beginObject({"Odd", "NSObject"});
    }
    const int inside = stream.string("inside");
    for (int i = 0; i < veryDeep; ++i)
        stream.beginArray(1); // known, but nobody keeps them
    for (int i = 0; i < 2 * veryDeep + 1; ++i)
        stream.endObject();
    stream.objectReference(inside);
    stream.string("after");
    stream.endObject();
    EXPECT_EQ(decodeStream(stream.data()).text(), "( \"<Odd>\", inside, after )");
}

TEST(UnknownClasses, LaterGroupsOfKnownOnesArePassed)
{
    const auto later = [](TypedStreamWriter &stream, int holder) {
        writeEveryType(stream, holder);
        stream.types("@");
        stream.beginObject({"Odd", "NSObject"});
        writeEveryType(stream, holder);
        stream.endObject();
        stream.endObject();
    };
    TypedStreamWriter stream;
    const int root = stream.beginArray(9);
    stream.types("@");
    const int first = stream.beginObject({"NSString", "NSObject"});
    stream.types("+i"); // several values in one group
    stream.unsharedString("first");
    stream.integer(-500);
    later(stream, root);
    stream.beginArray(1);
    stream.string("element");
    later(stream, root);
    stream.beginDictionary(1);
    stream.string("key");
    stream.string("value");
    later(stream, root);
    stream.types("@");
    stream.beginObject({"NSURL", "NSObject"});
    stream.types("c@");
    stream.byte(0);
    stream.beginObject({"NSString", "NSObject"});
    stream.types("+");
    stream.unsharedString("url");
    later(stream, root);
    later(stream, root);
    stream.types("@");
    stream.beginObject({"NSDate", "NSObject"});
    stream.types("d");
    stream.integer(0);
    later(stream, root);
    stream.types("@");
    stream.beginObject({"NSNumber", "NSValue", "NSObject"});
    stream.types("*i");
    stream.cString("i");
    stream.integer(5);
    later(stream, root);
    stream.types("@");
    stream.beginObject({"NSData", "NSObject"});
    stream.types("i[2c]");
    stream.integer(2);
    stream.raw("ab");
    later(stream, root);
    stream.objectReference(first);
    const int last = stream.string("last");
    later(stream, last);
    const std::string text = decodeStream(stream.data()).text();
    EXPECT_EQ(text.substr(0, 50), "( first, ( element ), { key = value; }, url, \"2001");
    EXPECT_EQ(text.substr(text.size() - 28), ", 5, \"<6162>\", first, last )");
}

TEST(UnknownClasses, ValuesBeforeAnAttachmentsFileArePassed)
{
    TypedStreamWriter stream;
    const int root = stream.beginArray(2);
    stream.types("@");
    stream.beginObject({"NSTextAttachment", "NSObject"});
    writeEveryType(stream, root);
    stream.types("i@@");
    stream.integer(0);
    stream.beginObject({"Odd", "NSObject"});
    writeEveryType(stream, root);
    stream.endObject();
    stream.beginObject({"NSFileWrapper", "NSObject"});
    writeEveryType(stream, root);
    stream.dataObject("contents");
    stream.endObject();
    stream.endObject();
    stream.string("after");
    stream.endObject();
    const Decoding decoded = decodeStream(stream.data());
    ASSERT_EQ(decoded.text(), "( \"<NSTextAttachment>\", after )");
    const auto attachment = elementOf<platform::NSTextAttachment>(decoded.root, 0);
    ASSERT_TRUE(attachment->fileWrapper());
    EXPECT_EQ(attachment->fileWrapper()->regularFileContents(), "contents");
}

TEST(UnknownClasses, ValuesThatAreNoNumbersAreUnknown)
{
    TypedStreamWriter stream;
    stream.beginArray(4);
    stream.types("@");
    stream.beginObject({"NSValue", "NSObject"});
    stream.types("*");
    stream.cString("{_NSRange=II}");
    stream.types("{_NSRange=II}");
    stream.integer(3);
    stream.integer(4);
    stream.endObject();
    stream.types("@");
    stream.beginObject({"NSValue"});
    stream.types("*[2i]");
    stream.cString("[2i]");
    stream.integer(3);
    stream.integer(4);
    stream.endObject();
    stream.types("@");
    stream.beginObject({"NSDecimalNumber", "NSNumber"}); // its layout is another one
    stream.types("ccc[8S]");
    for (const int value : {1, 2, 3, 1, 2, 3, 4, 5, 6, 7, 8})
        stream.byte(value);
    stream.endObject();
    stream.string("after");
    stream.endObject();
    EXPECT_EQ(decodeStream(stream.data()).text(), "( \"<NSValue>\", \"<NSValue>\", \"<NSValue>\", after )");
}

TEST(UnknownClasses, OfAKeyedArchiveMayHoldAnything)
{
    using Value = PropertyListValue;
    KeyedArchiveWriter archive;
    const int root = archive.reserve();
    const int odd = archive.reserve();
    const int inside = archive.string("inside");
    const int circle = archive.reserve(); // an array that contains itself
    archive.set(circle, archive.instance({"NSArray"}, {{"NS.objects", Value::ofUids({circle, odd})}}));
    const int holder = archive.array({odd});
    const int broken = archive.add(Value::ofMembers({{"$class", Value::ofString("none")}}));
    archive.set(
        odd, archive.instance({"Odd", "NSObject"},
                              {{"holder", Value::ofUid(root)},
                               {"self", Value::ofUid(odd)},
                               {"circle", Value::ofUid(circle)},
                               {"inside", Value::ofUid(inside)},
                               {"broken", Value::ofUid(broken)},
                               {"nowhere", Value::ofUid(1'000'000)},
                               {"real", Value::ofReal(0.5)},
                               {"data", Value::ofData("bytes")},
                               {"list", Value::ofArray({Value::ofMembers({{"a", Value::ofInteger(1)}})})}}));
    archive.set(root,
                archive.instance({"NSArray"}, {{"NS.objects", Value::ofUids({odd, inside, holder, odd})}}));
    for (const QByteArray &bytes : {archive.xml(root), archive.binary(root)}) {
        const Decoding decoded = decodeKeyed(bytes);
        EXPECT_EQ(decoded.text(), "( \"<Odd>\", inside, ( \"<Odd>\" ), \"<Odd>\" )");
        ASSERT_TRUE(decoded.root);
        EXPECT_EQ(elementOf(decoded.root, 0), elementOf(elementOf(decoded.root, 2), 0));
        EXPECT_EQ(elementOf(decoded.root, 0), elementOf(decoded.root, 3));
    }
}

TEST(UnknownClasses, OfAKeyedArchiveMayBeNestedVeryDeep)
{
    using Value = PropertyListValue;
    KeyedArchiveWriter archive;
    const int inside = archive.string("inside");
    int odd = inside;
    for (int i = 0; i < veryDeep; ++i)
        odd = archive.addInstance({"Odd"}, {{"next", Value::ofUid(odd)}});
    const int root = archive.array({odd, inside});
    EXPECT_EQ(decodeKeyed(archive.binary(root)).text(), "( \"<Odd>\", inside )");
}
