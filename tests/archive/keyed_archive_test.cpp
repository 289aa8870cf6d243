#include "tests/archive/decoding.h"
#include "tests/archive/notation.h"

#include "platform/archive/nskeyedunarchiver.h"

#include <gtest/gtest.h>

#include <limits>

TEST(KeyedArchive, NeedsItsTables)
{
    const char *const noTable = "error: not a keyed archive: it has no object table";
    const char *const noRoot = "error: not a keyed archive: it names no root object";
    const QByteArray objects = "<key>$objects</key><array><string>$null</string><string>x</string></array>";
    const QByteArray top = "<key>$top</key><dict><key>root</key>"
                           "<dict><key>CF$UID</key><integer>1</integer></dict></dict>";
    const struct {
        QByteArray values;
        const char *text;
    } cases[] = {
        {"<dict>" + objects + top + "</dict>", "x"},
        {"<array><dict>" + objects + top + "</dict></array>", noTable},
        {"<dict>" + top + "</dict>", noTable},
        {"<dict><key>$objects</key><dict/>" + top + "</dict>", noTable},
        {"<dict>" + objects + "</dict>", noRoot},
        {"<dict>" + objects + "<key>$top</key><string>root</string></dict>", noRoot},
        {"<dict>" + objects + "<key>$top</key><dict/></dict>", "nil"},
        {"<dict>" + objects + "<key>$top</key><dict><key>root</key><string>plain</string></dict></dict>",
         "plain"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(decodeKeyed("<plist>" + c.values + "</plist>").text(), c.text) << c.values.constData();
    for (const char *const bytes : {"b", "bplist", "bplist00", "<?xml version=\"1.0\"?>\n<plist>", "<pl"})
        EXPECT_EQ(decodeKeyed(bytes).error.substr(0, 19), "the file is cut off") << bytes;
    for (const char *const bytes : {"", "( a, b )", "<plist/>", "\x04\x0bstreamtyped"})
        EXPECT_NE(decodeKeyed(bytes).error, "") << bytes;
}

TEST(KeyedArchive, HoldsObjects)
{
    const char *const pastEnd = "error: a reference past the end of the object table";
    const char *const toReference = "!: a reference to a reference";
    const char *const without = "!: an object without a class";
    const char *const noArray = "!NSArray: no array where references should stand";
    const char *const otherNumbers = "!NSDictionary: a dictionary with other numbers of keys and values";
    const char *const noCharacters = "!NSMutableString: a string without characters";
    const char *const containsItself = "error: an object that contains itself";
    const std::string longKey(1024, 'k');
    const QByteArray names31 = QByteArray("\"Odd\" ").repeated(31);
    const struct {
        QByteArray notation;
        std::string text;
    } cases[] = {
        {"\"text\"", "text"},
        {"\"$null\"", "$null"},
        {"-5", "-5"},
        {"0.5", "0.5"},
        {"true", "1"},
        {"<00FF>", "<00ff>"},
        {"(1 2)", "?array"},
        {"[a=1]", "?dictionary"},
        {"{NSNull}", "?NSNull"},
        {"{NSArray NS.objects=(#0 #2 #2 #1000000)} \"x\"", pastEnd},
        {"{NSArray NS.objects=(#-1)}", pastEnd},
        {"{NSArray NS.objects=(#4)} \"x\"", pastEnd}, // the class is 3
        {"{NSArray NS.objects=(#0 #2 5 #2)} \"x\"", "(nil x 5 x)"},
        {"#2 \"x\"", toReference},
        {"#1", toReference},
        {"{NSArray NS.objects=(#2 #3)} #3 \"x\"", "(!: a reference to a reference x)"},
        // Classes
        {"{OurArray/MyArray/NSArray}", "()"},
        {"[$class=#c] c:[$classname=\"NSArray\" $classes=(\"NSSet\")]", "()"},
        {"[$class=#c] c:[$classes=(\"NSSet\")]", "{}"},
        {"[$class=#c] c:[$classname=1 $classes=(1 \"NSSet\")]", "{}"},
        {"[$class=#c] c:[$classname=\"Odd\" $classes=\"NSSet\"]", "?Odd"},
        {"[$class=#c] c:[$classname=\"Odd\" $classes=(" + names31 + "\"NSSet\")]", "{}"},
        {"[$class=#c] c:[$classname=\"Odd\" $classes=(" + names31 + "\"Odd\" \"NSSet\")]", "?Odd"},
        {"[$class=#c] c:[$classname=\"" + QByteArray(512, 'n') + "\"]", '?' + std::string(512, 'n')},
        {"[$class=#c] c:[$classname=\"" + QByteArray(513, 'n') + "\"]", "?"},
        {"[$class=#c] c:[]", "?"},
        {"[$class=#2] \"NSArray\"", without},
        {"[$class=#2] (\"NSArray\")", without},
        {"[$class=#0]", without},
        {"[$class=\"NSArray\"]", without},
        {"[$class=#99]", pastEnd},
        // Members
        {"{NSArray}", "()"},
        {"{NSArray NS.objects=\"x\"}", noArray},
        {"{NSArray NS.objects=[a=1]}", noArray},
        {"{NSMutableSet NS.objects=(\"x\")}", "{x}"},
        {"{NSDictionary}", "[]"},
        {"{NSDictionary NS.keys=(\"b\" \"a\" \"b\") NS.objects=(1 2 3)}", "[a=2 b=3]"},
        {"{NSDictionary NS.keys=(1 \"a\" #0) NS.objects=(1 2 3)}", "[a=2]"},
        {"{NSDictionary NS.keys=(\"" + QByteArray(1024, 'k') + "\" \"" + QByteArray(1025, 'k') +
             "\") NS.objects=(1 2)}",
         '[' + longKey + "=1]"},
        {"{NSDictionary NS.keys=(\"a\")}", otherNumbers},
        {"{NSDictionary NS.keys=(\"a\" \"b\") NS.objects=(1)}", otherNumbers},
        {"{NSMutableString NS.string=\"x\"}", "x"},
        {"{NSMutableString NS.string=1 NS.bytes=d\"x\xFFy\"}", "x\uFFFDy"},
        {"{NSMutableString}", noCharacters},
        {"{NSMutableString NS.string=#0}", noCharacters},
        {"{NSMutableData NS.data=d\"x\"}", "<78>"},
        {"{NSMutableData NS.data=\"x\"}", "<78>"},
        {"{NSMutableData NS.bytes=d\"\"}", "<>"},
        {"{NSMutableData}", "!NSMutableData: data without bytes"},
        {"{NSDate NS.time=0.5}", "@0.5"},
        {"{NSDate NS.time=5}", "@5"},
        {"{NSCalendarDate/NSDate NS.time=\"5\"}", "!NSCalendarDate: a date without its seconds"},
        {"{NSURL NS.relative=\"x\"}", "url:x"},
        {"{NSURL NS.base=#b NS.relative=\"x\"} b:{NSURL NS.relative=\"http://a/b\"}", "url:http://a/x"},
        {"{NSURL NS.base=\"x\"}", "!NSURL: a URL without its string"},
        {"{NSURL NS.base=#b NS.relative=\"x\"} b:{NSURL}", "!NSURL: a URL without its string"},
        {"{NSURL NS.relative=#s} s:{NSMutableString}", "!NSURL: a string without characters"},
        {"{NSNumber NS.intval=1}", "?NSValue"},
        // What nobody knows may hold anything
        {"{NSArray NS.objects=(#odd #in #holder #odd)} in:\"in\" holder:{NSArray NS.objects=(#odd)} "
         "odd:{Odd a=#1 b=#odd c=#circle d=#9000 e=0.5 f=([a=1]) g=#none} circle:{NSArray "
         "NS.objects=(#circle)} "
         "none:[$class=\"none\"]",
         "(?Odd in (?Odd) ?Odd)"},
        // What is kept holds nothing that holds it
        {"{NSArray NS.objects=(#1)}", containsItself},
        {"{NSArray NS.objects=(#2)} {NSArray NS.objects=(#0 #1)}", containsItself},
        {"{NSDictionary NS.keys=(\"k\") NS.objects=(#1)}", containsItself},
        {"{NSDictionary NS.keys=(#1) NS.objects=(#0)}", containsItself},
        {"{NSMutableString NS.string=#1}", containsItself},
        {"{NSColor NSColorSpace=6 NSColor=#1}", containsItself},
        {"{NSURL NS.base=#1 NS.relative=\"x\"}", containsItself},
        {"{NSAttributedString NSString=\"x\" NSAttributes=#2} {NSDictionary NS.keys=(\"k\") NS.objects=(#1)}",
         containsItself},
    };
    for (const auto &c : cases) {
        for (const Form form : {Form::Binary, Form::Xml}) {
            if (form == Form::Binary || !c.notation.contains("\xFF")) {
                EXPECT_EQ(decodeKeyed(keyedArchive(c.notation, form)).text(), c.text)
                    << c.notation.left(200).constData();
            }
        }
    }
}

TEST(KeyedArchive, HeightIsThatOfWhatIsKept)
{
    const char *const nestedTooDeep = "objects nested more than 512 deep";
    const auto chain = [](int height, const QByteArray &open, const QByteArray &close) {
        QByteArray notation;
        for (int i = 2; i <= height; ++i)
            notation += open + '#' + QByteArray::number(i) + close + ' ';
        return notation + "\"x\"";
    };
    const auto siblings = [](int height) { // an array of arrays, each of which holds the one before
        QByteArray uids;
        QByteArray arrays;
        for (int i = 2; i <= height; ++i) {
            uids += " #" + QByteArray::number(i);
            arrays += i == 2 ? " {NSArray}" : " {NSArray NS.objects=(#" + QByteArray::number(i - 1) + ")}";
        }
        return "{NSArray NS.objects=(" + uids + ")}" + arrays;
    };
    for (const int height : {512, 513, 50'000}) {
        const bool isTooHigh = height > 512;
        for (const auto &[open, close] : {std::pair("{NSArray NS.objects=(", ")}"),
                                          {"{NSMutableString NS.string=", "}"},
                                          {"{NSURL NS.relative=\"x\" NS.base=", "}"}}) {
            EXPECT_EQ(decodeKeyed(keyedArchive(chain(height, open, close))).error,
                      isTooHigh ? nestedTooDeep : "");
        }
        EXPECT_EQ(decodeKeyed(keyedArchive(siblings(height))).error,
                  isTooHigh ? "objects that hold each other more than 512 deep" : "");
    }
    EXPECT_EQ(decodeKeyed(keyedArchive(chain(100'000, "{Odd next=", "}"))).text(), "?Odd");
}

TEST(KeyedArchive, NumbersOfEveryForm)
{
    const struct {
        const char *value;
        const char *numbers;
    } cases[] = {
        {"7", "7 7"},
        {"-7", "-7 -7"},
        {"true", "1 1"},
        {"2.75", "2 2.75"},
        {"-2.75", "-2 -2.75"},
        {"1000000000000.0", "-727379968 1e+12"},
        {"9300000000000000000.0", "0 9.3e+18"},
        {"-9300000000000000000.0", "0 -9.3e+18"},
        {"nan", "0 nan"},
        {"\"7\"", "0 -1"},
    };
    platform::ClassTable classes;
    classes.insert("Number", {nullptr, [](platform::NSKeyedUnarchiver &coder) -> platform::ObjectRef {
                                  return std::make_shared<platform::UnknownObject>(
                                      QString::number(coder.decodeInt32ForKey("number")) + u' ' +
                                      QString::number(coder.decodeDoubleForKey("number").value_or(-1)));
                              }});
    for (const auto &c : cases) {
        const QByteArray archive = keyedArchive("{Number number=" + QByteArray(c.value) + '}');
        const auto coder = platform::NSKeyedUnarchiver::initForReadingWithData(archive, classes);
        EXPECT_EQ(coder->decodeObjectForKey("root")->className().toStdString(), c.numbers) << c.value;
    }
}
