#include "VORAChatLog.h"

#include "tests/archive/notation.h"
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
    EXPECT_THAT(consoleLog().toStdString(), HasSubstr("Kim on Monday.chat: this is an iChat 3 archive"));
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

    const QByteArray keyed = keyedTranscript(oneMessage);
    const QByteArray stream = typedStream(":@ {NSArray :i 1 :@ ~ }");
    const QByteArray binary = keyedArchive("{NSArray NS.objects=(\"AIM\" \"\" #2)} {NSArray}");
    const struct {
        const char *name;
        QByteArray bytes;
        const char *reason;
    } table[] = {
        {"empty on x.ichat", "", "the file is empty (offset 0)"},
        {"empty on x.chat", "", "the file is empty (offset 0)"},
        {"Kim on x.ichat", stream, "this is an iChat 2 archive, whose name should end in .chat (offset 0)"},
        {"Kim on x.chat", keyed, "this is an iChat 3 archive, whose name should end in .ichat (offset 0)"},
        {"Kim on x.chat", binary, "this is an iChat 3 archive, whose name should end in .ichat (offset 0)"},
        {"cut on x.chat", stream.chopped(1), "the file is cut off (offset 50)"},
        {"cut on x.ichat", binary.chopped(1), "the file is cut off"},
        {"cut on x.ichat", keyed.chopped(9), "the file is cut off (offset 2890)"},
        {"cut on x.ichat", keyed.first(5), "the file is cut off (offset 5)"},
        {"rootless on x.ichat", keyedArchive("[a=1]"), "it holds no list of messages"},
        {"listless on x.ichat", keyedArchive("{NSArray NS.objects=(1 2 3 4)}"),
         "it holds no list of messages"},
        {"odd on x.ichat", keyedArchive("{NSArray NS.objects=(1 2 #2)} {NSArray NS.objects=1}"),
         "no array where references should stand (offset"},
        {"odd on x.chat", typedStream(":@ {NSArray :@ ~ }"),
         "a value that is no integer where an integer should stand (offset"},
    };
    for (const auto &row : table) {
        write(row.name, row.bytes);
        EXPECT_THAT(reason(row.name), testing::StartsWith(row.reason));
    }
}

TEST_F(Loading, LosesOnlyWhatCannotBeRead)
{
    // A transcript of three messages, the second of which has these parts.
    const QByteArray sender = ":@ {Presentity " + stringNotation("AIM") + stringNotation("kim") + " } ";
    const QByteArray time = ":@ {NSDate :d 5 } ";
    const QByteArray text = ":@ {NSAttributedString " + stringNotation("hi") + " } ";
    const QByteArray whole = ":@ {InstantMessage " + sender + time + text + ":I 5 } ";
    const struct {
        QByteArray message;
        const char *text; ///< null for one that is left out
        const char *note; ///< null for one that is whole
    } streams[] = {
        {sender + time + text, "hi", nullptr},
        {sender + time + stringNotation("plain"), "plain", nullptr},
        {sender + ":@ {NSCalendarDate/NSDate/NSObject :@ ~ :d 5 } " + text, "hi",
         "a value that is no integer where an integer should stand"},
        {sender + ":@ ~ " + text, "hi", nullptr}, // there never was a time
        {sender + stringNotation("noon") + text, "hi", "a time that is no date"},
        {":@ {Presentity :i 1 } " + time + text, nullptr,
         "a value that is no object where an object should stand"},
        {":@ {Presentity " + stringNotation("AIM") + " :@ {NSString :* *\"kim\" } } " + time + text, nullptr,
         "a value of another type where bytes should stand"},
        {stringNotation("kim") + ' ' + time + text, nullptr, "a sender that is no presentity"},
        {":@ ~ " + time + text, nullptr, nullptr}, // a status message
        {sender + time + ":@ {NSAttributedString :@ {NSString :* *\"hi\" } } ", nullptr,
         "a value of another type where bytes should stand"},
        {sender + time + ":@ {NSArray :i 0 } ", nullptr, "a text that is no string"},
        {sender + ":d 5 " + text, nullptr, "a value that is no object where an object should stand"},
        {sender + time + ":@ {NSAttributedString " + stringNotation("hi") + " :d d0.5 } ", "hi", nullptr},
    };
    std::vector<std::tuple<QByteArray, const char *, const char *, const char *>> cases;
    for (const auto &row : streams)
        cases.emplace_back(
            typedStream(
                ":@ {NSArray :i 3 :@ {NSData :@ ~ } :@ {NSNumber :*q *\"q\" 9000000000q } :@ {NSArray :i 3 " +
                whole + ":@ {InstantMessage " + row.message + ":I 5 } " + whole + "} }"),
            row.text, row.note, "chat");
    const struct {
        const char *members;
        const char *text;
        const char *note;
    } keyed[] = {
        {"Sender=#s Time=#d MessageText=#t", "hi", nullptr},
        {"Sender=#s Time=#d MessageText=\"plain\"", "plain", nullptr},
        {"Sender=#s Time=#x MessageText=#t", "hi", "a date without its seconds"},
        {"Sender=#s Time=#d MessageText=#y", nullptr, "an attributed string without its string"},
        {"Sender=#z Time=#d MessageText=#t", nullptr, "a string without characters"},
        {"Sender=#s Time=#d MessageText=#d", nullptr, "a text that is no string"},
    };
    for (const auto &row : keyed)
        cases.emplace_back(
            keyedArchive(
                "{NSArray NS.objects=(#x #y #l)} l:{NSArray NS.objects=(#m #n #m)} m:{InstantMessage "
                "Sender=#s "
                "Time=#d MessageText=#t} n:{InstantMessage " +
                QByteArray(row.members) +
                "} s:{Presentity ServiceName=\"AIM\" ID=\"kim\"} d:{NSDate NS.time=5} "
                "t:{NSAttributedString NSString=\"hi\"} x:{NSDate} y:{NSAttributedString} z:{Presentity "
                "ID=#e} e:{NSMutableString}"),
            row.text, row.note, "ichat");
    for (const auto &[bytes, text, note, extension] : cases) {
        const auto loading = VORAChatLog::load(write(std::string("Kim on x.") + extension, bytes));
        ASSERT_TRUE(loading.chatLog) << loading.reason.toStdString();
        const auto &messages = loading.chatLog->messages();
        ASSERT_EQ(messages.size(), 3U);
        EXPECT_EQ(messages[2]->string()->string(), QStringLiteral("hi"));
        EXPECT_EQ(messages[1]->isStatusMessage(), text == nullptr);
        if (text) {
            EXPECT_EQ(messages[1]->string()->string(), QString::fromUtf8(text));
        }
        EXPECT_EQ(messages[1]->fault().has_value(), note != nullptr);
        EXPECT_EQ(loading.chatLog->unreadableMessages(), note ? 1 : 0);
        EXPECT_THAT(loading.chatLog->unreadableMessagesNote().toStdString(),
                    note ? testing::StartsWith("1 unreadable message: " + std::string(note) + " (offset ")
                         : testing::Matcher<std::string>(""));
    }
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
