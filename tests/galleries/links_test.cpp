#include "VORALogGenerator.h"

#include "tests/support/fulldisk.h"
#include "tests/support/testhome.h"
#include "tests/support/transcripts.h"

#include "platform/date/calendar.h"
#include "platform/foundation/scalars.h"
#include "platform/preferences/preferences.h"

#include <gmock/gmock.h>

using platform::NSDate;

namespace {

struct Sent {
    const char *speaker;
    NSDate date;
    std::vector<QString> links;
};

class Links : public TestHome {
protected:
    static constexpr const char *storeName = "Library/Prattlebug/gatheredURLs.plist";
    static constexpr const char *pageTemplate = "N=____NAME C=____CONTENTS L=____LINKS.";

    Links() { std::filesystem::create_directories(home() / "Library/Prattlebug"); }

    static std::unique_ptr<VORAChatLog> chat(const std::vector<Sent> &sent)
    {
        VORAChatLog::Messages messages;
        for (const Sent &message : sent) {
            platform::NSAttributedString text(QStringLiteral("see "));
            for (const QString &link : message.links)
                text.append(u"x", makeAttributes({{QStringLiteral("NSLink"),
                                                   std::make_shared<platform::NSString>(link)}}));
            messages.push_back(std::make_shared<VORAInstantMessage>(
                std::make_shared<VORAPresentity>(QStringLiteral("Jabber"),
                                                 QString::fromUtf8(message.speaker)),
                std::make_shared<platform::NSAttributedString>(text), message.date));
        }
        return VORAChatLog::withMessages(messages, QStringLiteral("Ann"));
    }

    void useTemplate() const { write("Library/Prattlebug/linktemplate.html", pageTemplate); }
    [[nodiscard]] std::string page(const char *name) const
    {
        return read(home() / "Library/Prattlebug" / name).toStdString();
    }
    [[nodiscard]] QByteArray store() const { return read(home() / storeName); }
    [[nodiscard]] bool hasPages() const
    {
        return std::filesystem::exists(home() / "Library/Prattlebug/Links.html");
    }
    [[nodiscard]] static std::optional<qint64> reportedFailures()
    {
        return platform::CFPreferencesCopyAppValue(u"emailFails").integer();
    }
};

NSDate local(int year, int month, int day, int hour = 20)
{
    return platform::dateFromUtc(year, month, day, hour + 8, 3, 0).value(); // winter in Los Angeles
}

} // namespace

TEST_F(Links, MakePagesBySpeakerAndMonth)
{
    useTemplate();
    const auto chatLog =
        chat({{"Ann Lee", local(2006, 2, 1), {QStringLiteral("http://b/")}},
              {"Bob", local(2006, 3, 5), {QStringLiteral("http://c/?<&\"")}},
              {"Ann Lee", local(2006, 3, 10), {QStringLiteral("http://a/") + QString(40, u'x')}}});
    VORALogGenerator::GenerateLinkFiles(chatLog.get());

    const std::string a =
        "<li><span><a href=\"http://a/xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx\" target=\"_blank\">"
        "http://a/xxxxxxxxxxx . . . xxxxxxxxxxxxxxxxxxxx</a> -- Ann Lee, Fri March 10, 08:03PM</span></li>";
    const std::string b = "<li><span><a href=\"http://b/\" target=\"_blank\">http://b/</a> -- Ann Lee, Wed "
                          "February 1, 08:03PM</span></li>";
    const std::string c =
        "<li><span><a href=\"http://c/?<&\"\" target=\"_blank\">http://c/?<&\"</a> -- Bob, Sun March 5, "
        "08:03PM</span></li>";
    const std::string march = "\n<h3>March 2006</h3><ul class=\"links\">\n";
    const std::string february = "\n<h3>February 2006</h3><ul class=\"links\">\n";
    const auto contents = [](int active) {
        const std::string items[] = {
            "<a href=\"Links.html\">All</a><span class=\"numb\">(3)</span></li>",
            "<a href=\"Ann%20Lee.html\">Ann Lee</a><span class=\"numb\">(2)</span></li>",
            "<a href=\"Bob.html\">Bob</a><span class=\"numb\">(1)</span></li>"};
        std::string list;
        for (int i = 0; i < 3; ++i)
            list += (i == active ? "<li class=\"active\">" : "<li>") + items[i];
        return list;
    };
    EXPECT_EQ(page("Ann Lee.html"),
              "N=Ann Lee C=" + contents(1) + " L=" + march + a + "</ul>" + february + b + "</ul>.");
    EXPECT_EQ(page("Bob.html"), "N=Bob C=" + contents(2) + " L=" + march + c + "</ul>.");
    EXPECT_EQ(page("Links.html"),
              "N=Links C=" + contents(0) + " L=" + march + a + c + "</ul>" + february + b + "</ul></ul>.");
}

TEST_F(Links, AreKeptNewestFirstAndNeverMerged)
{
    const auto newer = chat({{"Ann", local(2006, 3, 10), {QStringLiteral("1"), QStringLiteral("2")}},
                             {"ann", local(2006, 3, 9), {QStringLiteral("3")}}});
    const auto older = chat({{"Ann", local(2005, 1, 1), {QStringLiteral("4")}}});
    VORALogGenerator::GenerateLinkFiles(newer.get());
    VORALogGenerator::GenerateLinkFiles(older.get());
    VORALogGenerator::GenerateLinkFiles(newer.get());
    auto loaded = galleries::LinkStore::load(home() / storeName);
    ASSERT_TRUE(loaded);
    ASSERT_EQ(loaded->speakers().size(), 2U) << "letter case counts";
    const auto *links = VORALogGenerator::FindSpeakerArray(QStringLiteral("Ann"), *loaded);
    ASSERT_TRUE(links);
    QString order;
    for (const galleries::LinkEntry &entry : *links)
        order += entry.linkurl;
    EXPECT_EQ(order, QStringLiteral("12124"));
    EXPECT_FALSE(VORALogGenerator::FindSpeakerArray(QStringLiteral("Bob"), *loaded));
    EXPECT_FALSE(hasPages()) << "there is no template";

    const auto before = store();
    VORALogGenerator::GenerateLinkFiles(nullptr);
    EXPECT_EQ(store(), before);
}

TEST_F(Links, ComeBackFromTheStoreAsTheyWere)
{
    const char16_t odd[] = {u'a', 1, 0xD83D, u'\r', u'\n', u'&', u'<', 0xFFFE, 0};
    const auto chatLog = chat({{"x\ry", local(2006, 1, 1), {QString::fromUtf16(odd)}}});
    VORALogGenerator::GenerateLinkFiles(chatLog.get());
    VORALogGenerator::GenerateLinkFiles(chatLog.get());
    const auto loaded = galleries::LinkStore::load(home() / storeName);
    ASSERT_TRUE(loaded);
    ASSERT_EQ(loaded->speakers().size(), 1U) << "the name is found again";
    EXPECT_EQ(loaded->speakers()[0].name, QStringLiteral("x\ry"));
    EXPECT_EQ(loaded->speakers()[0].entries[1].linkurl, QStringLiteral("a\uFFFD\uFFFD\r\n&<\uFFFD"));
}

TEST_F(Links, AreReadFromEveryFormOfStore)
{
    const auto chatLog = chat({{"Bob", local(2006, 1, 1), {QStringLiteral("new")}}});
    write(storeName,
          "({speaker = Ann; urls = ({date = \"2005-03-01 21:07:45 -0800\"; linkurl = \"http://x\";});},"
          " {speaker = Nobody; urls = ();})");
    useTemplate();
    VORALogGenerator::GenerateLinkFiles(chatLog.get());
    EXPECT_TRUE(store().startsWith("<?xml")) << store().constData();
    const auto loaded = galleries::LinkStore::load(home() / storeName);
    ASSERT_TRUE(loaded);
    EXPECT_EQ(loaded->total(), 2);
    EXPECT_EQ(platform::utcDescription(loaded->speakers()[0].entries[0].date),
              QStringLiteral("2005-03-02T05:07:45Z"));
    EXPECT_THAT(page("Nobody.html"), testing::EndsWith("L=.")) << "no links, no sections";
}

TEST_F(Links, StayAsTheyWereInAStoreThatCannotBeRead)
{
    useTemplate();
    const auto chatLog = chat({{"Ann", local(2006, 1, 1), {QStringLiteral("x")}}});
    qint64 failures = 0;
    for (const char *bytes : {"no property list {", "{}", "(text)", "({speaker = Ann;})", "({urls = ();})",
                              "({speaker = Ann; urls = ({linkurl = x;});})",
                              "({speaker = Ann; urls = ({date = y; linkurl = x;});})"}) {
        write(storeName, bytes);
        VORALogGenerator::GenerateLinkFiles(chatLog.get());
        EXPECT_EQ(store(), bytes);
        EXPECT_EQ(reportedFailures(), ++failures) << bytes;
        EXPECT_FALSE(hasPages());
    }
    EXPECT_EQ(platform::CFPreferencesCopyAppValue(u"errorStatus").integer(), 1);
    EXPECT_EQ(platform::CFPreferencesCopyAppValue(u"reportThis").string(), QStringLiteral("permissions"));
    EXPECT_THAT(consoleLog().toStdString(),
                testing::HasSubstr("Link file failed to write to path: " + (home() / storeName).native()));
    EXPECT_EQ(beeps(), 1) << "with the third failure only";
    EXPECT_EQ(dialogs(),
              QStringList(QStringLiteral("Prattlebug has encountered an error. Please go to the Prattlebug "
                                         "preferences pane for more information.")));

    VORALogGenerator::GenerateLinkFiles(nullptr);
    EXPECT_EQ(reportedFailures(), failures);
    EXPECT_EQ(page("Links.html"), "N=Links C=<li class=\"active\"><a href=\"Links.html\">All</a><span "
                                  "class=\"numb\">(0)</span></li> L=</ul>.");

    platform::CFPreferencesSetAppValue(u"emailFails", platform::PropertyList());
    std::filesystem::remove_all(home() / "Library/Prattlebug");
    for (int i = 0; i < 4; ++i)
        VORALogGenerator::GenerateLinkFiles(chatLog.get());
    EXPECT_EQ(reportedFailures(), 4) << "there is no support folder";
    EXPECT_EQ(beeps(), 2) << "once more after the count was cleared";
}

TEST_F(Links, AreWhollyOldOrWhollyNewOnAFullDisk)
{
    write("Library/Prattlebug/linktemplate.html", "____LINKS" + QByteArray(50'000, ' '));
    const auto foldLinksOf = [](const char *speaker) {
        const auto chatLog = chat({{speaker, local(2006, 1, 1), {QString(10'000, u'x')}}});
        VORALogGenerator::GenerateLinkFiles(chatLog.get());
    };
    foldLinksOf("Ann");
    const auto storeOfAnn = store();
    const auto pageOfAnn = page("Links.html");
    {
        const FullDisk nothingFits(5'000);
        foldLinksOf("Bob");
    }
    EXPECT_TRUE(store() == storeOfAnn);
    EXPECT_TRUE(page("Links.html") == pageOfAnn);
    EXPECT_EQ(platform::CFPreferencesCopyAppValue(u"errorStatus").integer(), 1);
    EXPECT_EQ(reportedFailures(), 1);
    {
        const FullDisk theStoreFits(40'000);
        foldLinksOf("Bob");
    }
    EXPECT_EQ(galleries::LinkStore::load(home() / storeName)->total(), 2);
    EXPECT_TRUE(page("Links.html") == pageOfAnn);
    const auto folder = std::filesystem::directory_iterator(home() / "Library/Prattlebug");
    EXPECT_EQ(std::distance(begin(folder), end(folder)), 4)
        << "store, template and two pages of Ann, no parts";
}

TEST_F(Links, OfMorePeopleThanSitInAnyChatAreLeftOut)
{
    std::vector<std::string> names;
    for (int i = 0; i < 101; ++i)
        names.push_back("friend" + std::to_string(i));
    std::vector<Sent> sent;
    for (const std::string &name : names)
        sent.push_back({name.c_str(), local(2006, 1, 1), {QStringLiteral("x")}});
    VORALogGenerator::GenerateLinkFiles(chat(sent).get());
    EXPECT_EQ(galleries::LinkStore::load(home() / storeName)->total(), 0);
    EXPECT_EQ(consoleLog().count("come from too many people and have been left out."), 1);
    sent.pop_back();
    VORALogGenerator::GenerateLinkFiles(chat(sent).get());
    EXPECT_EQ(galleries::LinkStore::load(home() / storeName)->total(), 100);
}

TEST_F(Links, ExtendABookmarkLog)
{
    const auto chatLog =
        chat({{"Ann", local(2005, 3, 7, 15), {QStringLiteral("http://a/%@"), QStringLiteral("b")}}});
    const auto log = write("bookmarks", "old \xE9\n");
    chatLog->ExtendURLLog(log);
    EXPECT_EQ(read(log), "old \xE9\n") << "there is no format";

    setPreferences("<key>bookmarkEntry</key><string>%@ %@ %@ (%@) 100%% %s %@\n</string>");
    chatLog->ExtendURLLog(log);
    EXPECT_EQ(read(log), "old \xE9\n"
                         "http://a/%@ http://a/%@ Ann (Mon March 7, 03:03PM) 100% %s %@\n"
                         "b b Ann (Mon March 7, 03:03PM) 100% %s %@\n");

    write("utf16", QByteArray("\xFF\xFEx\0", 4));
    setPreferences("<key>bookmarkEntry</key><string>é</string>");
    chat({{"Ann", local(2005, 3, 7), {QStringLiteral("a")}}})->ExtendURLLog(home() / "utf16");
    EXPECT_EQ(read(home() / "utf16"), QByteArray("\xFF\xFEx\0\xE9\0", 6));

    chatLog->ExtendURLLog(home() / "missing");
    EXPECT_FALSE(std::filesystem::exists(home() / "missing"));
}
