#include "VORAInstantMessage.h"

#include <gtest/gtest.h>

using platform::NSAttributedString;

namespace {

VORAInstantMessage messageOf(const QString &text)
{
    return VORAInstantMessage(
        std::make_shared<VORAPresentity>(QStringLiteral("Jabber"), QStringLiteral("kim")),
        std::make_shared<NSAttributedString>(text), std::nullopt);
}

} // namespace

TEST(Words, BeginAfterAnyWhiteSpaceAndEndAtABlankOnly)
{
    const struct {
        QString text;
        qint64 words;
        QString oneOfThem; // null: none
    } table[] = {
        {QStringLiteral("  hello   world  "), 2, QStringLiteral("world")},
        {QStringLiteral("hello\nworld"), 1, QStringLiteral("hello\nworld")},
        {QStringLiteral("a\tb c"), 2, QStringLiteral("a\tb")},
        {QStringLiteral("a \tb"), 2, QStringLiteral("b")}, // skipped before a word
        {QStringLiteral("a\t b"), 2, QStringLiteral("a\t")},
        {QStringLiteral("a \n\n"), 1, QStringLiteral("a")}, // nothing but white space remains
        {QStringLiteral("lol\n"), 1, QStringLiteral("lol\n")},
        {QStringLiteral("\uFFFC"), 1, QStringLiteral("\uFFFC")}, // an attachment
        {QStringLiteral("see \uFFFC\uFFFC here"), 3, QStringLiteral("\uFFFC\uFFFC")},
        {QStringLiteral("caf\u00E9 cafe\u0301"), 2, QStringLiteral("cafe\u0301")},
        {QStringLiteral("\U0001F389 \xD83C"), 2, QStringLiteral("\U0001F389")},
        {QStringLiteral("12 ... !?"), 3, QStringLiteral("...")},
        {QString(), 0, {}},
        {QStringLiteral("   "), 0, {}},
    };
    for (const auto &row : table) {
        const VORAInstantMessage message = messageOf(row.text);
        EXPECT_EQ(message.wordCountInSet(nullptr), row.words) << row.text.toStdString();
        const WordSet one{row.oneOfThem};
        EXPECT_EQ(message.wordCountInSet(&one), row.oneOfThem.isNull() ? 0 : 1) << row.text.toStdString();
    }
}

TEST(Words, SkipEveryCharacterOfTheWhiteSpaceClass)
{
    const char16_t whiteSpace[] =
        u"\u0009\u000A\u000B\u000C\u000D\u0020\u0085\u00A0\u1680\u2000\u2001\u2002"
        u"\u2003\u2004\u2005\u2006\u2007\u2008\u2009\u200A\u2028\u2029\u202F\u205F\u3000";
    for (const QChar c : QStringView(whiteSpace)) {
        EXPECT_EQ(messageOf(QString(2, c)).wordCountInSet(nullptr), 0) << int(c.unicode());
        const WordSet word{QStringLiteral("word")};
        EXPECT_EQ(messageOf(c + QStringLiteral("word")).wordCountInSet(&word), 1) << int(c.unicode());
    }
    // Look like it, but are none of it.
    for (const QChar c : QStringView(u"\u0008\u000E\u001C\u001F\u007F\u0084\u200B\u200D\u2060\uFEFF"))
        EXPECT_EQ(messageOf(QString(c)).wordCountInSet(nullptr), 1) << int(c.unicode());
}

TEST(Words, AreLookedUpExactly)
{
    const VORAInstantMessage message = messageOf(QStringLiteral("lol LOL lol! lol"));
    const WordSet lol{QStringLiteral("lol")};
    const WordSet none;
    EXPECT_EQ(message.wordCountInSet(&lol), 2);
    EXPECT_EQ(message.wordCountInSet(&none), 0);
    EXPECT_EQ(message.wordCountInSet(nullptr), 4);
}

TEST(Words, AreNoneInAMessageWithoutSenderOrText)
{
    const auto text = std::make_shared<NSAttributedString>(QStringLiteral("Kim has left"));
    EXPECT_EQ(VORAInstantMessage(nullptr, text, std::nullopt).wordCountInSet(nullptr), 0);
    const auto kim = std::make_shared<VORAPresentity>(QStringLiteral("Jabber"), QStringLiteral("kim"));
    EXPECT_EQ(VORAInstantMessage(kim, nullptr, std::nullopt).wordCountInSet(nullptr), 0);
}
