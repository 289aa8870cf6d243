#include "index/folding.h"
#include "index/question.h"

#include <gtest/gtest.h>

using indexing::folded;
using indexing::FoldedText;

TEST(Folding, MakesEqualWhatPeopleTakeForTheSameLetters)
{
    struct Case {
        QString text;
        QString expected;
    };
    const Case cases[]{
        {QStringLiteral("Zoë"), QStringLiteral("zoe")},
        {QStringLiteral("Zoe\u0308"), QStringLiteral("zoe")},
        {QStringLiteral("STRASSE Straße"), QStringLiteral("strasse strasse")},
        {QStringLiteral("İstanbul ISTANBUL ısı"), QStringLiteral("istanbul istanbul isi")},
        {QStringLiteral("smørrebrød Łódź"), QStringLiteral("smorrebrod lodz")},
        {QStringLiteral("ΣΟΦΌΣ σοφός"), QStringLiteral("σοφοσ σοφοσ")},
        {QStringLiteral("Ёлка Й"), QStringLiteral("елка и")},
        {QStringLiteral("か が か\u3099"), QStringLiteral("か が が")}, // a mark that makes another letter
        {QStringLiteral("각 \u1100\u1161\u11A8"), QStringLiteral("각 각")},
        {QStringLiteral("नि न"), QStringLiteral("नि न")},
        {QString::fromUtf16(u"a\0b", 3), QStringLiteral("a\uFFFDb")},
        {QString(QChar(0xD83C)) + u'x' + QChar(0xDF37), QStringLiteral("\uFFFDx\uFFFD")},
        {QStringLiteral("🌷 𝒳"), QStringLiteral("🌷 𝒳")},
    };
    for (const Case &row : cases) {
        EXPECT_EQ(folded(row.text), row.expected);
        EXPECT_EQ(FoldedText(row.text).string(), row.expected);
    }
}

TEST(Folding, KnowsWhereWordsStandInTheOriginal)
{
    const QString text = QStringLiteral("Straße: Zoe\u0308s ZOË");
    indexing::Question question;
    question.words = {folded(u"ss"), folded(u"zoë")};
    const auto found = indexing::wordsIn(text, question);
    ASSERT_TRUE(found);
    EXPECT_EQ(*found, (std::vector<FoldedText::Range>{{4, 1}, {8, 4}, {14, 3}}));
    question.wholeWords = true;
    EXPECT_FALSE(indexing::wordsIn(text, question));
    question.words = {folded(u"zoe")};
    EXPECT_EQ(indexing::wordsIn(text, question), (std::vector<FoldedText::Range>{{14, 3}}));
}
