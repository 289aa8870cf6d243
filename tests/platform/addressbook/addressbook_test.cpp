#include "platform/addressbook/addressbook.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <unistd.h>

using platform::ABAddressBook;
using platform::ABPerson;

namespace {

QByteArray card(const QByteArray &first, const QByteArray &last, const QByteArray &aimNameLines)
{
    return "BEGIN:VCARD\nVERSION:3.0\nN:" + last + ";" + first + "\n" + aimNameLines + "\nEND:VCARD\n";
}

/// A home folder of its own for each test.
class AddressBook : public testing::Test {
protected:
    AddressBook() { enter(m_home); }

    /// Makes @p home the home folder, with an empty support folder in it.
    void enter(const QTemporaryDir &home)
    {
        setenv("HOME", home.path().toUtf8().constData(), 1);
        m_folder = std::filesystem::path(home.path().toStdString()) / "Library/Prattlebug";
        std::filesystem::create_directories(m_folder);
    }

    [[nodiscard]] std::filesystem::path file(const char *name) const { return m_folder / name; }

    /// Writes into the file that is there, so that only its size and its time can tell the change.
    void write(const char *name, const QByteArray &bytes) const
    {
        std::ofstream stream(file(name), std::ios::binary | std::ios::trunc);
        stream.write(bytes.constData(), bytes.size());
        ASSERT_TRUE(stream.flush());
    }

    /// The full names of the records that match, separated by "/".
    static QString matching(const QString &aimName)
    {
        QStringList names;
        for (const ABPerson *person : ABAddressBook::sharedAddressBook().recordsMatchingAimName(aimName))
            names.append(person->fullName.value_or(QStringLiteral("?")));
        return names.join(u'/');
    }

    static QString me()
    {
        const ABPerson *person = ABAddressBook::sharedAddressBook().me();
        return person ? person->fullName.value_or(QStringLiteral("?")) : QStringLiteral("nobody");
    }

    QTemporaryDir m_home;
    std::filesystem::path m_folder;
};

const QString kim = QStringLiteral("kimlee");

} // namespace

TEST_F(AddressBook, FindsRecordsInTheOrderOfTheFile)
{
    write("contacts.vcf", card("Zoe", "Zack", "X-AIM:shared\nX-AIM:zoe") + card("Kim", "", "X-AIM:shared") +
                              card("Ann", "Able", "X-AIM:shared\nX-AIM:kimlee\nX-AIM:shared"));
    write("me.vcf",
          card("Me", "Myself", "X-AIM:mine\nX-AIM;PREF:first\nX-AIM:zoe") + card("Not", "Me", "X-AIM:other"));

    EXPECT_EQ(matching(QStringLiteral("shared")), QStringLiteral("Zoe Zack/?/Ann Able"));
    EXPECT_EQ(matching(kim), QStringLiteral("Ann Able"));
    for (const char16_t *absent : {u"KimLee", u"kimle", u"kimlee ", u"", u"other"})
        EXPECT_EQ(matching(QString::fromUtf16(absent)), QString())
            << QString::fromUtf16(absent).toStdString();

    EXPECT_EQ(matching(QStringLiteral("mine")), QStringLiteral("Me Myself"));
    EXPECT_EQ(matching(QStringLiteral("zoe")), QStringLiteral("Zoe Zack/Me Myself"));

    EXPECT_EQ(me(), QStringLiteral("Me Myself"));
    const ABPerson *person = ABAddressBook::sharedAddressBook().me();
    EXPECT_EQ(person->aimNames.at(person->primaryAimName), QStringLiteral("first"));
}

TEST_F(AddressBook, ShowsEachChangeInTheNextRequest)
{
    EXPECT_EQ(me(), QStringLiteral("nobody"));
    EXPECT_EQ(matching(kim), QString());

    // Same size each time, and in quick succession: the clock of file times may stand still meanwhile.
    for (const char *last : {"Lee", "Doe", "Roe", "Poe"}) {
        write("me.vcf", card("Kim", last, "X-AIM:own"));
        write("contacts.vcf", card("Kim", last, "X-AIM:kimlee"));
        EXPECT_EQ(matching(QStringLiteral("own")), QStringLiteral("Kim ") + QLatin1String(last));
        EXPECT_EQ(me(), QStringLiteral("Kim ") + QLatin1String(last));
        EXPECT_EQ(matching(kim), QStringLiteral("Kim ") + QLatin1String(last));
    }

    for (const char *name : {"me.vcf", "contacts.vcf"})
        std::filesystem::remove(file(name));
    EXPECT_EQ(me(), QStringLiteral("nobody"));
    EXPECT_EQ(matching(kim), QString());
}

TEST_F(AddressBook, StaysAsItIsDuringAReading)
{
    write("contacts.vcf", card("Kim", "Lee", "X-AIM:kim"));
    {
        const ABAddressBook::Reading reading;
        EXPECT_EQ(matching(QStringLiteral("kim")), QStringLiteral("Kim Lee"));
        EXPECT_EQ(me(), QStringLiteral("nobody"));
        write("contacts.vcf", card("Kim", "Lee-Novak", "X-AIM:kim"));
        write("me.vcf", card("Robin", "Ashby", "X-AIM:robin"));
        {
            const ABAddressBook::Reading nested;
            EXPECT_EQ(matching(QStringLiteral("kim")), QStringLiteral("Kim Lee"));
        }
        EXPECT_EQ(matching(QStringLiteral("kim")), QStringLiteral("Kim Lee"));
        EXPECT_EQ(me(), QStringLiteral("nobody"));
    }
    EXPECT_EQ(matching(QStringLiteral("kim")), QStringLiteral("Kim Lee-Novak"));
    const ABAddressBook::Reading next;
    EXPECT_EQ(me(), QStringLiteral("Robin Ashby"));
}

TEST_F(AddressBook, KeepsWhatHasNotChanged)
{
    write("contacts.vcf", card("Kim", "Lee", "X-AIM:kimlee"));
    std::filesystem::last_write_time(file("contacts.vcf"),
                                     std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
    ABAddressBook &book = ABAddressBook::sharedAddressBook();
    ASSERT_EQ(book.recordsMatchingAimName(kim).size(), 1U);
    const ABPerson *const before = book.recordsMatchingAimName(kim).front();
    EXPECT_EQ(book.recordsMatchingAimName(kim).front(), before);
}

TEST_F(AddressBook, CountsWhatCannotBeReadAsEmpty)
{
    write("contacts.vcf", "no card at all");
    std::filesystem::create_directory(file("me.vcf"));
    EXPECT_EQ(me(), QStringLiteral("nobody"));
    EXPECT_EQ(matching(kim), QString());
}

TEST_F(AddressBook, ReadsAFileThatHasBecomeReadable)
{
    write("me.vcf", card("Kim", "Lee", ""));
    if (geteuid() == 0)
        GTEST_SKIP() << "nothing is unreadable to root";
    std::filesystem::permissions(file("me.vcf"), std::filesystem::perms::none);
    EXPECT_EQ(me(), QStringLiteral("nobody"));
    std::filesystem::permissions(file("me.vcf"), std::filesystem::perms::owner_read);
    EXPECT_EQ(me(), QStringLiteral("Kim Lee"));
}

TEST_F(AddressBook, BelongsToTheHomeFolderOfTheMoment)
{
    write("me.vcf", card("Kim", "Lee", ""));
    EXPECT_EQ(me(), QStringLiteral("Kim Lee"));

    const QTemporaryDir other;
    enter(other);
    EXPECT_EQ(me(), QStringLiteral("nobody"));
    // One and the same file under two homes is still told apart from a missing one.
    std::filesystem::create_hard_link(
        std::filesystem::path(m_home.path().toStdString()) / "Library/Prattlebug/me.vcf", file("me.vcf"));
    EXPECT_EQ(me(), QStringLiteral("Kim Lee"));
    enter(m_home);
    EXPECT_EQ(me(), QStringLiteral("Kim Lee"));
}
