#include "tests/archive/decoding.h"
#include "tests/archive/typedstreamwriter.h"

#include <gtest/gtest.h>

#include <functional>
#include <limits>

using platform::NSUnarchiver;
using ByteOrder = TypedStreamWriter::ByteOrder;

namespace {

constexpr ByteOrder bothOrders[] = {ByteOrder::Little, ByteOrder::Big};

/// What @p read gives for a group of @p encoding whose values @p write has written, or the error.
template <class Value>
std::string valueIn(ByteOrder order, const char *encoding,
                    const std::function<void(TypedStreamWriter &)> &write, Value (NSUnarchiver::*read)())
{
    TypedStreamWriter stream(order);
    stream.types(encoding);
    write(stream);
    try {
        const auto coder = NSUnarchiver::initForReadingWithData(stream.data(), allClasses());
        const Value value = (coder.get()->*read)();
        EXPECT_EQ(coder->nextType(), '\0') << "something was left over";
        if constexpr (std::is_same_v<Value, QByteArrayView>)
            return value.toByteArray().toStdString();
        else
            return std::to_string(value);
    } catch (const platform::FormatError &error) {
        return error.what();
    }
}

} // namespace

TEST(StreamValues, IntegersOfEveryFormAndType)
{
    const struct {
        const char *type;
        int width;
        qint64 written;
        const char *value;
    } cases[] = {
        // One byte, whose values from -128 to -111 are tags in all types but the char types
        {"i", 1, 0, "0"},
        {"i", 1, 127, "127"},
        {"i", 1, -1, "-1"},
        {"i", 1, -110, "-110"},
        {"I", 1, 127, "127"},
        {"I", 1, 200, "200"},
        {"s", 1, -110, "-110"},
        {"S", 1, 255, "255"},
        {"l", 1, -2, "-2"},
        {"L", 1, 254, "254"},
        {"q", 1, -2, "-2"},
        {"Q", 1, 254, "254"},
        {"c", 1, -127, "-127"},
        {"c", 1, -122, "-122"},
        {"C", 1, 129, "129"},
        {"C", 1, 255, "255"},
        {"B", 1, 1, "1"},
        // Two and four
        {"i", 2, 5, "5"},
        {"i", 2, -32768, "-32768"},
        {"i", 2, 32767, "32767"},
        {"I", 2, 65535, "65535"},
        {"S", 2, 65535, "65535"},
        {"s", 2, 65535, "-1"},
        {"L", 2, 40000, "40000"},
        {"Q", 2, 40000, "40000"},
        {"q", 2, 40000, "-25536"},
        {"i", 4, 0x12345678, "305419896"},
        {"i", 4, -1, "-1"},
        {"i", 4, 2147483647, "2147483647"},
        {"i", 4, -2147483648, "-2147483648"},
        {"I", 4, 4294967295, "4294967295"},
        {"L", 4, 4294967295, "4294967295"},
        {"Q", 4, 4294967295, "4294967295"},
        {"q", 4, 4294967295, "-1"},
        {"s", 4, 5, "5"},
    };
    for (const ByteOrder order : bothOrders) {
        for (const auto &c : cases) {
            const auto write = [&](TypedStreamWriter &stream) { stream.integer(c.written, c.width); };
            EXPECT_EQ(valueIn(order, c.type, write, &NSUnarchiver::decodeInteger), c.value)
                << c.type << " in " << c.width << " bytes";
        }
    }
    for (int tag = -128; tag <= -111; ++tag) {
        if (tag == -127 || tag == -126)
            continue;
        const auto write = [tag](TypedStreamWriter &stream) { stream.byte(tag); };
        EXPECT_EQ(valueIn(ByteOrder::Little, "i", write, &NSUnarchiver::decodeInteger),
                  "a tag where an integer should stand");
    }
}

TEST(StreamValues, RealsIntegralOrNot)
{
    const struct {
        const char *type;
        double written;
        bool tagged;
        const char *value;
    } cases[] = {
        {"f", 0.5, true, "0.500000"},
        {"f", 7, true, "7.000000"},
        {"f", 7, false, "7.000000"},
        {"f", -40000, false, "-40000.000000"},
        {"d", 0.125, true, "0.125000"},
        {"d", -3, true, "-3.000000"},
        {"d", 2147483647, false, "2147483647.000000"},
        {"d", 1e10, true, "10000000000.000000"},
        {"d", std::numeric_limits<double>::infinity(), true, "inf"},
        {"f", -std::numeric_limits<double>::infinity(), true, "-inf"},
        {"d", std::numeric_limits<double>::quiet_NaN(), true, "nan"},
        {"i", 12, false, "12.000000"},
        {"C", 12, false, "12.000000"},
    };
    for (const ByteOrder order : bothOrders) {
        for (const auto &c : cases) {
            const auto write = [&](TypedStreamWriter &stream) {
                const int width = *c.type == 'f' ? 4 : 8;
                c.tagged ? stream.taggedReal(c.written, width) : stream.integer(qint64(c.written));
            };
            EXPECT_EQ(valueIn(order, c.type, write, &NSUnarchiver::decodeReal), c.value) << c.type;
        }
    }
}

TEST(StreamValues, StringLengths)
{
    const char *const tooLong = "a length that reaches past the end of the stream";
    const struct {
        qint64 length;
        int width;
        qsizetype bytes;
        bool readable;
    } cases[] = {
        {0, 1, 0, true},     {3, 1, 3, true},           {3, 4, 3, true},
        {127, 1, 127, true}, {200, 1, 200, true}, // lengths are unsigned
        {200, 2, 200, true}, {40000, 2, 40000, true},   {70000, 4, 70000, true},
        {4, 1, 3, false},    {-1, 1, 3, false},         {-1, 2, 3, false},
        {-1, 4, 3, false},   {2147483647, 4, 3, false}, {-2147483648, 4, 3, false},
    };
    for (const ByteOrder order : bothOrders) {
        for (const auto &c : cases) {
            const QByteArray bytes(c.bytes, 'x');
            const auto write = [&](TypedStreamWriter &stream) {
                stream.integer(c.length, c.width);
                stream.raw(bytes);
            };
            EXPECT_EQ(valueIn(order, "+", write, &NSUnarchiver::decodeBytes),
                      c.readable ? bytes.toStdString() : tooLong)
                << c.length;
        }
    }
}

TEST(StreamValues, CStringsNewSharedAndNil)
{
    TypedStreamWriter stream;
    stream.types("*");
    stream.cString("first");
    stream.types("***");
    stream.reference(0);     // the C string
    stream.cString("first"); // another C string of the same shared string
    stream.nil();
    stream.types("*");
    stream.newTag(); // a C string whose text is nil
    stream.nil();
    stream.types("[2*]");
    stream.reference(1);
    stream.reference(2);
    const auto coder = NSUnarchiver::initForReadingWithData(stream.data(), allClasses());
    for (const char *text : {"first", "first", "first", "", "", "first", ""})
        EXPECT_EQ(coder->decodeCString(), QByteArrayView(text));
    EXPECT_EQ(coder->nextType(), '\0');
}

TEST(StreamValues, HeaderIsChecked)
{
    const QByteArray good("\x04\x0bstreamtyped\x81\xe8\x03\x84\x01@\x85", 20);
    EXPECT_EQ(decodeStream(good).text(), "\"(null)\"");
    EXPECT_EQ(decodeStream(good.first(16)).text(), "error: offset 16: an object is missing");
    for (qsizetype length = 0; length < good.size(); ++length)
        EXPECT_NE(decodeStream(good.first(length)).error, "") << length;
    const struct {
        qsizetype at;
        char byte;
        const char *error;
    } cases[] = {
        {0, 3, "offset 0: not a typed stream: its version is not 4"},
        {1, 10, "offset 1: not a typed stream: no signature"},
        {1, char(0x84), "offset 1: not a typed stream: no signature"},
        {12, 'D', "offset 2: not a typed stream: no signature"},
        {13, char(0x84), "offset 13: a tag where an integer should stand"},
        {16, char(0x85), "offset 17: no type encoding"},
        {17, 5, "offset 18: a length that reaches past the end of the stream"},
    };
    for (const auto &c : cases) {
        QByteArray changed = good;
        changed[c.at] = c.byte;
        EXPECT_EQ(decodeStream(changed).error, c.error);
    }
}
