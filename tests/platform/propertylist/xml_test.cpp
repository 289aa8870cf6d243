#include "dump.h"

#include <QString>
#include <QStringEncoder>

#include <gtest/gtest.h>

namespace {

QByteArray plist(const QByteArray &value)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n" + value + "\n</plist>\n";
}

} // namespace

TEST(XmlPropertyList, ReadsEveryElement)
{
    const struct {
        const char *element;
        const char *expected;
    } table[] = {
        {"<integer>+42</integer>", "i42"},
        {"<integer> -0x1F\n</integer>", "i-31"},
        {"<integer>9223372036854775808</integer>", "i9223372036854775807"},
        {"<integer>99999999999999999999999</integer>", "i9223372036854775807"},
        {"<integer>-9223372036854775808</integer>", "i-9223372036854775808"},
        {"<integer>-9223372036854775809</integer>", "i-9223372036854775808"},
        {"<real> 1.5 </real>", "r3ff8000000000000"},
        {"<real>+15e-1</real>", "r3ff8000000000000"},
        {"<real>nan</real>", "rnan"},
        {"<real>-infinity</real>", "rfff0000000000000"},
        {"<real>+Inf</real>", "r7ff0000000000000"},
        {"<true/>", "true"},
        {"<false></false>", "false"},
        {"<date>2001-01-01T00:00:01Z</date>", "d1"},
        {"<date> 2004-02-29T00:00:00Z\n</date>", "d99705600"},
        {"<date>0000-12-31T23:59:59Z</date>", "null"},
        {"<data>\n\tAAEC\n\t/w==\n</data>", "b000102ff"},
        {"<data/>", "b"},
        {"<string/>", "s"},
        {"<string> a </string>", "s206120"},
        {"<string>&#xFEFF;a</string>", "sefbbbf61"},
        {"<string>\xEF\xBB\xBF"
         "a</string>",
         "sefbbbf61"},
        {"<string>a&#13;\r\nb</string>", "s610d0a62"},
        {"<string>&lt;<![CDATA[<b>]]><!-- no --><?no?>&amp;&#x1F600;</string>", "s3c3c623e26f09f9880"},
        {"<dict><key>CF$UID</key><integer>1</integer></dict>", "{s434624554944=i1\n}"},
        {"<dict><key>a</key><true/><key/><array/><key>a</key><false/></dict>",
         "{s61=true\ns=()\ns61=false\n}"},
        {"<!-- one --><array><!-- two --><dict/> <array><true/></array></array>", "({}\n(true\n)\n)"},
    };
    for (const auto &row : table)
        EXPECT_EQ(dumpOf(plist(row.element)), row.expected) << row.element;
}

TEST(XmlPropertyList, ReadsEveryStartAndEncoding)
{
    const QString text =
        QStringLiteral("<plist version=\"1.0\"><string>Gr\u00FC\u00DFe \U0001F600</string></plist>");
    const QByteArray utf8 = text.toUtf8();
    const char *expected = "s4772c3bcc39f6520f09f9880";
    const QByteArray documentType = "<!DOCTYPE plist SYSTEM \"file://localhost/PropertyList[1].dtd\">\n";
    for (const QByteArray &start :
         {QByteArray(), QByteArray(" \n"), QByteArray("\xEF\xBB\xBF"), QByteArray("<?xml version='1.0'?>"),
          QByteArray("\n<?xml version='1.0' encoding = 'utf-8' standalone='yes'?>"), documentType,
          QByteArray("<!-- > -->"), "<?xml version='1.0' encoding='UTF-8'?>" + documentType})
        EXPECT_EQ(dumpOf(start + utf8 + "\n\n<!-- end -->"), expected) << start.constData();

    for (const auto encoding : {QStringConverter::Utf16BE, QStringConverter::Utf16LE}) {
        for (const char16_t *start :
             {u"<?xml version='1.0' encoding='UTF-16'?>\n", u"\uFEFF<?xml version='1.0' encoding='UTF-16'?>",
              u" \n<?xml version='1.0'?>", u"\uFEFF \n", u""})
            EXPECT_EQ(dumpOf(QStringEncoder(encoding)(QString(QString::fromUtf16(start) + text))), expected);
    }
}

TEST(XmlPropertyList, RefusesWhatIsMalformed)
{
    const QByteArray longTag = "<plist a='" + QByteArray(1024, 'x') + "'><true/></plist>";
    const struct {
        QByteArray document;
        const char *fault;
    } table[] = {
        {plist(""), "no value"},
        {plist("<true/><true/>"), "more than one value"},
        {plist("text"), "text between values"},
        {plist("<array>text</array>"), "text between values"},
        {plist("<url/>"), "an unknown element"},
        {plist("<plist><true/></plist>"), "an unknown element"},
        {plist("<key>a</key>"), "a key where a value should be"},
        {plist("<dict><true/></dict>"), "a value without a key"},
        {plist("<dict><key>a</key></dict>"), "a key without a value"},
        {plist("<dict><key>a</key><key>b</key></dict>"), "a key where a value should be"},
        {plist("<string><b/></string>"), "an element inside a value that holds text"},
        {plist("<dict><key><string/></key></dict>"), "an element inside a value that holds text"},
        {plist("<integer/>"), "an integer that is none"},
        {plist("<integer>1.5</integer>"), "an integer that is none"},
        {plist("<integer>--1</integer>"), "an integer that is none"},
        {plist("<integer>0x</integer>"), "an integer that is none"},
        {plist("<integer>1 2</integer>"), "an integer that is none"},
        {plist("<real>one</real>"), "a real that is none"},
        {plist("<real/>"), "a real that is none"},
        {plist("<real>+-1</real>"), "a real that is none"},
        {plist("<date>yesterday</date>"), "a date that is none"},
        {plist("<date>2005-02-29T00:00:00Z</date>"), "a date that is none"},
        {plist("<date>2005-02-28T24:00:00Z</date>"), "a date that is none"},
        {plist("<data>!</data>"), "data that is no Base64"},
        {plist("<data>AA\xC3\xA9=</data>"), "data that is no Base64"},
        {plist("<string>&custom;</string>"), "Entity 'custom' not declared."},
        {"<?xml version='1.0'?><dict/>", "the root element is no plist"},
        {"<?xml version='1.0' encoding='UTF-7'?><plist><true/></plist>",
         "an encoding other than UTF-8 and UTF-16"},
        {"<!DOCTYPE plist [<!ENTITY a 'b'>]><plist><string>&a;</string></plist>",
         "a document type with declarations of its own"},
        {"<!DOCTYPE plist [<!ATTLIST plist a CDATA 'b'>]><plist><true/></plist>",
         "a document type with declarations of its own"},
        {longTag, "a tag longer than 1024 bytes"},
        {QByteArray("<plist><string>a\0b</string></plist>", 35), "a NUL in the text"},
        {QByteArray("\xFE\xFF\0<", 5), "half a UTF-16 unit at the end"},
    };
    for (const auto &row : table)
        EXPECT_EQ(faultOf(row.document), row.fault) << row.document.constData();

    // Whatever the XML reader itself says about these.
    for (const QByteArray &document :
         {QByteArray("<?xml version='1.0'?>"), QByteArray("<?xml"), QByteArray("<plist>"),
          QByteArray("<plist><true></plist>"), plist("<true/>") + "<plist/>", plist("<string>&#1;</string>"),
          plist("<string>\xC0\xBC</string>"), plist("<string>&#xD800;</string>"), plist("<array></dict>")})
        EXPECT_NE(faultOf(document), "") << document.constData();
}

TEST(XmlPropertyList, CountsOffsetsInCharactersFromTheStart)
{
    // Up to where the opening tag of what is wrong ends.
    EXPECT_EQ(dumpOf("\xEF\xBB\xBF <?xml version='1.0'?>\n<plist><!-- \xE6\x97\xA5 --><url></url></plist>"),
              "an unknown element (offset 46)");
}
