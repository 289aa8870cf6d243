#include "archiver/PBArchiver.h"
#include "archiver/archivetarget.h"

#include "tests/support/fulldisk.h"
#include "tests/support/memorylimit.h"
#include "tests/support/testhome.h"
#include "tests/support/transcripts.h"

#include "platform/files/directorywalk.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <functional>
#include <sys/stat.h>

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

/// A desktop that answers as it was told and notes what it was asked.
class RecordingDesktop final : public DesktopInterface {
public:
    std::optional<std::filesystem::path> answer;
    bool checked = false;
    std::function<void()> duringTheRun;
    int entriesUntilInterrupted = -1; ///< not, when negative

    std::vector<SavePanel> panels;
    std::vector<Alert> alerts;
    std::vector<qsizetype> progress; ///< the maximum, then the values
    size_t alertsBefore = 0;
    std::vector<bool> wholeMboxes; ///< what showOutcome() was told
    std::vector<std::filesystem::path> revealed;

    std::optional<std::filesystem::path> runSavePanel(const SavePanel &panel) override
    {
        panels.push_back(panel);
        return answer;
    }
    void runAlert(const Alert &alert) override { alerts.push_back(alert); }
    [[nodiscard]] bool skipChats() const override { return checked; }
    void startProgress(qsizetype maximum) override { progress = {maximum}; }
    void showProgress(qsizetype value) override { progress.push_back(value); }
    void showEntry(const std::filesystem::path & /*entry*/) override
    {
        if (duringTheRun)
            std::exchange(duringTheRun, nullptr)();
    }
    [[nodiscard]] bool isInterrupted() const override
    {
        return entriesUntilInterrupted >= 0 && qsizetype(progress.size()) - 1 >= entriesUntilInterrupted;
    }
    void showOutcome(const ArchiveOutcome &outcome) override
    {
        EXPECT_EQ(alerts.size(), alertsBefore) << "the outcome stands there when the last alert is shown";
        alertsBefore += outcome.ending == ArchiveOutcome::Ending::Interrupted ? 0 : 1;
        wholeMboxes.push_back(outcome.isMboxWhole());
    }
    void reveal(const std::filesystem::path &path) override { revealed.push_back(path); }
};

class Archiver : public TestHome {
protected:
    static constexpr const char *folderName = "Documents/iChats (Prattlebugged)";

    Archiver() { desktop.answer = home() / "Out"; }

    std::filesystem::path addChat(const std::string &name, std::time_t modified = 0,
                                  const QByteArray &text = "hi") const
    {
        return write(std::filesystem::path(folderName) / name, keyedTranscript({{"Jabber", "Kim", text}}),
                     modified);
    }
    void makeTranscriptFolder() const { std::filesystem::create_directories(home() / folderName); }

    [[nodiscard]] QByteArray mbox() const { return read(home() / "Out" / "Prattlebug Archive mbox"); }
    /// How many messages a reader finds in the mbox.
    [[nodiscard]] qsizetype messagesInMbox() const { return messagesIn(mbox()); }
    [[nodiscard]] static qsizetype messagesIn(const QByteArray &bytes)
    {
        return bytes.count("\n\nFrom ") + (bytes.startsWith("From ") ? 1 : 0);
    }

    RecordingDesktop desktop;
    PBArchiver archiver{desktop};
};

} // namespace

TEST_F(Archiver, EndsAtOnceWithoutATranscriptFolder)
{
    archiver.beginArchiving();
    EXPECT_EQ(archiver.outcome().ending, ArchiveOutcome::Ending::NoTranscriptFolder);
    ASSERT_EQ(desktop.alerts.size(), 1U);
    EXPECT_EQ(desktop.alerts[0].title, QStringLiteral("Archiver Error"));
    EXPECT_EQ(desktop.alerts[0].text,
              QStringLiteral(
                  "You must have Prattlebug set up in order to use this program. Please go to the Prattlebug "
                  "preferences and click Start to finish setup."));
    EXPECT_EQ(desktop.alerts[0].button, QStringLiteral("Cancel"));
    EXPECT_TRUE(desktop.panels.empty());
    EXPECT_TRUE(std::filesystem::is_empty(home())) << "nothing is created";
}

TEST_F(Archiver, CreatesNothingWhenThePanelIsCancelled)
{
    addChat("Kim on x.ichat");
    desktop.answer.reset();
    archiver.beginArchiving();
    EXPECT_EQ(archiver.outcome().ending, ArchiveOutcome::Ending::Cancelled);
    ASSERT_EQ(desktop.panels.size(), 1U);
    EXPECT_EQ(desktop.panels[0].title, QStringLiteral("Generated mbox File"));
    EXPECT_EQ(desktop.panels[0].message,
              QStringLiteral("After the Prattlebug Archiver has finished processing, import "
                             "this file into your mail program."));
    EXPECT_EQ(desktop.panels[0].proposedName, QStringLiteral("Prattlebug Archive"));
    EXPECT_EQ(desktop.panels[0].directory, home());
    EXPECT_TRUE(desktop.alerts.empty());
    EXPECT_FALSE(std::filesystem::exists(home() / "Out"));
}

TEST_F(Archiver, MakesAnEmptyMboxOfAnEmptyFolder)
{
    makeTranscriptFolder();
    archiver.beginArchiving();
    EXPECT_EQ(archiver.outcome().ending, ArchiveOutcome::Ending::Done);
    EXPECT_EQ(mbox(), QByteArray());
    EXPECT_THAT(desktop.progress, ElementsAre(0));
    ASSERT_EQ(desktop.alerts.size(), 1U);
    EXPECT_EQ(desktop.alerts[0].title, QStringLiteral("Import Complete"));
    EXPECT_EQ(desktop.alerts[0].text,
              QStringLiteral("The archive file is ready to be imported into your mail client."));
    EXPECT_EQ(desktop.alerts[0].button, QStringLiteral("OK"));
    EXPECT_THAT(desktop.revealed, ElementsAre(home() / "Out" / "Prattlebug Archive mbox"));
    EXPECT_EQ(archiver.outcome().summary(), QStringLiteral("0 chats archived."));
    EXPECT_THAT(desktop.wholeMboxes, ElementsAre(true));
}

TEST_F(Archiver, ArchivesEverythingAtEveryDepthAndCountsIt)
{
    setPreferences("<key>emailAddress</key><string>sam@example.org</string>");
    addChat("Kim on %s %n.ichat", 1109963002); // 2005-03-04 19:03:22 UTC
    addChat("sub/deeper/Bob on x.ichat");
    addChat("sub/Jos\xE9 on x.ichat"); // a name that is no UTF-8
    addChat(".hidden on x.ichat");
    write(std::filesystem::path(folderName) / "odd on x.ichat",
          keyedTranscript({{"AIM", "kimlee", "hi"}}).replace("NS.time", "NS.tome"));
    write(std::filesystem::path(folderName) / "Notes.txt", "no chat");
    write(std::filesystem::path(folderName) / "broken on x.chat", "no chat either");
    std::filesystem::create_directory_symlink(home() / folderName / "sub", home() / folderName / "link");
    archiver.beginArchiving();

    EXPECT_EQ(archiver.outcome().ending, ArchiveOutcome::Ending::Done);
    EXPECT_EQ(archiver.outcome().archived, 5);
    EXPECT_EQ(archiver.outcome().notTranscripts, 4) << "two folders, the link to one, and the notes";
    ASSERT_EQ(archiver.outcome().unreadable.size(), 1U);
    EXPECT_EQ(archiver.outcome().summary(),
              QStringLiteral(
                  "5 chats archived, with 1 unreadable message, 4 entries that are no transcripts, 1 chat "
                  "could not be read."));
    EXPECT_EQ(messagesInMbox(), 5);
    EXPECT_TRUE(mbox().contains("Subject: [IM] Kim\nDate: 04 Mar 05 11:03:22\n")) << mbox().constData();
    EXPECT_TRUE(mbox().contains("Subject: [IM] Jos\xEF\xBF\xBD\n"));
    EXPECT_THAT(desktop.progress, ElementsAre(7, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10))
        << "the maximum counts the top level only";
    EXPECT_THAT(consoleLog().toStdString(), HasSubstr("/Kim on %s %n.ichat\n"));
    EXPECT_THAT(consoleLog().toStdString(), HasSubstr("/Jos\xE9 on x.ichat\n"));
    EXPECT_THAT(consoleLog().toStdString(),
                HasSubstr("/odd on x.ichat: 1 unreadable message: a date without its seconds (offset "));
}

#if !defined(__SANITIZE_ADDRESS__) // which takes more memory than there is
TEST_F(Archiver, LeavesOutAChatThatDoesNotFitIntoMemory)
{
    constexpr auto tooLarge = (std::uintmax_t(1) << 31U) - 1;
    addChat("A on x.ichat");
    const auto words = write("Library/Prattlebug/curses.plist", "");
    std::filesystem::resize_file(words, tooLarge); // which the statistics need, after the links
    {
        const MemoryLimit limit(200 << 20);
        archiver.beginArchiving();
    }
    EXPECT_EQ(archiver.outcome().notWritten.size(), 1U);
    EXPECT_FALSE(std::filesystem::exists(home() / "Library/Prattlebug/gatheredURLs.plist"))
        << "it was not folded in at all";
    std::filesystem::remove(words);

    addChat("Large on x.ichat", 0, QByteArray(30'000'000, 'x'));
    write(std::filesystem::path(folderName) / "Hole on x.chat", "");
    std::filesystem::resize_file(home() / folderName / "Hole on x.chat", tooLarge);
    addChat("Z on x.ichat");
    {
        const MemoryLimit limit(200 << 20);
        archiver.beginArchiving();
    }
    EXPECT_EQ(archiver.outcome().archived, 2);
    EXPECT_EQ(archiver.outcome().unreadable.size() + archiver.outcome().notWritten.size(), 2U);
    EXPECT_THAT(consoleLog().toStdString(), HasSubstr("Hole on x.chat: it does not fit into memory\n"));
    EXPECT_THAT(consoleLog().toStdString(), HasSubstr("Large on x.ichat: it does not fit into memory\n"));
}
#endif

TEST_F(Archiver, ReplacesTheMboxOfAnEarlierRun)
{
    addChat("Kim on x.ichat");
    archiver.beginArchiving();
    const qsizetype size = mbox().size();
    archiver.beginArchiving();
    EXPECT_EQ(mbox().size(), size);
    EXPECT_EQ(archiver.outcome().archived, 1);

    const auto target = write("precious", "keep me");
    std::filesystem::remove(archiver.outcome().mboxPath);
    std::filesystem::create_symlink(target, archiver.outcome().mboxPath);
    archiver.beginArchiving();
    EXPECT_EQ(read(target), "keep me") << "a link is replaced, not followed";
    EXPECT_EQ(mbox().size(), size);
}

TEST_F(Archiver, KeepsTheEarlierMboxUntilTheNewOneIsWhole)
{
    for (int i = 0; i < 3; ++i)
        addChat("Kim on " + std::to_string(i) + ".ichat");
    const auto previous = home() / "Out/Prattlebug Archive mbox.previous";
    enum Run { Whole, Interrupted, DiskFull };
    const auto run = [&](Run kind) {
        desktop.entriesUntilInterrupted = kind == Interrupted ? 1 : -1;
        std::optional<FullDisk> disk;
        if (kind == DiskFull)
            disk.emplace(1000);
        archiver.beginArchiving();
    };
    struct Case {
        std::vector<Run> runs;
        qsizetype messages;                        ///< in the mbox
        std::optional<qsizetype> previousMessages; ///< nothing when there is no .previous
    };
    for (const auto &[runs, messages, previousMessages] : {
             Case{{Whole, Whole}, 3, {}},
             Case{{Whole, Interrupted}, 1, 3},
             Case{{Whole, DiskFull}, 1, 3},
             Case{{Whole, Interrupted, DiskFull}, 1, 3},
             Case{{Whole, Interrupted, Interrupted, Whole}, 3, {}},
             Case{{Interrupted, Interrupted}, 1, {}}, // what a first run has left unfinished is not kept
             Case{{Interrupted, Whole, Interrupted}, 1, 3},
         }) {
        std::filesystem::remove_all(home() / "Out");
        for (const Run kind : runs)
            run(kind);
        EXPECT_EQ(messagesInMbox(), messages);
        EXPECT_EQ(archiver.outcome().previousPath.empty(), !previousMessages);
        EXPECT_EQ(std::filesystem::exists(previous), previousMessages.has_value());
        EXPECT_EQ(messagesIn(previousMessages ? read(previous) : QByteArray()), previousMessages.value_or(0));
    }

    // Something else of that name is left alone.
    run(Whole);
    std::filesystem::create_symlink("elsewhere", previous);
    EXPECT_TRUE(ArchiveTarget(home() / "Out").warning());
    run(Interrupted);
    EXPECT_TRUE(std::filesystem::is_symlink(previous));
    EXPECT_THAT(consoleLog().toStdString(), HasSubstr(".previous: it is no regular file"));
    run(Whole);
    EXPECT_EQ(platform::contentsOfDirectory(home() / "Out").size(), 2U) << "the mbox and the link";
}

TEST_F(Archiver, PassesOverWhatIsNoOlderThanTheFolder)
{
    addChat("old on x.ichat", 1000000000);
    addChat("equal on x.ichat", 1100000000);
    addChat("new on x.ichat", 1200000000);
    const timespec times[] = {{1100000000, 0}, {1100000000, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, (home() / folderName).c_str(), times, 0), 0);
    const auto allowed = [this](const char *name) { return archiver.AllowLog(home() / folderName / name); };

    EXPECT_TRUE(allowed("new on x.ichat") && allowed("missing")) << "the check box is off";
    desktop.checked = true;
    EXPECT_TRUE(allowed("old on x.ichat"));
    EXPECT_FALSE(allowed("equal on x.ichat"));
    EXPECT_FALSE(allowed("new on x.ichat"));
    EXPECT_FALSE(allowed("missing"));

    archiver.beginArchiving();
    EXPECT_EQ(archiver.outcome().archived, 1);
    EXPECT_EQ(archiver.outcome().passedOver, 2);
}

TEST_F(Archiver, GoesThroughWithTheRunWhenTheMboxCannotBeMade)
{
    addChat("Kim on x.ichat");
    write("Out", "an ordinary file");
    archiver.beginArchiving();
    EXPECT_EQ(archiver.outcome().ending, ArchiveOutcome::Ending::MboxIncomplete);
    EXPECT_THAT(desktop.wholeMboxes, ElementsAre(false));
    EXPECT_EQ(archiver.outcome().notWritten.size(), 1U);
    EXPECT_EQ(read(home() / "Out"), "an ordinary file");
    ASSERT_EQ(desktop.alerts.size(), 1U);
    EXPECT_EQ(desktop.alerts[0].title, QStringLiteral("Import Complete"));
    EXPECT_THAT(consoleLog().toStdString(), HasSubstr("Out/Prattlebug Archive mbox: Not a directory"));
    EXPECT_EQ(archiver.outcome().whyNotWhole().value_or(platform::Failure()).reason, "Not a directory");
}

TEST_F(Archiver, TellsWhenTheMboxNoLongerStandsThere)
{
    addChat("Kim on x.ichat");
    const auto out = home() / "Out";
    const std::function<void()> meanwhile[] = {
        [&] { std::filesystem::rename(out, home() / "Elsewhere"); },
        [&] { std::filesystem::remove_all(out); },
        [&] {
            std::filesystem::remove_all(out);
            write("Out/Prattlebug Archive mbox", "somebody else's");
        },
    };
    for (const auto &happens : meanwhile) {
        desktop.duringTheRun = happens;
        archiver.beginArchiving();
        EXPECT_EQ(archiver.outcome().ending, ArchiveOutcome::Ending::MboxIncomplete);
        EXPECT_EQ(archiver.outcome().whyNotWhole().value_or(platform::Failure()).kind,
                  platform::FailureKind::Missing);
    }
}

TEST_F(Archiver, KeepsOnlyWholeMessagesWhenTheDiskFills)
{
    for (int i = 0; i < 4; ++i)
        addChat("Kim on " + std::to_string(i) + ".ichat", 0, QByteArray(2000, 'x'));
    addChat("Short on x.ichat");

    {
        const FullDisk twoChatsFit(10'000);
        archiver.beginArchiving();
    }

    EXPECT_EQ(archiver.outcome().ending, ArchiveOutcome::Ending::MboxIncomplete);
    EXPECT_THAT(desktop.wholeMboxes, ElementsAre(false));
    EXPECT_EQ(archiver.outcome().notWritten.size(), 2U);
    EXPECT_EQ(archiver.outcome().archived, 3) << "a short one still fits behind";
    EXPECT_EQ(messagesInMbox(), 3);
    EXPECT_TRUE(mbox().endsWith("\n--_____fbtvcfbtvcfbtvcfbtvcfbtvcfbtvcfbtvc--\n\n"));
    EXPECT_THAT(consoleLog().toStdString(),
                HasSubstr("The chat with Kim could not be written to the mbox: File too large"));
}

TEST_F(Archiver, LeavesOutAChatThatIsTooLargeAndTakesTheNext)
{
    const auto chatOf = [](qsizetype length, size_t times) {
        const auto message =
            makeMessage(u"Jabber", u"mallory", platform::NSAttributedString(QString(length, u'x')));
        return VORAChatLog::withMessages(VORAChatLog::Messages(times, message), QStringLiteral("mallory"));
    };
    const auto date = platform::NSDate::fromUnixTime(1109711265);
    platform::NSFileHandle file = platform::NSFileHandle::createFileAtPath(home() / "mbox").value();
    EXPECT_EQ(archiver.appendChatLog(*chatOf(100'000, 8'000), file, date).error().kind,
              platform::FailureKind::TooLarge);
    EXPECT_EQ(read(home() / "mbox"), "");
    EXPECT_THAT(consoleLog().toStdString(),
                HasSubstr("The chat with mallory is too large for a mail message and has been left out."));
    EXPECT_TRUE(archiver.appendChatLog(*chatOf(1, 1), file, date));
}
