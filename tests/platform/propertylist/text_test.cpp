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
        {"", "no value (offset 0)"},
        {" \n\t", "no value (offset 3)"},
        {"// only", "no value (offset 7)"},
        {"/* never ends", "a comment without its end (offset 0)"},
        {"(a", "the text ends in the middle (offset 2)"},
        {"(a b)", "an unexpected character (offset 3)"},
        {"(,)", "an unexpected character (offset 1)"},
        {"(a}", "an unexpected character (offset 2)"},
        {"{a}", "an unexpected character (offset 2)"},
        {"{a = }", "an unexpected character (offset 5)"},
        {"{a = b}", "an unexpected character (offset 6)"},
        {"{a = b;", "the text ends in the middle (offset 7)"},
        {"{(a) = b;}", "an unexpected character (offset 1)"},
        {"a = b", "the text ends in the middle (offset 5)"},
        {"a = b; }", "an unexpected character (offset 7)"},
        {"a b", "more text behind the value (offset 2)"},
        {"\"a", "a string without its closing quote (offset 2)"},
        {"\"a\\", "a string without its closing quote (offset 3)"},
        {"\"\\Ux\"", "an escape \\U without digits (offset 3)"},
        {"<0>", "half a byte of data (offset 3)"},
        {"<0g>", "no hexadecimal digit (offset 2)"},
        {"<00", "the text ends in the middle (offset 3)"},
        {"<*>", "a typed value that is none (offset 0)"},
        {"<*I>", "a typed value that is none (offset 0)"},
        {"<*I5", "a typed value that is none (offset 0)"},
        {"<*BYN>", "a typed value that is none (offset 0)"},
        {"<*D2005-02-30 00:00:00 +0000>", "a typed value that is none (offset 0)"},
        {"=", "an unexpected character (offset 0)"},
    };
    for (const auto &row : table)
        EXPECT_EQ(dumpOf(row.text), row.fault) << row.text;
}
