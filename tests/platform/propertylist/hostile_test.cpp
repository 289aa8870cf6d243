// Files made to crash a reader, to keep it busy or to fill the memory.

#include "dump.h"
#include "tests/support/binarylist.h"

#include "platform/formaterror.h"
#include "platform/propertylist/treecheck.h"
#include "platform/propertylist/xmlwriter.h"

#include <gtest/gtest.h>

namespace {

/// A small list with every kind of object, in each form.
QByteArray sample(int form)
{
    if (form == 0) {
        return BinaryList{{hex("D2 01 02 03 04"), hex("51 61"), hex("61 65E5"),
                           hex("A7 05 06 07 08 09 0A 04"), hex("42 FFFF"), hex("09"),
                           hex("13 FFFFFFFFFFFFFFFF"), hex("23 3FF8000000000000"), hex("33 41A0000000000000"),
                           hex("80 01"), hex("5F 10 03 616263")}}
            .bytes();
    }
    if (form == 1) {
        return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><!DOCTYPE plist SYSTEM 'a'><plist "
               "version=\"1.0\"><dict><key>a</key>"
               "<array><true/><integer>-1</integer><real>1.5</real><date>2005-03-01T21:07:45Z</"
               "date><data>AAE=</data>"
               "<!-- c --><string>&lt;\xE6\x97\xA5<![CDATA[x]]>&#x41;</string></array></dict></plist>";
    }
    return R"({ a = "b\U65e5\101\n"; 'c' = (<00 ff>, d, <*I5>, <*D2005-03-01 21:07:45 +0000>,); /* e */ f = { }; })";
}

constexpr int forms = 3;

/// Whatever the bytes are: a list that can be written and read again, or an error.
void readAndWrite(const QByteArray &bytes)
{
    try {
        platform::XMLPropertyListWriter writer;
        writer.value(platform::readPropertyList(bytes));
        const QByteArray written = writer.finish();
        EXPECT_EQ(faultOf(written), "") << bytes.toHex().constData();
    } catch (const platform::FormatError &error) {
        EXPECT_GE(error.offset(), 0);
        EXPECT_STRNE(error.what(), "");
    }
}

QByteArray nested(const QByteArray &opening, const QByteArray &innermost, const QByteArray &closing,
                  int levels)
{
    return opening.repeated(levels) + innermost + closing.repeated(levels);
}

/// A chain of arrays, each holding the next @p width times, the last one holding a scalar.
QByteArray chain(int levels, int width)
{
    BinaryList list{{}, 0, 4, 4};
    for (int level = 1; level <= levels; ++level)
        list.objects.push_back(char(0xA0 | width) + bigEndianBytes(quint64(level), 4).repeated(width));
    list.objects.push_back(hex("09"));
    return list.bytes();
}

} // namespace

TEST(HostilePropertyList, EveryBeginningOfAList)
{
    for (int form = 0; form < forms; ++form) {
        const QByteArray whole = sample(form);
        ASSERT_EQ(faultOf(whole), "");
        const qsizetype shortest = form == 0 ? 6 : 0; // less than the magic number is a bare string
        for (qsizetype size = shortest; size < whole.size(); ++size)
            EXPECT_NE(faultOf(whole.first(size)), "") << form << " " << size;
    }
}

TEST(HostilePropertyList, EveryChangeOfOneByte)
{
    QByteArray everyByte;
    for (int value = 0; value < 256; ++value)
        everyByte += char(value);
    const QByteArray meaningful = QByteArray(1, '\0') + "\t\n !\"&'()*,-/09;<=>A[]a{}\x7F\x80\xE6\xFE\xFF";
    for (int form = 0; form < forms; ++form) {
        const QByteArray whole = sample(form);
        for (qsizetype at = 0; at < whole.size(); ++at) {
            QByteArray changed = whole;
            for (const char value : form == 0 ? everyByte : meaningful) {
                changed[at] = value;
                readAndWrite(changed);
            }
        }
    }
}

TEST(HostilePropertyList, NestsTooDeep)
{
    for (const int levels : {512, 513, 100'000}) {
        const std::string expected = levels == 512 ? "" : "containers are nested too deep";
        EXPECT_EQ(faultOf(chain(levels, 1)), expected);
        EXPECT_EQ(faultOf("<plist>" + nested("<array>", "<true/>", "</array>", levels) + "</plist>"),
                  expected);
        EXPECT_EQ(faultOf("<plist>" + nested("<dict><key/>", "<true/>", "</dict>", levels) + "</plist>"),
                  expected);
        EXPECT_EQ(faultOf(nested("(", "a", ")", levels)), expected);
        EXPECT_EQ(faultOf(nested("{a=", "a", ";}", levels)), expected);
    }
    // Met the second time, the shared part is too deep: 2 levels above it, then 511 above it.
    BinaryList list{{hex("A2 0001 0002"), hex("A1 0201")}, 0, 2, 2};
    for (int i = 2; i < 512; ++i)
        list.objects.push_back(char(0xA1) + bigEndianBytes(quint64(i) + 1, 2));
    list.objects.push_back(hex("A1 0201"));
    for (int i = 513; i < 516; ++i)
        list.objects.push_back(char(0xA1) + bigEndianBytes(quint64(i) + 1, 2));
    list.objects.push_back(hex("09"));
    EXPECT_EQ(faultOf(list.bytes()), "containers are nested too deep");
}

TEST(HostilePropertyList, ContainersThatHoldThemselves)
{
    const std::string expected = "a container that holds itself";
    EXPECT_EQ(faultOf(BinaryList{{hex("A1 00")}}.bytes()), expected);
    EXPECT_EQ(faultOf(BinaryList{{hex("D1 01 00"), hex("51 61")}}.bytes()), expected);
    EXPECT_EQ(faultOf(BinaryList{{hex("A2 01 01"), hex("A1 02"), hex("A1 01")}}.bytes()), expected);
    EXPECT_EQ(faultOf(BinaryList{{hex("D1 01 01"), hex("A0")}}.bytes()), "a key that is no string");
}

TEST(HostilePropertyList, SharedValuesThatMultiply)
{
    const std::string expected = "the contents would take more memory than a file of this size may";
    EXPECT_EQ(faultOf(chain(10, 2)), "");
    for (const int levels : {30, 100, 500})
        EXPECT_EQ(faultOf(chain(levels, 2)), expected) << levels;

    // A long string that is named often; and long indents.
    const BinaryList strings{{"\xAF\x12" + bigEndianBytes(60'000, 4) + QByteArray(60'000, '\1'),
                              "\x5F\x12" + bigEndianBytes(100'000, 4) + QByteArray(100'000, 'a')},
                             0,
                             4,
                             1};
    EXPECT_EQ(faultOf(strings.bytes()), expected);
    EXPECT_EQ(faultOf(nested("(", QByteArray("a,").repeated(200'000), ")", 500)), expected);
}

TEST(HostilePropertyList, OffsetsThatNameOneObjectOftenTakeNoMoreThanTheBudget)
{
    // A million objects that are all the same array of a million elements would be four terabytes.
    constexpr int count = 1'000'000;
    const QByteArray file = "bplist00" + ("\xAF\x12" + bigEndianBytes(count, 4)) + QByteArray(count, '\0') +
                            QByteArray(count, '\x08') + QByteArray(6, '\0') + "\1\1" +
                            bigEndianBytes(count, 8) + bigEndianBytes(0, 8) +
                            bigEndianBytes(8 + 6 + count, 8);
    platform::DecodingBudget budget(file.size());
    EXPECT_THROW((void)platform::readPropertyListTable(file, budget), platform::FormatError);
}

TEST(HostilePropertyList, IsMeasuredAtNoLessThanWhatIsWritten)
{
    // What the budget is held against, for what grows most of each kind, at the margin and far from it.
    for (const QByteArray &object :
         {hex("09"), hex("13 8000000000000000"), hex("23 FFEFFFFFFFFFFFFF"), hex("33 41A0000000000000"),
          hex("8F 00000000000000007FFFFFFFFFFFFFFF"), "\x59" + QByteArray(9, '&'),
          "\x59" + QByteArray(9, '\r'), "\x59" + QByteArray(9, '\1'), hex("62 0026 0026"), hex("61 D800"),
          hex("40"), "\x4F\x10\x39" + QByteArray(57, 'a'), "\x4F\x10\x3A" + QByteArray(58, 'a'), hex("A0"),
          hex("D0"), hex("A2 02 02"), hex("D1 02 02")}) {
        for (const int levels : {1, 200}) {
            BinaryList list{{object, hex("09"), "\x59" + QByteArray(9, '&')}, 0, 4, 2};
            if (object[0] == char(0xA2) || object[0] == char(0xD1))
                list.objects[0] = object.first(1) + hex("0002 0002");
            for (int level = 1; level < levels; ++level)
                list.objects.push_back(char(0xA1) + bigEndianBytes(level == 1 ? 0 : quint64(level) + 1, 2));
            list.objects.push_back("\xAF\x11" + bigEndianBytes(20, 2) +
                                   bigEndianBytes(levels == 1 ? 0 : quint64(levels) + 1, 2).repeated(20));
            list.top = list.objects.size() - 1;
            const QByteArray bytes = list.bytes();

            platform::DecodingBudget budget(bytes.size());
            const auto table = platform::readPropertyListTable(bytes, budget);
            const quint64 measured = platform::checkTree(*table, budget);
            platform::XMLPropertyListWriter writer;
            writer.value(platform::readPropertyList(bytes));
            const auto written = quint64(writer.finish().size());
            EXPECT_LE(written, measured) << object.toHex().constData() << " " << levels;
            EXPECT_GE(written, measured / 6) << object.toHex().constData() << " " << levels;
        }
    }
}
