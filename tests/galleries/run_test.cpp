#include "VORALogGenerator.h"

#include "tests/support/fulldisk.h"
#include "tests/support/testhome.h"
#include "tests/support/transcripts.h"

#include "galleries/gallery.h"
#include "galleries/writeschedule.h"

#include "platform/appkit/nsfilewrapper.h"
#include "platform/files/files.h"
#include "platform/foundation/scalars.h"
#include "platform/preferences/preferences.h"
#include "platform/propertylist/propertylist.h"

#include <gmock/gmock.h>

#include <functional>
#include <map>
#include <random>
#include <span>

namespace filesystem = std::filesystem;
using platform::NSDate;
using Clock = VORALogGenerator::Run::Clock;
using Chats = std::vector<std::unique_ptr<VORAChatLog>>;

namespace {

/// Shows a minute more each time it is asked, if it runs.
class TestClock {
public:
    bool isRunning = true;

    [[nodiscard]] std::function<Clock::time_point()> now()
    {
        return [this] { return m_time += std::chrono::minutes(isRunning ? 1 : 0); };
    }
    void add(std::chrono::minutes time) { m_time += time; }

private:
    Clock::time_point m_time;
};

/// Chats with links and files, many of them within the same seconds.
Chats randomChats(unsigned seed, int count)
{
    std::mt19937 random(seed);
    const auto below = [&random](int end) { return int(random() % unsigned(end)); };
    const char16_t *const names[] = {u"Ann", u"Bob", u"José", u"Links", u"a/b", u"linktemplate"};
    Chats chats;
    for (int i = 0; i < count; ++i) {
        VORAChatLog::Messages messages;
        for (int j = below(6); j >= 0; --j) {
            const QString number = QString::number(below(50));
            platform::NSAttributedString text(QStringLiteral("dude, lol, see "));
            if (below(2) == 0)
                text.append(u"x", makeAttributes({{QStringLiteral("NSLink"),
                                                   std::make_shared<platform::NSString>(number)}}));
            if (below(3) == 0) {
                const auto file = std::make_shared<platform::NSFileWrapper>(number + QStringLiteral(".png"),
                                                                            number.toLatin1());
                text.append(u"\uFFFC",
                            makeAttributes({{QStringLiteral("NSAttachment"),
                                             std::make_shared<platform::NSTextAttachment>(file)}}));
            }
            messages.push_back(std::make_shared<VORAInstantMessage>(
                std::make_shared<VORAPresentity>(QStringLiteral("Jabber"),
                                                 QString::fromUtf16(names[below(6)])),
                std::make_shared<platform::NSAttributedString>(text),
                *NSDate::fromInterval(131432865 + below(4) + below(4) / 4.0 + below(3) * 2.6e6)));
        }
        chats.push_back(VORAChatLog::withMessages(messages, QStringLiteral("Ann")));
    }
    return chats;
}

void call(const VORAChatLog &chatLog)
{
    VORALogGenerator::GenerateLinkFiles(&chatLog);
    VORALogGenerator::GenerateImageFiles(&chatLog);
    VORALogGenerator::UpdateStatistics(chatLog);
}

class GalleryRuns : public TestHome {
protected:
    static constexpr const char *support = "Library/Prattlebug";
    static constexpr const char *linkStore = "Library/Prattlebug/gatheredURLs.plist";
    static constexpr const char *imageStore = "Library/Prattlebug/gatheredImages.plist";

    /// What an earlier program may have left, in another form and with dates that need sorting.
    void setUp() const
    {
        filesystem::remove_all(home() / "Library");
        filesystem::create_directories(home() / support / "Images");
        for (const char *name : {"linktemplate.html", "imagetemplate.html"})
            write(filesystem::path(support) / name, "____NAME ____CONTENTS ____LINKS ____IMAGES");
        write("Library/Prattlebug/statstemplate.html",
              "____SUMTOTAL ____DATE2 ____AVGCHATSPERDAY ____CURSERATIOSIZE");
        write("Library/Prattlebug/curses.plist", "(dude)");
        write("Library/Prattlebug/talkmeter.plist",
              "{chatcount = 7; startDate = \"2005-03-01 21:07:45 -0800\";}");
        write(linkStore, "({speaker = Bob; urls = ({date = \"2005-03-01 21:07:45 -0800\"; linkurl = old;}, "
                         "{date = \"2005-03-01 21:07:46 -0800\"; linkurl = newer;});})");
    }
    /// Every file of the home folder.
    [[nodiscard]] std::map<std::string, std::string> files() const
    {
        std::map<std::string, std::string> files;
        for (const auto &entry : filesystem::recursive_directory_iterator(home() / "Library")) {
            if (entry.is_regular_file())
                files[entry.path().lexically_relative(home())] = read(entry.path()).toStdString();
        }
        return files;
    }
    [[nodiscard]] qsizetype linksInStore() const
    {
        return galleries::LinkStore::load(home() / linkStore)->total();
    }
};

} // namespace

TEST_F(GalleryRuns, LeaveWhatTheCallsAloneWouldLeave)
{
    const struct {
        const char *name;
        std::function<void()> prepare;
    } homes[] = {
        {"as a run leaves it", [] {}},
        {"new", [this] { filesystem::remove(home() / linkStore); }},
        {"unreadable link store", [this] { write(linkStore, "{"); }},
        {"unreadable image store", [this] { write(imageStore, "{"); }},
        {"unreadable statistics", [this] { write("Library/Prattlebug/curses.plist", "{"); }},
        {"no template", [this] { filesystem::remove(home() / support / "linktemplate.html"); }},
        {"no folder for files", [this] { filesystem::remove_all(home() / support / "Images"); }},
        {"folder in place of a store", [this] { filesystem::create_directory(home() / imageStore); }},
    };
    const Chats chats = randomChats(1, 12);
    for (const char *zone : {"America/Los_Angeles", "UTC", "Asia/Kolkata"}) {
        setTimeZone(zone);
        for (const auto &row : std::span(homes).first(zone[1] == 'm' ? std::size(homes) : 1)) {
            setUp();
            row.prepare();
            for (const auto &chatLog : chats)
                call(*chatLog);
            const auto expected = files();
            // Written never but at the ends, now and then, and with every call.
            for (const int between : {0, 200, 10'000}) {
                SCOPED_TRACE(std::string(zone) + ", " + row.name + ", " + std::to_string(between));
                setUp();
                row.prepare();
                TestClock clock;
                {
                    const VORALogGenerator::Run run(clock.now());
                    for (const auto &chatLog : chats) {
                        call(*chatLog);
                        clock.add(std::chrono::minutes(between));
                    }
                }
                const auto found = files();
                ASSERT_EQ(found.size(), expected.size());
                for (const auto &[name, bytes] : expected)
                    ASSERT_EQ(found.contains(name) ? found.at(name) : "missing", bytes) << name;
            }
        }
    }
}

TEST_F(GalleryRuns, FailAsTheCallsAloneWould)
{
    const Chats chats = randomChats(2, 5);
    const auto callAll = [&] {
        for (const auto &chatLog : chats)
            call(*chatLog);
    };
    const auto failures = [] { return platform::CFPreferencesCopyAppValue(u"emailFails").integer(); };
    setUp();
    const auto untouched = files();
    {
        const FullDisk disk(0);
        callAll();
    }
    EXPECT_EQ(failures(), 5);
    {
        const FullDisk disk(0);
        const VORALogGenerator::Run run;
        callAll();
    }
    EXPECT_EQ(failures(), 5 + 5);
    auto found = files();
    std::erase_if(found,
                  [](const auto &file) { return file.first.find("Preferences") != std::string::npos; });
    EXPECT_EQ(found, untouched);
}

TEST_F(GalleryRuns, WaitNoMoreOnceOneCouldNotBeWritten)
{
    setUp();
    TestClock clock;
    const Chats chats = randomChats(3, 3);
    const auto chatCount = [this] {
        const auto stored = platform::readPropertyList(read(home() / "Library/Prattlebug/talkmeter.plist"));
        return stored[u"chatcount"].integer();
    };
    const VORALogGenerator::Run run(clock.now());
    for (const auto &chatLog : chats)
        call(*chatLog);
    EXPECT_EQ(chatCount(), 8) << "the first is written at once, the others wait";
    {
        const FullDisk disk(0);
        VORALogGenerator::GenerateLinkFiles(nullptr);
    }
    VORALogGenerator::UpdateStatistics(*chats[0]);
    EXPECT_EQ(chatCount(), 7 + 3 + 1);
}

TEST_F(GalleryRuns, WithoutCallsLeaveEverythingAsItWas)
{
    setUp();
    call(*randomChats(1, 1).front());
    const auto before = files();
    {
        const VORALogGenerator::Run run;
    }
    EXPECT_EQ(files(), before);
}

TEST(WriteSchedule, IsDueWhenFiftyTimesTheCostHasPassed)
{
    using std::chrono::minutes;
    galleries::WriteSchedule::Clock::time_point time;
    galleries::WriteSchedule schedule([&time] { return time; });
    const auto isDueFirstAfter = [&](minutes wait) {
        time += wait - minutes(1);
        const bool isEarly = schedule.isDue();
        time += minutes(1);
        return !isEarly && schedule.isDue();
    };
    const auto writing = [&time](int cost) { return [&time, cost] { time += minutes(cost); }; };
    schedule.writeOne(writing(1));
    schedule.writeOne(writing(2));
    EXPECT_TRUE(isDueFirstAfter(minutes(150))) << "what was written one by one adds up";
    schedule.writeAll(writing(5));
    EXPECT_TRUE(isDueFirstAfter(minutes(250)));
    schedule.writeOne(writing(1));
    EXPECT_TRUE(isDueFirstAfter(minutes(300)));
}

namespace {

/// A store of numbers, of which 13 does not fit into the memory, nor does the file with 7 in it.
struct NumberStore {
    using Contribution = int;

    QByteArray text;

    static std::filesystem::path path() { return platform::homeDirectory() / "numbers"; }
    static std::optional<NumberStore> load(const std::filesystem::path &path)
    {
        return NumberStore{platform::readWholeFile(path).value_or(QByteArray())};
    }
    void fold(int number)
    {
        text += QByteArray::number(number) + ' ';
        if (number == 13)
            throw std::bad_alloc();
    }
    void settle() {}
    [[nodiscard]] platform::Result<> save(const std::filesystem::path &path) const
    {
        if (text.contains('7'))
            throw std::bad_alloc();
        return platform::writeAtomically(path, text);
    }
};

} // namespace

TEST_F(GalleryRuns, GiveUpTheChatForWhichThereIsTooLittleMemory)
{
    galleries::Gallery<NumberStore> gallery(
        {.path = NumberStore::path, .writePages = [](const NumberStore &) { throw std::bad_alloc(); }});
    const auto fold = [&gallery](int number) {
        ASSERT_TRUE(gallery.refresh());
        gallery.fold(number);
    };
    fold(1);
    EXPECT_THROW(fold(13), std::bad_alloc);
    gallery.write();
    EXPECT_EQ(read(NumberStore::path()), "1 ") << "the end of a run comes next";
    fold(2);
    EXPECT_THROW(fold(13), std::bad_alloc);
    fold(7);
    EXPECT_THROW(gallery.write(), std::bad_alloc);
    EXPECT_EQ(read(NumberStore::path()), "1 ");
    fold(3);
    gallery.write();
    EXPECT_EQ(read(NumberStore::path()), "1 2 3 ");
}

TEST_F(GalleryRuns, FoldInAllOfAChatOrNothing)
{
    const Chats chats = randomChats(4, 3);
    const auto stores = [this] {
        auto found = files();
        std::erase_if(found,
                      [](const auto &file) { return file.first.find("Images/") != std::string::npos; });
        return found;
    };
    setUp();
    call(*chats[0]);
    call(*chats[2]);
    const auto expected = stores();
    for (const int between : {0, 10'000}) { // minutes: what is due is not written in the middle of a chat
        for (const bool hasFiles : {false, true}) {
            SCOPED_TRACE(std::to_string(between) +
                         (hasFiles ? ", fails in the statistics" : ", in the files"));
            setUp();
            TestClock clock;
            {
                const VORALogGenerator::Run run(clock.now());
                for (size_t i = 0; i < chats.size(); ++i) {
                    clock.add(std::chrono::minutes(between));
                    VORALogGenerator::WholeChat chat;
                    VORALogGenerator::GenerateLinkFiles(chats[i].get());
                    if (i == 1 && !hasFiles)
                        continue; // as an exception leaves it
                    VORALogGenerator::GenerateImageFiles(chats[i].get());
                    if (i == 1)
                        continue;
                    VORALogGenerator::UpdateStatistics(*chats[i]);
                    chat.keep();
                }
            }
            EXPECT_EQ(stores(), expected);
        }
    }
}

TEST_F(GalleryRuns, TakeInWhatOthersHaveWrittenMeanwhile)
{
    setUp();
    filesystem::remove(home() / linkStore);
    const auto links = [](int count) {
        VORAChatLog::Messages messages;
        for (int i = 0; i < count; ++i) {
            platform::NSAttributedString text;
            text.append(u"x", makeAttributes({{QStringLiteral("NSLink"),
                                               std::make_shared<platform::NSString>(QString::number(i))}}));
            messages.push_back(makeMessage(u"Jabber", u"ann", text));
        }
        return VORAChatLog::withMessages(messages, QStringLiteral("Ann"));
    };
    TestClock clock;
    {
        const VORALogGenerator::Run run(clock.now());
        VORALogGenerator::GenerateLinkFiles(links(1).get());
        VORALogGenerator::GenerateLinkFiles(links(2).get());
        EXPECT_EQ(linksInStore(), 1) << "it waits";
        write(linkStore, "({speaker = Bob; urls = ({date = \"2005-03-01 21:07:45 -0800\"; linkurl = y;});})");
        VORALogGenerator::GenerateLinkFiles(links(4).get());
        EXPECT_EQ(linksInStore(), 1);
        VORALogGenerator::GenerateLinkFiles(nullptr);
        EXPECT_EQ(linksInStore(), 1 + 2 + 4);

        // Once it could not be written it waits no more, and what had waited is not lost.
        VORALogGenerator::GenerateLinkFiles(links(8).get());
        {
            const FullDisk disk(0);
            VORALogGenerator::GenerateLinkFiles(nullptr);
        }
        EXPECT_EQ(linksInStore(), 1 + 2 + 4);
        VORALogGenerator::GenerateLinkFiles(links(16).get());
        EXPECT_EQ(linksInStore(), 1 + 2 + 4 + 16) << "but for the chat at hand";
    }
    EXPECT_EQ(linksInStore(), 1 + 2 + 4 + 16);
}
