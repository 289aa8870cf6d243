#include "tests/archive/decoding.h"
#include "tests/archive/heapmeter.h"
#include "tests/archive/notation.h"

#include "platform/archive/nskeyedunarchiver.h"
#include "platform/archive/nsunarchiver.h"

#include <gtest/gtest.h>

#include <QtEndian>

#include <ctime>

// Archives that try to take more memory or time than their size allows. What decoding takes has been charged
// to the budget; where that is used up the archive is refused. Peak memory then stays below 64 MiB and 32
// times the file's size, and the time below a second and one more per MB.

namespace {

constexpr qint64 mebibyte = 1 << 20;
/// What need not be charged: the unarchiver itself and what lives for a moment.
constexpr qint64 slack = mebibyte / 2;

/// What the library's parser of XML takes for a moment, for each byte of the file.
constexpr qint64 xmlParserPerByte = 10;

/// How much slower than what users run this program may be.
#if defined(__SANITIZE_ADDRESS__)
constexpr double slowness = 20;
#elif !defined(NDEBUG)
constexpr double slowness = 10;
#else
constexpr double slowness = 1;
#endif

/// What was left of the budget when the last object of the class Probe was made.
quint64 leftOfBudget = 0;

platform::ObjectRef probe(platform::NSCoder &coder)
{
    leftOfBudget = 0;
    for (quint64 bytes = quint64(1) << 40U; bytes > 0; bytes /= 2) {
        try {
            coder.charge(1, bytes);
            leftOfBudget += bytes;
        } catch (const platform::FormatError &) { // that is not left
            continue;
        }
    }
    return nullptr;
}

platform::ClassTable classesWithProbe()
{
    platform::ClassTable classes = allClasses();
    classes.insert("Probe", {[](platform::NSUnarchiver &coder) { return probe(coder); },
                             [](platform::NSKeyedUnarchiver &coder) { return probe(coder); }});
    return classes;
}

/// Seconds of the processor's time that this thread has had: other work on the machine does not count.
double processorTime()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) + double(time.tv_nsec) / 1e9;
}

struct HostileArchive {
    const char *name;
    QByteArray bytes;
    const char *error = ""; ///< what decoding ends with
};

const char *const usedUp = "the contents would take more memory than a file of this size may";

void check(const HostileArchive &archive)
{
    static const platform::ClassTable classes = classesWithProbe();
    const auto size = archive.bytes.size();
    const qint64 budget = 48 * mebibyte + 28 * size;
    leftOfBudget = quint64(budget);
    const auto before = qint64(heapmeter::inUse());
    heapmeter::restart();
    const double start = processorTime();
    std::string error;
    try {
        if (archive.bytes.startsWith("\x04\x0b")) {
            const auto coder = platform::NSUnarchiver::initForReadingWithData(archive.bytes, classes);
            static_cast<void>(coder->decodeObject());
        } else {
            const auto coder = platform::NSKeyedUnarchiver::initForReadingWithData(archive.bytes, classes);
            static_cast<void>(coder->decodeObjectForKey("root"));
        }
    } catch (const platform::FormatError &failure) {
        error = failure.what();
    }
    const double seconds = processorTime() - start;
    const qint64 taken = qint64(heapmeter::peak()) - before;
    const qint64 charged = budget - qint64(leftOfBudget);
    if (std::getenv("PRATTLEBUG_HOSTILE_FIGURES"))
        std::printf("%9lld bytes %9lld taken %9lld charged %6.3f s %s: %s\n", size, taken, charged, seconds,
                    archive.name, error.c_str());
    EXPECT_EQ(error, archive.error) << archive.name;
    EXPECT_LE(seconds, (1 + double(size) / mebibyte) * slowness) << archive.name;
    if (!heapmeter::isCounting())
        return;
    EXPECT_LE(taken + size, 64 * mebibyte + 32 * size) << archive.name;
    if (error.empty()) {
        const bool isXml = archive.bytes.startsWith('<');
        EXPECT_LE(taken, charged + slack + (isXml ? xmlParserPerByte * size : 0))
            << archive.name << ": not all was charged";
    }
}

QByteArray times(qsizetype count, const QByteArray &notation)
{
    return (notation + ' ').repeated(count);
}

/// A stream of an array of @p thing, a group of one object, and the probe.
QByteArray stream(const QByteArray &thing)
{
    return typedStream(":@ {NSArray :i 2 " + thing + " :@ {Probe } }");
}

/// An array in one group of as many values.
QByteArray arrayOf(qsizetype count, const QByteArray &value)
{
    const QByteArray number = QByteArray::number(count);
    return ":@ {NSArray :i " + number + " :[" + number + "@] " + times(count, value) + "}";
}

/// Objects of the class that each name the object a, which @p shared makes.
QByteArray sharing(qsizetype count, const QByteArray &shared, const QByteArray &object)
{
    return ":@ {NSArray :i " + QByteArray::number(count + 1) + ' ' + shared + ' ' +
           times(count, ":@ " + object) + '}';
}

QByteArray number(quint32 value)
{
    QByteArray bytes(4, Qt::Uninitialized);
    qToLittleEndian(value, bytes.data());
    return bytes;
}

/// A file wrapper's serialised form: a folder of files with these names and one entry's record for each.
QByteArray folder(qsizetype count, const QByteArray &name, const QByteArray &record)
{
    return "rtfd" + number(0) + number(3) + number(quint32(count)) +
           (number(quint32(name.size())) + name).repeated(count) +
           number(quint32(record.size())).repeated(count) + record.repeated(count);
}

const QByteArray emptyFile = number(1) + number(0);

QByteArray dataNotation(const QByteArray &bytes, const char *label = "")
{
    const QByteArray size = QByteArray::number(bytes.size());
    return ":@ {NSData" + QByteArray(label) + " :i[" + size + "c] " + size + " x" + bytes.toHex() + " }";
}

QByteArray wrapper(const QByteArray &serialized)
{
    return ":@ {NSFileWrapper " + dataNotation(serialized) + " }";
}

/// A text of @p count characters with runs of the length, which have two attribute sets by turns.
QByteArray text(qsizetype count, qsizetype runs, const char *length)
{
    const QByteArray set = " :@ {NSDictionary :i 0 } ";
    return ":@ {NSAttributedString " + stringNotation(QByteArray(count, 'x')) + " :iI 1 " + length + set +
           ":iI 2 " + length + set + times(runs / 2, QByteArray(":iI 1 ") + length + " :iI 2 " + length) +
           '}';
}

QByteArray classesOfOneLongName(qsizetype count)
{
    return ":@ {NSArray :i " + QByteArray::number(count) + " :@ {" + QByteArray(256, 'n') + "/ } " +
           times(count - 1, ":@ { C\"" + QByteArray(256, 'n') + "\" ~ }") + '}';
}

std::vector<HostileArchive> hostileStreams()
{
    const QByteArray lyingArrays =
        times(40, ":@ {NSArray :i 300000") + ":[300000@] " + times(300'000, "~") + times(40, "}");
    const QByteArray lyingDictionaries =
        times(40, ":@ {NSDictionary :i 100000") + ":[300000@] " + times(300'000, "~") + times(40, "}");
    QByteArray multiplied = ":@ {NSArray :i 400 ";
    for (int i = 0; i < 400; ++i)
        multiplied += ":@ {NSArray=" + QByteArray::number(i) + ". :i 300 :[300@] " +
                      times(300, i == 0 ? "~" : '#' + QByteArray::number(i - 1) + '.') + "} ";
    const QByteArray longKey(100'000, 'k');
    QByteArray newSets = ":@ {NSAttributedString " + stringNotation("x");
    for (int i = 0; i < 30'000; ++i)
        newSets += " :iI " + QByteArray::number(i) + (i == 0 ? " 0 :@ {NSDictionary=a :i 0 }" : " 0 :@ #a");
    const QByteArray longUrl =
        ":@ {NSURL=a :c r0 " + stringNotation("http://x/" + QByteArray(100'000, 'x')) + " }";
    const QByteArray oneFile = folder(1, "..", number(1) + number(100'000) + QByteArray(100'000, 'x'));
    return {
        {"nil", stream(arrayOf(300'000, "~"))},
        {"one object named often", stream(arrayOf(300'000, "#0")), "an object that contains itself"},
        {"unknown objects", stream(arrayOf(100'000, "{Odd }"))},
        {"unknown objects that nobody asks for", stream(":@ {Odd " + arrayOf(100'000, "{Odd }") + " }")},
        {"C strings", stream(":@ {Odd :[100000*] " + times(100'000, "*\"\"") + "}")},
        {"tiny strings", stream(arrayOf(60'000, "{NSString :+ \"x\" }"))},
        {"empty arrays", stream(arrayOf(60'000, "{NSArray :i 0 }"))},
        {"empty dictionaries", stream(arrayOf(60'000, "{NSDictionary :i 0 }"))},
        {"unreadable objects", stream(arrayOf(100'000, "{NSDate }"))},
        {"arrays that lie about their length", stream(lyingArrays), usedUp},
        {"dictionaries that lie about their length", stream(lyingDictionaries), usedUp},
        {"arrays that multiply", stream(multiplied + '}')},
        {"one large dictionary", stream(":@ {NSDictionary :i 100000 :[200000@] {NSString=a :+ \"k\" } ~ " +
                                        times(99'999, "#a ~") + "}")},
        {"a dictionary of long keys",
         stream(sharing(1, ":@ {NSString=a :+ \"" + longKey + "1\" } ",
                        "{NSDictionary :i 50000 :[100000@] {NSString=b :+ \"" + longKey + "2\" } ~ " +
                            times(24'999, "#a ~ #b ~") + "#a ~ }"))},
        {"objects nested deep", stream(times(100'000, ":@ {Odd") + times(100'000, "}"))},
        {"loops nested deep",
         stream(times(20'000,
                      ':' + QByteArray("[2").repeated(30) + '@' + QByteArray("]").repeated(30) + " {Odd")),
         "the file is cut off"},
        {"runs of one character", stream(text(100'000, 100'000, "1"))},
        {"runs of no characters", stream(text(1, 100'000, "0"))},
        {"runs of no characters with new attributes each", stream(newSets + " }")},
        {"a long string", stream(stringNotation(QByteArray(1'000'000, 'x')))},
        {"a long string of malformed UTF-8", stream(stringNotation(QByteArray(1'000'000, '\xFF')))},
        {"long data", stream(dataNotation(QByteArray(4'000'000, 'x')))},
        {"shared strings", stream(":@ {Odd :[200000:] " + times(200'000, "S\"\"") + "}")},
        {"type encodings", stream(":@ {Odd " + times(100'000, "S\"c\" r0") + "}")},
        {"a long type encoding",
         stream(":@ {Odd :" + QByteArray(300'000, 'c') + " x" + QByteArray(600'000, '0') + " }")},
        {"a long class chain", stream(":@ { " + times(100'000, "C\"Odd\"") + "~ }")},
        {"classes of one long name", stream(classesOfOneLongName(20'000))},
        {"fonts", stream(arrayOf(20'000, "{NSFont :i[9c]f 9 x050000000100000078 12 }"))},
        {"a font of a long name", stream(":@ {NSFont :i[1000008c]f 0 x05000000" + number(1'000'000).toHex() +
                                         QByteArray("78").repeated(1'000'000) + " 12 }")},
        {"URLs of one long base", stream(sharing(1'000, longUrl, "{NSURL :c@@ r1 #a {NSString :+ \"y\" } }")),
         usedUp},
        {"some URLs of one long base",
         stream(sharing(40, longUrl, "{NSURL :c@@ r1 #a {NSString :+ \"y\" } }"))},
        {"a folder of empty files", stream(wrapper(folder(50'000, "", emptyFile)))},
        {"a folder of names", stream(wrapper(folder(5'000, QByteArray(200, 'n'), emptyFile)))},
        {"a file", stream(wrapper(oneFile))},
        {"a folder of bytes",
         stream(wrapper(folder(3, "x", number(1) + number(500'000) + QByteArray(500'000, 'x'))))},
        {"a file without a form",
         stream(":@ {NSFileWrapper :[1000000c] x" + QByteArray("78").repeated(1'000'000) + " }")},
        {"names of the old form",
         stream(wrapper(
             folder(1, "__@PreferredName@__", number(1) + number(500'000) + QByteArray(500'000, 'x'))))},
        {"wrappers of one folder",
         stream(sharing(10'000, dataNotation(folder(10'000, "", emptyFile), "=a"), "{NSFileWrapper :@ #a }")),
         usedUp},
        {"wrappers of one file",
         stream(sharing(10'000, dataNotation(oneFile, "=a"), "{NSFileWrapper :@ #a }")), usedUp},
        {"wrappers of what is almost a folder",
         stream(sharing(10'000, dataNotation(folder(10'000, "", emptyFile).chopped(1), "=a"),
                        "{NSFileWrapper :@ #a }")),
         usedUp},
    };
}

/// A keyed archive of an array of @p count objects and the probe; the objects begin with number 3.
QByteArray keyed(qsizetype count, const QByteArray &objects, Form form = Form::Binary)
{
    QByteArray references;
    for (qsizetype i = 0; i < count; ++i)
        references += " #" + QByteArray::number(i + 3);
    return keyedArchive("{NSArray NS.objects=(" + references + " #2)} {Probe} " + objects, form);
}

/// As many objects at one place of the file; what they name begins after them.
QByteArray atOnePlace(qsizetype count, const QByteArray &object, const QByteArray &named = {})
{
    return keyed(count, object + " ^" + QByteArray::number(count - 1) + ' ' + named);
}

QByteArray xmlArchive(const QByteArray &objects)
{
    return "<plist><dict><key>$objects</key><array><string>$null</string>" + objects +
           "</array><key>$top</key><dict><key>root</key><dict><key>CF$UID</key><integer>1</integer></dict></"
           "dict>"
           "</dict></plist>";
}

/// With the probe as its root, which makes what stands after it be read and no more.
QByteArray xmlProbe(const QByteArray &others)
{
    return xmlArchive("<dict><key>$class</key><dict><key>CF$UID</key><integer>2</integer></dict></dict>"
                      "<dict><key>$classname</key><string>Probe</string></dict>" +
                      others);
}

std::vector<HostileArchive> hostileKeyedArchives()
{
    const QByteArray longText = '"' + QByteArray(500'000, 'x') + '"';
    const QByteArray longData = '<' + QByteArray(1'000'000, '7') + '>';
    const QByteArray list = "(" + times(50'000, "1") + ")";
    const QByteArray files = '<' + folder(10'000, "", emptyFile).toHex() + '>';
    QByteArray multiplied;
    for (int i = 3; i < 403; ++i)
        multiplied += "{NSArray NS.objects=(" + times(100, '#' + QByteArray::number(i + 1)) + ")} ";
    QByteArray classes;
    for (int i = 0; i < 50'000; ++i)
        classes += "[$class=#" + QByteArray::number(50'003 + i) + "] ";
    const QByteArray sets = " s:{NSArray NS.objects=(#d #e)} d:{NSDictionary} e:{NSDictionary} t:\"" +
                            QByteArray(50'000, 'x') + "\" r:<" + QByteArray("01000101").repeated(25'000) +
                            '>';
    const QByteArray text = "{NSAttributedString NSString=#t NSAttributes=#s NSAttributeInfo=#r}";
    const QByteArray emptyRuns = " s:{NSArray NS.objects=(#d)} d:{NSDictionary} t:\"x\" r:<" +
                                 QByteArray("0000").repeated(100'000) + '>';
    return {
        {"booleans", keyed(50'000, times(50'000, "true"))},
        {"tiny strings", keyed(50'000, times(50'000, "\"x\""))},
        {"strings at one place", atOnePlace(50'000, "\"a text of some length, at one place\"")},
        {"large strings at one place", atOnePlace(1'000, longText), usedUp},
        {"large data at one place", atOnePlace(1'000, longData), usedUp},
        {"large lists at one place", atOnePlace(5'000, list), usedUp},
        {"a long string", keyed(1, longText)},
        {"a long string of UTF-16", keyed(1, 'u' + QByteArray("4E00").repeated(500'000))},
        {"long data", keyed(1, '<' + QByteArray(4'000'000, '7') + '>')},
        {"objects that nobody asks for", keyed(0, times(100'000, "true"))},
        {"a list that nobody asks for", keyed(0, "(" + times(100'000, "1") + ")")},
        {"one object named often",
         keyedArchive("{NSArray NS.objects=(" + times(100'000, "#2") + "#3)} true {Probe}")},
        {"unknown objects", atOnePlace(50'000, "{Odd}")},
        {"unknown objects of a long class name", atOnePlace(5'000, "{" + QByteArray(500'000, 'n') + '}')},
        {"unknown objects of a class with many keys",
         atOnePlace(20'000, "[$class=#c]", "c:[" + times(50'000, "k=1") + "$classname=\"Odd\"]")},
        {"unknown objects of as many classes",
         keyed(50'000, classes + times(50'000, "[$classname=\"" + QByteArray(100, 'n') + "\"]"))},
        {"unreadable objects", atOnePlace(50'000, "{NSDate}")},
        {"empty arrays", atOnePlace(50'000, "{NSArray}")},
        {"arrays of one list", atOnePlace(1'000, "{NSArray NS.objects=" + list + '}'), usedUp},
        {"arrays that multiply", keyed(1, multiplied + "{NSArray}")},
        {"empty dictionaries", atOnePlace(50'000, "{NSDictionary}")},
        {"dictionaries", atOnePlace(20'000, "{NSDictionary NS.keys=(\"a\" \"b\" \"c\") NS.objects=(1 2 3)}")},
        {"a large dictionary", keyed(1, "{NSDictionary NS.keys=(" + times(50'000, "#b #a") +
                                            ") NS.objects=(" + times(100'000, "#a") + ")} a:\"a\" b:\"b\"")},
        {"dictionaries of one list",
         atOnePlace(1'000, "{NSDictionary NS.keys=(" + times(1'000, "\"a\"") + ") NS.objects=(" +
                               times(1'000, "1") + ")}"),
         usedUp},
        {"strings of one text", atOnePlace(20'000, "{NSMutableString NS.string=#t}", "t:" + longText)},
        {"strings of one data", atOnePlace(1'000, "{NSMutableString NS.bytes=#t}", "t:" + longData), usedUp},
        {"data of one text", atOnePlace(1'000, "{NSMutableData NS.data=#t}", "t:" + longText), usedUp},
        {"colours of one text", atOnePlace(1'000, "{NSColor NSColorSpace=1 NSRGB=#t}", "t:" + longText),
         usedUp},
        {"wrappers of one folder", atOnePlace(1'000, "{NSFileWrapper NSFileWrapperData=#t}", "t:" + files),
         usedUp},
        {"wrappers of one text", atOnePlace(1'000, "{NSFileWrapper NSFileWrapperData=#t}", "t:" + longText),
         usedUp},
        {"short runs", atOnePlace(2, text, sets)},
        {"texts of the same short runs", atOnePlace(1'000, text, sets), usedUp},
        {"texts of the same empty runs", atOnePlace(1'000, text, emptyRuns), usedUp},
        {"XML: booleans", xmlProbe(QByteArray("<true/>").repeated(50'000))},
        {"XML: lists", xmlProbe(QByteArray("<array/>").repeated(50'000))},
        {"XML: nested lists", xmlArchive(QByteArray("<array>").repeated(100'000)),
         "containers are nested too deep"},
        {"XML: dictionaries",
         xmlProbe(QByteArray("<dict><key>k</key><integer>1</integer></dict>").repeated(20'000))},
        {"XML: a long string", xmlProbe("<string>" + QByteArray(500'000, 'x') + "</string>")},
        {"XML: character references",
         xmlProbe("<string>" + QByteArray("&#9;").repeated(200'000) + "</string>")},
        {"XML: long data", xmlProbe("<data>" + QByteArray(500'000, 'A') + "</data>")},
        {"XML: a tag without an end", xmlArchive('<' + QByteArray(500'000, 'x') + "></>"),
         "a tag longer than 1024 bytes"},
        {"XML: text without an end", "<plist><string>" + QByteArray("x<![CDATA[").repeated(50'000),
         "the file is cut off"},
    };
}

} // namespace

TEST(HostileArchives, Streams)
{
    for (const HostileArchive &archive : hostileStreams())
        check(archive);
}

TEST(HostileArchives, KeyedArchives)
{
    for (const HostileArchive &archive : hostileKeyedArchives())
        check(archive);
}
