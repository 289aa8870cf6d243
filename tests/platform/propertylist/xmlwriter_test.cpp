#include "dump.h"
#include "platform/propertylist/xmlwriter.h"

#include <QStringList>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

using platform::NSDate;
using platform::XMLPropertyListWriter;

TEST(XmlPropertyListWriter, WritesTheUsualForm)
{
    XMLPropertyListWriter writer;
    writer.beginDictionary();
    writer.key(u"a & b");
    writer.beginArray();
    writer.boolean(true);
    writer.boolean(false);
    writer.integer(std::numeric_limits<qint64>::min());
    writer.real(0.1);
    writer.real(5);
    writer.real(-std::numeric_limits<double>::infinity());
    writer.date(NSDate::fromUnixTime(978307199, 500'000'000));
    writer.string(u"<i>\r\n\t</i>");
    writer.endArray();
    writer.key(u"empty");
    writer.beginArray();
    writer.beginArray();
    writer.endArray();
    writer.beginDictionary();
    writer.endDictionary();
    writer.string(u"");
    writer.endArray();
    writer.key(u"data");
    writer.data(QByteArray(58, '\0'));
    writer.endDictionary();
    EXPECT_EQ(writer.finish(), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                               "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                               "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                               "<plist version=\"1.0\">\n"
                               "<dict>\n"
                               "\t<key>a &amp; b</key>\n"
                               "\t<array>\n"
                               "\t\t<true/>\n"
                               "\t\t<false/>\n"
                               "\t\t<integer>-9223372036854775808</integer>\n"
                               "\t\t<real>0.1</real>\n"
                               "\t\t<real>5</real>\n"
                               "\t\t<real>-infinity</real>\n"
                               "\t\t<date>2000-12-31T23:59:59Z</date>\n"
                               "\t\t<string>&lt;i&gt;&#13;\n\t&lt;/i&gt;</string>\n"
                               "\t</array>\n"
                               "\t<key>empty</key>\n"
                               "\t<array>\n"
                               "\t\t<array/>\n"
                               "\t\t<dict/>\n"
                               "\t\t<string></string>\n"
                               "\t</array>\n"
                               "\t<key>data</key>\n"
                               "\t<data>\n"
                               "\t" +
                                   QByteArray(76, 'A') +
                                   "\n"
                                   "\tAA==\n"
                                   "\t</data>\n"
                                   "</dict>\n"
                                   "</plist>\n");
}

TEST(XmlPropertyListWriter, KeepsAllTextThatXmlCanHold)
{
    // Every unit on its own, which is every control character and every lone surrogate, and then pairs.
    QStringList texts;
    for (char32_t unit = 0; unit <= 0xFFFF; ++unit)
        texts += QStringLiteral("a") + QChar(char16_t(unit));
    const QChar high(0xD83D);
    const QChar low(0xDE00);
    for (const QString &text :
         {QString(high) + low, QString(high) + high + low, QString(high) + low + low, QString(low) + high})
        texts += text;

    XMLPropertyListWriter writer;
    writer.beginArray();
    for (const QString &text : texts)
        writer.string(text);
    writer.endArray();
    const platform::PropertyList list = platform::readPropertyList(writer.finish());
    ASSERT_EQ(list.count(), quint32(texts.size()));
    int replaced = 0;
    for (qsizetype i = 0; i < texts.size(); ++i) {
        const QString fit = platform::withoutCharactersUnfitForXml(texts[i]);
        EXPECT_EQ(list.at(quint32(i)).string(), fit) << i;
        replaced += fit == texts[i] ? 0 : 1;
    }
    // 29 control characters, 2 that are none, 2048 surrogates, and each of the last four but the pair.
    EXPECT_EQ(replaced, 29 + 2 + 2048 + 3);
    const QString fit = platform::withoutCharactersUnfitForXml(QString(high) + high + low);
    EXPECT_EQ(fit, QString(QChar(QChar::ReplacementCharacter)) + high + low);
}

TEST(XmlPropertyListWriter, WritesRealsThatReadBackTheSame)
{
    using Limits = std::numeric_limits<double>;
    for (const double real :
         {0.0, -0.0, 1.0 / 3, 1e23, 123456789012345678.0, Limits::min(), Limits::denorm_min(), Limits::max(),
          -Limits::max(), Limits::infinity(), Limits::epsilon()}) {
        XMLPropertyListWriter writer;
        writer.real(real);
        const double back = platform::readPropertyList(writer.finish()).real().value_or(42);
        EXPECT_EQ(std::bit_cast<quint64>(back), std::bit_cast<quint64>(real));
    }
}
