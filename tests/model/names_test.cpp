#include "VORAPresentity.h"

#include "tests/support/testhome.h"

#include "platform/appkit/nsfont.h"

using Names = TestHome;

namespace {

constexpr const char *cards = "BEGIN:VCARD\nVERSION:3.0\nN:Lee;Kim;;;\nX-AIM:kimlee\nEND:VCARD\n"
                              "BEGIN:VCARD\nVERSION:3.0\nN:Other;First;;;\nX-AIM:twice\nEND:VCARD\n"
                              "BEGIN:VCARD\nVERSION:3.0\nN:Other;Second;;;\nX-AIM:twice\nEND:VCARD\n"
                              "BEGIN:VCARD\nVERSION:3.0\nN:;Cher;;;\nX-AIM:nolastname\nEND:VCARD\n";

QString name(const char16_t *protocol, const char16_t *identifier)
{
    return VORAPresentity(QString::fromUtf16(protocol), QString::fromUtf16(identifier)).Name().value();
}

} // namespace

TEST_F(Names, FollowServiceAndAddressBook)
{
    write("Library/Prattlebug/me.vcf",
          "BEGIN:VCARD\nVERSION:3.0\nN:Park;Sam;;;\nX-AIM:second\nX-AIM;TYPE=pref:samiam\nEND:VCARD\n");
    write("Library/Prattlebug/contacts.vcf", cards);
    const struct {
        const char16_t *protocol;
        const char16_t *identifier;
        const char16_t *name;
    } table[] = {
        {u"SubNet", u" myself ", u"sam"},
        {u"SubNet", u"myself", u"myself"},
        {u"SubNet", u"kim@powerbook", u"kim"},
        {u"SubNet", u"a@b@c", u"a"},
        {u"SubNet", u"plain", u"plain"},
        {u"SubNet", u"@host", u""},
        {u"SubNet", u"kimlee", u"kimlee"},
        {u"AIM", u" myself ", u" myself "},
        {u"AIM", u"samiam", u"Sam Park"},
        {u"AIM", u"SamIAm", u"SamIAm"},
        {u"AIM", u"second", u"Sam Park"},
        {u"AIM", u"kimlee", u"Kim Lee"},
        {u"AIM", u"KimLee", u"KimLee"},
        {u"AIM", u"twice", u"First Other"},
        {u"AIM", u"nolastname", u"nolastname"},
        {u"AIM", u"stranger", u"stranger"},
        {u"Jabber", u"kimlee", u"kimlee"},
        {u"aim", u"kimlee", u"kimlee"},
        {u"Jabber", u"kim@example.org", u"kim@example.org"},
    };
    for (const auto &row : table)
        EXPECT_EQ(name(row.protocol, row.identifier), QString::fromUtf16(row.name))
            << QString::fromUtf16(row.identifier).toStdString() << " on "
            << QString::fromUtf16(row.protocol).toStdString();
    setenv("USER", "", 1);
    EXPECT_EQ(name(u"SubNet", u" myself "), QString()) << "what is set counts, empty or not";
}

TEST_F(Names, ShowTheIdentifierWhereTheUsersCardLacksANameAndFollowChanges)
{
    EXPECT_EQ(name(u"AIM", u"samiam"), QStringLiteral("samiam")) << "no card at all";
    write("Library/Prattlebug/me.vcf", "BEGIN:VCARD\nVERSION:3.0\nN:;Sam;;;\nX-AIM:samiam\nEND:VCARD\n");
    EXPECT_EQ(name(u"AIM", u"samiam"), QStringLiteral("samiam")) << "no last name";
    write("Library/Prattlebug/me.vcf", "BEGIN:VCARD\nVERSION:3.0\nN:Park;Sam;;;\nX-AIM:samiam\nEND:VCARD\n");
    EXPECT_EQ(name(u"AIM", u"samiam"), QStringLiteral("Sam Park")) << "the card has been completed meanwhile";
}

TEST_F(Names, AreNothingWithoutAnIdentifier)
{
    const VORAPresentity nobody(QStringLiteral("AIM"), std::nullopt);
    EXPECT_FALSE(nobody.Name());
    EXPECT_EQ(nobody.RichName().length(), 0);
    EXPECT_EQ(VORAPresentity(QStringLiteral("AIM"), QStringLiteral("kimlee")).description(),
              QStringLiteral("kimlee on protocol AIM"));
}

TEST_F(Names, AreStyledInBoldHelvetica)
{
    const auto rich = VORAPresentity(QStringLiteral("Jabber"), QStringLiteral("kim")).RichName();
    ASSERT_EQ(rich.runs().size(), 1U);
    const auto value = rich.runs()[0].attributes->objectForKey(platform::NSFontAttributeName);
    const auto *font = dynamic_cast<const platform::NSFont *>(value.get());
    ASSERT_TRUE(font);
    EXPECT_EQ(font->fontName(), QStringLiteral("Helvetica-Bold"));
    EXPECT_EQ(font->pointSize(), 12.0);
}
