#include "tests/archive/decoding.h"
#include "tests/archive/typedstreamwriter.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

using Writing = std::function<void(TypedStreamWriter &)>;
using Chain = TypedStreamWriter::Chain;

/// The text of an array of one element, a group "@" whose value @p write writes.
std::string textOf(const Writing &write)
{
    TypedStreamWriter stream; // numbers: the array 0, NSArray 1, NSObject 2
    stream.beginArray(1);
    stream.types("@");
    write(stream);
    stream.endObject();
    return decodeStream(stream.data()).text();
}

/// The same for an object of an unknown class with one group of @p encoding in it.
std::string textWithUnknown(const char *encoding, const Writing &write)
{
    return textOf([&](TypedStreamWriter &stream) {
        stream.beginObject({"Odd", "NSObject"}); // 3, Odd 4
        stream.types(encoding);
        write(stream);
        stream.endObject();
    });
}

std::string withoutOffset(const std::string &text)
{
    return text.starts_with("error") ? text.substr(text.find(": ", 7) + 2) : text;
}

} // namespace

TEST(StreamReferences, NameWhatHasBeenReadOfTheSameKind)
{
    const char *unread = "a reference to what has not been read";
    const char *unreadString = "a reference to a string that has not been read";
    const char *otherKind = "a reference to something of another kind";
    const char *fine = "( \"<Odd>\" )";
    const struct {
        const char *encoding;
        qint64 number;
        const char *text;
    } cases[] = {
        {"@", 0, fine}, // what holds it
        {"@", 3, fine}, // itself
        {"@", 1, otherKind},      {"@", 4, otherKind},        {"@", 5, unread},
        {"@", 100'000, unread},   {"@", 0x7FFFFFFF, unread},  {"@", -1, unread},
        {"@", -40, unread},       {"@", -0x7FFFFFFF, unread}, {"#", 1, fine},
        {"#", 4, fine},           {"#", 0, otherKind},        {"#", 5, unread},
        {"*", 0, otherKind},      {"*", 5, unread},           {":", 0, fine},
        {":", 5, fine},           {":", 7, unreadString},     {"%", 0, fine},
        {"%", -40, unreadString},
    };
    for (const auto &c : cases) {
        const auto write = [&](TypedStreamWriter &stream) { stream.reference(c.number); };
        EXPECT_EQ(withoutOffset(textWithUnknown(c.encoding, write)), c.text) << c.encoding << ' ' << c.number;
    }
    EXPECT_EQ(withoutOffset(textOf([](TypedStreamWriter &stream) { stream.reference(0); })),
              "an object that contains itself");
}

TEST(StreamReferences, OfAllLengths)
{
    // The numbers at which a reference needs one more byte, and the next power of two.
    for (const int number : {237, 238, 239, 32876, 32877, 32878, 32879, 65645, 65646}) {
        for (const auto order : {TypedStreamWriter::ByteOrder::Little, TypedStreamWriter::ByteOrder::Big}) {
            TypedStreamWriter stream(order);
            stream.beginArray(4);
            stream.types("@");
            stream.beginObject({"Odd", "NSObject"});
            while (stream.objectCount() < number) {
                stream.types("*");
                stream.cString("same");
            }
            stream.types("@");
            ASSERT_EQ(stream.beginObject({"NSArray", "NSObject"}), number);
            stream.types("i");
            stream.integer(0);
            stream.endObject();
            stream.endObject();
            stream.objectReference(number);
            stream.string("between");
            stream.objectReference(number);
            stream.endObject();
            const Decoding decoded = decodeStream(stream.data());
            EXPECT_EQ(decoded.text(), "( \"<Odd>\", ( ), between, ( ) )") << number;
            EXPECT_EQ(elementOf(decoded.root, 1), elementOf(decoded.root, 3)) << number;
        }
    }
}

TEST(StreamReferences, ClassChains)
{
    const struct {
        const char *what;
        Writing chain;
        std::string text;
    } cases[] = {
        {"nil", [](auto &stream) { stream.nil(); }, "( \"<>\" )"},
        {"known by name", [](auto &stream) { stream.classChain({"NSSet", "NSObject"}); }, "( { } )"},
        {"known by its superclass",
         [](auto &stream) { stream.classChain({"OurSet", "MySet", "NSMutableSet", "NSSet", "NSObject"}); },
         "( { } )"},
        {"root class", [](auto &stream) { stream.reference(2); }, "( \"<NSObject>\" )"},
        {"without a root",
         [](auto &stream) {
             stream.literalClass("Odd");
             stream.nil();
         },
         "( \"<Odd>\" )"},
        {"in a circle",
         [](auto &stream) {
             stream.literalClass("Odd"); // 4
             stream.literalClass("Even");
             stream.reference(4);
         },
         "a reference to what has not been read"},
        {"its own superclass",
         [](auto &stream) {
             stream.literalClass("Odd");
             stream.reference(4);
         },
         "a reference to what has not been read"},
        {"an object", [](auto &stream) { stream.reference(0); }, "a reference to something of another kind"},
        {"an object as superclass",
         [](auto &stream) {
             stream.literalClass("Odd");
             stream.reference(0);
         },
         "a reference to something of another kind"},
        {"a name of no characters",
         [](auto &stream) {
             stream.literalClass("");
             stream.nil();
         },
         "( \"<>\" )"},
        {"100,000 long, known at its end",
         [](auto &stream) {
             for (int i = 0; i < 100'000; ++i)
                 stream.literalClass("Odd" + QByteArray::number(i));
             stream.classChain({"NSSet"});
         },
         "( { } )"},
        {"100,000 long, unknown",
         [](auto &stream) {
             for (int i = 0; i < 100'000; ++i)
                 stream.literalClass("Odd");
             stream.nil();
         },
         "( \"<Odd>\" )"},
    };
    for (const auto &c : cases) {
        const std::string text = textOf([&](TypedStreamWriter &stream) {
            stream.newObject(); // 3
            c.chain(stream);
            stream.types("I");
            stream.integer(0);
            stream.endObject();
        });
        EXPECT_EQ(withoutOffset(text), c.text) << c.what;
    }
}
