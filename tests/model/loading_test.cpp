#include "VORAChatLog.h"

#include "tests/archive/notation.h"
#include "tests/support/testhome.h"
#include "tests/support/transcripts.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

using Loading = TestHome;
using platform::FailureKind;
using testing::HasSubstr;

namespace {

const std::vector<TestMessage> oneMessage{{"AIM", "kimlee", "hi"}};

} // namespace

TEST_F(Loading, TellsTranscriptsByTheirNames)
{
    const struct {
        const char *fileName;
        std::optional<FailureKind> failure;
        const char *otherParty;
    } table[] = {
        {"Kim Lee on Saturday.ichat", {}, "Kim Lee"},
        {"Bob on Mars on Friday.ichat", {}, "Bob on Mars"},
        {"Kim onion on Monday.ichat", {}, "Kim onion"},
        {" on Monday.ichat", {}, ""},
        {"Jos\xC3\xA9 on Monday.v2.ichat", {}, "Jos\xC3\xA9"},
        {"Jos\xE9 on Monday.ichat", {}, "Jos\xEF\xBF\xBD"}, // no UTF-8
        {"Kim On Monday.ichat", FailureKind::WrongName, ""},
        {"Kim.ichat", FailureKind::WrongName, ""},
        {"Kim on Monday.ICHAT", FailureKind::WrongName, ""},
        {"Kim on Monday.txt", FailureKind::WrongName, ""},
        {"Kim on Monday", FailureKind::WrongName, ""},
        {"Kim on Monday.chat", FailureKind::Malformed, ""}, // the name decides, and this is no typed stream
    };
    for (const auto &row : table) {
        const auto path = write(row.fileName, keyedTranscript(oneMessage));
        const auto loading = VORAChatLog::loadAndLog(path);
        EXPECT_EQ(loading ? std::nullopt : std::optional(loading.error().kind), row.failure) << row.fileName;
        EXPECT_EQ(loading ? (*loading)->primaryOtherParty().toUtf8() : QByteArray(""), row.otherParty);
    }
    EXPECT_EQ(consoleLog().count('\n'), 1) << "only the unreadable one is worth a message:\n"
                                           << consoleLog().constData();
    EXPECT_THAT(consoleLog().toStdString(), HasSubstr("Kim on Monday.chat: this is an iChat 3 archive"));
}

TEST_F(Loading, GivesAReasonForWhatCannotBeRead)
{
    std::filesystem::create_directory(home() / "folder on x.chat");
    ASSERT_EQ(mkfifo((home() / "fifo on x.chat").c_str(), 0600), 0);
    std::filesystem::create_symlink("/dev/zero", home() / "device on x.ichat");
    write("huge on x.chat", "");
    std::filesystem::resize_file(home() / "huge on x.chat", std::uintmax_t(1)
                                                                << 31U); // a hole: takes no room
    const QByteArray keyed = keyedTranscript(oneMessage);
    const QByteArray stream = typedStream(":@ {NSArray :i 1 :@ ~ }");
    const QByteArray binary = keyedArchive("{NSArray NS.objects=(\"AIM\" \"\" #2)} {NSArray}");
    using enum FailureKind;
    const struct {
        const char *name;
        std::optional<QByteArray> bytes; ///< nothing: as it is
        FailureKind kind;
        std::optional<qint64> offset = {}; ///< -1: any
        const char *reason = "";           ///< how it begins
    } table[] = {
        {"missing on x.chat", {}, Missing},
        {"folder on x.chat", {}, WrongKind},
        {"fifo on x.chat", {}, WrongKind},
        {"device on x.ichat", {}, WrongKind},
        {"huge on x.chat", {}, TooLarge},
        {"empty on x.ichat", "", Malformed, 0, "the file is empty"},
        {"empty on x.chat", "", Malformed, 0, "the file is empty"},
        {"Kim on x.ichat", stream, Malformed, 0,
         "this is an iChat 2 archive, whose name should end in .chat"},
        {"Kim on x.chat", keyed, Malformed, 0, "this is an iChat 3 archive, whose name should end in .ichat"},
        {"Kim on x.chat", binary, Malformed, 0,
         "this is an iChat 3 archive, whose name should end in .ichat"},
        {"cut on x.chat", stream.chopped(1), Malformed, 50},
        {"cut on x.ichat", binary.chopped(1), Malformed, -1, "the file is cut off"},
        {"cut on x.ichat", keyed.chopped(9), Malformed, 2890},
        {"cut on x.ichat", keyed.first(5), Malformed, 5},
        {"rootless on x.ichat", keyedArchive("[a=1]"), Malformed},
        {"listless on x.ichat", keyedArchive("{NSArray NS.objects=(1 2 3 4)}"), Malformed},
        {"odd on x.ichat", keyedArchive("{NSArray NS.objects=(1 2 #2)} {NSArray NS.objects=1}"), Malformed,
         -1, "no array where references should stand"},
        {"odd on x.chat", typedStream(":@ {NSArray :@ ~ }"), Malformed, -1,
         "a value that is no integer where an integer should stand"},
    };
    for (const auto &row : table) {
        SCOPED_TRACE(row.name);
        if (row.bytes)
            write(row.name, *row.bytes);
        const auto loading = VORAChatLog::load(home() / row.name);
        ASSERT_FALSE(loading);
        EXPECT_EQ(loading.error().kind, row.kind);
        EXPECT_EQ(loading.error().path, home() / row.name);
        EXPECT_EQ(loading.error().offset.has_value(), row.offset.has_value());
        if (row.offset.value_or(-1) >= 0) {
            EXPECT_EQ(loading.error().offset, row.offset);
        }
        EXPECT_THAT(loading.error().reason, testing::StartsWith(row.reason));
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
        ASSERT_TRUE(loading) << loading.error().reason;
        const auto &messages = (*loading)->messages();
        ASSERT_EQ(messages.size(), 3U);
        EXPECT_EQ(messages[2]->string()->string(), QStringLiteral("hi"));
        EXPECT_EQ(messages[1]->isStatusMessage(), text == nullptr);
        if (text) {
            EXPECT_EQ(messages[1]->string()->string(), QString::fromUtf8(text));
        }
        EXPECT_EQ(messages[1]->fault().has_value(), note != nullptr);
        EXPECT_EQ((*loading)->unreadableMessages(), note ? 1 : 0);
        EXPECT_THAT((*loading)->unreadableMessagesNote().toStdString(),
                    note ? testing::StartsWith("1 unreadable message: " + std::string(note) + " (offset ")
                         : testing::Matcher<std::string>(""));
    }
}

TEST_F(Loading, FollowsALinkToATranscript)
{
    write("elsewhere", keyedTranscript(oneMessage));
    std::filesystem::create_symlink(home() / "elsewhere", home() / "Kim on x.ichat");
    const auto loading = VORAChatLog::load(home() / "Kim on x.ichat");
    ASSERT_TRUE(loading) << loading.error().reason;
    ASSERT_EQ((*loading)->messages().size(), 1U);
    const VORAInstantMessage &message = *(*loading)->messages()[0];
    EXPECT_EQ(message.rawSpeaker(), QStringLiteral("kimlee"));
    EXPECT_EQ(message.flags(), 5);
    EXPECT_EQ((*loading)->LastMessageDate(), message.TimeStamp());
    EXPECT_EQ((*loading)->participants().size(), 1U);
    EXPECT_THAT((*loading)->description().toStdString(),
                HasSubstr("(\n    AIM,\n    \"\",\n    (\n        \"<VORAInstantMessage>\"\n    ),\n    (\n"
                          "        \"kimlee on protocol AIM\"\n    )\n)"));
}

TEST_F(Loading, LeavesOutForeignElementsAndDoesWithoutParticipants)
{
    QByteArray transcript = keyedTranscript({{"AIM", "kimlee", "one"}, {"AIM", "kimlee", "two"}});
    transcript.replace("<string>Presentity</string>", "<string>Somebody</string>"); // an unknown class
    write("Kim on x.ichat", transcript);
    const auto loading = VORAChatLog::load(home() / "Kim on x.ichat");
    ASSERT_TRUE(loading) << loading.error().reason;
    EXPECT_EQ((*loading)->messages().size(), 2U);
    EXPECT_TRUE((*loading)->messages()[0]->isStatusMessage()) << "a sender of another class is none";
    EXPECT_TRUE((*loading)->participants().empty());
}
