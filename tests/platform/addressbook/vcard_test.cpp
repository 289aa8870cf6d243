#include "platform/addressbook/addressbook.h"

#include <gmock/gmock.h>

using platform::ABPerson;
using platform::readVCards;

namespace {

/// One card of these lines.
QByteArray card(const QByteArray &version, const QByteArray &lines)
{
    return "BEGIN:VCARD\r\nVERSION:" + version + "\r\n" + lines + "\r\nEND:VCARD\r\n";
}

/// What a card says, in one line: `First|Last|name name|primary`, "-" for what is absent.
QString summary(const ABPerson &person)
{
    const QString absent = QStringLiteral("-");
    const QString primary = person.aimNames.isEmpty() ? absent : person.aimNames.at(person.primaryAimName);
    return person.firstName.value_or(absent) + u'|' + person.lastName.value_or(absent) + u'|' +
           person.aimNames.join(u' ') + u'|' + primary;
}

QStringList summaries(const QByteArray &bytes)
{
    QStringList result;
    for (const ABPerson &person : readVCards(bytes))
        result.append(summary(person));
    return result;
}

QByteArray utf16(QStringView text, bool bigEndian)
{
    QByteArray bytes;
    for (const QChar unit : text) {
        const char high = char(unit.unicode() >> 8);
        const char low = char(unit.unicode() & 0xFF);
        bytes += bigEndian ? high : low;
        bytes += bigEndian ? low : high;
    }
    return bytes;
}

struct Case {
    const char *what;
    QByteArray bytes;
    QString expected; ///< the summary of its one card
};

void expectAll(const std::vector<Case> &cases)
{
    for (const Case &each : cases)
        EXPECT_EQ(summaries(each.bytes).join(u"; "), each.expected) << each.what;
}

} // namespace

TEST(VCard, ReadsTheCardsThatAddressBooksExport)
{
    expectAll({
        {"macOS Contacts, 3.0",
         "BEGIN:VCARD\r\nVERSION:3.0\r\nPRODID:-//Apple Inc.//macOS 13.0//EN\r\nN:Lee;Kim;Marie;;\r\n"
         "FN:Kim Marie Lee\r\nORG:Acme\\, "
         "Inc.;\r\nEMAIL;type=INTERNET;type=HOME;type=pref:kim@example.com\r\n"
         "item1.ADR;type=HOME;type=pref:;;1 Main St;Springfield;;;\r\nitem1.X-ABADR:us\r\n"
         "item2.X-AIM:kim home\r\nitem2.X-ABLabel:_$!<HomePage>!$_\r\n"
         "IMPP;X-SERVICE-TYPE=AIM;type=HOME;type=pref:aim:kimlee\r\n"
         "IMPP;X-SERVICE-TYPE=ICQ;type=HOME:aim:123456\r\nX-AIM;type=HOME;type=pref:kimlee\r\n"
         "PHOTO;ENCODING=b;TYPE=JPEG:/9j/4AAQSkZJRgABAQAAAQABAAD/4gxYSUNDX1BST0ZJ\r\n TEUAAQEAAAxI\r\n"
         " TGlubwIQAABtbnRy\r\nEND:VCARD\r\n",
         QStringLiteral("Kim|Lee|kim home kimlee|kimlee")},
        {"Google Contacts, 3.0",
         "BEGIN:VCARD\r\nVERSION:3.0\r\nFN:J\xC3\xBCrgen Wei\xC3\x9F\r\nN:Wei\xC3\x9F;J\xC3\xBCrgen;;Dr.;\r\n"
         "item1.EMAIL;TYPE=INTERNET:j@example.com\r\nitem1.X-ABLabel:\r\nX-AIM:jweiss\r\n"
         "CATEGORIES:myContacts\r\nEND:VCARD\r\n",
         QStringLiteral("Jürgen|Weiß|jweiss|jweiss")},
        {"Thunderbird, 4.0",
         "BEGIN:VCARD\r\nVERSION:4.0\r\nEMAIL;PREF=1:sam@example.com\r\nFN:Sam Doe\r\nN:Doe;Sam;Q.,R.;;\r\n"
         "IMPP;PREF=50:xmpp:sam@example.com\r\nIMPP;PREF=20:aim:sam%20doe\r\nIMPP;PREF=10:aim:doe\r\n"
         "UID:urn:uuid:4fbe8971-0bc3-424c-9c26-36c3e1eff6b1\r\nEND:VCARD\r\n",
         QStringLiteral("Sam|Doe|sam doe doe|doe")},
        {"Outlook, 2.1",
         "BEGIN:VCARD\r\nVERSION:2.1\r\nN;LANGUAGE=de;CHARSET=Windows-1252:M\xFCller;Ren\xE9\r\n"
         "FN;CHARSET=Windows-1252:Ren\xE9 M\xFCller\r\nORG:Acme, Inc.\r\nTEL;WORK;VOICE:555\r\n"
         "ADR;WORK;PREF;ENCODING=QUOTED-PRINTABLE:;;1 Main St=0D=0A=\r\nFloor "
         "2;Town\r\nX-AIM;HOME;PREF:rene\r\n"
         "PHOTO;TYPE=JPEG;ENCODING=BASE64:\r\n /9j/4AAQSkZJRgABAQEAYABgAAD/2wBDAAYEBQYFBAYGBQYHBwYIChAK\r\n"
         " CgkJChQODwwQFxQYGBcU\r\n\r\nREV:20230101T000000Z\r\nEND:VCARD\r\n",
         QStringLiteral("René|Müller|rene|rene")},
        {"an old telephone, 2.1, its photograph not folded",
         "BEGIN:VCARD\r\nVERSION:2.1\r\nN;CHARSET=UTF-8;ENCODING=QUOTED-PRINTABLE:=D0=98=D0=B2=D0=B0=D0=BD="
         "\r\n"
         "=D0=BE=D0=B2;=D0=9E=D0=BB=D1=8C=D0=\r\n=B3=D0=B0;;;\r\nPHOTO;ENCODING=BASE64;JPEG:/9j/"
         "4AAQSkZJRgABAQ\r\n"
         "VENDOlZDQVJEIGVuZAo=\r\nTkQ6\r\n\r\nX-AIM:olga\r\nEND:VCARD\r\n",
         QStringLiteral("Ольга|Иванов|olga|olga")},
        {"another program's, 3.0, UTF-8 cut by the fold, plain line feeds",
         "begin:vcard\nversion:3.0\nn:Gr\xC3\n \xB6\xC3\x9F;An\n\tna\nx-aim:an\n na\nend:vcard\n",
         QStringLiteral("Anna|Größ|anna|anna")},
    });
}

TEST(VCard, ReadsEveryEncodingOfTheFile)
{
    // What a file says of itself counts for more than a CHARSET.
    const QString text =
        QStringLiteral("BEGIN:VCARD\rVERSION:3.0\rN;CHARSET=%1:Lé;Kim 😀\rX-AIM:kim\rEND:VCARD\r");
    const QString honest = text.arg(QStringLiteral("UTF-8"));
    const QString lying = text.arg(QStringLiteral("ISO-8859-1"));
    const QString expected = QStringLiteral("Kim 😀|Lé|kim|kim");
    expectAll({
        {"UTF-8", honest.toUtf8(), expected},
        {"UTF-8 with a mark", "\xEF\xBB\xBF" + lying.toUtf8(), expected},
        {"UTF-16 LE", "\xFF\xFE" + utf16(lying, false), expected},
        {"UTF-16 BE", "\xFE\xFF" + utf16(lying, true), expected},
        {"UTF-16 LE without a mark", utf16(lying, false), expected},
        {"UTF-16 BE without a mark, half a unit too long", utf16(lying, true) + '\0', expected},
        {"an encoded value in a file with a mark",
         "\xEF\xBB\xBF" + card("2.1", "N;CHARSET=ISO-8859-1;QUOTED-PRINTABLE:L=E9;Kim"),
         QStringLiteral("Kim|Lé||-")},
        {"malformed UTF-8 that says it is that", card("3.0", "N;CHARSET=UTF-8:L\xE9;Kim\xC3"),
         QStringLiteral("Kim\uFFFD|L\uFFFD||-")},
        {"nothing is said, and it is no UTF-8", card("3.0", "N:L\xE9;Kim \x80\x81"),
         QStringLiteral("Kim €\u0081|Lé||-")},
    });
    const QStringList both = {expected, expected};
    EXPECT_EQ(summaries("\xEF\xBB\xBF" + honest.toUtf8() + "\xEF\xBB\xBF" + honest.toUtf8()), both)
        << "two files put together";
}

TEST(VCard, DecodesValues)
{
    expectAll({
        {"Latin 1", card("2.1", "N;ENCODING=QUOTED-PRINTABLE;CHARSET=ISO-8859-1:L=E9;Ren=e9"),
         QStringLiteral("René|Lé||-")},
        {"a charset of several bytes a character",
         card("2.1", "N;CHARSET=Shift_JIS;ENCODING=QUOTED-PRINTABLE:=95\\;=83="
                     "5C"),
         QStringLiteral("ソ|表||-")},
        {"cut within a character", card("2.1", "N;CHARSET=Shift_JIS;QUOTED-PRINTABLE:Lee;Kim=83"),
         QStringLiteral("Kim\uFFFD|Lee||-")},
        {"UTF-16", card("2.1", "N;CHARSET=UTF-16BE;ENCODING=BASE64:AEwAZQBlADsASwBpAG0="),
         QStringLiteral("Kim|Lee||-")},
        {"an unknown charset", card("2.1", "N;CHARSET=X-KLINGON:L\xC3\xA9;Kim"), QStringLiteral("Kim|Lé||-")},
        {"one that depends on where it is read", card("2.1", "N;CHARSET=LOCALE:L\xE9;Kim"),
         QStringLiteral("Kim|Lé||-")},
        {"no hexadecimal digits", card("2.1", "N;QUOTED-PRINTABLE:a=b;=4;=ZZ=3D"),
         QStringLiteral("=4|a=b||-")},
        {"a soft break before the END", card("2.1", "X-AIM:kim\r\nN;QUOTED-PRINTABLE:Lee;Kim="),
         QStringLiteral("Kim=|Lee|kim|kim")},
        {"blanks behind a soft break", card("2.1", "N;QUOTED-PRINTABLE:Lee;Kim= \t\r\n Ann"),
         QStringLiteral("Kim Ann|Lee||-")},
        {"an equals sign at the end is no break elsewhere", card("3.0", "X-AIM:kim=\r\nN:Lee;Kim="),
         QStringLiteral("Kim=|Lee|kim=|kim=")},
        {"folded at a blank", card("2.1", "N:Lee;Kim\r\n Ann"), QStringLiteral("Kim Ann|Lee||-")},
        {"folded within a word", card("3.0", "N:Lee;Ki\r\n m\r\n  Ann"), QStringLiteral("Kim Ann|Lee||-")},
    });
}

TEST(VCard, TakesNamesApart)
{
    expectAll({
        {"escapes", card("3.0", R"(N:Lee\, Jr.\;\\;Kim\nAnn\x\:)"),
         QStringLiteral("Kim\nAnn\\x:|Lee, Jr.;\\||-")},
        {"several values", card("4.0", "N:Lee,Park;Kim\\,K, ,Ann;X"),
         QStringLiteral("Kim,K Ann|Lee Park||-")},
        {"a comma in 2.1", card("2.1", "N:Lee, Jr.;Kim"), QStringLiteral("Kim|Lee, Jr.||-")},
        {"blanks around", card("3.0", "N: Lee ;\tKim  Ann "), QStringLiteral("Kim  Ann|Lee||-")},
        {"only blanks", card("3.0", "N:  ;Kim;"), QStringLiteral("Kim|-||-")},
        {"no first name", card("3.0", "N:Lee"), QStringLiteral("-|Lee||-")},
        {"no N", card("4.0", "FN:Kim Lee"), QStringLiteral("-|-||-")},
        {"the first N", card("4.0", "N;ALTID=1;LANGUAGE=\"en:x;y\":Lee;Kim\r\nN;ALTID=1:A;B"),
         QStringLiteral("Kim|Lee||-")},
        {"a version that comes late", "BEGIN:VCARD\nN:A,B;C\nVERSION:2.1\nEND:VCARD",
         QStringLiteral("C|A,B||-")},
        {"a quote that is never closed", card("2.1", "N;X=\"a:Lee;Kim"), QStringLiteral("Kim|Lee||-")},
    });
    EXPECT_EQ(readVCards(card("3.0", "N:Lee;Kim")).at(0).fullName, QStringLiteral("Kim Lee"));
    EXPECT_EQ(readVCards(card("3.0", "N:;Kim")).at(0).fullName, std::nullopt);
    EXPECT_EQ(readVCards(card("3.0", "N:Lee;")).at(0).fullName, std::nullopt);
}

TEST(VCard, FindsAimNamesAndThePreferredOne)
{
    const std::vector<std::pair<QByteArray, QString>> cases = {
        {"X-AIM:a\nX-AIM:b", QStringLiteral("a b|a")},
        {"X-AIM:a\nX-AIM;TYPE=home,pref:b", QStringLiteral("a b|b")},
        {"X-AIM:a\nX-AIM;TYPE=\"home,PREF\":b", QStringLiteral("a b|b")},
        {"X-AIM:a\nX-AIM;type=HOME;type=pref:b", QStringLiteral("a b|b")},
        {"X-AIM:a\nX-AIM;HOME;pref:b", QStringLiteral("a b|b")},
        {"X-AIM:a\nX-AIM;PREF=\"100\":b", QStringLiteral("a b|b")},
        {"X-AIM;PREF=2:a\nX-AIM;PREF=1:b\nX-AIM;PREF=1:c", QStringLiteral("a b c|b")},
        {"X-AIM;PREF=101:a\nX-AIM;PREF=0:b\nX-AIM;PREF=x:c\nX-AIM;PREF=99:d", QStringLiteral("a b c d|d")},
        {"X-AIM;X-PREF=1:a\nX-AIM;LABEL=pref:b\nX-AIM;PREFER:c", QStringLiteral("a b c|a")},
        // A name that stands there twice.
        {"X-AIM:a\nX-AIM:b\nX-AIM;PREF:a\nX-AIM:b", QStringLiteral("a b|a")},
        {"X-AIM:a\nX-AIM:b\nX-AIM:c\nX-AIM;PREF:c\nIMPP;TYPE=pref:aim:b", QStringLiteral("a b c|b")},
        {"X-AIM;PREF:a\nX-AIM:b\nX-AIM:a", QStringLiteral("a b|a")},
        {"X-AIM:Kim\nX-AIM:kim", QStringLiteral("Kim kim|Kim")},
        {"X-AIM:  \nX-AIM: a b \nX-AIM:c\\,d", QStringLiteral("a b c,d|a b")},
        // Services and schemes.
        {"IMPP:AIM:kim%20lee\nIMPP:aim:%D0%98", QStringLiteral("kim lee И|kim lee")},
        {"IMPP;X-SERVICE-TYPE=\"aim\":kim\nIMPP;X-SERVICE-TYPE=AIM:aim:lee", QStringLiteral("kim lee|kim")},
        {"IMPP:xmpp:kim\nIMPP;X-SERVICE-TYPE=ICQ:aim:1\nIMPP:kim\nX-ICQ:5\nX-AIMX:6", QStringLiteral("|")},
        {"IMPP:aim:goim?screenname=kim+lee&message=Hi+there", QStringLiteral("kim lee|kim lee")},
        {"IMPP:aim:GoIM?message=a&ScreenName=+1555%2B5", QStringLiteral("+1555+5|+1555+5")},
        {"IMPP:aim:goim?message=screenname\nIMPP:aim:\nIMPP:aim:kim?x=y", QStringLiteral("kim|kim")},
    };
    for (const auto &[lines, expected] : cases) {
        const std::vector<ABPerson> cards = readVCards(card("4.0", lines));
        ASSERT_EQ(cards.size(), 1U) << lines.constData();
        const QString primary = cards[0].aimNames.value(cards[0].primaryAimName);
        EXPECT_EQ(cards[0].aimNames.join(u' ') + u'|' + primary, expected) << lines.constData();
    }
}
