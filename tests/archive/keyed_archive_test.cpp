#include "tests/archive/decoding.h"
#include "tests/archive/keyedarchivewriter.h"

#include "platform/foundation/nsattributedstring.h"
#include "platform/foundation/scalars.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

using Value = PropertyListValue;
using Archive = KeyedArchiveWriter;

std::string withoutOffset(const std::string &text)
{
    return text.starts_with("error") ? text.substr(text.find(": ", 7) + 2) : text;
}

std::string textOfXml(const QByteArray &values)
{
    return withoutOffset(decodeKeyed("<plist>" + values + "</plist>").text());
}

Value record(const Value &name, const Value &chain)
{
    return Value::ofMembers({{"$classname", name}, {"$classes", chain}});
}

Value names(const std::vector<QByteArray> &texts)
{
    std::vector<Value> values;
    for (const QByteArray &text : texts)
        values.push_back(Value::ofString(text));
    return Value::ofArray(values);
}

/// An array of no elements whose class has this record.
int addOfClass(Archive &archive, const Value &classRecord)
{
    return archive.add(Value::ofMembers({{"$class", Value::ofUid(archive.add(classRecord))}}));
}

/// An attributed string "abcd" with these runs over two sets.
int addText(Archive &archive, const QByteArray &info)
{
    const int first = archive.dictionary({}, {});
    const int sets = archive.array({first, archive.dictionary({}, {})});
    return archive.addInstance({"NSAttributedString"},
                               {{"NSString", Value::ofUid(archive.string("abcd"))},
                                {"NSAttributes", Value::ofUid(sets)},
                                {"NSAttributeInfo", Value::ofUid(archive.add(Value::ofData(info)))}});
}

} // namespace

TEST(KeyedArchive, NeedsItsTables)
{
    const char *const noTable = "not a keyed archive: it has no object table";
    const char *const noRoot = "not a keyed archive: it names no root object";
    const QByteArray objects = "<key>$objects</key><array><string>$null</string><string>x</string></array>";
    const QByteArray top = "<key>$top</key><dict><key>root</key>"
                           "<dict><key>CF$UID</key><integer>1</integer></dict></dict>";
    const struct {
        QByteArray values;
        const char *text;
    } cases[] = {
        {"<dict>" + objects + top + "</dict>", "x"},
        {"<array><dict>" + objects + top + "</dict></array>", noTable},
        {"<string>$objects</string>", noTable},
        {"<dict>" + top + "</dict>", noTable},
        {"<dict><key>$objects</key><dict/>" + top + "</dict>", noTable},
        {"<dict>" + objects + "</dict>", noRoot},
        {"<dict>" + objects + "<key>$top</key><string>root</string></dict>", noRoot},
        {"<dict>" + objects + "<key>$top</key><dict/></dict>", "\"(null)\""},
        {"<dict>" + objects + "<key>$top</key><dict><key>root</key><string>plain</string></dict></dict>",
         "plain"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(textOfXml(c.values), c.text) << c.values.constData();
    for (const char *const bytes : {"", "b", "bplist", "bplist00", "bplist16", "( a, b )", "<plist>",
                                    "<plist/>", "\x04\x0bstreamtyped"})
        EXPECT_NE(decodeKeyed(bytes).error, "") << bytes;
}

TEST(KeyedArchive, ReferencesNameObjectsOfItsTable)
{
    const char *const pastEnd = "a reference past the end of the object table";
    const char *const toReference = "a reference to a reference";
    const struct {
        const char *what;
        std::function<int(Archive &)> root;
        const char *text;
    } cases[] = {
        {"nil", [](Archive &) { return 0; }, "\"(null)\""},
        {"past the end", [](Archive &) { return 1; }, pastEnd},
        {"far past the end", [](Archive &) { return 0x7FFFFFFF; }, pastEnd},
        {"below", [](Archive &archive) { return archive.array({-1}); }, pastEnd},
        {"a reference", [](Archive &archive) { return archive.add(Value::ofUid(archive.string("x"))); },
         toReference},
        {"itself", [](Archive &archive) { return archive.add(Value::ofUid(1)); }, toReference},
        {"\"$null\" elsewhere", [](Archive &archive) { return archive.string("$null"); }, "$null"},
        {"a list", [](Archive &archive) { return archive.add(Value::ofArray({})); }, "\"<array>\""},
        {"a plain dictionary", [](Archive &archive) { return archive.add(Value::ofMembers({})); },
         "\"<dictionary>\""},
        {"a boolean", [](Archive &archive) { return archive.add(Value::ofBoolean(true)); }, "1"},
        {"a number", [](Archive &archive) { return archive.add(Value::ofInteger(-7)); }, "\"-7\""},
        {"a real", [](Archive &archive) { return archive.add(Value::ofReal(0.5)); }, "0.5"},
        {"data", [](Archive &archive) { return archive.add(Value::ofData("a")); }, "\"<61>\""},
        {"values in place of references",
         [](Archive &archive) {
             return archive.addInstance(
                 {"NSArray"}, {{"NS.objects", Value::ofArray({Value::ofString("x"), Value::ofUid(0)})}});
         },
         "( x, \"(null)\" )"},
    };
    for (const auto &c : cases) {
        Archive archive;
        const int root = c.root(archive);
        EXPECT_EQ(withoutOffset(decodeKeyed(archive.xml(root)).text()), c.text) << c.what;
        EXPECT_EQ(withoutOffset(decodeKeyed(archive.binary(root)).text()),
                  QByteArrayView(c.what) == QByteArrayView("below") ? pastEnd : c.text)
            << c.what;
    }
}

TEST(KeyedArchive, ClassesAreFoundByNameOrAlongTheirChain)
{
    const char *const without = "an object without a class";
    std::vector<QByteArray> longChain(32, "Odd");
    longChain.emplace_back("NSArray");
    const struct {
        const char *what;
        std::function<int(Archive &)> root;
        const char *text;
    } cases[] = {
        {"by name", [](Archive &a) { return addOfClass(a, record(Value::ofString("NSArray"), names({}))); },
         "( )"},
        {"by chain",
         [](Archive &a) {
             return addOfClass(
                 a, record(Value::ofString("Odd"), names({"Odd", "Even", "NSMutableArray", "NSArray"})));
         },
         "( )"},
        {"the name before the chain",
         [](Archive &a) { return addOfClass(a, record(Value::ofString("NSArray"), names({"NSSet"}))); },
         "( )"},
        {"without a name",
         [](Archive &a) { return addOfClass(a, Value::ofMembers({{"$classes", names({"NSArray"})}})); },
         "( )"},
        {"a number for a name",
         [](Archive &a) { return addOfClass(a, record(Value::ofInteger(1), names({"NSArray"}))); }, "( )"},
        {"a name of UTF-16",
         [](Archive &a) {
             return addOfClass(a, record(Value::ofUtf16(QStringLiteral("NSArray")), names({})));
         },
         "( )"},
        {"a chain of numbers",
         [](Archive &a) {
             return addOfClass(a, record(Value::ofString("Odd"),
                                         Value::ofArray({Value::ofInteger(1), Value::ofString("NSArray")})));
         },
         "( )"},
        {"unknown", [](Archive &a) { return addOfClass(a, record(Value::ofString("Odd"), names({"Even"}))); },
         "\"<Odd>\""},
        {"a text for a chain",
         [](Archive &a) { return addOfClass(a, record(Value::ofString("Odd"), Value::ofString("NSArray"))); },
         "\"<Odd>\""},
        {"a chain of 33",
         [&](Archive &a) { return addOfClass(a, record(Value::ofString("Odd"), names(longChain))); },
         "\"<Odd>\""},
        {"nothing known of it", [](Archive &a) { return addOfClass(a, Value::ofMembers({})); }, "\"<>\""},
        {"the record is a text", [](Archive &a) { return addOfClass(a, Value::ofString("NSArray")); },
         without},
        {"the record is a list", [](Archive &a) { return addOfClass(a, names({"NSArray"})); }, without},
        {"nil", [](Archive &a) { return a.add(Value::ofMembers({{"$class", Value::ofUid(0)}})); }, without},
        {"a name in place of the record",
         [](Archive &a) { return a.add(Value::ofMembers({{"$class", Value::ofString("NSArray")}})); },
         without},
        {"a record that is not there",
         [](Archive &a) { return a.add(Value::ofMembers({{"$class", Value::ofUid(99)}})); },
         "a reference past the end of the object table"},
    };
    for (const auto &c : cases) {
        Archive archive;
        const int root = c.root(archive);
        EXPECT_EQ(withoutOffset(decodeKeyed(archive.xml(root)).text()), c.text) << c.what;
        EXPECT_EQ(withoutOffset(decodeKeyed(archive.binary(root)).text()), c.text) << c.what;
    }
}

TEST(KeyedArchive, MembersOfTheStandardClasses)
{
    const char *const otherNumbers = "a dictionary with other numbers of keys and values";
    const struct {
        const char *className;
        Value::Members members;
        const char *text;
    } cases[] = {
        {"NSArray", {}, "( )"},
        {"NSArray", {{"NS.objects", Value::ofString("x")}}, "no array where references should stand"},
        {"NSArray", {{"NS.objects", Value::ofMembers({})}}, "no array where references should stand"},
        {"NSMutableSet", {{"NS.objects", names({"x"})}}, "{ x }"},
        {"NSDictionary", {}, "{ }"},
        {"NSDictionary", {{"NS.keys", names({"a"})}, {"NS.objects", names({"x"})}}, "{ a = x; }"},
        {"NSDictionary",
         {{"NS.keys", names({"b", "a", "b"})}, {"NS.objects", names({"x", "y", "z"})}},
         "{ a = y; b = z; }"},
        {"NSDictionary",
         {{"NS.keys", Value::ofArray({Value::ofInteger(1), Value::ofString("a"), Value::ofUid(0)})},
          {"NS.objects", names({"x", "y", "z"})}},
         "{ a = y; }"},
        {"NSDictionary",
         {{"NS.keys", names({QByteArray(1024, 'k'), QByteArray(1025, 'k')})},
          {"NS.objects", names({"", ""})}},
         nullptr},
        {"NSDictionary", {{"NS.keys", names({"a"})}}, otherNumbers},
        {"NSDictionary", {{"NS.objects", names({"a"})}}, otherNumbers},
        {"NSDictionary", {{"NS.keys", names({"a", "b"})}, {"NS.objects", names({"x"})}}, otherNumbers},
        {"NSMutableString", {{"NS.string", Value::ofString("x")}}, "x"},
        {"NSMutableString", {{"NS.bytes", Value::ofData("x\xFFy")}}, "\"x\\Ufffdy\""},
        {"NSMutableString", {{"NS.string", Value::ofInteger(1)}, {"NS.bytes", Value::ofData("x")}}, "x"},
        {"NSMutableString", {}, "a string without characters"},
        {"NSMutableString", {{"NS.string", Value::ofUid(0)}}, "a string without characters"},
        {"NSMutableData", {{"NS.data", Value::ofData("x")}}, "\"<78>\""},
        {"NSMutableData", {{"NS.data", Value::ofString("x")}}, "\"<78>\""},
        {"NSMutableData", {{"NS.bytes", Value::ofData("")}}, "\"<>\""},
        {"NSMutableData", {}, "data without bytes"},
        {"NSDate", {}, "\"(null)\""},
        {"NSDate", {{"NS.time", Value::ofString("0")}}, "\"(null)\""},
        {"NSURL", {{"NS.relative", Value::ofString("x")}}, "x"},
        {"NSURL", {{"NS.base", Value::ofString("x")}}, "\"(null)\""},
        {"NSNumber", {{"NS.intval", Value::ofInteger(1)}}, "\"<NSValue>\""},
        {"NSNull", {}, "\"<NSNull>\""},
        {"NSAttributedString", {}, "\"\""},
        {"NSAttributedString",
         {{"NSString", Value::ofString("x")}, {"NSAttributes", Value::ofString("y")}},
         "x"},
    };
    for (const auto &c : cases) {
        Archive archive;
        const int root = archive.addInstance({c.className, "NSObject"}, c.members);
        for (const QByteArray &bytes : {archive.xml(root), archive.binary(root)}) {
            const std::string text = withoutOffset(decodeKeyed(bytes).text());
            EXPECT_EQ(text, c.text ? c.text : "{ " + std::string(1024, 'k') + " = \"\"; }") << c.className;
        }
    }
}

TEST(KeyedArchive, RunsAreBelievedOnlyAsFarAsTheyGo)
{
    const char *const cut = "attribute runs that end in the middle of a number";
    const char *const noAttributes = "an attribute run that names no attributes";
    const QByteArray huge(20, '\xFF');
    const struct {
        QByteArray info;
        const char *error;
        std::vector<qsizetype> lengths;
    } cases[] = {
        {"", "", {4}},
        {QByteArray("\1\0\3\1", 4), "", {1, 3}},
        {QByteArray("\x81\x80\x80\0\0\3\1", 7), "", {1, 3}}, // a number longer than it need be
        {QByteArray("\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x7F\0", 10), "", {4}},
        {QByteArray("\4\0\x80", 3), "", {4}}, // behind the text nothing counts
        {QByteArray("\4\0\1\2", 4), "", {4}},
        {QByteArray("\1", 1), cut, {}},
        {QByteArray("\1\0\3", 3), cut, {}},
        {QByteArray("\x80", 1), cut, {}},
        {QByteArray("\1\x80", 2), cut, {}},
        {huge, cut, {}},
        {QByteArray("\1", 1) + huge, cut, {}},
        {QByteArray("\1\2", 2), noAttributes, {}},
        {QByteArray("\1\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x7F", 10), noAttributes, {}},
        {QByteArray("\1\x80\x80\x80\x80\x10", 6), noAttributes, {}},
    };
    for (const auto &c : cases) {
        Archive archive;
        const int root = addText(archive, c.info);
        const Decoding decoded = decodeKeyed(archive.binary(root));
        EXPECT_EQ(withoutOffset(decoded.text()), *c.error ? c.error : "abcd") << c.info.toHex().constData();
        const auto text = decoded.rootAs<platform::NSAttributedString>();
        std::vector<qsizetype> lengths;
        for (size_t i = 0; text && i < text->runs().size(); ++i)
            lengths.push_back(text->runs()[i].length);
        EXPECT_EQ(lengths, c.lengths) << c.info.toHex().constData();
    }

    Archive archive;
    const int whole = archive.dictionary({archive.string("key")}, {0});
    const int root = archive.addInstance({"NSAttributedString"}, {{"NSString", Value::ofString("abcd")},
                                                                  {"NSAttributes", Value::ofUid(whole)}});
    const auto text = decodeKeyed(archive.xml(root)).rootAs<platform::NSAttributedString>();
    ASSERT_TRUE(text);
    ASSERT_EQ(text->runs().size(), 1U);
    EXPECT_EQ(text->runs()[0].length, 4);
    EXPECT_EQ(text->runs()[0].attributes->entries().at(0).key, QStringLiteral("key"));
}

TEST(KeyedArchive, NumbersOfEveryForm)
{
    const auto numberOf = [](const Value &value) {
        Archive archive;
        const int root = archive.addInstance({"Number"}, {{"number", value}});
        platform::ClassTable classes;
        classes.insert("Number", {nullptr, [](platform::NSKeyedUnarchiver &coder) -> platform::ObjectRef {
                                      const QString text =
                                          QString::number(coder.decodeInt32ForKey("number")) + u' ' +
                                          QString::number(coder.decodeDoubleForKey("number").value_or(-1)) +
                                          u' ' + QString::number(coder.decodeInt32ForKey("none"));
                                      return std::make_shared<platform::UnknownObject>(text);
                                  }});
        const auto coder = platform::NSKeyedUnarchiver::initForReadingWithData(archive.binary(root), classes);
        return coder->decodeObjectForKey("root")->className().toStdString();
    };
    EXPECT_EQ(numberOf(Value::ofInteger(7)), "7 7 0");
    EXPECT_EQ(numberOf(Value::ofInteger(-7)), "-7 -7 0");
    EXPECT_EQ(numberOf(Value::ofBoolean(true)), "1 1 0");
    EXPECT_EQ(numberOf(Value::ofReal(2.75)), "2 2.75 0");
    EXPECT_EQ(numberOf(Value::ofReal(-2.75)), "-2 -2.75 0");
    EXPECT_EQ(numberOf(Value::ofReal(1e300)), "0 1e+300 0");
    EXPECT_EQ(numberOf(Value::ofReal(std::numeric_limits<double>::quiet_NaN())), "0 nan 0");
    EXPECT_EQ(numberOf(Value::ofString("7")), "0 -1 0");
}
