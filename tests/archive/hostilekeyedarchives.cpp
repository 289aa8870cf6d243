#include "tests/archive/binarypropertylistwriter.h"
#include "tests/archive/hostilearchives.h"

#include <functional>

namespace {

using Index = BinaryPropertyListWriter::Index;

/// A keyed archive whose objects the caller adds to the property list one by one.
class Archive {
public:
    explicit Archive(int referenceSize = 4) : list(referenceSize)
    {
        m_objects.push_back(list.string("$null"));
    }

    BinaryPropertyListWriter list;

    /// Makes the object that stands at @p index one of the archive. @return a value that refers to it.
    Index object(Index index)
    {
        m_objects.push_back(index);
        return list.uid(quint32(m_objects.size() - 1));
    }
    /// A class's record, referred to.
    Index classNamed(const QByteArray &name)
    {
        return object(list.dictionary({list.string("$classname")}, {list.string(name)}));
    }
    /// The archive with this object, referred to, as its root.
    QByteArray finish(Index root)
    {
        const Index top = list.dictionary({list.string("root")}, {root});
        const Index objects = list.array(m_objects);
        return list.finish(list.dictionary({list.string("$top"), list.string("$objects")}, {top, objects}));
    }
    /// The same with an array of these references as its root.
    QByteArray finishArray(const std::vector<Index> &references)
    {
        const Index elements = list.array(references);
        return finish(object(list.dictionary({list.string("$class"), list.string("NS.objects")},
                                             {classNamed("NSArray"), elements})));
    }

private:
    std::vector<Index> m_objects;
};

/// An array of as many objects as fit into @p size bytes, of @p each bytes, each made by @p make.
template <class Make>
QByteArray arrayOf(qsizetype size, qsizetype each, Make make)
{
    Archive archive;
    std::vector<Index> references;
    for (qsizetype i = 0; i < size / each; ++i)
        references.push_back(archive.object(make(archive, int(i))));
    return archive.finishArray(references);
}

// What an object and the reference to it take beside the object's own bytes: two offsets, the UID, two
// references.
constexpr qsizetype eachObject = 4 + 4 + 5 + 4 + 4;

QByteArray booleans(qsizetype size)
{
    return arrayOf(size, eachObject + 1, [](Archive &archive, int) { return archive.list.boolean(true); });
}

QByteArray tinyStrings(qsizetype size)
{
    return arrayOf(size, eachObject + 2, [](Archive &archive, int) { return archive.list.string("x"); });
}

/// One string, and as many objects that stand at the same place of the file.
QByteArray stringsAtOnePlace(qsizetype size)
{
    Archive archive;
    const Index string = archive.list.string("a text of some length, in one place");
    std::vector<Index> references;
    for (qsizetype i = 0; i < size / eachObject; ++i)
        references.push_back(archive.object(archive.list.sameBytesAs(string)));
    return archive.finishArray(references);
}

QByteArray largeStringsAtOnePlace(qsizetype size)
{
    Archive archive;
    const Index string = archive.list.string(QByteArray(size / 2, 'x'));
    std::vector<Index> references;
    for (qsizetype i = 0; i < size / 2 / eachObject; ++i)
        references.push_back(archive.object(archive.list.sameBytesAs(string)));
    return archive.finishArray(references);
}

QByteArray largeArraysAtOnePlace(qsizetype size)
{
    Archive archive;
    const Index element = archive.list.boolean(true);
    const Index array = archive.list.array(std::vector<Index>(size_t(size / 8), element));
    for (qsizetype i = 0; i < size / 8; ++i)
        archive.list.sameBytesAs(array);
    return archive.finishArray({});
}

/// One-byte objects, which nobody asks for.
QByteArray nulls(qsizetype size)
{
    Archive archive;
    for (qsizetype i = 0; i < size / 5; ++i)
        archive.list.null();
    return archive.finishArray({});
}

QByteArray oneArray(qsizetype size)
{
    Archive archive(1);
    const Index element = archive.object(archive.list.boolean(true));
    return archive.finishArray(std::vector<Index>(size_t(size), element));
}

/// Empty objects of the class, with its members.
QByteArray instances(qsizetype size, const QByteArray &className, const std::vector<QByteArray> &keys,
                     const std::function<Index(Archive &)> &value)
{
    Archive archive;
    std::vector<Index> keyIndexes{archive.list.string("$class")};
    std::vector<Index> values{archive.classNamed(className)};
    for (const QByteArray &key : keys) {
        keyIndexes.push_back(archive.list.string(key));
        values.push_back(value(archive));
    }
    const Index object = archive.list.dictionary(keyIndexes, values);
    std::vector<Index> references;
    for (qsizetype i = 0; i < size / eachObject; ++i)
        references.push_back(archive.object(archive.list.sameBytesAs(object)));
    return archive.finishArray(references);
}

QByteArray unknownObjects(qsizetype size)
{
    return instances(size, "Odd", {}, {});
}

QByteArray longClassName(qsizetype size)
{
    return instances(size / 2, QByteArray(size / 2, 'n'), {}, {});
}

QByteArray emptyArrays(qsizetype size)
{
    return instances(size, "NSArray", {"NS.objects"},
                     [](Archive &archive) { return archive.list.array({}); });
}

QByteArray arraysOfOneList(qsizetype size)
{
    return instances(size / 2, "NSArray", {"NS.objects"}, [size](Archive &archive) {
        const Index element = archive.object(archive.list.boolean(true));
        return archive.list.array(std::vector<Index>(size_t(size / 8), element));
    });
}

/// Arrays that hold each other, a little less than 512 high; each holds the next one so many times.
QByteArray highArrays(qsizetype size, int times)
{
    constexpr int height = 500;
    Archive archive;
    BinaryPropertyListWriter &list = archive.list;
    const std::vector<Index> keys{list.string("$class"), list.string("NS.objects")};
    const Index arrayClass = archive.classNamed("NSArray");
    const Index lowest = archive.object(list.boolean(true));
    std::vector<Index> highest;
    for (qsizetype left = size / (height * (2 * eachObject + 4 * times)); left >= 0; --left) {
        Index last = lowest;
        for (int i = 0; i < height; ++i) {
            const Index elements = list.array(std::vector<Index>(size_t(times), last));
            last = archive.object(list.dictionary(keys, {arrayClass, elements}));
        }
        highest.push_back(last);
    }
    return archive.finishArray(highest);
}

QByteArray nestedArrays(qsizetype size)
{
    return highArrays(size, 1);
}

QByteArray multipliedArrays(qsizetype size)
{
    return highArrays(size, 100);
}

QByteArray emptyDictionaries(qsizetype size)
{
    return instances(size, "NSDictionary", {"NS.keys", "NS.objects"},
                     [](Archive &archive) { return archive.list.array({}); });
}

QByteArray dictionariesOfOneList(qsizetype size)
{
    return instances(size / 2, "NSDictionary", {"NS.keys", "NS.objects"}, [size](Archive &archive) {
        const Index one = archive.object(archive.list.string("one"));
        return archive.list.array(std::vector<Index>(size_t(size / 16), one));
    });
}

QByteArray stringsOfOneText(qsizetype size)
{
    return instances(size / 2, "NSMutableString", {"NS.string"}, [size](Archive &archive) {
        return archive.object(archive.list.string(QByteArray(size / 2, 'x')));
    });
}

QByteArray stringsOfOneData(qsizetype size)
{
    return instances(size / 2, "NSMutableString", {"NS.bytes"}, [size](Archive &archive) {
        return archive.object(archive.list.data(QByteArray(size / 2, 'x')));
    });
}

QByteArray dataOfOneText(qsizetype size)
{
    return instances(size / 2, "NSMutableData", {"NS.data"}, [size](Archive &archive) {
        return archive.object(archive.list.string(QByteArray(size / 2, 'x')));
    });
}

QByteArray colorsOfOneText(qsizetype size)
{
    return instances(size / 2, "NSColor", {"NSRGB", "NSColorSpace"},
                     [size, first = true](Archive &archive) mutable {
                         if (!std::exchange(first, false))
                             return archive.list.integer(1);
                         return archive.object(archive.list.string(QByteArray(size / 2, '1')));
                     });
}

QByteArray wrappersOfOneFolder(qsizetype size)
{
    return instances(size / 2, "NSFileWrapper", {"NSFileWrapperData"}, [size](Archive &archive) {
        return archive.object(archive.list.data(serializedFolderOfEmptyFiles(size / 2)));
    });
}

QByteArray wrappersOfOneText(qsizetype size)
{
    return instances(size / 2, "NSFileWrapper", {"NSFileWrapperData"}, [size](Archive &archive) {
        return archive.object(archive.list.string(QByteArray(size / 2, 'x')));
    });
}

QByteArray folderOfEmptyFiles(qsizetype size)
{
    Archive archive;
    const Index data = archive.object(archive.list.data(serializedFolderOfEmptyFiles(size)));
    return archive.finish(archive.object(
        archive.list.dictionary({archive.list.string("$class"), archive.list.string("NSFileWrapperData")},
                                {archive.classNamed("NSFileWrapper"), data})));
}

/// @p count attributed strings that share their text, their two attribute sets and their runs.
QByteArray attributedStrings(qsizetype count, const QByteArray &text, const QByteArray &runs)
{
    Archive archive;
    BinaryPropertyListWriter &list = archive.list;
    const Index empty = list.array({});
    const Index set =
        list.dictionary({list.string("$class"), list.string("NS.keys"), list.string("NS.objects")},
                        {archive.classNamed("NSDictionary"), empty, empty});
    const Index sets = list.array({archive.object(set), archive.object(list.sameBytesAs(set))});
    const Index attributes = archive.object(list.dictionary(
        {list.string("$class"), list.string("NS.objects")}, {archive.classNamed("NSArray"), sets}));
    const Index string =
        list.dictionary({list.string("$class"), list.string("NSString"), list.string("NSAttributes"),
                         list.string("NSAttributeInfo")},
                        {archive.classNamed("NSAttributedString"), archive.object(list.string(text)),
                         attributes, archive.object(list.data(runs))});
    std::vector<Index> references;
    for (qsizetype i = 0; i < count; ++i)
        references.push_back(archive.object(list.sameBytesAs(string)));
    return archive.finishArray(references);
}

QByteArray shortRuns(qsizetype size)
{
    return attributedStrings(1, QByteArray(size / 3, 'x'), QByteArray("\1\0\1\1", 4).repeated(size / 6));
}

QByteArray emptyRuns(qsizetype size)
{
    return attributedStrings(1, "x", QByteArray("\0\0\0\1", 4).repeated(size / 4));
}

QByteArray stringsOfShortRuns(qsizetype size)
{
    return attributedStrings(size / 4 / eachObject, QByteArray(size / 4, 'x'),
                             QByteArray("\1\0\1\1", 4).repeated(size / 8));
}

QByteArray stringsOfEmptyRuns(qsizetype size)
{
    return attributedStrings(size / 4 / eachObject, "x", QByteArray("\0\0\0\1", 4).repeated(size / 8));
}

/// An unknown class whose record has many keys, the one that counts last.
QByteArray wideClassRecord(qsizetype size)
{
    Archive archive;
    const Index key = archive.list.string("key");
    std::vector<Index> keys(size_t(size / 16), key);
    std::vector<Index> values = keys;
    keys.push_back(archive.list.string("$classname"));
    values.push_back(archive.list.string("Odd"));
    const Index record = archive.object(archive.list.dictionary(keys, values));
    const Index object = archive.list.dictionary({archive.list.string("$class")}, {record});
    std::vector<Index> references;
    for (qsizetype i = 0; i < size / 2 / eachObject; ++i)
        references.push_back(archive.object(archive.list.sameBytesAs(object)));
    return archive.finishArray(references);
}

QByteArray longUtf16String(qsizetype size)
{
    Archive archive;
    return archive.finish(archive.object(archive.list.utf16(QString(size / 2, u'\u4E00'))));
}

// In the XML form

QByteArray xmlArchive(const QByteArray &objects)
{
    return "<plist><dict><key>$objects</key><array><string>$null</string>" + objects +
           "</array><key>$top</key><dict><key>root</key><dict><key>CF$UID</key><integer>1</integer></dict></"
           "dict>"
           "</dict></plist>";
}

QByteArray xmlRepeated(qsizetype size, const QByteArray &element)
{
    return xmlArchive(element.repeated(size / element.size()));
}

QByteArray xmlBooleans(qsizetype size)
{
    return xmlRepeated(size, "<true/>");
}

QByteArray xmlArrays(qsizetype size)
{
    return xmlRepeated(size, "<array/>");
}

QByteArray xmlNestedArrays(qsizetype size)
{
    return xmlArchive(QByteArray("<array>").repeated(size / 8));
}

QByteArray xmlDictionaries(qsizetype size)
{
    return xmlRepeated(size, "<dict><key>k</key><integer>1</integer></dict>");
}

QByteArray xmlString(qsizetype size)
{
    return xmlArchive("<string>" + QByteArray(size, 'x') + "</string>");
}

QByteArray xmlCharacterReferences(qsizetype size)
{
    return xmlArchive("<string>" + QByteArray("&#9;").repeated(size / 4) + "</string>");
}

QByteArray xmlData(qsizetype size)
{
    return xmlArchive("<data>" + QByteArray(size, 'A') + "</data>");
}

QByteArray xmlElementWithoutEnd(qsizetype size)
{
    return xmlArchive('<' + QByteArray(size, 'x') + "></>");
}

QByteArray xmlUnendingText(qsizetype size)
{
    return "<plist><string>" + QByteArray("x<![CDATA[").repeated(size / 10);
}

} // namespace

const std::vector<HostileArchive> &hostileKeyedArchives()
{
    static const std::vector<HostileArchive> archives = {
        {"booleans", booleans},
        {"tiny strings", tinyStrings},
        {"strings at one place of the file", stringsAtOnePlace},
        {"large strings at one place of the file", largeStringsAtOnePlace},
        {"large lists at one place of the file", largeArraysAtOnePlace},
        {"nulls", nulls},
        {"an array that names one object", oneArray},
        {"empty unknown objects", unknownObjects},
        {"unknown objects of a long class name", longClassName},
        {"unknown objects of a class with many keys", wideClassRecord},
        {"empty arrays", emptyArrays},
        {"arrays of one long list", arraysOfOneList},
        {"arrays nested deep", nestedArrays},
        {"arrays that multiply", multipliedArrays},
        {"empty dictionaries", emptyDictionaries},
        {"dictionaries of one long list", dictionariesOfOneList},
        {"strings of one long text", stringsOfOneText},
        {"strings of one long data", stringsOfOneData},
        {"data of one long text", dataOfOneText},
        {"colours of one long text", colorsOfOneText},
        {"wrappers of one folder", wrappersOfOneFolder},
        {"wrappers of one long text", wrappersOfOneText},
        {"a folder of empty files", folderOfEmptyFiles},
        {"runs of one character", shortRuns},
        {"runs of no characters", emptyRuns},
        {"strings of the same short runs", stringsOfShortRuns},
        {"strings of the same empty runs", stringsOfEmptyRuns},
        {"one long string of UTF-16", longUtf16String},
        {"XML: booleans", xmlBooleans},
        {"XML: empty lists", xmlArrays},
        {"XML: nested lists", xmlNestedArrays},
        {"XML: dictionaries", xmlDictionaries},
        {"XML: one long string", xmlString},
        {"XML: character references", xmlCharacterReferences},
        {"XML: long data", xmlData},
        {"XML: a tag without an end", xmlElementWithoutEnd},
        {"XML: text without an end", xmlUnendingText},
    };
    return archives;
}

QByteArray serializedFolderOfEmptyFiles(qsizetype size)
{
    const auto number = [](quint32 value) {
        QByteArray bytes(4, Qt::Uninitialized);
        qToLittleEndian(value, bytes.data());
        return bytes;
    };
    const qsizetype count = size / 16;
    QByteArray bytes = "rtfd" + number(0) + number(3) + number(quint32(count));
    bytes += QByteArray(count * 4, '\0');             // lengths of the names
    bytes += number(8).repeated(count);               // lengths of the records
    bytes += (number(1) + number(0)).repeated(count); // the records: data, of no bytes
    return bytes;
}
