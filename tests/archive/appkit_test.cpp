#include "tests/archive/decoding.h"
#include "tests/archive/notation.h"

#include <gtest/gtest.h>

// Colours, fonts and attachments. (What makes one unreadable stands with the other classes.)

namespace {

std::string streamText(const QByteArray &object)
{
    return decodeStream(typedStream(":@ {" + object + " }")).text();
}

std::string keyedText(const QByteArray &objects)
{
    const std::string text = decodeKeyed(keyedArchive(objects)).text();
    if (!objects.contains('\0') && !objects.contains("nan")) {
        EXPECT_EQ(decodeKeyed(keyedArchive(objects, Form::Xml)).text(), text);
    }
    return text;
}

} // namespace

TEST(Colors, OfStreams)
{
    const QByteArray grey = "{NSColor :c r3 :ff f0.5 1 } ";
    const struct {
        QByteArray contents;
        const char *expected;
    } cases[] = {
        {"r1 :ffff f0.5 f0.25 1 f0.125", "rgb:0.5,0.25,1"},
        {"r2 :fff 1 0 0", "rgb:1,0,0"},
        {"r3 :ff f0.5 1", "rgb:0.5,0.5,0.5"},
        {"r4 :ff 0 0", "rgb:0,0,0"},
        {"r5 :fffff f0.5 f0.25 0 f0.25 1", "rgb:0.25,0.5,0.75"},
        {"r5 :fffff 1 f0.75 0 f0.5 1", "rgb:0,0,0.5"},
        {"r1 :dddd d0.5 d0.25 1 1", "rgb:0.5,0.25,1"},
        {"r1 :iiii 1 0 1 1", "rgb:1,0,1"},
        {"r1 :[4f] f0.5 f0.25 1 1", "rgb:0.5,0.25,1"},
        {"r1 :ffffff f0.5 f0.25 1 1 1 1", "rgb:0.5,0.25,1"},
        // Held to 0 to 1
        {"r1 :ffff -3 f1.5 fnan 1", "rgb:0,1,0"},
        {"r5 :fffff 7 -7 fnan f0.5 1", "rgb:0,0.5,0.5"},
        // What cannot be converted
        {"r1 :ff f0.5 f0.25", "rgb:-"},
        {"r4", "rgb:-"},
        {"r5 :fff 0 0 0", "rgb:-"},
        {"r10 :ffff 0 0 0 0", "rgb:-"},
        {"r0 :ffff 0 0 0 0", "rgb:-"},
        {"r-1 :ffff 0 0 0 0", "rgb:-"},
        // Named ones
        {"r6 :@@@ ~ ~ " + grey, "rgb:0.5,0.5,0.5"},
        {"r6 :@@@@ ~ ~ " + grey + "~", "rgb:0.5,0.5,0.5"},
        {"r6 :@@@ ~ ~ ~", "rgb:-"},
        {"r6 :@@ ~ ~", "rgb:-"},
        {"r6 :@@i ~ ~ 1", "rgb:-"},
        {"r6 :@@@ ~ ~ {NSString :+ \"red\" }", "rgb:-"},
        {"r6 :ffff 0 0 0 0", "rgb:-"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(streamText("NSColor :c " + c.contents), c.expected) << c.contents.constData();
}

TEST(Colors, OfKeyedArchives)
{
    const struct {
        int space;
        const char *key;
        QByteArray components;
        const char *expected;
    } cases[] = {
        {1, "NSRGB", "0.5 0.25 1", "rgb:0.5,0.25,1"},
        {2, "NSRGB", "0.5 0.25 1 0.5", "rgb:0.5,0.25,1"},
        {1, "NSRGB", QByteArray("1 0 0.5\0 0.25", 13), "rgb:1,0,0.5"},
        {1, "NSRGB", "  1\t0  5e-1\n", "rgb:1,0,0.5"},
        {3, "NSWhite", "0.5", "rgb:0.5,0.5,0.5"},
        {4, "NSWhite", QByteArray("0.25 0.5\0", 9), "rgb:0.25,0.25,0.25"},
        {5, "NSCMYK", "0.5 0.25 0 0.25 0.5", "rgb:0.25,0.5,0.75"},
        {1, "NSRGB", "2 -1 inf", "rgb:1,0,1"},
        {1, "NSRGB", "1 1 1 1 1 1 1 1 1", "rgb:1,1,1"},
        {1, "NSRGB", "1 1", "rgb:-"},
        {1, "NSRGB", "1 x 1 1", "rgb:-"},
        {1, "NSRGB", "", "rgb:-"},
        {1, "NSRGB",
         QByteArray("\0"
                    "1 1 1",
                    6),
         "rgb:-"},
        {1, "NSRGB", QByteArray(250, ' ') + "1 1 1", "rgb:1,1,1"},
        {1, "NSRGB", QByteArray(252, ' ') + "1 1 1", "rgb:-"},
        {1, "NSWhite", "1 1 1", "rgb:-"},
        {5, "NSCMYK", "1 1 1", "rgb:-"},
        {6, "NSRGB", "1 1 1", "rgb:-"},
        {10, "NSRGB", "1 1 1", "rgb:-"},
        {-77, "NSRGB", "1 1 1", "rgb:-"},
    };
    for (const auto &c : cases) {
        const QByteArray color =
            "{NSColor NSColorSpace=" + QByteArray::number(c.space) + ' ' + QByteArray(c.key) + '=';
        EXPECT_EQ(keyedText(color + '<' + c.components.toHex() + ">}"), c.expected)
            << c.components.constData();
        EXPECT_EQ(decodeKeyed(keyedArchive(color + '"' + c.components + "\"}")).text(), c.expected);
    }
    EXPECT_EQ(keyedText("{NSColor}"), "rgb:-");
    EXPECT_EQ(keyedText("{NSColor NSColorSpace=6 NSColor=\"red\"}"), "rgb:-");
    EXPECT_EQ(keyedText("{NSColor NSColorSpace=6 NSColor=#2} {NSColor NSColorSpace=6 NSColor=#3} "
                        "{NSColor NSColorSpace=3 NSWhite=d\"0.5\"}"),
              "rgb:0.5,0.5,0.5");
}

TEST(Fonts, OfStreams)
{
    const std::string none = "!NSFont: a font without a name";
    const struct {
        const char *serialized; ///< in hexadecimal digits
        std::string expected;
    } cases[] = {
        {"05000000 09000000 48656c766574696361 000000", "font:Helvetica,12.5"},
        {"05000000 09000000 48656c766574696361", "font:Helvetica,12.5"},
        {"05000000 01000000 d9", "font:\u00E4,12.5"}, // not ASCII
        {"05000000 00000000", "font:,12.5"},
        {"06000000 06000000 fffe 6100 2d4e", "font:a\u4E2D,12.5"},
        {"06000000 06000000 feff 0061 4e2d", "font:a\u4E2D,12.5"},
        {"06000000 02000000 feff", "font:,12.5"},
        {"06000000 04000000 0061 0062", none}, // without a mark
        {"06000000 03000000 feff 61", none},
        {"06000000 00000000", none},
        {"07000000 01000000 61", none},
        {"05000000 0a000000 48656c766574696361", none}, // longer than it is
        {"05000000 ffffffff 61", none},
        {"05000000 000000", none},
    };
    for (const auto &c : cases) {
        const QByteArray bytes = QByteArray::fromHex(c.serialized);
        EXPECT_EQ(streamText("NSFont :i[" + QByteArray::number(bytes.size()) + "c] " +
                             QByteArray::number(bytes.size()) + " x" + bytes.toHex() +
                             " :fcccc f12.5 x61626364"),
                  c.expected)
            << c.serialized;
    }
    const QByteArray name = "NSFont :i[9c] 9 x050000000100000061 ";
    EXPECT_EQ(streamText(name), "!NSFont: a number is missing");
    EXPECT_EQ(streamText(name + ":d d1e300"), "font:a,9999");
}

TEST(Fonts, OfKeyedArchives)
{
    const struct {
        const char *members;
        const char *expected;
    } cases[] = {
        {"NSName=\"Monaco\" NSSize=9.5", "font:Monaco,9.5"},
        {"NSName=\"x\" NSSize=12", "font:x,12"},
        {"NSName=\"x\" NSSize=-1.0", "font:x,0"},
        {"NSName=\"x\" NSSize=nan", "font:x,0"},
        {"NSName=\"x\" NSSize=\"12\"", "font:x,0"},
        {"NSName=1", "!NSFont: a font without a name"},
        {"NSSize=1.0", "!NSFont: a font without a name"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(keyedText("{NSFont " + QByteArray(c.members) + '}'), c.expected);
}

TEST(Attachments, WithAndWithoutAFile)
{
    const auto data = [](const char *bytes) {
        return ":@ {NSData :i[1c] 1 x" + QByteArray(bytes).toHex() + " } ";
    };
    const auto wrapper = [](const QByteArray &contents) { return "{NSFileWrapper " + contents + " } "; };
    // A file called n of the byte c
    const QByteArray named =
        QByteArray("rtfd\0\0\0\0\3\0\0\0\2\0\0\0\2\0\0\0..\x17\0\0\0__@UTF8PreferredName@__"
                   "\x09\0\0\0\x09\0\0\0\1\0\0\0\1\0\0\0c\1\0\0\0\1\0\0\0n",
                   75);
    const QByteArray size = QByteArray::number(named.size());
    const QByteArray everyType = ":cfd[4c]+:%*#@ r1 2 3 x84858692 \"\x86\" s\"a\" s\"b\" *\"c\" cOdd {Odd } ";
    const struct {
        QByteArray contents;
        const char *expected;
    } cases[] = {
        {"", "attached:nil"},
        {":i@ 1 ~", "attached:nil"},
        {":i@ 1 " + wrapper(data("b")), "attached:file:=b"},
        {":@@ " + wrapper(data("1")) + wrapper(data("2")), "attached:file:=1"},
        {":@@ ~ " + wrapper(stringNotation("name") + data("b")), "attached:file:=b"},
        {everyType + ":i@@ 0 {Odd " + everyType + "} " + wrapper(everyType + data("b")), "attached:file:=b"},
        {":@ " + wrapper(stringNotation("name")), "attached:nil"},
        {":@ " + wrapper(":@ {NSData :i 0 }"), "attached:file:="},
        // The bytes in the wrapper itself
        {":@ " + wrapper(":i[" + size + "c] " + size + " x" + named.toHex()), "attached:file:n=c"},
        {":@ " + wrapper(":+ " + size + " x" + named.toHex()), "attached:file:n=c"},
        {":@ " + wrapper(":++ \"a\" " + size + " x" + named.toHex()), "attached:file:n=c"},
        {":@ " + wrapper(":++ " + size + " x" + named.toHex() + " \"a\""), "attached:file:n=c"},
        {":@ " + wrapper(":i[2c]+ 2 x6162 \"c\""), "attached:file:=ab"},
        {":@ " + wrapper(":+ \"a\" " + data("b")), "attached:file:=b"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(streamText("NSTextAttachment " + c.contents), c.expected) << c.contents.constData();

    const auto keyed = [](const QByteArray &file) {
        return keyedText("{NSTextAttachment NSFileWrapper=#2} " + file);
    };
    EXPECT_EQ(keyed("{NSFileWrapper NSFileWrapperData=<" + named.toHex() + ">}"), "attached:file:n=c");
    EXPECT_EQ(keyed("\"bytes\""), "attached:nil");
    EXPECT_EQ(keyed("{NSFileWrapper}"), "attached:nil");
    EXPECT_EQ(keyedText("{NSTextAttachment}"), "attached:nil");
}
