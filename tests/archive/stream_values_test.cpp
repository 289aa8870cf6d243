#include "tests/archive/decoding.h"
#include "tests/archive/notation.h"

#include "platform/archive/nsunarchiver.h"

#include <gtest/gtest.h>

// Header, groups, type encodings and plain values of a typed stream.

using platform::NSUnarchiver;

namespace {

/// Each value of the stream's outermost groups as its type code and what it is, or the error.
std::string valuesOf(const QByteArray &notation, ByteOrder order = ByteOrder::Little)
{
    std::string values;
    try {
        const auto coder = NSUnarchiver::initForReadingWithData(typedStream(notation, order), allClasses());
        for (char type = coder->nextType(); type != '\0'; type = coder->nextType()) {
            values += values.empty() ? "" : " ";
            values += type;
            if (type == '[' || type == '+')
                values += coder->decodeBytes().toByteArray().toHex();
            else if (type == '*')
                values += coder->decodeCString().toByteArray();
            else if (type == 'f' || type == 'd')
                values += QByteArray::number(coder->decodeReal());
            else if (QByteArrayView("@#:%").contains(type))
                coder->skipValue();
            else
                values += std::to_string(coder->decodeInteger());
        }
    } catch (const platform::FormatError &error) {
        return error.what();
    }
    return values;
}

QByteArray nested(const QByteArray &open, const QByteArray &inside, const QByteArray &close, int depth)
{
    return ':' + open.repeated(depth) + inside + close.repeated(depth);
}

} // namespace

TEST(StreamValues, OfEveryFormAndType)
{
    const char *const wrongLength = "the file is cut off, or a length in it is wrong";
    const struct {
        QByteArray notation;
        std::string values;
    } cases[] = {
        // Integers of one byte: -128 to -111 are tags in all types but the char types.
        {":iiiii 0 127 r-1 r-110 -1", "i0 i127 i-1 i-110 i-1"},
        {":IISL 127 r200 r255 r254", "I127 I200 S255 L254"},
        {":slqQ r-110 r-2 r-2 r254", "s-110 l-2 q-2 Q254"},
        {":ccCCB r-127 r-122 r129 r255 r1", "c-127 c-122 C129 C255 B1"},
        // Of two, four and eight
        {":iii 5h -32768h 32767h", "i5 i-32768 i32767"},
        {":ISLQ 65535h 65535h 40000h 40000h", "I65535 S65535 L40000 Q40000"},
        {":sq -1h -25536h", "s-1 q-25536"},
        {":iiii 305419896w -1w 2147483647w -2147483648w", "i305419896 i-1 i2147483647 i-2147483648"},
        {":ILQqs 4294967295w 4294967295w 4294967295w -1w 5w", "I4294967295 L4294967295 Q4294967295 q-1 s5"},
        {":qQil -9000000000q 9000000000q 9000000000q -1q", "q-9000000000 Q9000000000 i9000000000 l-1"},
        {":QQ 9223372036854775807q 18446744073709551615q", "Q9223372036854775807 Q9223372036854775807"},
        // Reals, integral or not
        {":ffff f0.5 f7 7 -40000w", "f0.5 f7 f7 f-40000"},
        {":ddddd d0.125 d-3 2147483647w d1e10 -9000000000q", "d0.125 d-3 d2.14748e+09 d1e+10 d-9e+09"},
        {":dfd dinf f-inf dnan", "dinf f-inf dnan"},
        // Strings: lengths are unsigned
        {":++ \"\" \"hi\"", "+ +6869"},
        {":++++ 3 x616263 3h x616263 3w x616263 3q x616263", "+616263 +616263 +616263 +616263"},
        {":+ r200 x" + QByteArray("78").repeated(200), '+' + QByteArray("78").repeated(200).toStdString()},
        {":+ 40000h x" + QByteArray("78").repeated(40000),
         '+' + QByteArray("78").repeated(40000).toStdString()},
        {":+ 4 x616263", wrongLength},
        {":+ r-1 x616263", wrongLength},
        {":+ -1w x616263", wrongLength},
        {":+ 2147483647w x616263", wrongLength},
        {":+ -1q x616263", wrongLength},
        {":+ 4294967299q x616263", wrongLength}, // 3 in its lower half
        {":+ ~", "+"},
        // C strings share the numbers of objects and the texts of strings
        {":* *\"first\" :*** #0 *\"first\" ~ :* x84 ~ :[2*] #1 #2", "*first *first *first * * *first *"},
        {":@#:% ~ ~ ~ ~", "@ # : %"},
        // What an encoding flattens
        {":{_NSPoint=ff} 1 2", "f1 f2"},
        {":{?}i 1", "i1"},
        {":{?=}i 1", "i1"},
        {":{point=\"x\"f\"a}name\"{inner=ic}} 1 2 r3", "f1 i2 c3"},
        {":[3c] x818283", "[818283"},
        {":[0003C] x616263", "[616263"},
        {":[c]i 1", "[ i1"},
        {":[0c]i 1", "[ i1"},
        {":[3i] 1 2 3", "i1 i2 i3"},
        {":[2[2i]]s 1 2 3 4 5", "i1 i2 i3 i4 s5"},
        {":[2{?=[2s][2c]}] 1 2 x7a7a 3 4 x7979", "s1 s2 [7a7a s3 s4 [7979"},
        {":[2[2[2{?=i}]]] 1 2 3 4 5 6 7 8", "i1 i2 i3 i4 i5 i6 i7 i8"},
        {":[2rc] x6162", "c97 c98"},
        {":rnNoORVAi!i! 1 2", "i1 i2"},
        // Loops over nothing
        {":[0i]s 1", "s1"},
        {":[3]s 1", "s1"},
        {":[3!]s 1", "s1"},
        {":[1000000000[0i]]s 1", "s1"},
        {":[1000000[1000000[0c]]]s 1", "s1"},
        {":[2000000000{?={?=}[9{?=[0@]}]}]s 1", "s1"},
        {":[2{?=[0c]i}] 1 2", "[ i1 [ i2"},
        {':' + QByteArray("[0c]").repeated(16) + "i 1", "[ [ [ [ [ [ [ [ [ [ [ [ [ [ [ [ i1"},
        {':' + QByteArray("[0i]").repeated(1000) + "s 1", "s1"},
        {nested("[1", "i", "]", 32) + " 1", "i1"},
        {nested("{?=", "i", "}", 32) + " 1", "i1"},
    };
    for (const ByteOrder order : {ByteOrder::Little, ByteOrder::Big}) {
        for (const auto &c : cases)
            EXPECT_EQ(valuesOf(c.notation, order), c.values) << c.notation.left(100).constData();
    }
    for (int tag = -128; tag <= -111; ++tag) {
        if (tag != -127 && tag != -126 && tag != -121) {
            EXPECT_EQ(valuesOf(":i r" + QByteArray::number(tag)), "a tag where an integer should stand");
        }
    }
}

TEST(StreamValues, EncodingsThatCannotBeRead)
{
    const char *const unknown = "an unknown type code";
    const char *const unfinished = "an unfinished type encoding";
    const char *const tooDeep = "type encodings nested too deep";
    const char *const tooLarge = "an array larger than any stream";
    const struct {
        QByteArray notation;
        const char *error;
    } cases[] = {
        {":x", unknown},
        {":^i", unknown},
        {":]", unknown},
        {":(i)", unknown},
        {":4", unknown},
        {QByteArray(":\0", 2), unknown},
        {":[4x]", unknown},
        {":[-1c]", unknown},
        {":[", unfinished},
        {":[4i", unfinished},
        {":[4c", unfinished},
        {":{name", unfinished},
        {":{name=i", unfinished},
        {":{name=\"field", unfinished},
        {":[4cc]", "an unfinished array in a type encoding"},
        {":[2147483648c]", tooLarge},
        {":[99999999999999999999999999999999c]", tooLarge},
        {":[2147483647c]", "the file is cut off, or a length in it is wrong"},
        {":[2147483647[2147483647[2147483647i]]]", "the file is cut off"},
        {':' + QByteArray("[0c]").repeated(17), "a type encoding of too many empty arrays"},
        {nested("[1", "i", "]", 33), tooDeep},
        {nested("[1{?=", "i", "}]", 100'000), tooDeep},
        {':' + QByteArray("[1").repeated(100'000), tooDeep},
    };
    for (const auto &c : cases)
        EXPECT_EQ(valuesOf(c.notation), c.error) << c.notation.left(100).constData();
}

TEST(StreamValues, HeaderIsChecked)
{
    const QByteArray good = typedStream(":@ ~");
    EXPECT_EQ(decodeStream(good).text(), "nil");
    const struct {
        qsizetype at;
        char byte;
        const char *error;
        qint64 offset;
    } cases[] = {
        {0, 3, "not a typed stream: its version is not 4", 0},
        {1, 10, "not a typed stream: no signature", 1},
        {12, 'D', "not a typed stream: no signature", 2},
        {13, char(0x84), "a tag where an integer should stand", 13},
        {16, char(0x85), "no type encoding", 17},
        {17, 5, "the file is cut off, or a length in it is wrong", 18},
    };
    for (const auto &c : cases) {
        QByteArray changed = good;
        changed[c.at] = c.byte;
        const Decoding decoded = decodeStream(changed);
        EXPECT_EQ(decoded.error, c.error);
        EXPECT_EQ(decoded.offset, c.offset);
    }
    for (qsizetype length = 0; length < good.size(); ++length)
        EXPECT_EQ(decodeStream(good.first(length)).error.substr(0, 19), "the file is cut off") << length;
}
