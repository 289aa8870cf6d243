#include "tests/archive/decoding.h"
#include "tests/archive/keyedarchivewriter.h"
#include "tests/archive/typedstreamwriter.h"

#include "platform/foundation/nsattributedstring.h"
#include "platform/foundation/scalars.h"

#include <gtest/gtest.h>

#include <functional>

// The same archived object is the same object in memory, and equal ones stay two.

namespace {

using platform::NSAttributedString;
using platform::NSDate;
using platform::NSDictionary;
using platform::NSString;
using platform::NSURL;
using Value = PropertyListValue;

struct ArchivedRun {
    int set; ///< from 0
    qint64 length;
};

/// An attributed string in a stream; set n is a dictionary of the one key "n", the key with the value @p
/// value.
void writeText(TypedStreamWriter &stream, const QByteArray &text, const std::vector<ArchivedRun> &runs,
               int value = -1)
{
    stream.types("@");
    stream.beginObject({"NSAttributedString", "NSObject"});
    stream.string(text);
    std::vector<int> known;
    for (const ArchivedRun &run : runs) {
        stream.types("iI");
        stream.integer(run.set + 1);
        stream.integer(run.length);
        if (std::find(known.begin(), known.end(), run.set) != known.end())
            continue;
        known.push_back(run.set);
        stream.beginDictionary(1);
        stream.string(QByteArray::number(run.set));
        if (value < 0)
            stream.nilObject();
        else
            stream.objectReference(value);
        stream.endObject();
    }
    stream.endObject();
}

int addText(KeyedArchiveWriter &archive, int text, const std::vector<ArchivedRun> &runs,
            const std::vector<int> &sets)
{
    QByteArray info;
    const auto addNumber = [&info](quint64 number) {
        for (; number > 0x7F; number >>= 7U)
            info += char((number & 0x7FU) | 0x80U);
        info += char(number);
    };
    for (const ArchivedRun &run : runs) {
        addNumber(quint64(run.length));
        addNumber(quint64(run.set));
    }
    return archive.addInstance({"NSMutableAttributedString", "NSAttributedString", "NSObject"},
                               {{"NSString", Value::ofUid(text)},
                                {"NSAttributes", Value::ofUid(archive.array(sets))},
                                {"NSAttributeInfo", Value::ofUid(archive.add(Value::ofData(info)))}});
}

/// The same text with the same runs from either kind of archive.
std::vector<std::shared_ptr<const NSAttributedString>> decodedTexts(const QByteArray &text,
                                                                    const std::vector<ArchivedRun> &runs)
{
    TypedStreamWriter stream;
    stream.beginArray(1);
    writeText(stream, text, runs);
    stream.endObject();

    KeyedArchiveWriter archive;
    std::vector<int> sets;
    for (int i = 0; i < 4; ++i)
        sets.push_back(archive.dictionary({archive.string(QByteArray::number(i))}, {0}));
    const int root = archive.array({addText(archive, archive.string(text), runs, sets)});

    std::vector<std::shared_ptr<const NSAttributedString>> texts;
    for (const Decoding &decoded : {decodeStream(stream.data()), decodeKeyed(archive.xml(root))}) {
        EXPECT_EQ(decoded.error, "");
        texts.push_back(decoded.root ? elementOf<NSAttributedString>(decoded.root, 0) : nullptr);
    }
    return texts;
}

/// "2:0 3:-" for two units with the set of the key "0", and three without attributes.
std::string described(const NSAttributedString &text)
{
    std::string runs;
    for (const NSAttributedString::Run &run : text.runs()) {
        runs += runs.empty() ? "" : " ";
        runs += std::to_string(run.length) + ':';
        runs += run.attributes ? run.attributes->entries().at(0).key.toStdString() : "-";
    }
    return runs;
}

} // namespace

TEST(Identity, OfALinkInTwoTexts)
{
    TypedStreamWriter stream;
    stream.beginArray(4);
    const int link = stream.string("http://example.org/");
    stream.string("http://example.org/");
    writeText(stream, "ab", {{0, 1}, {1, 1}}, link);
    writeText(stream, "cd", {{0, 2}}, link);
    stream.endObject();

    KeyedArchiveWriter archive;
    const int keyedLink = archive.string("http://example.org/");
    const int zero = archive.string("0");
    const int set = archive.dictionary({zero}, {keyedLink});
    const int equalSet = archive.dictionary({zero}, {keyedLink});
    const int root = archive.array({keyedLink, archive.string("http://example.org/"),
                                    addText(archive, archive.string("ab"), {{0, 1}, {1, 1}}, {set, equalSet}),
                                    addText(archive, archive.string("cd"), {{0, 2}}, {equalSet})});

    for (const Decoding &decoded :
         {decodeStream(stream.data()), decodeKeyed(archive.xml(root)), decodeKeyed(archive.binary(root))}) {
        ASSERT_EQ(decoded.error, "");
        const platform::ObjectRef object = elementOf(decoded.root, 0);
        EXPECT_NE(object, elementOf(decoded.root, 1)) << "equal texts are two objects";
        const auto first = elementOf<NSAttributedString>(decoded.root, 2);
        const auto second = elementOf<NSAttributedString>(decoded.root, 3);
        ASSERT_EQ(first->runs().size(), 2U) << "equal sets are two";
        EXPECT_EQ(first->runs()[0].attributes->entries().at(0).value, object);
        EXPECT_EQ(first->runs()[1].attributes->entries().at(0).value, object);
        EXPECT_EQ(second->runs()[0].attributes->entries().at(0).value, object);
    }
    const Decoding keyed = decodeKeyed(archive.binary(root));
    EXPECT_EQ(elementOf<NSAttributedString>(keyed.root, 2)->runs()[1].attributes,
              elementOf<NSAttributedString>(keyed.root, 3)->runs()[0].attributes)
        << "one set in two texts";
}

TEST(Identity, OfUrlsAndEveryOtherObject)
{
    TypedStreamWriter stream;
    stream.beginArray(4);
    stream.types("@");
    const int url = stream.beginObject({"NSURL", "NSObject"});
    stream.types("c");
    stream.byte(0);
    const int string = stream.string("x");
    stream.endObject();
    stream.objectReference(url);
    stream.objectReference(string);
    stream.objectReference(string);
    stream.endObject();

    KeyedArchiveWriter archive;
    const int keyedString = archive.string("x");
    const int keyedUrl = archive.addInstance({"NSURL"}, {{"NS.relative", Value::ofUid(keyedString)}});
    const int root = archive.array({keyedUrl, keyedUrl, keyedString, keyedString});
    for (const Decoding &decoded : {decodeStream(stream.data()), decodeKeyed(archive.binary(root))}) {
        ASSERT_EQ(decoded.text(), "( x, x, x, x )");
        EXPECT_TRUE(elementOf<NSURL>(decoded.root, 0));
        EXPECT_EQ(elementOf(decoded.root, 0), elementOf(decoded.root, 1));
        EXPECT_EQ(elementOf(decoded.root, 2), elementOf(decoded.root, 3));
    }
}

TEST(Identity, OfRuns)
{
    const struct {
        const char *what;
        QByteArray text;
        std::vector<ArchivedRun> runs;
        const char *expected;
    } cases[] = {
        {"one run", "abcde", {{0, 5}}, "5:0"},
        {"two sets", "abcde", {{0, 2}, {1, 3}}, "2:0 3:1"},
        {"a set that comes back", "abcde", {{0, 2}, {1, 1}, {0, 2}}, "2:0 1:1 2:0"},
        {"neighbours with one set", "abcde", {{0, 2}, {0, 3}}, "5:0"},
        {"a run of no length", "abcde", {{0, 2}, {1, 0}, {0, 3}}, "5:0"},
        {"a first run of no length", "abcde", {{1, 0}, {0, 5}}, "5:0"},
        {"past the end", "abcde", {{0, 2}, {1, 100}}, "2:0 3:1"},
        {"far past the end", "abcde", {{0, 0xFFFFFFFF}}, "5:0"},
        {"past the end, then more", "abcde", {{0, 10}, {1, 3}}, "5:0"},
        {"not all of the text", "abcde", {{0, 2}, {1, 1}}, "2:0 1:1 2:-"},
        {"no runs", "abcde", {}, "5:-"},
        {"no text", "", {}, ""},
        {"three characters, two units each",
         "\xF0\x9F\x98\x80\xF0\x9F\x98\x80\xF0\x9F\x98\x80",
         {{0, 2}, {1, 4}},
         "2:0 4:1"},
        {"the middle of a character", "\xF0\x9F\x98\x80z", {{0, 1}, {1, 2}}, "1:0 2:1"},
        {"a byte-order mark",
         "\xEF\xBB\xBF"
         "bc",
         {{0, 1}, {1, 2}},
         "1:0 2:1"},
        {"a long one", QByteArray(70000, 'x'), {{0, 32768}, {1, 32768}}, "32768:0 32768:1 4464:-"},
    };
    for (const auto &c : cases) {
        for (const auto &text : decodedTexts(c.text, c.runs)) {
            ASSERT_TRUE(text) << c.what;
            EXPECT_EQ(described(*text), c.expected) << c.what;
            EXPECT_EQ(text->string(), platform::stringFromUtf8(c.text)) << c.what;
        }
    }
    for (const auto &text : decodedTexts("abc", {{0, 1}, {1, 1}, {0, 1}}))
        EXPECT_EQ(text->runs()[0].attributes, text->runs()[2].attributes);
}

TEST(Identity, OfTexts)
{
    const QString marked = QStringLiteral("\uFEFFx\uFEFF");
    const QString lone = QString(QChar(0xD83D)) + u'x' + QChar(0xDE00);
    KeyedArchiveWriter archive;
    const int root = archive.array(
        {archive.add(Value::ofUtf16(lone)),
         archive.addInstance({"NSMutableString", "NSString"},
                             {{"NS.string", Value::ofUid(archive.add(Value::ofUtf16(lone)))}}),
         archive.add(Value::ofUtf16(marked)),
         archive.addInstance({"NSMutableString"}, {{"NS.bytes", Value::ofData("\xEF\xBB\xBFx\xFF")}}),
         archive.addInstance({"NSMutableString"}, {{"NS.string", Value::ofString("inline")}})});
    const Decoding keyed = decodeKeyed(archive.binary(root));
    ASSERT_EQ(keyed.error, "");
    EXPECT_EQ(elementOf<NSString>(keyed.root, 0)->string(), lone);
    EXPECT_EQ(elementOf<NSString>(keyed.root, 1)->string(), lone);
    EXPECT_EQ(elementOf<NSString>(keyed.root, 2)->string(), marked);
    EXPECT_EQ(elementOf<NSString>(keyed.root, 3)->string(), QStringLiteral("\uFEFFx\uFFFD"));
    EXPECT_EQ(elementOf<NSString>(keyed.root, 4)->string(), QStringLiteral("inline"));

    TypedStreamWriter stream;
    stream.beginArray(3);
    stream.string("\xEF\xBB\xBFx\xEF\xBB\xBF");
    stream.string("\xED\xA0\xBD\xC0\xAF\xF5z"); // a surrogate, an overlong slash, a byte of none
    stream.string(QByteArray("a\0b", 3));
    stream.endObject();
    const Decoding streamed = decodeStream(stream.data());
    ASSERT_EQ(streamed.error, "");
    EXPECT_EQ(elementOf<NSString>(streamed.root, 0)->string(), marked);
    const QString malformed = elementOf<NSString>(streamed.root, 1)->string();
    EXPECT_TRUE(malformed.isValidUtf16());
    EXPECT_TRUE(malformed.startsWith(QChar::ReplacementCharacter) && malformed.endsWith(u'z'));
    EXPECT_EQ(elementOf<NSString>(streamed.root, 2)->string(), QStringLiteral("a\0b"));
}

TEST(Identity, OfDates)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const struct {
        double seconds;
        bool isDate;
    } cases[] = {
        {0, true},
        {0.5, true},
        {-63113904000.0, true}, // 0001-01-01
        {-63113904000.5, false},
        {252423993599.0, true}, // 9999-12-31 23:59:59
        {252423993600.0, false},
        {1e300, false},
        {-1e300, false},
        {infinity, false},
        {-infinity, false},
        {std::numeric_limits<double>::quiet_NaN(), false},
    };
    for (const auto &c : cases) {
        TypedStreamWriter stream;
        stream.beginArray(1);
        stream.types("@");
        stream.beginObject({"NSDate", "NSObject"});
        stream.types("d");
        stream.taggedReal(c.seconds, 8);
        stream.endObject();
        stream.endObject();

        KeyedArchiveWriter archive;
        const int root = archive.array(
            {archive.addInstance({"NSDate"}, {{"NS.time", Value::ofReal(c.seconds)}}),
             archive.add(Value::ofDate(c.seconds)),
             archive.addInstance({"NSCalendarDate", "NSDate"}, {{"NS.time", Value::ofReal(c.seconds)}})});
        const Decoding streamed = decodeStream(stream.data());
        const Decoding keyed = decodeKeyed(archive.binary(root));
        for (const auto &[decoded, position] : {std::pair(streamed, 0), {keyed, 0}, {keyed, 1}, {keyed, 2}}) {
            ASSERT_EQ(decoded.error, "") << c.seconds;
            const auto date = elementOf<NSDate>(decoded.root, size_t(position));
            EXPECT_EQ(bool(date), c.isDate) << c.seconds << " at " << position;
            if (date) {
                EXPECT_EQ(date->timeIntervalSinceReferenceDate(), c.seconds);
            }
        }
    }
}
