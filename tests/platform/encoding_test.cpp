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
