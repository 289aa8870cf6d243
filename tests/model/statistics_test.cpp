#include "VORALogGenerator.h"

#include "tests/support/testhome.h"
#include "tests/support/transcripts.h"

#include "platform/date/calendar.h"
#include "platform/propertylist/propertylist.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sstream>
#include <sys/stat.h>

using platform::NSDate;

namespace {

constexpr auto everyToken = R"(1 ____USERTOTAL
2 ____OTHERTOTAL
3 ____SUMTOTAL
4 ____USERWORDAVG
5 ____OTHERWORDAVG
6 ____SUMWORDAVG
7 ____CHATRATIOSIZE
8 ____CHATIMAGEAVG
9 ____CHATLINKAVG
10 ____CHATIMAGETOTAL
11 ____CHATLINKTOTAL
12 ____USERCURSETOTAL
13 ____OTHERCURSETOTAL
14 ____SUMCURSETOTAL
15 ____CURSERATIOSIZE
16 ____CURSERECRATIOSIZE
17 ____NETSPEAKTOTAL
18 ____NETSPEAKOTHERTOTAL
19 ____NETSPEAKSUMTOTAL
20 ____NETSPEAKRATIOSIZE
21 ____DATE1
22 ____DATE2
23 ____AVGCHATSPERDAY
)";

/// Noon of 1 March 2005 in Los Angeles, and days after it, as the chats' dates count.
constexpr double noon = 131400000;
constexpr double secondsPerDay = 86400;

QByteArray words(int count)
{
    return QByteArray("word ").repeated(count);
}

/// A support folder with the template above.
class StatisticsTest : public TestHome {
protected:
    StatisticsTest() { writeSupport("statstemplate.html", everyToken); }

    [[nodiscard]] std::filesystem::path support() const { return home() / "Library" / "Prattlebug"; }
    void writeSupport(const char *name, const std::string &bytes) const
    {
        write(support() / name, QByteArray::fromStdString(bytes));
    }
    /// A store with these pairs of the older text form.
    void writeStore(const std::string &pairs) const { writeSupport("talkmeter.plist", "{" + pairs + "}"); }

    void fold(const std::vector<TestMessage> &messages) const
    {
        const auto chat =
            VORAChatLog::initWithFilePath(write("Kim on 2005-03-01.ichat", keyedTranscript(messages)));
        VORALogGenerator::UpdateStatistics(*chat);
    }
    /// Folds in what Kim said and then Sam, at noon of 1 March or so many days later.
    void fold(const QByteArray &kim, const QByteArray &sam, double days = 0) const
    {
        const double time = noon + days * secondsPerDay;
        fold({{"Jabber", "Kim", kim, time - 60}, {"Jabber", "sam", sam, time}});
    }

    [[nodiscard]] std::string file(const char *name) const { return read(support() / name).toStdString(); }
    /// What stands in the page for the token of that number.
    [[nodiscard]] std::string value(int token) const
    {
        std::istringstream page(file("stats.html"));
        std::string line;
        for (int i = 0; i < token; ++i)
            std::getline(page, line);
        return line.substr(std::to_string(token).size() + 1);
    }
    [[nodiscard]] platform::PropertyList store() const
    {
        return platform::readPropertyList(QByteArray::fromStdString(file("talkmeter.plist")));
    }
    [[nodiscard]] std::optional<qint64> stored(QStringView key) const { return store()[key].integer(); }
    /// A stored date as the page shows it.
    [[nodiscard]] std::string storedDay(QStringView key) const
    {
        const auto date = store()[key].date();
        return date ? platform::descriptionWithCalendarFormat(*date, u"%B %e, %Y").toStdString() : "none";
    }
    /// How many seconds ago a stored date was.
    [[nodiscard]] double storedAge(QStringView key) const
    {
        const auto date = store()[key].date();
        return NSDate::now().timeIntervalSinceReferenceDate() -
               (date ? date->timeIntervalSinceReferenceDate() : 0);
    }
};

} // namespace

TEST_F(StatisticsTest, OfAFirstChatFillEveryToken)
{
    fold(words(30), words(10));
    EXPECT_GE(storedAge(u"startDate"), 0);
    EXPECT_LT(storedAge(u"startDate"), 3600);

    // The chat is older than the statistics, which begin now.
    EXPECT_EQ(file("stats.html"),
              "1 10\n2 30\n3 40\n4 10.0\n5 30.0\n6 40.0\n7 75\n8 0.0\n9 0.0\n10 0\n11 0\n12 0\n13 0\n14 "
              "0\n15 0\n16 "
              "0\n17 0\n18 0\n19 0\n20 0\n21 " +
                  storedDay(u"startDate") + "\n22 March 1, 2005\n23 -0.0\n");
    EXPECT_EQ(store().count(), 11U);
    EXPECT_EQ(stored(u"usertextcount"), 10);
    EXPECT_EQ(stored(u"othertextcount"), 30);
    EXPECT_EQ(stored(u"chatcount"), 1);
    EXPECT_EQ(store()[u"endDate"].date(), NSDate::fromInterval(noon));
    EXPECT_THAT(file("talkmeter.plist"), testing::StartsWith("<?xml"));
}

TEST_F(StatisticsTest, AddUpInTheStore)
{
    writeSupport("curses.plist", "(damn, \"damn!\")");
    writeSupport("netspeak.plist", "<plist><array><string>lol</string><string>brb</string></array></plist>");
    writeStore(
        "usertextcount = 90; othertextcount = 6; cursecount = 1; othercursecount = 2; netspeakcount = 3; "
        "othernetspeakcount = 4; imagecount = 7; linkcount = 2; chatcount = 3; "
        "startDate = <*D2005-02-19 12:00:00 -0800>; endDate = <*D2030-01-01 00:00:00 +0000>; other = 1;");
    fold("damn! lol brb LOL", "damn damn lol word word word");
    EXPECT_EQ(file("stats.html"),
              "1 96\n2 10\n3 106\n4 24.0\n5 2.5\n6 26.5\n7 272\n8 1.8\n9 0.5\n10 7\n11 2\n12 "
              "3\n13 3\n14 6\n15 9\n16 90\n17 4\n18 6\n19 10\n20 12\n21 February 19, 2005\n22 "
              "March 1, 2005\n23 0.4\n");
    EXPECT_EQ(store().count(), 11U);
    EXPECT_EQ(stored(u"chatcount"), 4);
    EXPECT_EQ(store()[u"endDate"].date(), NSDate::fromInterval(noon));

    fold("lol", "lol", -1); // an older chat moves the end back; the start stays
    EXPECT_EQ(value(21), "February 19, 2005");
    EXPECT_EQ(value(22), "February 28, 2005");
    EXPECT_EQ(stored(u"othernetspeakcount"), 7);
}

TEST_F(StatisticsTest, BeginAnewFromAStoreOfTheWrongShape)
{
    const struct {
        const char *store;
        const char *userTotal;
        const char *start;
    } table[] = {
        {"not a property list {", "2", "April 5, 2004"},
        {"( usertextcount, 5 )", "2", "April 5, 2004"},
        {"", "2", "April 5, 2004"},
        {"{ usertextcount = 5; }", "7", "April 5, 2004"},
        {"{ usertextcount = 5; startDate = \"2004-01-01\"; }", "7", "April 5, 2004"},
        {"{ usertextcount = 5; startDate = \"2004-02-01 12:00:00 +0000\"; }", "7", "February 1, 2004"},
        {"{ usertextcount = (5); startDate = <*D2004-02-01 12:00:00 +0000>; }", "2", "February 1, 2004"},
        {"<plist><dict><key>usertextcount</key><real>5.9</real></dict></plist>", "7", "April 5, 2004"},
        {"<plist><dict><key>usertextcount</key><real>nan</real></dict></plist>", "2", "April 5, 2004"},
        {"<plist><dict><key>usertextcount</key><real>1e300</real></dict></plist>", "2147483647",
         "April 5, 2004"},
        {"<plist><dict><key>usertextcount</key><integer>-4000000000</integer></dict></plist>", "-2147483646",
         "April 5, 2004"},
    };
    for (const auto &row : table) {
        writeSupport("talkmeter.plist", row.store);
        // Of a folder, the earlier of birth and change counts as its creation.
        const timespec changed{.tv_sec = 1081191600, .tv_nsec = 0}; // 5 April 2004, noon
        const timespec times[] = {changed, changed};
        ASSERT_EQ(utimensat(AT_FDCWD, support().c_str(), times, 0), 0);
        fold("word", "two words");
        EXPECT_EQ(value(1), row.userTotal) << row.store;
        EXPECT_EQ(value(21), row.start) << row.store;
        EXPECT_EQ(stored(u"chatcount"), 1) << row.store;
        EXPECT_EQ(storedDay(u"startDate"), row.start) << row.store;
    }
}

TEST_F(StatisticsTest, CountNothingForAMissingOrBrokenWordList)
{
    for (const char *list : {"", "no list {", "{ word = word; }", "word", "( word, ( word ) )",
                             "<plist><array><string>word</string><integer>1</integer></array></plist>"}) {
        std::filesystem::remove(support() / "curses.plist");
        if (*list)
            writeSupport("curses.plist", list);
        writeSupport("netspeak.plist", "( word )");
        std::filesystem::remove(support() / "talkmeter.plist");
        fold("word", "word word");
        EXPECT_EQ(value(14), "0") << list;
        EXPECT_EQ(value(19), "3") << list;
    }
}

TEST_F(StatisticsTest, DivideInSinglePrecisionAndRoundAsTheFormatterOfC)
{
    const struct {
        const char *what;
        const char *store;
        int token;
        const char *value;
    } table[] = {
        {"the number after 2 to the 24th", "usertextcount = 16777217", 4, "16777216.0"},
        {"and as a whole number", "usertextcount = 16777217", 1, "16777217"},
        {"a sum of two that are exact", "usertextcount = 16777216; othertextcount = 1", 6, "16777216.0"},
        {"half to even, one digit", "linkcount = 1; chatcount = 3", 9, "0.2"},
        {"half to even, up", "linkcount = 3; chatcount = 3", 9, "0.8"},
        {"half to even, no digit", "usertextcount = 24; cursecount = 1", 15, "12"},
        {"half to even, up", "usertextcount = 24; cursecount = 3", 15, "38"},
        {"a tenth is above it in single precision", "linkcount = 1; chatcount = 19", 9, "0.1"},
        {"no words of the user's", "othertextcount = 1", 15, "nan"},
        {"no words of the user's", "othertextcount = 1", 20, "nan"},
        {"no words of the other's", "usertextcount = 1", 16, "nan"},
        {"no words at all", "", 7, "nan"},
        {"no chats", "chatcount = -1", 4, "nan"},
        {"the user alone", "usertextcount = 1", 7, "300"},
        {"the end of the range", "usertextcount = 2147483647; othertextcount = 5", 3, "2147483647"},
        {"the end of the range", "othernetspeakcount = 2147483647; netspeakcount = 2147483647", 19,
         "2147483647"},
    };
    for (const auto &row : table) {
        writeStore(std::string(row.store) + (*row.store ? ";" : ""));
        fold("", "");
        EXPECT_EQ(value(row.token), row.value) << row.what;
    }

    writeStore("othertextcount = 2147483646; chatcount = 2147483647;");
    fold("one two three", "");
    EXPECT_EQ(stored(u"othertextcount"), 2147483647);
    EXPECT_EQ(stored(u"chatcount"), 2147483647);
}

TEST_F(StatisticsTest, CoverWholeDaysOnly)
{
    const struct {
        double days;
        const char *chatsPerDay;
    } table[] = {{10, "0.5"}, {10.99, "0.5"}, {0.99, "0.0"}, {0, "0.0"}, {-0.99, "0.0"}, {-1.5, "-5.0"}};
    for (const auto &row : table) {
        writeStore("chatcount = 4; startDate = <*D2005-03-01 12:00:00 -0800>;");
        fold("word", "word", row.days);
        EXPECT_EQ(value(23), row.chatsPerDay) << row.days;
    }
}

TEST_F(StatisticsTest, EndNowForAChatWithoutMessages)
{
    writeStore("startDate = <*D2005-03-05 12:00:00 -0800>;");
    fold(std::vector<TestMessage>{});
    EXPECT_EQ(value(21), "March 5, 2005");
    EXPECT_GE(storedAge(u"endDate"), 0);
    EXPECT_LT(storedAge(u"endDate"), 3600);
    EXPECT_EQ(stored(u"chatcount"), 1);
}

TEST_F(StatisticsTest, FillTheTemplateThatIsThere)
{
    writeSupport("statstemplate.html",
                 "<p>____USERTOTAL of ____SUMTOTAL, ____USERTOTAL; ____usertotal ____NAME \xFF");
    fold("one", "one two");
    EXPECT_EQ(file("stats.html"), "<p>2 of 3, 2; ____usertotal ____NAME \xFF");

    writeSupport("statstemplate.html", "no token");
    fold("one", "one two");
    EXPECT_EQ(file("stats.html"), "no token");

    std::filesystem::remove(support() / "statstemplate.html");
    fold("one", "one two");
    EXPECT_EQ(file("stats.html"), "no token");
    EXPECT_EQ(stored(u"usertextcount"), 6);
}

TEST_F(StatisticsTest, CarryOnWhenNothingCanBeWritten)
{
    std::filesystem::create_directory(support() / "talkmeter.plist");
    fold("one", "one two");
    EXPECT_EQ(value(1), "2");
    EXPECT_TRUE(std::filesystem::is_directory(support() / "talkmeter.plist"));

    std::filesystem::remove_all(support());
    fold("one", "one two");
    EXPECT_FALSE(std::filesystem::exists(support()));
}
