#include "dump.h"

#include <QString>
#include <QStringEncoder>

#include <gtest/gtest.h>

TEST(TextPropertyList, ReadsEveryConstruct)
{
    const struct {
        const char *text;
        const char *expected;
    } table[] = {
        {"word", "s776f7264"},
        {"  a_1$/b:c.d-e ", "s615f31242f623a632e642d65"},
        {"http://x", "s687474703a2f2f78"},
        {"\"\"", "s"},
        {"\"a 'b' \xC3\xA9\"", "s612027622720c3a9"},
        {"'a \"b\"'", "s6120226222"},
        {R"("\a\b\f\n\r\t\v\\\"\'\q")", "s07080c0a0d090b5c222771"},
        {"\"a\\\nb\"", "s610a62"},
        {"\"\\\xC3\xA9\"", "sc3a9"},
        {R"("\101\7\0618\341\400")", "s410731 38 c386 2030"}, // NEXTSTEP above 0177; one byte at most
        {R"("\U00e9\Ud83d\Ude00\U41z\Ud800")", "sc3a9 f09f9880 417a efbfbd"},
        {"( )", "()"},
        {"(a, (b), 'c',)", "(s61\n(s62\n)\ns63\n)"},
        {"{ }", "{}"},
        {"{ a = b; \"c d\" = (e); f = { g = h; }; }", "{s61=s62\ns632064=(s65\n)\ns66={s67=s68\n}\n}"},
        {"{ a = b; a = c; d; }", "{s61=s62\ns61=s63\ns64=s64\n}"},
        {"<>", "b"},
        {"< 00fF\n 0 1>", "b00ff01"},
        {"/* one */ ( // two\n a, /* ** */ b //\r)\n// three", "(s61\ns62\n)"},
        {"// comment\n\"key\" = \"value\";\n/* */ other = 'one';\nalone;\n",
         "{s6b6579=s76616c7565\ns6f74686572=s6f6e65\ns616c6f6e65=s616c6f6e65\n}"},
        {"(<*I5>, <*I-0x10>, <*R1.5>, <*BY>, <*BN>, <*D2001-01-01 01:00:01 +0100>, <*D2000-12-31 22:30:00 "
         "-0130>)",
         "(i5\ni-16\nr3ff8000000000000\ntrue\nfalse\nd1\nd0\n)"},
    };
    for (const auto &row : table)
        EXPECT_EQ(dumpOf(row.text), QByteArray(row.expected).replace(' ', "").toStdString()) << row.text;
}

TEST(TextPropertyList, ReadsUtf16BehindAMark)
{
    const QString text = QStringLiteral("\uFEFF{ key = \"Gr\u00FC\u00DFe \U0001F600\"; }");
    for (const auto encoding : {QStringConverter::Utf8, QStringConverter::Utf16BE, QStringConverter::Utf16LE})
        EXPECT_EQ(dumpOf(QStringEncoder(encoding)(text)), "{s6b6579=s4772c3bcc39f6520f09f9880\n}");
}

TEST(TextPropertyList, RefusesWhatIsMalformed)
{
    const struct {
        const char *text;
        const char *fault;
    } table[] = {
        {"", "offset 0: no value"},
        {" \n\t", "offset 3: no value"},
        {"// only", "offset 7: no value"},
        {"/* never ends", "offset 0: a comment without its end"},
        {"(a", "offset 2: the text ends in the middle"},
        {"(a b)", "offset 3: an unexpected character"},
        {"(,)", "offset 1: an unexpected character"},
        {"(a}", "offset 2: an unexpected character"},
        {"{a}", "offset 2: an unexpected character"},
        {"{a = }", "offset 5: an unexpected character"},
        {"{a = b}", "offset 6: an unexpected character"},
        {"{a = b;", "offset 7: the text ends in the middle"},
        {"{(a) = b;}", "offset 1: an unexpected character"},
        {"a = b", "offset 5: the text ends in the middle"},
        {"a = b; }", "offset 7: an unexpected character"},
        {"a b", "offset 2: more text behind the value"},
        {"\"a", "offset 2: a string without its closing quote"},
        {"\"a\\", "offset 3: a string without its closing quote"},
        {"\"\\Ux\"", "offset 3: an escape \\U without digits"},
        {"<0>", "offset 3: half a byte of data"},
        {"<0g>", "offset 2: no hexadecimal digit"},
        {"<00", "offset 3: the text ends in the middle"},
        {"<*>", "offset 0: a typed value that is none"},
        {"<*I>", "offset 0: a typed value that is none"},
        {"<*I5", "offset 0: a typed value that is none"},
        {"<*BYN>", "offset 0: a typed value that is none"},
        {"<*D2005-02-30 00:00:00 +0000>", "offset 0: a typed value that is none"},
        {"=", "offset 0: an unexpected character"},
    };
    for (const auto &row : table)
        EXPECT_EQ(dumpOf(row.text), row.fault) << row.text;
}
