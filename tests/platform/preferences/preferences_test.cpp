#include "platform/preferences/preferences.h"

#include "platform/files/files.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using platform::booleanFromPreference;
using platform::CFPreferencesAppSynchronize;
using platform::CFPreferencesCopyAppValue;
using platform::CFPreferencesSetAppValue;
using platform::integerFromPreference;
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
        ASSERT_FALSE(platform::writeAtomically(file(), bytes));
    }
    static QByteArray contents(const fs::path &path)
    {
        return platform::readWholeFile(path).bytes.value_or("(none)");
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

TEST_F(Preferences, KeepWhatOtherProgramsKnow)
{
    write("<plist><dict><key>nested</key><dict><key>k</key><array><integer>-5</integer><string>\xE6\x97\xA5 "
          "&amp;</string>"
          "</array></dict><key>data</key><data>AAEC</data><key>date</key><date>2005-03-01T21:07:45Z</date>"
          "<key>real</key><real>0.1</real><key>ours</key><true/><key>ours</key><false/></dict></plist>");
    CFPreferencesSetAppValue(u"ours", PropertyList::fromInteger(1));
    EXPECT_TRUE(CFPreferencesAppSynchronize());
    EXPECT_EQ(stored(u"nested")[u"k"].at(0).integer(), -5);
    EXPECT_EQ(stored(u"nested")[u"k"].at(1).string(), QStringLiteral("\u65E5 &"));
    EXPECT_EQ(stored(u"data").data(), QByteArray("\0\1\2", 3));
    EXPECT_EQ(stored(u"date").date(), platform::NSDate::fromUnixTime(1109711265));
    EXPECT_EQ(stored(u"real").real(), 0.1);
    EXPECT_EQ(stored(u"ours").integer(), 1);
    EXPECT_EQ(platform::readPropertyList(contents(file())).count(), 5U); // "ours" came twice
}

TEST_F(Preferences, ReadTheBinaryForm)
{
    // { on = true }
    write(QByteArray::fromHex("62706c6973743030 d10102 526f6e 09 08 0b 0e"
                              "000000000000 01 01 0000000000000003 0000000000000000 000000000000000f"));
    EXPECT_EQ(CFPreferencesCopyAppValue(u"on").boolean(), true);
}

TEST_F(Preferences, SetADamagedFileAside)
{
    const fs::path aside = file().native() + ".damaged";
    for (const QByteArray damaged : {"<plist><dict><key>a</key>", "(\"no dictionary\")", ""}) {
        write(damaged);
        EXPECT_TRUE(CFPreferencesCopyAppValue(u"a").isNull());
        EXPECT_EQ(contents(file()), damaged); // asking changes nothing
        CFPreferencesSetAppValue(u"a", PropertyList::fromInteger(1));
        EXPECT_TRUE(CFPreferencesAppSynchronize());
        EXPECT_EQ(stored(u"a").integer(), 1);
    }
    EXPECT_EQ(contents(aside), "<plist><dict><key>a</key>");
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
    ASSERT_FALSE(platform::writeAtomically(home() / "elsewhere", elsewhere));
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
        EXPECT_EQ(booleanFromPreference(list(row.text)), row.boolean) << row.text;
        EXPECT_EQ(integerFromPreference(list(row.text)), row.integer) << row.text;
    }
    EXPECT_EQ(booleanFromPreference({}), std::nullopt);
    EXPECT_EQ(integerFromPreference({}), std::nullopt);
}
