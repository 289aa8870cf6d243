#include "platform/addressbook/addressbook.h"

#include <gtest/gtest.h>

using platform::ABPerson;
using platform::readVCards;

namespace {

/// The AIM names of all cards; "/" behind each card.
QString aimNames(const QByteArray &bytes)
{
    QString result;
    for (const ABPerson &person : readVCards(bytes))
        result += person.aimNames.join(u' ') + u'/';
    return result;
}

} // namespace

TEST(HostileVCard, FindsTheCardsThatAreThere)
{
    const std::vector<std::pair<QByteArray, QString>> cases = {
        {"", QString()},
        {"\r\n\r\r\n", QString()},
        {"BEGIN:VCALENDAR\nX-AIM:a\nEND:VCALENDAR\n", QString()},
        {"bplist00\1\2\3BEGIN:VCARD", QString()},
        {"X-AIM:a\nEND:VCARD\nBEGIN:VCARD\nX-AIM:b\nEND:VCARD\nX-AIM:c\n", QStringLiteral("b/")},
        {"BEGIN:VCARD\nX-AIM:a", QStringLiteral("a/")},
        {"BEGIN:VCARD\nX-AIM:a\nBEGIN:VCARD\nX-AIM:b\nEND:VCARD\nEND:VCARD", QStringLiteral("a/b/")},
        {" BEGIN : VCARD \nX-AIM:a\nEND:VCARD\t\nBEGIN:VCARD\nEND:VCARD\n", QStringLiteral("a//")},
        {"BEGIN:VCARD\n:x\n;:x\n.:x\nX-AIM\nX-AIM;=:a\nX-AIM;;=;,:b\nEND:VCARD", QStringLiteral("a b/")},
        // Nested cards.
        {"BEGIN:VCARD\nAGENT:\n\nBEGIN:VCARD\nX-AIM:a\nEND:VCARD\nX-AIM:b\nEND:VCARD", QStringLiteral("b/")},
        {"BEGIN:VCARD\nAGENT:BEGIN:VCARD\nAGENT:\nBEGIN:VCARD\nEND:VCARD\nX-AIM:a\nEND:VCARD\nX-AIM:b\nEND:"
         "VCARD",
         QStringLiteral("b/")},
        {"BEGIN:VCARD\nAGENT:BEGIN:VCARD\\nX-AIM:a\\nEND:VCARD\\n\nX-AIM:b\nEND:VCARD", QStringLiteral("b/")},
        {"BEGIN:VCARD\nX-AIM:a\nAGENT:\nBEGIN:VCARD\nX-AIM:b\nBEGIN:VCARD\nX-AIM:c\nEND:VCARD",
         QStringLiteral("a/c/")},
        {"BEGIN:VCARD\nAGENT:\nX-AIM:a\nBEGIN:VCARD\nX-AIM:b\nEND:VCARD", QStringLiteral("a/b/")},
        // What lies in data is no card.
        {"BEGIN:VCARD\nNOTE:BEGIN:VCARD\\nEND:VCARD\nPHOTO;ENCODING=b:AAAA\n END:VCARD\nX-AIM:a\nEND:VCARD",
         QStringLiteral("a/")},
        {"BEGIN:VCARD\nNOTE;QUOTED-PRINTABLE:x=\nEND:VCARD\nBEGIN:VCARD\nX-AIM:a\nEND:VCARD",
         QStringLiteral("/a/")},
    };
    for (const auto &[bytes, expected] : cases)
        EXPECT_EQ(aimNames(bytes), expected) << bytes.constData();
}

TEST(HostileVCard, EveryPrefixKeepsTheCardsBeforeIt)
{
    const QByteArray sample =
        "BEGIN:VCARD\r\nVERSION:2.1\r\nN;CHARSET=Shift_JIS;ENCODING=QUOTED-PRINTABLE:=95=\r\n=5C;=83=5C\r\n"
        "AGENT:\r\nBEGIN:VCARD\r\nX-AIM:x\r\nEND:VCARD\r\nitem1.X-AIM;TYPE=\"a,pref\":a\\,b\r\nEND:VCARD\r\n"
        "BEGIN:VCARD\r\nVERSION:4.0\r\nN;CHARSET=UTF-16;ENCODING=b:/v8ATAA7AEs=\r\nIMPP:aim:k%C3%A9\r\n  "
        "m\r\n"
        "IMPP:aim:goim?screenname=k+l\r\nEND:VCARD\r\n";
    const qsizetype endOfFirst = sample.indexOf("BEGIN:VCARD\r\nVERSION:4.0");
    size_t most = 0;
    for (qsizetype length = 0; length <= sample.size(); ++length) {
        // A copy of just this size, so that a sanitizer sees any step beyond it.
        const std::vector<ABPerson> cards = readVCards(QByteArray(sample.constData(), length));
        EXPECT_GE(cards.size(), most) << length;
        most = cards.size();
        if (length >= endOfFirst) {
            EXPECT_EQ(cards.at(0).aimNames, QStringList{QStringLiteral("a,b")}) << length;
            EXPECT_EQ(cards.at(0).fullName, QStringLiteral("ソ 表")) << length;
        }
    }
    EXPECT_EQ(most, 2U);
    EXPECT_EQ(readVCards(sample).at(1).fullName, QStringLiteral("K L"));
}

// Work that grows with the square of the size would keep each of these busy for hours.
TEST(HostileVCard, TakesLongInputInItsStride)
{
    constexpr qsizetype million = 1'000'000;
    const QByteArray begin = "BEGIN:VCARD\nVERSION:2.1\n";
    const QByteArray end = "\nX-AIM:kim\nEND:VCARD\n";
    const auto times = [](qsizetype count, const QByteArray &text) { return text.repeated(count); };
    const std::vector<std::pair<const char *, QByteArray>> cases = {
        {"a long line", "NOTE:" + times(million, "x")},
        {"many folds", "NOTE:" + times(million, "\n  ")},
        {"many folds before a colon", "NOTE;ENCODING=QUOTED-PRINTABLE;X=" + times(million, "=\n =")},
        {"many soft breaks", "NOTE;QUOTED-PRINTABLE:" + times(million, "=\n") + "x"},
        {"many soft breaks and blanks",
         "NOTE;QUOTED-PRINTABLE:" + times(million, " =\n") + times(million, " ")},
        {"many parameters", "NOTE" + times(million, ";A=b") + ":x"},
        {"many values", "NOTE;A=\"" + times(million, "b,") + "\":x"},
        {"many quotes", "NOTE;A=" + times(million, "\"") + ":x"},
        {"many escapes", "N:" + times(million, "\\,;,")},
        {"many line ends", times(million, "\r")},
        {"many agents", times(million / 10, "AGENT:BEGIN:VCARD\n") + times(million / 10, "END:VCARD\n")},
        {"many names", times(million / 10, "X-AIM:kim\nIMPP;PREF=5:aim:kim\n")},
        {"an equals sign for each character", "N;QUOTED-PRINTABLE:" + times(million, "=") + "\n"},
    };
    for (const auto &[what, lines] : cases)
        EXPECT_EQ(aimNames(begin + lines + end), QStringLiteral("kim/")) << what;

    EXPECT_EQ(readVCards(times(million / 10, "BEGIN:VCARD\n")).size(), size_t(million / 10));
}
