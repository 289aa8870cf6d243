#include "tests/archive/decoding.h"
#include "tests/archive/typedstreamwriter.h"

#include <gmock/gmock.h>

using platform::NSUnarchiver;

namespace {

/// Each value of the stream as its type code and what it is.
std::string readValues(NSUnarchiver &coder)
{
    std::string values;
    for (char type = coder.nextType(); type != '\0'; type = coder.nextType()) {
        values += values.empty() ? "" : " ";
        values += type;
        if (type == '[' || type == '+')
            values += coder.decodeBytes().toByteArray().toHex();
        else if (type == '*')
            values += coder.decodeCString().toByteArray();
        else if (type == 'f' || type == 'd')
            values += std::to_string(coder.decodeReal());
        else if (QByteArrayView("@#:%").contains(type))
            coder.skipValue();
        else
            values += std::to_string(coder.decodeInteger());
    }
    return values;
}

/// The values of a group of @p encoding that @p bytes follow.
std::string valuesOf(const QByteArray &encoding, const QByteArray &bytes)
{
    TypedStreamWriter stream;
    stream.types(encoding);
    stream.raw(bytes);
    try {
        return readValues(*NSUnarchiver::initForReadingWithData(stream.data(), allClasses()));
    } catch (const platform::FormatError &error) {
        return error.what();
    }
}

QByteArray nested(const QByteArray &open, const QByteArray &inside, const QByteArray &close, int depth)
{
    return open.repeated(depth) + inside + close.repeated(depth);
}

} // namespace

TEST(TypeEncoding, SaysWhichValuesFollow)
{
    const struct {
        QByteArray encoding;
        QByteArray bytes;
        const char *values;
    } cases[] = {
        {"", "", ""},
        {"i", "\x07", "i7"},
        {"iCf", "\x07\x92\x05", "i7 C146 f5.000000"},
        {"@#:%", "\x85\x85\x85\x85", "@ # : %"},
        {"+*", "\x02hi\x85", "+6869 *"},
        {"{_NSPoint=ff}", "\x01\x02", "f1.000000 f2.000000"},
        {"{?}i", "\x01", "i1"},
        {"{?=}i", "\x01", "i1"},
        {"{point=\"x\"f\"a } name\"{inner=ic}}", "\x01\x02\x03", "f1.000000 i2 c3"},
        {"[3c]", "\x81\x82\x83", "[818283"},
        {"[0003C]", "abc", "[616263"},
        {"[c]i", "\x01", "[ i1"},
        {"[0c]i", "\x01", "[ i1"},
        {"[3i]", "\x01\x02\x03", "i1 i2 i3"},
        {"[2[2i]]s", "\x01\x02\x03\x04\x05", "i1 i2 i3 i4 s5"},
        {"[2{?=[2s][2c]}]", "\x01\x02zz\x03\x04yy", "s1 s2 [7a7a s3 s4 [7979"},
        {"[2[2[2{?=i}]]]", "\x01\x02\x03\x04\x05\x06\x07\x08", "i1 i2 i3 i4 i5 i6 i7 i8"},
        {"[2rc]", "ab", "c97 c98"},
        {"rnNoORVAi", "\x01", "i1"},
        {"!i!", "\x01", "i1"},
        // Loops over nothing
        {"[0i]s", "\x01", "s1"},
        {"[3]s", "\x01", "s1"},
        {"[3!]s", "\x01", "s1"},
        {"[0[4i]]s", "\x01", "s1"},
        {"[1000000000[0i]]s", "\x01", "s1"},
        {"[1000000[1000000[0c]]]s", "\x01", "s1"},
        {"[2000000000{?={?=}[9{?=[0@]}]}]s", "\x01", "s1"},
        {"[2{?=[0c]i}]", "\x01\x02", "[ i1 [ i2"},
        {QByteArray("[0i]").repeated(1000) + 's', "\x01", "s1"},
        {nested("[1", "i", "]", 30), "\x01", "i1"},
        {nested("{?=", "i", "}", 30), "\x01", "i1"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(valuesOf(c.encoding, c.bytes), c.values) << c.encoding.left(100).constData();
}

TEST(TypeEncoding, RefusesWhatCannotBeRead)
{
    const char *unknown = "an unknown type code";
    const char *unfinished = "an unfinished type encoding";
    const char *unfinishedArray = "an unfinished array in a type encoding";
    const char *tooDeep = "type encodings nested too deep";
    const char *tooLarge = "an array larger than any stream";
    const char *tooLong = "a length that reaches past the end of the stream";
    const char *tooEarly = "the stream ends too early";
    const struct {
        QByteArray encoding;
        const char *error;
    } cases[] = {
        {"x", unknown},
        {"^i", unknown},
        {"]", unknown},
        {"}", unknown},
        {"(i)", unknown},
        {"4", unknown},
        {QByteArray("\0", 1), unknown},
        {"\xFF", unknown},
        {"[4x]", unknown},
        {"[-1c]", unknown},
        {"[", unfinished},
        {"[4", unfinished},
        {"[4i", unfinished},
        {"[4c", unfinished},
        {"{", unfinished},
        {"{name", unfinished},
        {"{name=i", unfinished},
        {"{name=\"field", unfinished},
        {"[4cc]", unfinishedArray},
        {"[2147483648c]", tooLarge},
        {"[4294967295i]", tooLarge},
        {"[99999999999999999999999999999999c]", tooLarge},
        {"[2147483647c]", tooLong},
        {"[2147483647i]", tooEarly},
        {"[2147483647[2147483647[2147483647i]]]", tooEarly},
        {QByteArray("[0c]").repeated(1000), "a type encoding of too many empty arrays"},
        {nested("[1", "i", "]", 100), tooDeep},
        {nested("[1", "i", "]", 100'000), tooDeep},
        {nested("{?=", "i", "}", 100'000), tooDeep},
        {nested("[1{?=", "i", "}]", 100'000), tooDeep},
        {QByteArray("[1").repeated(100'000), tooDeep},
        {QByteArray("{").repeated(100'000), unfinished},
    };
    for (const auto &c : cases)
        EXPECT_EQ(valuesOf(c.encoding, {}), c.error) << c.encoding.left(100).constData();
}
