#include "VORAChatLog.h"

#include "tests/support/testhome.h"
#include "tests/support/transcripts.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

using Loading = TestHome;
using testing::HasSubstr;
using Outcome = VORAChatLog::Outcome;

namespace {

const std::vector<TestMessage> oneMessage{{"AIM", "kimlee", "hi"}};

} // namespace

TEST_F(Loading, TellsTranscriptsByTheirNames)
{
    const struct {
        const char *fileName;
        Outcome outcome;
        const char *otherParty;
    } table[] = {
        {"Kim Lee on Saturday.ichat", Outcome::Loaded, "Kim Lee"},
        {"Bob on Mars on Friday.ichat", Outcome::Loaded, "Bob on Mars"},
        {"Kim onion on Monday.ichat", Outcome::Loaded, "Kim onion"},
        {" on Monday.ichat", Outcome::Loaded, ""},
        {"Jos\xC3\xA9 on Monday.v2.ichat", Outcome::Loaded, "Jos\xC3\xA9"},
        {"Jos\xE9 on Monday.ichat", Outcome::Loaded, "Jos\xEF\xBF\xBD"}, // no UTF-8
        {"Kim On Monday.ichat", Outcome::NotATranscript, ""},
        {"Kim.ichat", Outcome::NotATranscript, ""},
        {"Kim on Monday.ICHAT", Outcome::NotATranscript, ""},
        {"Kim on Monday.txt", Outcome::NotATranscript, ""},
        {"Kim on Monday", Outcome::NotATranscript, ""},
        {"Kim on Monday.chat", Outcome::Unreadable, ""}, // the name decides, and this is no typed stream
    };
    for (const auto &row : table) {
        const auto path = write(row.fileName, keyedTranscript(oneMessage));
        Outcome outcome{};
        const auto chatLog = VORAChatLog::initWithFilePath(path, &outcome);
        EXPECT_EQ(outcome, row.outcome) << row.fileName;
        EXPECT_EQ(chatLog ? chatLog->primaryOtherParty().toUtf8() : QByteArray(""), row.otherParty);
    }
    EXPECT_EQ(consoleLog().count('\n'), 1) << "only the unreadable one is worth a message:\n"
                                           << consoleLog().constData();
    EXPECT_THAT(consoleLog().toStdString(), HasSubstr("Kim on Monday.chat: offset 0: not a typed stream"));
}

TEST_F(Loading, GivesAReasonForWhatCannotBeRead)
{
    const auto reason = [this](const char *name) {
        const auto loading = VORAChatLog::load(home() / name);
        EXPECT_EQ(loading.outcome, Outcome::Unreadable);
        return loading.reason.toStdString();
    };
    EXPECT_EQ(reason("missing on x.chat"), "No such file or directory");

    std::filesystem::create_directory(home() / "folder on x.chat");
    EXPECT_EQ(reason("folder on x.chat"), "Is a directory");

    ASSERT_EQ(mkfifo((home() / "fifo on x.chat").c_str(), 0600), 0);
    EXPECT_EQ(reason("fifo on x.chat"), "not a regular file");
    std::filesystem::create_symlink("/dev/zero", home() / "device on x.ichat");
    EXPECT_EQ(reason("device on x.ichat"), "not a regular file");

    write("huge on x.chat", "");
    std::filesystem::resize_file(home() / "huge on x.chat", std::uintmax_t(1)
                                                                << 31U); // a hole: takes no room
    EXPECT_EQ(reason("huge on x.chat"), "larger than 2 GiB");

    write("cut on x.ichat", keyedTranscript(oneMessage).chopped(9));
    EXPECT_THAT(reason("cut on x.ichat"), testing::StartsWith("offset "));
    write("empty on x.ichat", "");
    EXPECT_THAT(reason("empty on x.ichat"), testing::StartsWith("offset 0"));

    QByteArray otherRoot = keyedTranscript(oneMessage);
    otherRoot.replace("<key>root</key>", "<key>other</key>");
    write("rootless on x.ichat", otherRoot);
    EXPECT_EQ(reason("rootless on x.ichat"), "it holds no list of messages");
}

TEST_F(Loading, FollowsALinkToATranscript)
{
    write("elsewhere", keyedTranscript(oneMessage));
    std::filesystem::create_symlink(home() / "elsewhere", home() / "Kim on x.ichat");
    const auto loading = VORAChatLog::load(home() / "Kim on x.ichat");
    ASSERT_TRUE(loading.chatLog) << loading.reason.toStdString();
    ASSERT_EQ(loading.chatLog->messages().size(), 1U);
    const VORAInstantMessage &message = *loading.chatLog->messages()[0];
    EXPECT_EQ(message.rawSpeaker(), QStringLiteral("kimlee"));
    EXPECT_EQ(message.flags(), 5);
    EXPECT_EQ(loading.chatLog->LastMessageDate(), message.TimeStamp());
    EXPECT_EQ(loading.chatLog->participants().size(), 1U);
    EXPECT_THAT(loading.chatLog->description().toStdString(),
                HasSubstr("(\n    AIM,\n    \"\",\n    (\n        \"<VORAInstantMessage>\"\n    ),\n    (\n"
                          "        \"kimlee on protocol AIM\"\n    )\n)"));
}

TEST_F(Loading, LeavesOutForeignElementsAndDoesWithoutParticipants)
{
    QByteArray transcript = keyedTranscript({{"AIM", "kimlee", "one"}, {"AIM", "kimlee", "two"}});
    transcript.replace("<string>Presentity</string>", "<string>Somebody</string>"); // an unknown class
    write("Kim on x.ichat", transcript);
    const auto loading = VORAChatLog::load(home() / "Kim on x.ichat");
    ASSERT_TRUE(loading.chatLog) << loading.reason.toStdString();
    EXPECT_EQ(loading.chatLog->messages().size(), 2U);
    EXPECT_TRUE(loading.chatLog->messages()[0]->isStatusMessage()) << "a sender of another class is none";
    EXPECT_TRUE(loading.chatLog->participants().empty());
}
