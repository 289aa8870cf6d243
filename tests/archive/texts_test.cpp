#include "tests/archive/decoding.h"
#include "tests/archive/notation.h"

#include "platform/foundation/nsattributedstring.h"
#include "platform/foundation/scalars.h"

#include <gtest/gtest.h>

// Strings, dates and attributed strings from either kind of archive; and that the same archived object is the
// same object in memory, while equal ones stay two.

namespace {

using platform::NSAttributedString;
using platform::NSString;

struct ArchivedRun {
    int set; ///< from 0
    quint64 length;
};

/// An attributed string in a stream; set n is a dictionary of the one key "n", without a value.
QByteArray streamNotation(const QByteArray &text, const std::vector<ArchivedRun> &runs)
{
    QByteArray notation = ":@ {NSAttributedString " + stringNotation(text);
    std::vector<bool> known(4);
    for (const ArchivedRun &run : runs) {
        const QByteArray set = QByteArray::number(run.set);
        notation += " :iI " + QByteArray::number(run.set + 1) + ' ' + QByteArray::number(run.length) +
                    (run.length > 0x7FFF ? "w" : "");
        if (!known[size_t(run.set)])
            notation += " :@ {NSDictionary :i 1 " + stringNotation(set) + " :@ ~ }";
        known[size_t(run.set)] = true;
    }
    return notation + " }";
}

const QByteArray fourSets =
    "{NSArray NS.objects=(#3 #4 #5 #6)} {NSDictionary NS.keys=(\"0\") NS.objects=(#0)} "
    "{NSDictionary NS.keys=(\"1\") NS.objects=(#0)} {NSDictionary NS.keys=(\"2\") "
    "NS.objects=(#0)} {NSDictionary NS.keys=(\"3\") NS.objects=(#0)}";

QByteArray keyedNotation(const QByteArray &text, const QByteArray &info)
{
    return "{NSAttributedString NSString=" + text + " NSAttributes=#2 NSAttributeInfo=<" + info.toHex() +
           ">} " + fourSets;
}

QByteArray attributeInfo(const std::vector<ArchivedRun> &runs)
{
    QByteArray info;
    for (const ArchivedRun &run : runs) {
        for (quint64 number : {run.length, quint64(run.set)}) {
            for (; number > 0x7F; number >>= 7U)
                info += char((number & 0x7FU) | 0x80U);
            info += char(number);
        }
    }
    return info;
}

} // namespace

TEST(Texts, RunsOfAttributes)
{
    const struct {
        QByteArray text;
        std::vector<ArchivedRun> runs;
        std::string expected;
    } cases[] = {
        {"abcde", {{0, 5}}, "5:[0=nil]"},
        {"abcde", {{0, 2}, {1, 3}}, "2:[0=nil] 3:[1=nil]"},
        {"abcde", {{0, 2}, {1, 1}, {0, 2}}, "2:[0=nil] 1:[1=nil] 2:[0=nil]"}, // a set that comes back
        {"abcde", {{0, 2}, {0, 3}}, "5:[0=nil]"},
        {"abcde", {{0, 2}, {1, 0}, {0, 3}}, "5:[0=nil]"},
        {"abcde", {{1, 0}, {0, 5}}, "5:[0=nil]"},
        {"abcde", {{0, 2}, {1, 100}}, "2:[0=nil] 3:[1=nil]"},
        {"abcde", {{0, 0xFFFFFFFF}}, "5:[0=nil]"},
        {"abcde", {{0, 10}, {1, 3}}, "5:[0=nil]"},
        {"abcde", {{0, 2}, {1, 1}}, "2:[0=nil] 1:[1=nil] 2:-"},
        {"abcde", {}, "5:-"},
        {"\xF0\x9F\x98\x80\xF0\x9F\x98\x80", {{0, 2}, {1, 2}}, "2:[0=nil] 2:[1=nil]"}, // two units each
        {"\xF0\x9F\x98\x80z", {{0, 1}, {1, 2}}, "1:[0=nil] 2:[1=nil]"},
        {"\xEF\xBB\xBF"
         "bc",
         {{0, 1}, {1, 2}},
         "1:[0=nil] 2:[1=nil]"},
        {QByteArray(70000, 'x'), {{0, 32768}, {1, 32768}}, "32768:[0=nil] 32768:[1=nil] 4464:-"},
    };
    for (const auto &c : cases) {
        const std::string expected = c.text.toStdString() + '|' + c.expected;
        EXPECT_EQ(decodeStream(typedStream(streamNotation(c.text, c.runs))).text(), expected);
        EXPECT_EQ(
            decodeKeyed(keyedArchive(keyedNotation('"' + c.text + '"', attributeInfo(c.runs)), Form::Xml))
                .text(),
            expected);
    }
    EXPECT_EQ(decodeStream(typedStream(streamNotation("", {}))).text(), "");
}

TEST(Texts, KeepTheirTextWithRunsThatAreNone)
{
    const struct {
        QByteArray info; ///< of a keyed archive
        std::string runs;
    } keyed[] = {
        {"", "4:-"},
        {QByteArray("\x81\x80\x80\0\0\3\1", 7), "1:[0=nil] 3:[1=nil]"}, // a number longer than it need be
        {QByteArray("\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x7F\0", 10), "4:[0=nil]"},
        {QByteArray("\4\0\x80", 3), "4:[0=nil]"}, // after the text nothing counts
        {QByteArray("\1\0\3", 3), "1:[0=nil] 3:-"},
        {QByteArray("\1\0\x80", 3), "1:[0=nil] 3:-"},
        {QByteArray("\1\0\3\x80", 4), "1:[0=nil] 3:-"},
        {QByteArray("\1\0", 2) + QByteArray(20, '\xFF'), "1:[0=nil] 3:-"},
        {QByteArray("\1\0\3\4", 4), "1:[0=nil] 3:-"},
        {QByteArray("\1\0\3\x80\x80\x80\x80\x10", 8), "1:[0=nil] 3:-"},
    };
    for (const auto &c : keyed)
        EXPECT_EQ(decodeKeyed(keyedArchive(keyedNotation("\"abcd\"", c.info))).text(), "abcd|" + c.runs)
            << c.info.toHex().constData();
    EXPECT_EQ(decodeKeyed(keyedArchive("{NSAttributedString NSString=\"abcd\" NSAttributes=#2} {NSDictionary "
                                       "NS.keys=(\"k\") NS.objects=(1)}"))
                  .text(),
              "abcd|4:[k=1]");
    EXPECT_EQ(decodeKeyed(keyedArchive("{NSAttributedString NSString=\"x\" NSAttributes=\"y\"}")).text(),
              "x|1:-");
    EXPECT_EQ(decodeKeyed(keyedArchive("{NSAttributedString}")).text(),
              "!NSAttributedString: an attributed string without its string");

    const QByteArray set = " :@ {NSDictionary :i 1 " + stringNotation("k") + " :@ ~ }";
    for (const char *const rest : {":@ ~", ":i 1", ":d d0.5", ":iI 2 1", ":iI 2 1 :i 0"})
        EXPECT_EQ(decodeStream(typedStream(":@ {NSAttributedString " + stringNotation("abcd") + " :iI 1 2" +
                                           set + ' ' + rest + " }"))
                      .text(),
                  "abcd|2:[k=nil] 2:-")
            << rest;
}

TEST(Texts, KeepEveryCharacter)
{
    const QString marked = QStringLiteral("\uFEFFx\uFEFF");
    const QString lone = QString(QChar(0xD83D)) + u'x' + QChar(0xDE00);
    const Decoding keyed = decodeKeyed(keyedArchive(
        "{NSArray NS.objects=(#2 #3 #4 #5)} uD83D0078DE00 {NSMutableString/NSString NS.string=#2} "
        "uFEFF0078FEFF {NSMutableString NS.bytes=<EFBBBF78FF>}"));
    const Decoding streamed = decodeStream(
        typedStream(":@ {NSArray :i 3 " + stringNotation("\xEF\xBB\xBFx\xEF\xBB\xBF") +
                    stringNotation("\xED\xA0\xBD\xC0\xAF\xF5z") + ":@ {NSString :+ 3 x610062 } }"));
    ASSERT_EQ(keyed.error + streamed.error, "");
    const auto string = [](const Decoding &decoded, size_t position) {
        return dynamic_cast<const NSString &>(*elementOf(decoded.root, position)).string();
    };
    EXPECT_EQ(string(keyed, 0), lone);
    EXPECT_EQ(string(keyed, 1), lone);
    EXPECT_EQ(string(keyed, 2), marked);
    EXPECT_EQ(string(keyed, 3), QStringLiteral("\uFEFFx\uFFFD"));
    EXPECT_EQ(string(streamed, 0), marked);
    const QString malformed = string(streamed, 1); // a surrogate, an overlong slash, a byte of none
    EXPECT_TRUE(malformed.isValidUtf16());
    EXPECT_TRUE(malformed.startsWith(QChar::ReplacementCharacter) && malformed.endsWith(u'z'));
    EXPECT_EQ(string(streamed, 2), QStringLiteral("a\0b"));
}

TEST(Texts, DatesOfTheYears1To9999)
{
    const struct {
        const char *seconds;
        const char *date;
    } cases[] = {
        {"0.5", "@0.5"},           {"-63113904000.0", "@-63113904000"},
        {"-63113904000.5", "nil"}, {"252423993599.0", "@252423993599"},
        {"252423993600.0", "nil"}, {"inf", "nil"},
        {"-inf", "nil"},           {"nan", "nil"},
    };
    for (const auto &c : cases) {
        const QByteArray seconds = c.seconds;
        EXPECT_EQ(decodeStream(typedStream(":@ {NSDate :d d" + seconds + " }")).text(), c.date) << c.seconds;
        EXPECT_EQ(decodeKeyed(keyedArchive("{NSDate NS.time=" + seconds + '}')).text(), c.date) << c.seconds;
        EXPECT_EQ(decodeKeyed(keyedArchive('@' + seconds)).text(), c.date) << c.seconds;
    }
}

TEST(Texts, ShareOneLink)
{
    const QByteArray link = stringNotation("http://example.org/");
    const auto streamText = [](const char *text) {
        return " :@ {NSAttributedString " + stringNotation(text) + " :iI 1 1 :@ {NSDictionary :i 1 " +
               stringNotation("k") + " :@ #link } :iI 2 1 :@ {NSDictionary :i 1 " + stringNotation("k") +
               " :@ #link } }";
    };
    const QByteArray stream = typedStream(":@ {NSArray :i 4 :@ {NSString=link :+ \"http://example.org/\" } " +
                                          link + streamText("ab") + streamText("cd") + " }");
    const QByteArray keyed =
        "{NSArray NS.objects=(#2 #3 #4 #5)} \"http://example.org/\" \"http://example.org/\" "
        "{NSAttributedString NSString=\"ab\" NSAttributes=#6 NSAttributeInfo=<01000101>} {NSAttributedString "
        "NSString=\"cd\" NSAttributes=#6 NSAttributeInfo=<01000101>} {NSArray NS.objects=(#7 #8)} "
        "{NSDictionary NS.keys=(\"k\") NS.objects=(#2)} {NSDictionary NS.keys=(\"k\") NS.objects=(#2)}";
    for (const Decoding &decoded : {decodeStream(stream), decodeKeyed(keyedArchive(keyed)),
                                    decodeKeyed(keyedArchive(keyed, Form::Xml))}) {
        ASSERT_EQ(decoded.error, "");
        const platform::ObjectRef object = elementOf(decoded.root, 0);
        EXPECT_NE(object, elementOf(decoded.root, 1)) << "equal strings are two objects";
        for (const size_t position : {2, 3}) {
            const auto &text = dynamic_cast<const NSAttributedString &>(*elementOf(decoded.root, position));
            ASSERT_EQ(text.runs().size(), 2U) << "equal sets are two";
            for (const NSAttributedString::Run &run : text.runs())
                EXPECT_EQ(run.attributes->objectForKey(u"k"), object);
        }
    }
}
