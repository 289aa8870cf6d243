#include "platform/preferences/preferences.h"
#include "platform/propertylist/values.h"

#include "tests/support/binarylist.h"

#include "platform/files/files.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using platform::booleanFrom;
using platform::CFPreferencesAppSynchronize;
using platform::CFPreferencesCopyAppValue;
using platform::CFPreferencesSetAppValue;
using platform::integerFrom;
using platform::PropertyList;

namespace {

namespace fs = std::filesystem;

/// Each test has a home folder of its own, still empty.
class Preferences : public testing::Test {
protected:
    void SetUp() override { setenv("HOME", home().c_str(), 1); }
    void TearDown() override { unsetenv("HOME"); }

    fs::path home() const { return platform::pathFromString(m_home.path()); }
    fs::path folder() const { return home() / "Library" / "Preferences"; }
    fs::path file() const { return folder() / "com.velmoria.prattlebug.plist"; }

    void write(QByteArrayView bytes) const
    {
        fs::create_directories(folder());
        ASSERT_TRUE(platform::writeAtomically(file(), bytes));
    }
    static QByteArray contents(const fs::path &path)
    {
        return platform::readWholeFile(path).value_or("(none)");
    }
    /// What another program reads in the file.
    PropertyList stored(QStringView key) const { return platform::readPropertyList(contents(file()))[key]; }
    static mode_t mode(const fs::path &path)
    {
        struct stat status{};
        return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 07777U : 0;
    }
    std::vector<std::string> names() const
    {
        std::vector<std::string> names;
        for (const auto &entry : fs::directory_iterator(folder()))
            names.push_back(entry.path().filename());
        std::sort(names.begin(), names.end());
        return names;
    }

private:
    QTemporaryDir m_home;
};

PropertyList list(const QByteArray &text)
{
    return platform::readPropertyList(text);
}

} // namespace

TEST_F(Preferences, AreMadeAndReadBack)
{
    EXPECT_TRUE(CFPreferencesCopyAppValue(u"a").isNull());
    EXPECT_TRUE(CFPreferencesAppSynchronize()); // nothing to write
    EXPECT_FALSE(fs::exists(home() / "Library"));

    CFPreferencesSetAppValue(u"a", PropertyList::fromString(u"x"));
    CFPreferencesSetAppValue(u"b", PropertyList::fromInteger(7));
    EXPECT_EQ(CFPreferencesCopyAppValue(u"a").string(), QStringLiteral("x"));
    EXPECT_FALSE(fs::exists(file()));

    const mode_t before = umask(0);
    EXPECT_TRUE(CFPreferencesAppSynchronize());
    umask(before);
    EXPECT_EQ(stored(u"a").string(), QStringLiteral("x"));
    EXPECT_EQ(stored(u"b").integer(), 7);
    EXPECT_EQ(mode(file()), 0600U);
    EXPECT_EQ(mode(folder()), 0700U);
    EXPECT_EQ(mode(home() / "Library"), 0700U);
    EXPECT_EQ(names(), std::vector<std::string>{"com.velmoria.prattlebug.plist"});

    CFPreferencesSetAppValue(u"a", {});
    EXPECT_TRUE(CFPreferencesCopyAppValue(u"a").isNull());
    EXPECT_EQ(stored(u"a").string(), QStringLiteral("x"));
    EXPECT_TRUE(CFPreferencesAppSynchronize());
    EXPECT_TRUE(stored(u"a").isNull());
    EXPECT_EQ(stored(u"b").integer(), 7);
}

TEST_F(Preferences, FollowWhatOtherProgramsWrite)
{
    write("{ a = 1; }");
    EXPECT_EQ(CFPreferencesCopyAppValue(u"a").string(), QStringLiteral("1"));
    write("{ a = 2; b = 3; }");
    EXPECT_EQ(CFPreferencesCopyAppValue(u"a").string(), QStringLiteral("2"));
    CFPreferencesSetAppValue(u"a", PropertyList::fromBoolean(true));
    write("{ a = 4; b = 5; c = 6; }");
    EXPECT_EQ(CFPreferencesCopyAppValue(u"a").boolean(), true); // ours until it is synchronised
    EXPECT_EQ(CFPreferencesCopyAppValue(u"b").string(), QStringLiteral("5"));
    EXPECT_TRUE(CFPreferencesAppSynchronize());
    EXPECT_EQ(stored(u"a").boolean(), true);
    EXPECT_EQ(stored(u"c").string(), QStringLiteral("6"));
    fs::remove(file());
    EXPECT_TRUE(CFPreferencesCopyAppValue(u"a").isNull());
}

TEST_F(Preferences, LeaveEveryOtherValueAsItWas)
{
    // What our values can hold and what they cannot, and one that says nothing to us.
    const QByteArray others =
        "\t<key>nested &amp; \xE6\x97\xA5</key>\n\t<dict>\n\t\t<key>k</key>\n"
        "\t\t<array>\n\t\t\t<integer>-5</integer><string>&#x65E5; <![CDATA[<]]></string>\n"
        "\t\t</array>\n\t</dict>\n"
        "\t<key>large</key>\n\t<integer>18446744073709551615</integer>\n"
        "\t<key>exact</key>\n\t<real>0.10</real>\n"
        "\t<key>early</key>\n\t<date>-0043-03-15T12:00:00Z</date>\n"
        "\t<key>when</key>\n\t<date>ides of March</date>\n"
        "\t<key>no text</key>\n\t<string>\xFF</string>\n"
        "\t<key>\xFF</key>\n\t<true/>\n"
        "\t<key>newer</key>\n\t<url base=\"&gt;\"><a/>b</url>\n"
        "\t<key>none</key>\n\t<null/>\n";
    const QByteArray ours = "\t<key>ours</key>\n\t<true/>\n\t<key>ours</key>\n\t<false/>\n";
    const QByteArray head = "<plist version=\"1.0\">\n<dict>\n";
    write(head + ours + others + "</dict></plist>");
    EXPECT_EQ(CFPreferencesCopyAppValue(u"ours").boolean(), true);
    EXPECT_EQ(CFPreferencesCopyAppValue(u"nested & \u65E5")[u"k"].at(1).string(), QStringLiteral("\u65E5 <"));
    EXPECT_TRUE(CFPreferencesCopyAppValue(u"when").isNull());
    CFPreferencesSetAppValue(u"ours", PropertyList::fromInteger(1));
    EXPECT_TRUE(CFPreferencesAppSynchronize());
    const QByteArray after = contents(file());
    EXPECT_EQ(after.sliced(after.indexOf("<plist")),
              head + others + "\t<key>ours</key>\n\t<integer>1</integer>\n</dict>\n</plist>\n");
    EXPECT_EQ(names().size(), 1U) << "nothing is damaged";
}

TEST_F(Preferences, BecomeTheNearestElementsOfOtherForms)
{
    const struct {
        const char *object; ///< of a binary list, in hexadecimal digits; empty for the text form
        const char *text;
        const char *element;
        bool isDamaged = false;
    } table[] = {
        {"09", "", "<true/>"},
        {"00", "", "<null/>"},
        {"14 0000000000000000 FFFFFFFFFFFFFFFF", "", "<integer>18446744073709551615</integer>"},
        {"14 8000000000000000 0000000000000000", "",
         "<integer>-170141183460469231731687303715884105728</integer>"},
        {"33 C1B0000000000000", "", "<date>1992-06-30T02:35:44Z</date>"},
        {"33 C22E088867800000", "", "<date>-0043-03-15T12:00:00Z</date>"},
        {"33 42F0000000000000", "", "<real>281474976710656</real>"},
        {"33 7FF8000000000000", "", "<real>nan</real>"},
        {"0C", "", "<null/>", true},
        {"", "<*I18446744073709551615>", "<integer>18446744073709551615</integer>"},
        {"", "<*D0000-03-15 12:00:00 +0000>", "<date>0000-03-15 12:00:00 +0000</date>"},
    };
    for (const auto &row : table) {
        const BinaryList binary{
            {hex("D2 01 02 03 04"), hex("51 61"), hex("51 62"), hex(row.object), hex("09")}};
        write(*row.object ? binary.bytes() : QByteArray("{ a = ") + row.text + "; b = YES; }");
        CFPreferencesSetAppValue(u"c", PropertyList::fromInteger(1));
        EXPECT_TRUE(CFPreferencesAppSynchronize());
        EXPECT_EQ(platform::booleanFrom(CFPreferencesCopyAppValue(u"b")), true) << row.element;
        const QByteArray after = contents(file());
        EXPECT_TRUE(after.contains(QByteArray("<key>a</key>\n\t") + row.element + "\n")) << after.constData();
        EXPECT_EQ(names().size(), row.isDamaged ? 2U : 1U) << row.element;
        fs::remove(folder() / names().back());
    }
}

TEST_F(Preferences, SetADamagedFileAside)
{
    const fs::path aside = file().native() + ".damaged";
    for (const QByteArray damaged : {"<plist><dict><key>a</key></dict></plist>", "(\"no dictionary\")", ""}) {
        write(damaged);
        EXPECT_TRUE(CFPreferencesCopyAppValue(u"a").isNull());
        EXPECT_EQ(contents(file()), damaged); // asking changes nothing
        CFPreferencesSetAppValue(u"a", PropertyList::fromInteger(1));
        EXPECT_TRUE(CFPreferencesAppSynchronize());
        EXPECT_EQ(stored(u"a").integer(), 1);
        CFPreferencesSetAppValue(u"b", PropertyList::fromInteger(2));
        EXPECT_TRUE(CFPreferencesAppSynchronize()); // which sets nothing aside
    }
    EXPECT_EQ(contents(aside), "<plist><dict><key>a</key></dict></plist>");
    EXPECT_EQ(contents(aside.native() + "-2"), "(\"no dictionary\")");
    EXPECT_EQ(contents(aside.native() + "-3"), "");
    EXPECT_EQ(names().size(), 4U);
}

TEST_F(Preferences, LeaveWhatCannotBeReadAndKeepTheChange)
{
    fs::create_directories(file());
    CFPreferencesSetAppValue(u"a", PropertyList::fromInteger(1));
    EXPECT_FALSE(CFPreferencesAppSynchronize());
    EXPECT_TRUE(fs::is_directory(file()));
    EXPECT_EQ(CFPreferencesCopyAppValue(u"a").integer(), 1);
    fs::remove(file());
    EXPECT_TRUE(CFPreferencesAppSynchronize());
    EXPECT_EQ(stored(u"a").integer(), 1);
}

TEST_F(Preferences, CannotBeWrittenWhereAFileStandsInTheWay)
{
    std::ignore = platform::writeAtomically(home() / "Library", "a file");
    CFPreferencesSetAppValue(u"a", PropertyList::fromInteger(1));
    EXPECT_FALSE(CFPreferencesAppSynchronize());
    EXPECT_EQ(contents(home() / "Library"), "a file");
}

TEST_F(Preferences, ReplaceASymbolicLink)
{
    fs::create_directories(folder());
    const QByteArray elsewhere = "{ a = b; }";
    ASSERT_TRUE(platform::writeAtomically(home() / "elsewhere", elsewhere));
    fs::create_symlink(home() / "elsewhere", file());
    CFPreferencesSetAppValue(u"c", PropertyList::fromInteger(1));
    EXPECT_TRUE(CFPreferencesAppSynchronize());
    EXPECT_FALSE(fs::is_symlink(file()));
    EXPECT_EQ(stored(u"a").string(), QStringLiteral("b"));
    EXPECT_EQ(contents(home() / "elsewhere"), elsewhere);

    fs::remove(file());
    fs::create_symlink(home() / "nowhere", file());
    CFPreferencesSetAppValue(u"c", PropertyList::fromInteger(2));
    EXPECT_TRUE(CFPreferencesAppSynchronize());
    EXPECT_EQ(stored(u"c").integer(), 2);
    EXPECT_FALSE(fs::exists(home() / "nowhere"));
}

TEST_F(Preferences, BelongToTheHomeFolder)
{
    CFPreferencesSetAppValue(u"a", PropertyList::fromInteger(1));
    const QTemporaryDir other;
    setenv("HOME", qPrintable(other.path()), 1);
    EXPECT_TRUE(CFPreferencesCopyAppValue(u"a").isNull());
    EXPECT_TRUE(CFPreferencesAppSynchronize());
    setenv("HOME", home().c_str(), 1);
    EXPECT_EQ(CFPreferencesCopyAppValue(u"a").integer(), 1);
}

TEST_F(Preferences, LoseNothingWhenProgramsWriteAtOnce)
{
    constexpr int programs = 2;
    constexpr int keys = 200;
    std::vector<pid_t> children;
    for (int program = 0; program < programs; ++program) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            bool succeeded = true;
            for (int i = 0; i < keys; ++i) {
                CFPreferencesSetAppValue(QStringLiteral("%1-%2").arg(program).arg(i),
                                         PropertyList::fromInteger(i));
                succeeded = CFPreferencesAppSynchronize() && succeeded;
            }
            _exit(succeeded ? 0 : 1);
        }
        children.push_back(child);
    }
    for (const pid_t child : children) {
        int status = 0;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    }
    const PropertyList all = platform::readPropertyList(contents(file()));
    EXPECT_EQ(all.count(), quint32(programs * keys));
    for (int program = 0; program < programs; ++program) {
        for (int i = 0; i < keys; ++i)
            EXPECT_EQ(all[QStringLiteral("%1-%2").arg(program).arg(i)].integer(), i);
    }
    EXPECT_EQ(names().size(), 1U);
}

TEST(PreferenceValues, AreTakenAsBooleansAndIntegers)
{
    const struct {
        const char *text;
        std::optional<bool> boolean;
        std::optional<qint64> integer;
    } table[] = {
        {"<*BY>", true, 1},
        {"<*BN>", false, 0},
        {"<*I0>", false, 0},
        {"<*I-3>", true, -3},
        {"<*R0>", false, 0},
        {"<*R-0.5>", true, 0},
        {"<*R-7.9>", true, -7},
        {"<*R9223372036854774784>", true, 9223372036854774784},
        {"<*R9223372036854775808>", true, std::nullopt},
        {"<*R-9223372036854775808>", true, std::numeric_limits<qint64>::min()},
        {"<*Rnan>", true, std::nullopt},
        {"yEs", true, std::nullopt},
        {"TRUE", true, std::nullopt},
        {"1", true, 1},
        {"no", false, std::nullopt},
        {"False", false, std::nullopt},
        {"0", false, 0},
        {"2", std::nullopt, 2},
        {"\"+12\"", std::nullopt, 12},
        {"-12", std::nullopt, -12},
        {"\"+-12\"", std::nullopt, std::nullopt},
        {"\"12 \"", std::nullopt, std::nullopt},
        {"\"\"", std::nullopt, std::nullopt},
        {"0x10", std::nullopt, std::nullopt},
        {"9223372036854775807", std::nullopt, 9223372036854775807},
        {"9223372036854775808", std::nullopt, std::nullopt},
        {"\"\\U0661\"", std::nullopt, std::nullopt}, // a digit, but not one of ours
        {"<00>", std::nullopt, std::nullopt},
        {"(1)", std::nullopt, std::nullopt},
        {"{ }", std::nullopt, std::nullopt},
    };
    for (const auto &row : table) {
        EXPECT_EQ(booleanFrom(list(row.text)), row.boolean) << row.text;
        EXPECT_EQ(integerFrom(list(row.text)), row.integer) << row.text;
    }
    EXPECT_EQ(booleanFrom({}), std::nullopt);
    EXPECT_EQ(integerFrom({}), std::nullopt);
}
