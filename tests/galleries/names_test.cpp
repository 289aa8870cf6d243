#include "galleries/filenames.h"
#include "galleries/linkpages.h"

#include "DateComparator.h"

#include <gtest/gtest.h>

using galleries::compressedLink;
using galleries::fileName;
using galleries::urlSafeForm;

TEST(GalleryNames, BecomeFileNamesOnlyWhereTheFileSystemNeedsIt)
{
    const QString longName(300, u'x');
    const struct {
        QString name;
        QString file;
    } table[] = {
        {QStringLiteral("Ann Lee"), QStringLiteral("Ann Lee.html")},
        {QStringLiteral("Links"), QStringLiteral("Links.html")},
        {QStringLiteral("x&y \"q\" %s 50% ."), QStringLiteral("x&y \"q\" %s 50% ..html")},
        {QStringLiteral("../a/b"), QStringLiteral("..:a:b.html")},
        {QStringLiteral("a") + QChar(0) + u'b', QStringLiteral("a:b.html")},
        {QString(), QStringLiteral("_.html")},
        {QStringLiteral("linktemplate"), QStringLiteral("linktemplate_.html")},
        {QStringLiteral("statstemplate"), QStringLiteral("statstemplate_.html")},
    };
    for (const auto &row : table)
        EXPECT_EQ(fileName(row.name, u".html").text(), row.file);
    const QString first = fileName(longName + u'1', u".html").text();
    const QString second = fileName(longName + u'2', u".html").text();
    EXPECT_EQ(first.size(), 255);
    EXPECT_TRUE(first.endsWith(QStringLiteral(".html")));
    EXPECT_NE(first, second);
    EXPECT_LE(fileName(QString(200, QChar(0x674E)), u".html").text().toUtf8().size(), 255);
}

TEST(GalleryNames, HaveAUrlSafeFormThatTellsCodesFromUtf8)
{
    EXPECT_EQ(urlSafeForm(u"Az09 ._-@/\u00E9"), QStringLiteral("Az09%20%2E%5F%2D%40%2F%E9"));
    EXPECT_EQ(urlSafeForm(u"\u674E"), QStringLiteral("%e6%9d%8e"));
    EXPECT_EQ(urlSafeForm(QStringLiteral("\U0001F600")), QStringLiteral("%f0%9f%98%80"));
    const char16_t lone[] = {0xD83D, u'x'};
    EXPECT_EQ(urlSafeForm(QStringView(lone, 2)), QStringLiteral("%ef%bf%bdx"));
}

TEST(GalleryNames, ShortenLinksOfMoreThanFortyUnits)
{
    const QString forty(40, u'x');
    EXPECT_EQ(compressedLink(forty), forty);
    EXPECT_EQ(compressedLink(u'a' + forty),
              u'a' + QString(19, u'x') + QStringLiteral(" . . . ") + QString(20, u'x'));
    EXPECT_EQ(compressedLink(QStringLiteral("\U0001F600").repeated(21)).size(), 47)
        << "units are counted, not characters";
}

TEST(GalleryNames, OfMonthsSortByTime)
{
    const auto compare = [](QStringView a, QStringView b) {
        return DateComparator::compareLinkDateString(a, b);
    };
    EXPECT_TRUE(compare(u"December 2004", u"January 2005") < 0);
    EXPECT_TRUE(compare(u"March 2005", u"April 2005") < 0);
    EXPECT_TRUE(compare(u"May 2005", u"May 2005") == 0);
    EXPECT_TRUE(compare(u"January 0101", u"December 0099") > 0);
}
