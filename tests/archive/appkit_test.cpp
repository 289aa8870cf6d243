#include "tests/archive/decoding.h"
#include "tests/archive/keyedarchivewriter.h"
#include "tests/archive/typedstreamwriter.h"

#include "platform/appkit/nscolor.h"
#include "platform/appkit/nsfilewrapper.h"
#include "platform/appkit/nsfont.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>

namespace {

using platform::NSColor;
using platform::NSFont;
using platform::NSTextAttachment;
using Value = PropertyListValue;
using Writing = std::function<void(TypedStreamWriter &)>;

/// An array of an object of the class whose groups @p write writes, and a string behind it.
Decoding decodeStreamOf(const char *className, const Writing &write)
{
    TypedStreamWriter stream;
    stream.beginArray(2);
    stream.types("@");
    stream.beginObject({className, "NSObject"});
    write(stream);
    stream.endObject();
    stream.string("after");
    stream.endObject();
    Decoding decoded = decodeStream(stream.data());
    EXPECT_EQ(decoded.error, "");
    if (decoded.root) {
        EXPECT_TRUE(elementOf(decoded.root, 1)) << "what stands behind it was not read";
        decoded.root = elementOf(decoded.root, 0);
    }
    return decoded;
}

Decoding decodeKeysOf(const char *className, const Value::Members &members)
{
    KeyedArchiveWriter archive;
    return decodeKeyed(archive.binary(archive.addInstance({className, "NSObject"}, members)));
}

/// "0.5 0.25 1", "-" for a colour that cannot be converted, or what the object is instead.
std::string rgb(const Decoding &decoded)
{
    const auto color = decoded.rootAs<NSColor>();
    if (!color)
        return decoded.text();
    if (!color->deviceRGB())
        return "-";
    QStringList components;
    for (const double component : *color->deviceRGB())
        components += QString::number(component, 'g', 6);
    return components.join(u' ').toStdString();
}

} // namespace

TEST(Colors, OfStreams)
{
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    const struct {
        int space;
        const char *encoding;
        std::vector<double> components;
        const char *expected;
    } cases[] = {
        {1, "ffff", {0.5, 0.25, 1, 0.125}, "0.5 0.25 1"},
        {2, "ffff", {1, 0, 0, 1}, "1 0 0"},
        {2, "fff", {1, 0, 0}, "1 0 0"},
        {3, "ff", {0.5, 1}, "0.5 0.5 0.5"},
        {4, "ff", {0, 0}, "0 0 0"},
        {5, "fffff", {0.5, 0.25, 0, 0.25, 1}, "0.25 0.5 0.75"},
        {5, "fffff", {1, 0.75, 0, 0.5, 1}, "0 0 0.5"},
        {1, "dddd", {0.5, 0.25, 1, 1}, "0.5 0.25 1"},
        {1, "iiii", {1, 0, 1, 1}, "1 0 1"},
        {1, "[4f]", {0.5, 0.25, 1, 1}, "0.5 0.25 1"},
        // Held to 0 to 1
        {1, "ffff", {-3, 1.5, nan, 1}, "0 1 0"},
        {5, "fffff", {7, -7, nan, 0.5, 1}, "0 0.5 0.5"},
        // What cannot be converted
        {1, "ff", {0.5, 0.25}, "-"},
        {1, "", {}, "-"},
        {4, "", {}, "-"},
        {5, "fff", {0, 0, 0}, "-"},
        {6, "ffff", {0, 0, 0, 0}, "-"},
        {10, "ffff", {0, 0, 0, 0}, "-"},
        {0, "ffff", {0, 0, 0, 0}, "-"},
        {-1, "ffff", {0, 0, 0, 0}, "-"},
        {99, "", {}, "-"},
    };
    for (const auto &c : cases) {
        const auto write = [&](TypedStreamWriter &stream) {
            stream.types("c");
            stream.byte(c.space);
            stream.types(c.encoding);
            for (const double component : c.components)
                stream.real(component, *c.encoding == 'd' ? 8 : 4);
        };
        EXPECT_EQ(rgb(decodeStreamOf("NSColor", write)), c.expected) << c.space << ' ' << c.encoding;
    }
    EXPECT_EQ(rgb(decodeStreamOf("NSColor", [](TypedStreamWriter &) {})), "\"<NSColor>\"");
    EXPECT_EQ(rgb(decodeStreamOf("NSColor", [](TypedStreamWriter &stream) { stream.string("red"); })),
              "\"<NSColor>\"");
}

TEST(Colors, NamedOnesOfStreams)
{
    const auto named = [](const char *encoding, const Writing &color) {
        return rgb(decodeStreamOf("NSColor", [&](TypedStreamWriter &stream) {
            stream.types("c");
            stream.byte(6);
            stream.types(encoding);
            stream.nil();
            stream.nil();
            color(stream);
        }));
    };
    const auto grey = [](TypedStreamWriter &stream) {
        stream.beginObject({"NSColor"});
        stream.types("c");
        stream.byte(3);
        stream.types("ff");
        stream.real(0.5, 4);
        stream.real(1, 4);
        stream.endObject();
    };
    EXPECT_EQ(named("@@@", grey), "0.5 0.5 0.5");
    EXPECT_EQ(named("@@@@",
                    [&](auto &stream) {
                        grey(stream);
                        stream.nil();
                    }),
              "0.5 0.5 0.5");
    EXPECT_EQ(named("@@@", [](auto &stream) { stream.nil(); }), "-");
    EXPECT_EQ(named("@@", [](auto &) {}), "-");
    EXPECT_EQ(named("@@i", [](auto &stream) { stream.integer(1); }), "-");
    EXPECT_EQ(named("@@", [](auto &stream) { stream.string("red"); }), "-");
}

TEST(Colors, OfKeyedArchives)
{
    const struct {
        int space;
        const char *key;
        QByteArray components;
        const char *expected;
    } cases[] = {
        {1, "NSRGB", "0.5 0.25 1", "0.5 0.25 1"},
        {2, "NSRGB", "0.5 0.25 1 0.5", "0.5 0.25 1"},
        {1, "NSRGB", QByteArray("1 0 0.5\0", 8), "1 0 0.5"},
        {1, "NSRGB", QByteArray("1 0 0.5\0 0.25", 13), "1 0 0.5"},
        {1, "NSRGB", "  1\t0  0.5\n", "1 0 0.5"},
        {1, "NSRGB", "1e0 0 5e-1", "1 0 0.5"},
        {3, "NSWhite", "0.5", "0.5 0.5 0.5"},
        {4, "NSWhite", QByteArray("0.25 0.5\0", 9), "0.25 0.25 0.25"},
        {5, "NSCMYK", "0.5 0.25 0 0.25", "0.25 0.5 0.75"},
        {5, "NSCMYK", "0.5 0.25 0 0.25 0.5", "0.25 0.5 0.75"},
        {1, "NSRGB", "2 -1 inf", "1 0 1"},
        {1, "NSRGB", "nan 1 1", "0 1 1"},
        {1, "NSRGB", "1 1 1 1 1 1 1 1 1", "1 1 1"},
        {1, "NSRGB", "1 1", "-"},
        {1, "NSRGB", "1,1,1", "-"},
        {1, "NSRGB", "1 x 1 1", "-"},
        {1, "NSRGB", "", "-"},
        {1, "NSRGB",
         QByteArray("\0"
                    "1 1 1",
                    6),
         "-"},
        {1, "NSRGB", QByteArray(1000, ' ') + "1 1 1", "-"},
        {1, "NSWhite", "1 1 1", "-"},
        {5, "NSCMYK", "1 1 1", "-"},
        {6, "NSRGB", "1 1 1", "-"},
        {10, "NSRGB", "1 1 1", "-"},
        {0, "NSRGB", "1 1 1", "-"},
        {-77, "NSRGB", "1 1 1", "-"},
    };
    for (const auto &c : cases) {
        const Value::Members asData{{"NSColorSpace", Value::ofInteger(c.space)},
                                    {c.key, Value::ofData(c.components)}};
        EXPECT_EQ(rgb(decodeKeysOf("NSColor", asData)), c.expected) << c.components.constData();
        const Value::Members asString{{"NSColorSpace", Value::ofInteger(c.space)},
                                      {c.key, Value::ofString(c.components)}};
        EXPECT_EQ(rgb(decodeKeysOf("NSColor", asString)), c.expected) << c.components.constData();
    }
    EXPECT_EQ(rgb(decodeKeysOf("NSColor", {})), "-");
    EXPECT_EQ(rgb(decodeKeysOf("NSColor", {{"NSColorSpace", Value::ofString("1")}})), "-");
    EXPECT_EQ(rgb(decodeKeysOf("NSColor",
                               {{"NSColorSpace", Value::ofInteger(6)}, {"NSColor", Value::ofString("red")}})),
              "-");

    KeyedArchiveWriter archive; // a named colour that stands for a named colour
    int color = archive.addInstance(
        {"NSColor"}, {{"NSColorSpace", Value::ofInteger(3)}, {"NSWhite", Value::ofData("0.5")}});
    for (int i = 0; i < 2; ++i)
        color = archive.addInstance(
            {"NSColor"}, {{"NSColorSpace", Value::ofInteger(6)}, {"NSColor", Value::ofUid(color)}});
    EXPECT_EQ(rgb(decodeKeyed(archive.xml(color))), "0.5 0.5 0.5");
}

TEST(Fonts, OfStreams)
{
    const auto fontOf = [](const QByteArray &serialized, const Writing &rest) {
        return decodeStreamOf("NSFont", [&](TypedStreamWriter &stream) {
            stream.types("i[" + QByteArray::number(serialized.size()) + "c]");
            stream.integer(serialized.size());
            stream.raw(serialized);
            rest(stream);
        });
    };
    const Writing size = [](TypedStreamWriter &stream) {
        stream.types("fcccc");
        stream.real(12.5, 4);
        stream.raw("abcd");
    };
    const auto bytes = [](int type, qint64 length, const QByteArray &text) {
        TypedStreamWriter numbers; // little-endian, whichever the stream is
        const qsizetype start = numbers.data().size();
        numbers.integer(type, 4);
        numbers.integer(length, 4);
        return numbers.data().sliced(start).replace('\x82', "") + text;
    };
    const struct {
        const char *what;
        QByteArray serialized;
        const char16_t *name; ///< null for what is no font
    } cases[] = {
        {"8-bit", bytes(5, 9, "Helvetica") + QByteArray(3, '\0'), u"Helvetica"},
        {"8-bit, not padded", bytes(5, 9, "Helvetica"), u"Helvetica"},
        {"8-bit, not ASCII", bytes(5, 1, "\xD9"), u"\u00E4"},
        {"8-bit, empty", bytes(5, 0, ""), u""},
        {"UTF-16, little-endian",
         bytes(6, 6,
               QByteArray("\xFF\xFE"
                          "a\0\x2D\x4E",
                          6)),
         u"a\u4E2D"},
        {"UTF-16, big-endian", bytes(6, 6, QByteArray("\xFE\xFF\0a\x4E\x2D", 6)), u"a\u4E2D"},
        {"UTF-16, empty", bytes(6, 2, "\xFE\xFF"), u""},
        {"UTF-16 without a mark", bytes(6, 4, QByteArray("\0a\0b", 4)), nullptr},
        {"UTF-16, half a unit",
         bytes(6, 3,
               "\xFE\xFF"
               "a"),
         nullptr},
        {"UTF-16, nothing", bytes(6, 0, ""), nullptr},
        {"another type", bytes(7, 1, "a"), nullptr},
        {"longer than it is", bytes(5, 10, "Helvetica"), nullptr},
        {"far too long", bytes(5, -1, "Helvetica"), nullptr},
        {"no length", bytes(5, 1, "a").first(7), nullptr},
        {"nothing", "", nullptr},
        {"the name alone", "Helvetica", nullptr},
    };
    for (const auto &c : cases) {
        const Decoding decoded = fontOf(c.serialized, size);
        const auto font = decoded.rootAs<NSFont>();
        ASSERT_EQ(bool(font), c.name != nullptr) << c.what;
        if (font) {
            EXPECT_EQ(font->fontName(), QString::fromUtf16(c.name)) << c.what;
            EXPECT_EQ(font->pointSize(), 12.5);
        } else {
            EXPECT_EQ(decoded.text(), "\"<NSFont>\"") << c.what;
        }
    }
    const QByteArray good = bytes(5, 1, "a");
    EXPECT_EQ(fontOf(good, [](auto &) {}).text(), "\"<NSFont>\"");
    EXPECT_EQ(fontOf(good, [](auto &stream) { stream.string("12"); }).text(), "\"<NSFont>\"");
    EXPECT_EQ(decodeStreamOf("NSFont", [](auto &) {}).text(), "\"<NSFont>\"");
    EXPECT_EQ(decodeStreamOf("NSFont", [](auto &stream) { stream.string("a"); }).text(), "\"<NSFont>\"");
    const auto huge = fontOf(good, [](auto &stream) {
        stream.types("d");
        stream.taggedReal(1e300, 8);
    });
    EXPECT_EQ(huge.rootAs<NSFont>()->pointSize(), 9999);
}

TEST(Fonts, OfKeyedArchives)
{
    const auto font =
        decodeKeysOf("NSFont", {{"NSName", Value::ofString("Monaco")}, {"NSSize", Value::ofReal(9.5)}})
            .rootAs<NSFont>();
    ASSERT_TRUE(font);
    EXPECT_EQ(font->fontName(), QStringLiteral("Monaco"));
    EXPECT_EQ(font->pointSize(), 9.5);
    const auto sizeOf = [](const Value &size) {
        return decodeKeysOf("NSFont", {{"NSName", Value::ofString("x")}, {"NSSize", size}})
            .rootAs<NSFont>()
            ->pointSize();
    };
    EXPECT_EQ(sizeOf(Value::ofInteger(12)), 12);
    EXPECT_EQ(sizeOf(Value::ofReal(-1)), 0);
    EXPECT_EQ(sizeOf(Value::ofReal(std::numeric_limits<double>::quiet_NaN())), 0);
    EXPECT_EQ(sizeOf(Value::ofString("12")), 0);
    EXPECT_EQ(decodeKeysOf("NSFont", {}).text(), "\"<NSFont>\"");
    EXPECT_EQ(decodeKeysOf("NSFont", {{"NSName", Value::ofInteger(1)}}).text(), "\"<NSFont>\"");
}

TEST(Attachments, WithAndWithoutAFile)
{
    const auto wrapper = [](TypedStreamWriter &stream, const Writing &contents) {
        stream.beginObject({"NSFileWrapper", "NSObject"});
        contents(stream);
        stream.endObject();
    };
    const struct {
        const char *what;
        Writing write;
        const char *contents; ///< null for no file
    } cases[] = {
        {"nothing", [](auto &) {}, nullptr},
        {"nil",
         [](auto &stream) {
             stream.types("i@");
             stream.integer(1);
             stream.nil();
         },
         nullptr},
        {"a file",
         [&](auto &stream) {
             stream.types("i@");
             stream.integer(1);
             wrapper(stream, [](auto &s) { s.dataObject("bytes"); });
         },
         "bytes"},
        {"the first of two",
         [&](auto &stream) {
             stream.types("@@");
             wrapper(stream, [](auto &s) { s.dataObject("one"); });
             wrapper(stream, [](auto &s) { s.dataObject("two"); });
         },
         "one"},
        {"in a later group",
         [&](auto &stream) {
             stream.nilObject();
             stream.types("@");
             wrapper(stream, [](auto &s) {
                 s.string("name");
                 s.dataObject("later");
             });
         },
         "later"},
        {"no data",
         [&](auto &stream) {
             stream.types("@");
             wrapper(stream, [](auto &s) { s.string("name"); });
         },
         nullptr},
        {"empty data",
         [&](auto &stream) {
             stream.types("@");
             wrapper(stream, [](auto &s) { s.dataObject(""); });
         },
         ""},
    };
    for (const auto &c : cases) {
        const auto attachment = decodeStreamOf("NSTextAttachment", c.write).rootAs<NSTextAttachment>();
        ASSERT_TRUE(attachment) << c.what;
        ASSERT_EQ(bool(attachment->fileWrapper()), c.contents != nullptr) << c.what;
        if (c.contents) {
            EXPECT_EQ(attachment->fileWrapper()->regularFileContents(), c.contents) << c.what;
        }
    }

    KeyedArchiveWriter archive;
    const int file = archive.addInstance({"NSFileWrapper"}, {{"NSFileWrapperData", Value::ofData("bytes")}});
    const auto attachmentOf = [&](int uid) {
        const int attachment =
            archive.addInstance({"NSTextAttachment"}, {{"NSFileWrapper", Value::ofUid(uid)}});
        return decodeKeyed(archive.xml(attachment)).rootAs<NSTextAttachment>()->fileWrapper();
    };
    ASSERT_TRUE(attachmentOf(file));
    EXPECT_EQ(attachmentOf(file)->regularFileContents(), "bytes");
    EXPECT_FALSE(attachmentOf(0));
    EXPECT_FALSE(attachmentOf(archive.string("bytes")));
    EXPECT_FALSE(attachmentOf(archive.addInstance({"NSFileWrapper"}, {})));
}
