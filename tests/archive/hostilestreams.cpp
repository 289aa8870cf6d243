#include "tests/archive/hostilearchives.h"
#include "tests/archive/typedstreamwriter.h"

namespace {

using Chain = TypedStreamWriter::Chain;

/// A stream of about @p size bytes: an array of as many elements as fit, each written by @p element.
template <class Element>
QByteArray arrayOf(qsizetype size, Element element)
{
    TypedStreamWriter stream;
    const auto fill = [&](qint64 count) {
        stream.beginArray(count);
        const qsizetype start = stream.data().size();
        for (qint64 i = 0; i < count; ++i)
            element(stream, int(i));
        stream.endObject();
        return (stream.data().size() - start) / std::max(count, qint64(1)) + 1;
    };
    // How long one element is shows a sample of them.
    TypedStreamWriter sample;
    sample.beginArray(1);
    const qsizetype start = sample.data().size();
    constexpr int sampled = 64;
    for (int i = 0; i < sampled; ++i)
        element(sample, i);
    fill(size * sampled / (sample.data().size() - start) + 1);
    return stream.data();
}

/// The same with all elements in one group, which saves a byte for each.
template <class Element>
QByteArray oneGroupOf(qsizetype count, Element element)
{
    TypedStreamWriter stream;
    stream.beginArray(count);
    stream.types('[' + QByteArray::number(count) + "@]");
    for (qsizetype i = 0; i < count; ++i)
        element(stream, int(i));
    stream.endObject();
    return stream.data();
}

void emptyObject(TypedStreamWriter &stream, Chain chain)
{
    stream.beginObject(chain);
    stream.endObject();
}

QByteArray nilElements(qsizetype size)
{
    return oneGroupOf(size, [](TypedStreamWriter &stream, int) { stream.nil(); });
}

QByteArray sameElement(qsizetype size)
{
    return oneGroupOf(size, [](TypedStreamWriter &stream, int i) {
        if (i == 0)
            emptyObject(stream, {"Odd"});
        else
            stream.reference(3);
    });
}

QByteArray unknownObjects(qsizetype size)
{
    return oneGroupOf(size / 3, [](TypedStreamWriter &stream, int) { emptyObject(stream, {"Odd"}); });
}

/// Nobody asks for these.
QByteArray objectsInsideUnknownOnes(qsizetype size)
{
    TypedStreamWriter stream;
    stream.beginArray(1);
    stream.types("@");
    stream.beginObject({"Odd"});
    stream.types('[' + QByteArray::number(size / 3) + "@]");
    for (qsizetype i = 0; i < size / 3; ++i)
        emptyObject(stream, {"Odd"});
    stream.endObject();
    stream.endObject();
    return stream.data();
}

QByteArray tinyStrings(qsizetype size)
{
    return oneGroupOf(size / 6, [](TypedStreamWriter &stream, int) {
        stream.beginObject({"NSString"});
        stream.types("+");
        stream.unsharedString("x");
        stream.endObject();
    });
}

QByteArray emptyArrays(qsizetype size)
{
    return oneGroupOf(size / 5, [](TypedStreamWriter &stream, int) {
        stream.beginObject({"NSArray"});
        stream.types("i");
        stream.integer(0);
        stream.endObject();
    });
}

QByteArray arraysThatLieAboutTheirLength(qsizetype size)
{
    return arrayOf(size, [](TypedStreamWriter &stream, int) {
        stream.beginArray(0x7FFFFFFF);
        stream.nilObject();
        stream.endObject();
    });
}

/// The most that may hold each other: a little less than 512.
constexpr int height = 500;

QByteArray highArrays(qsizetype size)
{
    return arrayOf(size, [](TypedStreamWriter &stream, int) {
        for (int i = 0; i < height; ++i)
            stream.beginArray(1);
        stream.nilObject();
        for (int i = 0; i < height; ++i)
            stream.endObject();
    });
}

/// Each names the one before again and again: more ways down than there are atoms.
QByteArray multipliedArrays(qsizetype size)
{
    const qsizetype times = size / 3 / height;
    TypedStreamWriter stream;
    stream.beginArray(height);
    int before = stream.string("x");
    for (int i = 1; i < height; ++i) {
        const int number = stream.beginArray(times);
        stream.types('[' + QByteArray::number(times) + "@]");
        for (qsizetype n = 0; n < times; ++n)
            stream.reference(before);
        stream.endObject();
        before = number;
    }
    stream.endObject();
    return stream.data();
}

QByteArray emptyDictionaries(qsizetype size)
{
    return oneGroupOf(size / 5, [](TypedStreamWriter &stream, int) {
        stream.beginObject({"NSDictionary"});
        stream.types("i");
        stream.integer(0);
        stream.endObject();
    });
}

QByteArray oneDictionary(qsizetype size)
{
    TypedStreamWriter stream;
    stream.beginArray(2);
    const int one = stream.string("one");
    stream.beginDictionary(size / 2);
    stream.types('[' + QByteArray::number(size / 2 * 2) + "@]");
    const int two = stream.objectCount();
    stream.beginObject({"NSString"});
    stream.types("+");
    stream.unsharedString("a key that sorts before the other");
    stream.endObject();
    for (qsizetype i = 1; i < size / 2 * 2; ++i)
        stream.reference(i % 4 < 2 ? one : two);
    stream.endObject();
    stream.endObject();
    return stream.data();
}

/// Two long texts that differ at their ends, and a dictionary that has to sort pairs of them.
QByteArray longKeys(qsizetype size)
{
    TypedStreamWriter stream;
    stream.beginArray(3);
    const int one = stream.string(QByteArray(size / 4, 'k') + '1');
    const int two = stream.string(QByteArray(size / 4, 'k') + '2');
    stream.beginDictionary(size / 4);
    stream.types('[' + QByteArray::number(size / 4 * 2) + "@]");
    for (qsizetype i = 0; i < size / 4; ++i) {
        stream.reference(i % 3 == 0 ? two : one);
        stream.nil();
    }
    stream.endObject();
    stream.endObject();
    return stream.data();
}

QByteArray deepUnknownObjects(qsizetype size)
{
    // 30 arrays of one element around the object: a reader has to remember 30 places.
    QByteArray encoding = "@";
    for (int i = 0; i < 30; ++i)
        encoding = "[2" + encoding + ']';
    TypedStreamWriter stream;
    stream.beginArray(1);
    stream.types("@");
    stream.beginObject({"Odd"});
    for (qsizetype i = 0; i < size / 3; ++i) {
        stream.types(encoding);
        stream.beginObject({"Odd"});
    }
    return stream.data(); // ends too early
}

QByteArray attributedString(qsizetype textLength, qsizetype runs, int runLength, bool newSets)
{
    TypedStreamWriter stream;
    stream.beginArray(2);
    stream.beginDictionary(0);
    const int set = stream.objectCount() - 2; // its class is new
    stream.endObject();
    stream.types("@");
    stream.beginObject({"NSAttributedString"});
    stream.string(QByteArray(textLength, 'x'));
    for (qsizetype i = 0; i < runs; ++i) {
        const qsizetype number = newSets ? i : i % 2;
        stream.types("iI");
        stream.integer(number);
        stream.integer(runLength);
        if (newSets)
            stream.objectReference(set);
        else if (i < 2)
            stream.nilObject();
    }
    stream.endObject();
    stream.endObject();
    return stream.data();
}

QByteArray shortRuns(qsizetype size)
{
    TypedStreamWriter stream;
    stream.beginArray(3);
    stream.types("@");
    stream.beginObject({"NSAttributedString"});
    stream.string(QByteArray(size / 4, 'x'));
    for (qsizetype i = 0; i < size / 4; ++i) {
        stream.types("iI");
        stream.integer(i % 2);
        stream.integer(1);
        if (i < 2) {
            stream.beginDictionary(0);
            stream.endObject();
        }
    }
    stream.endObject();
    stream.nilObject();
    stream.nilObject();
    stream.endObject();
    return stream.data();
}

QByteArray emptyRuns(qsizetype size)
{
    return attributedString(1, size / 3, 0, false);
}

QByteArray runsWithNewSets(qsizetype size)
{
    return attributedString(size / 10, size / 10, 1, true);
}

QByteArray oneString(qsizetype size)
{
    TypedStreamWriter stream;
    stream.string(QByteArray(size, 'x'));
    return stream.data();
}

QByteArray oneMalformedString(qsizetype size)
{
    TypedStreamWriter stream;
    stream.string("\xEF\xBB\xBF" + QByteArray(size, '\xFF'));
    return stream.data();
}

QByteArray sharedStrings(qsizetype size)
{
    TypedStreamWriter stream;
    stream.beginArray(1);
    stream.types("@");
    stream.beginObject({"Odd"});
    stream.types('[' + QByteArray::number(size / 2) + ":]");
    for (qsizetype i = 0; i < size / 2; ++i)
        stream.literalString({});
    stream.endObject();
    stream.endObject();
    return stream.data();
}

QByteArray encodings(qsizetype size)
{
    TypedStreamWriter stream;
    stream.beginArray(1);
    stream.types("@");
    stream.beginObject({"Odd"});
    for (qsizetype i = 0; i < size / 4; ++i) {
        stream.literalString("c");
        stream.byte(0);
    }
    stream.endObject();
    stream.endObject();
    return stream.data();
}

QByteArray oneEncoding(qsizetype size)
{
    TypedStreamWriter stream;
    stream.beginArray(1);
    stream.types("@");
    stream.beginObject({"Odd"});
    stream.types(QByteArray(size / 2, 'c'));
    stream.raw(QByteArray(size / 2, '\0'));
    stream.endObject();
    stream.endObject();
    return stream.data();
}

QByteArray classChain(qsizetype size)
{
    TypedStreamWriter stream;
    stream.beginArray(1);
    stream.types("@");
    stream.newObject();
    for (qsizetype i = 0; i < size / 3; ++i)
        stream.literalClass("Odd");
    stream.nil();
    stream.endObject();
    stream.endObject();
    return stream.data();
}

QByteArray longClassName(qsizetype size)
{
    constexpr int nameNumber = 4; // behind "@", NSArray, NSObject and "i"
    TypedStreamWriter stream;
    stream.beginArray(size / 12);
    for (qsizetype i = 0; i < size / 12; ++i) {
        stream.types("@");
        stream.newTag();
        stream.newTag(); // a class
        if (i == 0)
            stream.literalString(QByteArray(size / 2, 'n'));
        else
            stream.reference(nameNumber);
        stream.integer(1);
        stream.nil();
        stream.endObject();
    }
    stream.endObject();
    return stream.data();
}

QByteArray fonts(qsizetype size)
{
    return arrayOf(size, [](TypedStreamWriter &stream, int) {
        stream.types("@");
        stream.beginObject({"NSFont"});
        stream.types("i[12c]f");
        stream.integer(12);
        stream.raw(QByteArray("\5\0\0\0\1\0\0\0x\0\0\0", 12));
        stream.integer(12);
        stream.endObject();
    });
}

QByteArray oneFont(qsizetype size)
{
    TypedStreamWriter stream;
    stream.types("@");
    stream.beginObject({"NSFont"});
    const QByteArray name = QByteArray(size / 2, 'x') + QByteArray(size / 2, '\0');
    QByteArray serialized("\6\0\0\0", 4);
    for (int i = 0; i < 4; ++i)
        serialized += char(name.size() >> 8 * i);
    serialized += name;
    stream.types("i[" + QByteArray::number(serialized.size()) + "c]f");
    stream.integer(serialized.size());
    stream.raw(serialized);
    stream.integer(12);
    stream.endObject();
    return stream.data();
}

/// File wrappers that all name one and the same data.
QByteArray wrappersOf(const QByteArray &data, qsizetype count)
{
    TypedStreamWriter stream;
    stream.beginArray(count + 1);
    const int shared = stream.dataObject(data);
    for (qsizetype i = 0; i < count; ++i) {
        stream.types("@");
        stream.beginObject({"NSFileWrapper"});
        stream.objectReference(shared);
        stream.endObject();
    }
    stream.endObject();
    return stream.data();
}

QByteArray folderOfEmptyFiles(qsizetype size)
{
    return wrappersOf(serializedFolderOfEmptyFiles(size), 1);
}

QByteArray wrappersOfOneFolder(qsizetype size)
{
    return wrappersOf(serializedFolderOfEmptyFiles(size / 2), size / 12);
}

QByteArray wrappersOfOneFile(qsizetype size)
{
    return wrappersOf(QByteArray(size / 2, 'x'), size / 12);
}

QByteArray wrappersThatAreAlmostFolders(qsizetype size)
{
    return wrappersOf(serializedFolderOfEmptyFiles(size / 2).chopped(1), size / 12);
}

} // namespace

const std::vector<HostileArchive> &hostileStreams()
{
    static const std::vector<HostileArchive> archives = {
        {"an array of nil", nilElements},
        {"an array that names one object", sameElement},
        {"empty unknown objects", unknownObjects},
        {"empty objects inside an unknown one", objectsInsideUnknownOnes},
        {"tiny strings", tinyStrings},
        {"empty arrays", emptyArrays},
        {"arrays that lie about their length", arraysThatLieAboutTheirLength},
        {"arrays nested deep", highArrays},
        {"arrays that multiply", multipliedArrays},
        {"empty dictionaries", emptyDictionaries},
        {"one large dictionary", oneDictionary},
        {"a dictionary of long keys", longKeys},
        {"unknown objects nested deep", deepUnknownObjects},
        {"runs of one character", shortRuns},
        {"runs of no characters", emptyRuns},
        {"runs with new attributes each", runsWithNewSets},
        {"one long string", oneString},
        {"one long string of malformed UTF-8", oneMalformedString},
        {"shared strings that nobody shares", sharedStrings},
        {"type encodings that nobody shares", encodings},
        {"one long type encoding", oneEncoding},
        {"a long class chain", classChain},
        {"classes with one long name", longClassName},
        {"fonts", fonts},
        {"a font with a long name", oneFont},
        {"a folder of empty files", folderOfEmptyFiles},
        {"wrappers of one folder", wrappersOfOneFolder},
        {"wrappers of one file", wrappersOfOneFile},
        {"wrappers of what is almost a folder", wrappersThatAreAlmostFolders},
    };
    return archives;
}
