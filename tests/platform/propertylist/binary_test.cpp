#include "dump.h"
#include "platform/formaterror.h"
#include "tests/support/binarylist.h"

#include <gtest/gtest.h>

using platform::DecodingBudget;
using platform::PropertyListTable;

namespace {

std::shared_ptr<const PropertyListTable> tableOf(const QByteArray &bytes)
{
    DecodingBudget budget(bytes.size());
    return platform::readPropertyListTable(bytes, budget);
}

} // namespace

TEST(BinaryPropertyList, ReadsEveryKindOfScalar)
{
    const struct {
        const char *object;
        const char *expected;
    } table[] = {
        {"00", "null"},
        {"0F", "null"},
        {"08", "false"},
        {"09", "true"},
        {"10 FF", "i255"},
        {"11 FFFF", "i65535"},
        {"12 FFFFFFFF", "i4294967295"},
        {"13 FFFFFFFFFFFFFFFF", "i-1"},
        {"14 0000000000000000 7FFFFFFFFFFFFFFF", "i9223372036854775807"},
        {"14 0000000000000000 FFFFFFFFFFFFFFFF", "i9223372036854775807"}, // too large
        {"14 FFFFFFFFFFFFFFFF 8000000000000000", "i-9223372036854775808"},
        {"14 FFFFFFFFFFFFFFFF 7FFFFFFFFFFFFFFF", "i-9223372036854775808"}, // too small
        {"22 3FC00000", "r3ff8000000000000"},
        {"23 3FF8000000000000", "r3ff8000000000000"},
        {"33 C059000000000000", "d-100"},
        {"33 7FF8000000000000", "null"}, // no date
        {"33 42F0000000000000", "null"}, // in the year 8,920,000
        {"40", "b"},
        {"42 00FF", "b00ff"},
        {"4F 10 03 010203", "b010203"},
        {"4F 13 0000000000000001 AA", "baa"},
        {"52 6162", "s6162"},
        {"52 C3A9", "sc3a9"}, // not ASCII
        {"72 C3A9", "sc3a9"},
        {"51 FF", "sefbfbd"},
        {"62 00E9 65E5", "sc3a9e697a5"},
        {"63 FEFF D83D DE00", "sefbbbff09f9880"},
        {"61 D83D", "sefbfbd"},
        {"80 07", "u7"},
        {"83 FFFFFFFF", "u4294967295"},
        {"8F 00000000000000007FFFFFFFFFFFFFFF", "u9223372036854775807"},
        {"A0", "()"},
        {"B0", "()"},
        {"C0", "()"},
        {"D0", "{}"},
    };
    for (const auto &row : table)
        EXPECT_EQ(dumpOf(BinaryList{{hex(row.object)}}.bytes()), row.expected) << row.object;
}

TEST(BinaryPropertyList, ReadsOffsetsAndReferencesOfEverySize)
{
    for (int size = 1; size <= 8; ++size) {
        const BinaryList list{
            {QByteArray("\xD1") + bigEndianBytes(1, size) + bigEndianBytes(2, size), "\x51k",
             QByteArray("\xA2") + bigEndianBytes(1, size) + bigEndianBytes(3, size), hex("10 2A")},
            0,
            size,
            size};
        EXPECT_EQ(dumpOf(list.bytes()), "{s6b=(s6b\ni42\n)\n}") << size;
    }
}

TEST(BinaryPropertyList, RefusesWhatIsMalformed)
{
    const struct {
        const char *object;
        const char *fault;
    } table[] = {
        {"01", "an object of an unknown kind"},
        {"90", "an object of an unknown kind"},
        {"E0", "an object of an unknown kind"},
        {"F0", "an object of an unknown kind"},
        {"15 00", "an integer of an impossible size"},
        {"13 00000000000000", "an object reaches beyond the objects' end"},
        {"21 0000", "a real of an impossible size"},
        {"32 00000000", "a date of an impossible size"},
        {"33 00000000", "an object reaches beyond the objects' end"},
        {"42 00", "an object reaches beyond the objects' end"},
        {"4F", "an object reaches beyond the objects' end"},
        {"4F 50 01", "the count of an object is no integer"},
        {"4F 14 0000000000000000 0000000000000001 00", "the count of an object is no integer"},
        {"4F 13 FFFFFFFFFFFFFFFF 00", "an object reaches beyond the objects' end"},
        {"5F 12 FFFFFFFF 00", "an object reaches beyond the objects' end"},
        {"6F 13 8000000000000001 0041", "an object reaches beyond the objects' end"},
        {"62 0041 00", "an object reaches beyond the objects' end"},
        {"81 00", "an object reaches beyond the objects' end"},
        {"87 8000000000000000", "a UID that is too large"},
        {"88 010000000000000000", "a UID that is too large"},
        {"A1", "an object reaches beyond the objects' end"},
        {"A1 01", "a reference to an object that is not there"},
        {"AF 13 4000000000000000 00", "an object reaches beyond the objects' end"},
        {"D1 00", "an object reaches beyond the objects' end"},
        {"D1 00 01", "a reference to an object that is not there"},
        {"DF 13 8000000000000000 00", "an object reaches beyond the objects' end"},
    };
    for (const auto &row : table)
        EXPECT_EQ(faultOf(BinaryList{{hex(row.object)}}.bytes()), row.fault) << row.object;

    const BinaryList wide{{QByteArray("\xA1") + bigEndianBytes(quint64(1) << 32U, 8)}, 0, 1, 8};
    EXPECT_EQ(faultOf(wide.bytes()), "a reference to an object that is not there");
}

TEST(BinaryPropertyList, RefusesATrailerThatLies)
{
    const QByteArray good = BinaryList{{hex("A1 01"), hex("09")}}.bytes();
    ASSERT_EQ(dumpOf(good), "(true\n)");
    const qsizetype trailer = good.size() - 32;
    const char *const noTrailer = "the file is cut off: what it ends with is no trailer of a property list";
    const struct {
        qsizetype at;
        quint64 value;
        qsizetype size;
        const char *fault;
    } table[] = {
        {6, 0, 1, noTrailer},
        {6, 9, 1, noTrailer},
        {6, 3, 1, noTrailer},
        {6, 1, 1, "the offset of an object lies outside the objects"},
        {7, 0, 1, noTrailer},
        {7, 9, 1, noTrailer},
        {7, 8, 1, "an object reaches beyond the objects' end"},
        {8, 3, 8, noTrailer},
        {8, ~quint64(0), 8, noTrailer},
        {8, quint64(1) << 63U, 8, noTrailer},
        {8, 1, 8, "a reference to an object that is not there"},
        {8, 0, 8, noTrailer},
        {16, 2, 8, noTrailer},
        {16, ~quint64(0), 8, noTrailer},
        {24, 8, 8, noTrailer},
        {24, quint64(trailer) + 1, 8, noTrailer},
        {24, ~quint64(0), 8, noTrailer},
        {24, quint64(trailer) - 3, 8, noTrailer},
    };
    for (const auto &row : table) {
        QByteArray bad = good;
        bad.replace(trailer + row.at, row.size, bigEndianBytes(row.value, int(row.size)));
        EXPECT_EQ(faultOf(bad), row.fault) << row.at << " " << row.value;
    }
    EXPECT_EQ(faultOf("bplist00"), "the file is cut off");
    QByteArray later = good;
    later.replace("bplist00", "bplist15");
    EXPECT_EQ(faultOf(later), "a binary property list of an unknown version");
}

TEST(BinaryPropertyList, ShowsItsNodesWithTheirOffsets)
{
    const auto table = tableOf(BinaryList{
        {hex("D3 01 02 03 04 05 06"), "\x53key", hex("63 006B 0065 0079"), hex("43 6B6579"), hex("80 02"),
         hex("10 07"),
         hex("A3 00 03 04")}}.bytes());
    ASSERT_EQ(table->size(), 7U);
    EXPECT_EQ(table->offset(0), 8);
    EXPECT_EQ(table->offset(1), 15);
    EXPECT_TRUE(table->isString(1, "key"));
    EXPECT_TRUE(table->isString(2, "key"));  // in UTF-16
    EXPECT_FALSE(table->isString(3, "key")); // data
    EXPECT_FALSE(table->isString(1, "ke"));
    EXPECT_FALSE(table->isString(1, "kex"));
    EXPECT_FALSE(table->isString(2, "kex"));
    EXPECT_EQ(table->stringLength(2), 6);
    EXPECT_EQ(table->valueForKey(0, "key"), 4U); // the first of two
    EXPECT_EQ(table->valueForKey(0, "none"), std::nullopt);
    EXPECT_EQ(table->valueForKey(6, "key"), std::nullopt);
    EXPECT_EQ(table->value(0, 2), 6U);
    EXPECT_EQ(table->element(6, 0), 0U); // a container may hold its owner here
    EXPECT_EQ(table->integer(4), 2);

    // What stands after the last element or pair belongs to the next container.
    const QByteArray neighbours = BinaryList{
        {hex("A2 01 03"), hex("A1 02"), hex("09"), hex("D1 04 05"), hex("51 61"), hex("51 62"),
         hex("A1 02")}}.bytes();
    const platform::PropertyList list = platform::readPropertyList(neighbours);
    EXPECT_TRUE(list.at(0).at(1).isNull());
    EXPECT_TRUE(list.at(1)[u"b"].isNull());
    EXPECT_EQ(tableOf(neighbours)->valueForKey(3, "b"), std::nullopt);
}
