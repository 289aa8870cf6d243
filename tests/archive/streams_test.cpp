#include "tests/archive/decoding.h"
#include "tests/archive/notation.h"

#include <gtest/gtest.h>

// Objects of typed streams.

namespace {

/// One group of every type of value, and of several at once.
const QByteArray everyType = ":cCBsSiIlLqQ r134 r132 r1 -300 300 -70000 70000 -9000000000q 1 2 9000000000q "
                             ":fd{?=ff} f0.5 -7 1 f2.5 :[4c][2{?=i[2s]}] x84858692 0 1 2 3 4 5 "
                             ":+:% \"\x86\x86\" s\"selector:\" S\"atom\" "
                             ":*#** *\"text\" cNSScroller/NSControl/NSObject *\"text\" ~ "
                             ":@#@ #0 cNSScroller ~ ";

QByteArray repeated(int times, const QByteArray &notation)
{
    return (notation + ' ').repeated(times);
}

/// Arrays that hold each other, @p height of them.
QByteArray nestedArrays(int height)
{
    return repeated(height - 1, ":@ {NSArray :i 1") + ":@ {NSArray :i 0 } " + repeated(height - 1, "}");
}

/// An array of arrays, each of which holds the one before.
QByteArray siblings(int height)
{
    QByteArray notation = ":@ {NSArray :i " + QByteArray::number(height - 1) + " :@ {NSArray=0. :i 0 } ";
    for (int i = 1; i < height - 1; ++i)
        notation +=
            ":@ {NSArray=" + QByteArray::number(i) + ". :i 1 :@ #" + QByteArray::number(i - 1) + ". } ";
    return notation + '}';
}

/// An array of texts whose attributes hold the text before: texts and dictionaries by turns, on a string.
QByteArray texts(int height)
{
    const int count = (height - 2) / 2;
    QByteArray notation = ":@ {NSArray :i " + QByteArray::number(count) + ' ';
    for (int i = 0; i < count; ++i)
        notation += ":@ {NSAttributedString=" + QByteArray::number(i) + ". " + stringNotation("x") +
                    " :iI 1 1 :@ {NSDictionary :i 1 " + stringNotation("k") +
                    (i == 0 ? ":@ ~" : ":@ #" + QByteArray::number(i - 1) + '.') + " } } ";
    return notation + '}';
}

} // namespace

TEST(Streams, HoldObjects)
{
    const char *const unread = "error: a reference to what has not been read";
    const char *const unreadString = "error: a reference to a string that has not been read";
    const char *const otherKind = "error: a reference to something of another kind";
    const char *const containsItself = "error: an object that contains itself";
    const auto inArray = [](const QByteArray &notation) { return ":@ {NSArray :i 1 :@ " + notation + " }"; };
    /// The array is 0, NSArray 1, NSObject 2, the object 3, its class 4.
    const auto inUnknown = [](const QByteArray &group) {
        return ":@ {NSArray :i 1 :@ {Odd " + group + " } }";
    };
    const QByteArray one = stringNotation("1");
    const QByteArray two = stringNotation("2");
    const QByteArray later = everyType + ":@ {Odd " + everyType + "} }";
    const struct {
        QByteArray notation;
        std::string text;
    } cases[] = {
        {":@ {NSMutableString/NSString/NSObject :+ \"text\" }", "text"},
        {":@ {NSMutableArray/NSArray/NSObject :i 2 " + one + two + " }", "(1 2)"},
        {":@ {NSArray :q 1q " + one + " }", "(1)"},
        {":@ {NSArray :i 1 " + one + two + " }", "(1)"}, // fewer than there are
        {":@ {NSSet :I 2 " + one + two + " }", "{1 2}"},
        {":@ {NSDictionary :i 2 " + two + one + one + two + " }", "[1=2 2=1]"},
        {":@ {NSDictionary :i 2 " + one + one + one + two + " }", "[1=2]"}, // the last one counts
        {":@ {NSDictionary :i 2 :@ {NSArray :i 0 } " + one + one + two + " }", "[1=2]"},
        {":@ {NSMutableData/NSData :i 2 :[2c] x00ff }", "<00ff>"},
        {":@ {NSData :i 0 }", "<>"},
        {":@ {NSData :i 0 :[0c] }", "<>"},
        {":@ {NSDate :d d0.5 }", "@0.5"},
        {":@ {NSCalendarDate/NSDate/NSObject :d -5 :@ ~ }", "@-5"},
        {":@ {NSNumber/NSValue :* *\"i\" :i 5 }", "5"},
        {":@ {NSNumber/NSValue :* *\"q\" :q -9000000000q }", "-9000000000"},
        {":@ {NSNumber/NSValue :*d *\"d\" d0.5 }", "0.5"},
        {":@ {NSURL :c r0 " + one + " }", "url:1"},
        {":@ {NSURL :c@ r1 {NSURL :c r0 " + stringNotation("http://a/b") + " } " + one + " }",
         "url:http://a/1"},
        {":@ {NSNull }", "?NSNull"},
        // Values that are no numbers
        {":@ {NSValue :*{_NSRange=II} *\"{_NSRange=II}\" 3 4 }", "?NSValue"},
        {":@ {NSValue :* *\"@\" :@ ~ }", "?NSValue"},
        {":@ {NSDecimalNumber/NSNumber/NSValue :ccc[8S] r1 r2 r3 1 2 3 4 5 6 7 8 }", "?NSValue"},
        // References
        {inUnknown(":@ #0"), "(?Odd)"}, // what holds it
        {inUnknown(":@ #3"), "(?Odd)"}, // itself
        {inUnknown(":@ #1"), otherKind},
        {inUnknown(":@ #4"), otherKind},
        {inUnknown(":@ #5"), unread},
        {inUnknown(":@ #100000"), unread},
        {inUnknown(":@ 2147483647w"), unread},
        {inUnknown(":@ -2147483648w"), unread},
        {inUnknown(":@ 9223372036854775807q"), unread},
        {inUnknown(":@ 4294967186q"), unread}, // 0 in its lower half
        {inUnknown(":@ -111h"), unread},
        {inUnknown(":# #1"), "(?Odd)"},
        {inUnknown(":# #4"), "(?Odd)"},
        {inUnknown(":# #0"), otherKind},
        {inUnknown(":# #5"), unread},
        {inUnknown(":* #0"), otherKind},
        {inUnknown(":* #5"), unread},
        {inUnknown(":: #0"), "(?Odd)"},
        {inUnknown(":: #5"), "(?Odd)"},
        {inUnknown(":: #6"), unreadString},
        {inUnknown(":% -111h"), unreadString},
        // Class chains
        {inArray("{ ~ :I 0 }"), "(?)"},
        {inArray("{OurSet/MySet/NSMutableSet/NSSet/NSObject :I 0 }"), "({})"},
        {inArray("{ #2 :I 0 }"), "(?NSObject)"},
        {inArray("{Odd/ :I 0 }"), "(?Odd)"},
        {inArray("{ C\"Odd\" C\"Even\" #4 :I 0 }"), unread}, // in a circle
        {inArray("{ C\"Odd\" #4 :I 0 }"), unread},
        {inArray("{ #0 :I 0 }"), otherKind},
        {inArray("{ C\"Odd\" #0 :I 0 }"), otherKind},
        {inArray("{ C\"\" ~ :I 0 }"), "(?)"},
        {inArray("{ C\"" + QByteArray(300, 'n') + "\" ~ }"), "(?" + std::string(256, 'n') + ')'},
        {inArray("{ " + repeated(100'000, "C\"Odd\"") + "cNSSet :I 0 }"), "({})"},
        {inArray("{ " + repeated(100'000, "C\"Odd\"") + "~ :I 0 }"), "(?Odd)"},
        // What nobody knows or keeps may hold anything, and later groups are passed
        {":@ {NSArray :i 4 :@ {Odd=odd " + everyType + ":@ {Even " + everyType +
             "} :@ {NSString=inside :+ \"inside\" } "
             ":@ {NSArray=circle :i 2 :@ #circle :@ #odd } :@ {NSArray=holder :i 1 :@ #odd } :@ {NSArray :i "
             "7 } } "
             ":@ #inside :@ #holder " +
             stringNotation("after") + " }",
         "(?Odd inside (?Odd) after)"},
        {inUnknown(repeated(100'000, ":[2[2[2@]]] ~ ~ ~ ~ ~ ~ ~ {Odd") + stringNotation("x") +
                   repeated(100'000, ":@ {NSArray :i 1") + repeated(200'000, "}")),
         "(?Odd)"},
        {":@ {NSArray :i 7 :@ {NSString=first :+i \"first\" -500 " + later + " :@ {NSArray :i 1 " + one +
             later + " :@ {NSDictionary :i 1 " + one + two + later +
             " :@ {NSURL :c@ r0 {NSString :+ \"url\" " + later + later + " :@ {NSDate :d 0 " + later +
             " :@ {NSNumber :*i *\"i\" 5 " + later + " :@ {NSData :i[2c] 2 x6162 " + later + " :@ #first }",
         "(first (1) [1=2] url:url @0 5 <6162>)"},
        // What is kept holds nothing that holds it
        {":@ {NSArray=a :i 1 :@ #a }", containsItself},
        {":@ {NSArray=a :i 1 :@ {NSArray :i 2 :@ ~ :@ #a } }", containsItself},
        {":@ {NSDictionary=a :i 1 " + one + ":@ #a }", containsItself},
        {":@ {NSDictionary=a :i 1 :@ #a :@ ~ }", containsItself},
        {":@ {NSSet=a :I 1 :@ #a }", containsItself},
        {":@ {NSAttributedString=a " + one + " :iI 1 1 :@ {NSDictionary :i 1 " + one + ":@ #a } }",
         containsItself},
        {":@ {NSURL=a :c@ r1 #a " + one + " }", containsItself},
    };
    for (const auto &c : cases)
        EXPECT_EQ(decodeStream(typedStream(c.notation)).text(), c.text) << c.notation.left(200).constData();
}

TEST(Streams, AnObjectOfAnotherShapeIsUnreadableAlone)
{
    const char *const noObject = "a value that is no object where an object should stand";
    const char *const noInteger = "a value that is no integer where an integer should stand";
    const char *const noBytes = "a value of another type where bytes should stand";
    const char *const negative = "a negative number of elements";
    const QByteArray one = stringNotation("1");
    const QByteArray odd = ":@ {NSString=odd :* *\"1\" } ";
    const struct {
        QByteArray className;
        QByteArray contents;
        std::string fault;
    } cases[] = {
        {"NSCalendarDate/NSDate", ":@ ~ :d 5", noInteger},
        {"NSDate", "", "a number is missing"},
        {"NSString", ":* *\"text\"", noBytes},
        {"NSString", "", "bytes are missing"},
        {"NSURL", one, noInteger},
        {"NSURL", ":c r0", "an object is missing"},
        {"NSURL", ":c@ r0 ~", "a URL without its string"},
        {"NSURL", ":c r0 :i 1", noObject},
        {"NSURL", ":c r0 " + odd, noBytes},
        {"NSURL", ":c@ r1 {NSURL :i 0 } " + one, "an object is missing"},
        {"NSData", ":[2c] x6162", noInteger},
        {"NSData", ":i@ 2 ~", noBytes},
        {"NSDictionary", one + one, noInteger},
        {"NSDictionary", ":i 1 " + one, "an object is missing"},
        {"NSDictionary", ":i -1", negative},
        {"NSArray", ":i 3 " + one, "an object is missing"},
        {"NSArray", ":i 2147483647 " + one, "an object is missing"},
        {"NSArray", ":q 9000000000q " + one, "an object is missing"},
        {"NSSet", ":q -9000000000q " + one, negative},
        {"NSSet", ":I -1w " + one, "an object is missing"},
        {"NSAttributedString", ":i 1", noObject},
        {"NSAttributedString", ":@ ~", "an attributed string without its string"},
        {"NSAttributedString", odd + ":iI 1 1", noBytes},
        {"NSFont", "", "a number is missing"},
        {"NSFont", one, noInteger},
        {"NSFont", ":i[1c] 1 x61", "a font without a name"},
        {"NSColor", "", "a number is missing"},
        {"NSColor", one, noInteger},
        {"NSFileWrapper", one, "a file wrapper without its bytes"},
        {"NSFileWrapper", ":@ {NSData :@ ~ }", noInteger},
    };
    for (const auto &c : cases) {
        const QByteArray notation =
            ":@ {NSArray :i 2 :@ {" + c.className + ' ' + c.contents + " } " + stringNotation("after") + " }";
        const Decoding decoded = decodeStream(typedStream(notation));
        const std::string name = c.className.split('/').front().toStdString();
        EXPECT_EQ(decoded.text(), "(!" + name + ": " + c.fault + " after)") << notation.constData();
    }
    EXPECT_EQ(decodeStream(typedStream(":@ {NSArray :i 2 " + odd + ":@ {NSDictionary :i 2 :@ #odd :@ ~ " +
                                       one + ":@ #odd } }"))
                  .text(),
              "(!NSString: " + std::string(noBytes) + " [1=!NSString: " + noBytes + "])");
}

TEST(Streams, HeightIsThatOfWhatIsKept)
{
    const char *const nestedTooDeep = "objects nested more than 512 deep";
    const char *const tooHigh = "objects that hold each other more than 512 deep";
    const struct {
        QByteArray (*notation)(int height);
        const char *error;
    } cases[] = {{nestedArrays, nestedTooDeep}, {siblings, tooHigh}, {texts, tooHigh}};
    for (const auto &c : cases) {
        EXPECT_EQ(decodeStream(typedStream(c.notation(512))).error, "");
        EXPECT_EQ(decodeStream(typedStream(c.notation(514))).error, c.error);
        EXPECT_EQ(decodeStream(typedStream(c.notation(100'000))).error, c.error);
    }
    EXPECT_EQ(decodeStream(typedStream(nestedArrays(513))).error, nestedTooDeep);
    EXPECT_EQ(decodeStream(typedStream(siblings(513))).error, tooHigh);
}

TEST(Streams, ReferencesOfAllLengths)
{
    // The numbers at which a reference needs one more byte, and the next power of two.
    for (const int number : {237, 238, 239, 32876, 32877, 32878, 32879, 65645, 65646}) {
        for (const ByteOrder order : {ByteOrder::Little, ByteOrder::Big}) {
            const QByteArray notation = ":@ {NSArray :i 4 :@ {Odd " + repeated(number - 5, ":* *\"same\"") +
                                        ":@ {NSArray=a :i 0 } } :@ #a " + stringNotation("between") +
                                        " :@ #a }";
            const Decoding decoded = decodeStream(typedStream(notation, order));
            EXPECT_EQ(decoded.text(), "(?Odd () between ())") << number;
            EXPECT_EQ(elementOf(decoded.root, 1), elementOf(decoded.root, 3)) << number;
        }
    }
}
