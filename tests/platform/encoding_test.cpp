#include "platform/text/charset.h"
#include "platform/text/encoding.h"

#include <gtest/gtest.h>

using platform::stringFromUtf8;
using platform::utf8FromString;

TEST(Encoding, KeepsEveryMarkAndCharacterThatQtWouldChange)
{
    const QString marks = QStringLiteral("\uFEFF\uFEFFhi\uFEFF");
    EXPECT_EQ(stringFromUtf8("\xEF\xBB\xBF\xEF\xBB\xBFhi\xEF\xBB\xBF"), marks);
    EXPECT_EQ(stringFromUtf8(utf8FromString(marks)), marks);

    const QByteArray withNul("a\0b\xF0\x9F\x98\x80", 7);
    EXPECT_EQ(utf8FromString(stringFromUtf8(withNul)), withNul);
}

TEST(Encoding, ReplacesWhatIsNoText)
{
    const char16_t lone[] = {0xD83D, u'x', 0xDE00, 0xD83D, 0xDE00, 0xDBFF};
    EXPECT_EQ(utf8FromString(QStringView(lone, 6)), "\xEF\xBF\xBDx\xEF\xBF\xBD\xF0\x9F\x98\x80\xEF\xBF\xBD");
    EXPECT_EQ(stringFromUtf8("a\xFFz"), QStringLiteral("a\uFFFDz"));
    EXPECT_TRUE(stringFromUtf8("\xED\xA0\x80").isValidUtf16()) << "an encoded surrogate is malformed UTF-8";
}

TEST(Encoding, TellsPairsFromLoneSurrogatesWhereverTheyStand)
{
    for (qsizetype before = 0; before < 70; ++before) {
        const QString start(before, u'x');
        const QString end(70 - before, u'y');
        const QByteArray encodedStart(before, 'x');
        const QByteArray encodedEnd(70 - before, 'y');
        EXPECT_EQ(utf8FromString(start + QStringLiteral("\U0001F600") + end),
                  encodedStart + "\xF0\x9F\x98\x80" + encodedEnd);
        for (const char16_t lone : {u'\xD83D', u'\xDE00'})
            EXPECT_EQ(utf8FromString(start + QChar(lone) + end), encodedStart + "\xEF\xBF\xBD" + encodedEnd);
        EXPECT_EQ(utf8FromString(start + QChar(u'\xD83D')), encodedStart + "\xEF\xBF\xBD");
    }
}

TEST(Encoding, KnowsThePlatformsOwnCharset)
{
    EXPECT_EQ(platform::stringFromCharset("caf\x8E \xC6 \xDB \xF0", "MACINTOSH"),
              QStringLiteral("café \u2206 \u20AC \uF8FF"));
}
