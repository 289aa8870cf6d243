#include "VORAChatLog.h"
#include "VORAHostFlags.h"

#include "tests/support/testhome.h"
#include "tests/support/transcripts.h"

#include <QTemporaryDir>
#include <gmock/gmock.h>

#include <fstream>
#include <sstream>

namespace {

/// A program `osascript`, the only one on PATH, that keeps the script it is given and answers as it is told.
class StandIn {
public:
    StandIn() { qputenv("PATH", m_folder.path().toUtf8()); }
    ~StandIn() { qputenv("PATH", m_path); }
    StandIn(const StandIn &) = delete;
    StandIn &operator=(const StandIn &) = delete;

    void answers(const std::string &reply, int exitCode = 0) const
    {
        std::filesystem::remove(folder() / "script");
        std::ofstream(folder() / "reply") << reply;
        const auto program = folder() / "osascript";
        std::ofstream(program) << "#!/bin/sh\n/bin/cat >'" << (folder() / "script").native()
                               << "'\n/bin/cat '" << (folder() / "reply").native() << "'\nexit " << exitCode
                               << "\n";
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    }

    /// The script that it was given since; nothing when it was not run.
    [[nodiscard]] std::optional<std::string> script() const
    {
        const std::ifstream file(folder() / "script", std::ios::binary);
        if (!file)
            return std::nullopt;
        std::stringstream text;
        text << file.rdbuf();
        return text.str();
    }

private:
    [[nodiscard]] std::filesystem::path folder() const { return m_folder.path().toStdString(); }

    QTemporaryDir m_folder;
    QByteArray m_path = qgetenv("PATH");
};

class Analysis : public TestHome {
protected:
    [[nodiscard]] std::unique_ptr<VORAChatLog> chatWith(const std::vector<QByteArray> &participants,
                                                        const std::vector<TestMessage> &messages = {}) const
    {
        return VORAChatLog::initWithFilePath(
            write("Kim on 2005-03-05.ichat", keyedTranscript(messages, participants)));
    }
};

class EndOfChat : public Analysis {
protected:
    EndOfChat() { VORAHostFlags::iChatRunning = true; }
    ~EndOfChat() override { VORAHostFlags::iChatRunning = false; }

    StandIn osascript;
};

} // namespace

TEST_F(Analysis, SplitsWordsBetweenThePartyOfTheFileNameAndEverybodyElse)
{
    const auto chat = chatWith({"Kim", "Zoe"}, {{"Jabber", "Kim", "one two lol"},
                                                {"Jabber", "sam", "three lol"},
                                                {"Jabber", "Zoe", "four five six"},
                                                {"Jabber", "kim", "seven"}, // letter case counts
                                                {"", "", "Zoe has left the chat"},
                                                {"Jabber", "Kim", ""},
                                                {"Jabber", "Kim", "lol"}});
    const WordSet lol{QStringLiteral("lol")};
    const WordSet empty;
    EXPECT_EQ(chat->CountWordsForOthersInSet(nullptr), 4);
    EXPECT_EQ(chat->CountWordsForUserInSet(nullptr), 6);
    EXPECT_EQ(chat->CountWordsForOthersInSet(&lol), 2);
    EXPECT_EQ(chat->CountWordsForUserInSet(&lol), 1);
    EXPECT_EQ(chat->CountWordsForOthersInSet(&empty), 0);
    EXPECT_EQ(chat->CountWordsForUserInSet(&empty), 0);

    using Counts = VORAChatLog::WordCounts;
    const WordSet *const sets[] = {nullptr, &lol, &empty};
    EXPECT_THAT(chat->countWords(sets), testing::ElementsAre(Counts{6, 4}, Counts{1, 2}, Counts{0, 0}));
}

TEST_F(Analysis, AnswersTheQuestionsAboutSpeakers)
{
    const auto chat = chatWith({"kimlee", "Zoe"});
    EXPECT_EQ(chat->NumberOfSpeakers(), 3);
    EXPECT_TRUE(chat->NameInSpeakerList(QStringLiteral("Zoe")));
    EXPECT_FALSE(chat->NameInSpeakerList(QStringLiteral("zoe")));
    EXPECT_FALSE(chat->NameInSpeakerList(QStringLiteral("Kim")));
    EXPECT_EQ(chat->firstOtherPartyName(), QStringLiteral("Kim"));
    EXPECT_EQ(chatWith({})->NumberOfSpeakers(), 1);
}

TEST_F(EndOfChat, NeedsNoScriptWhileIChatDoesNotRun)
{
    VORAHostFlags::iChatRunning = false;
    osascript.answers("3");
    EXPECT_TRUE(chatWith({"Kim", "Zoe"})->isLikelyEndOfChat());
    EXPECT_TRUE(chatWith({"Kim"})->isLikelyEndOfChat());
    EXPECT_FALSE(osascript.script());
    EXPECT_EQ(consoleLog(), "");
}

TEST_F(EndOfChat, OfManyIsWhenThereIsNoWindowAtAll)
{
    const auto chat = chatWith({"Kim", "Zoe"});
    const struct {
        const char *reply;
        int exitCode;
        bool ended;
    } table[] = {{"0\n", 0, true},  {"3\n", 0, false}, {"", 0, false}, {"missing value\n", 0, false},
                 {"0\n", 1, false}, {"10\n", 0, false}};
    for (const auto &row : table) {
        osascript.answers(row.reply, row.exitCode);
        EXPECT_EQ(chat->isLikelyEndOfChat(), row.ended) << row.reply;
        EXPECT_EQ(osascript.script(), "tell application \"iChat\" to get the number of documents");
    }
    EXPECT_EQ(consoleLog().count(" multiparty chat, checking documents\n"), qsizetype(std::size(table)));
}

TEST_F(EndOfChat, OfTwoIsWhenNoWindowBearsTheName)
{
    const auto chat = chatWith({"Kim"});
    const auto alone = chatWith({});
    const struct {
        const char *reply;
        int exitCode;
        bool ended;
    } table[] = {{"no\n", 0, true}, {"yes\n", 0, false}, {"", 0, false}, {"no\n", 1, false}};
    for (const auto &row : table) {
        osascript.answers(row.reply, row.exitCode);
        EXPECT_EQ(chat->isLikelyEndOfChat(), row.ended) << row.reply;
        EXPECT_EQ(alone->isLikelyEndOfChat(), row.ended) << row.reply;
    }
    EXPECT_EQ(consoleLog(), "");
}

TEST_F(EndOfChat, AsksForTheFourTitlesWithTheNameMadeFitForAScript)
{
    osascript.answers("no\n");
    const auto chat = VORAChatLog::initWithFilePath(
        write(R"(Kim "%2\" Lee on 2005-03-05 at 12.00.ichat)", keyedTranscript({})));
    EXPECT_TRUE(chat->isLikelyEndOfChat());
    EXPECT_EQ(
        osascript.script(),
        "tell application \"iChat\"\n"
        " copy documents to foo\n"
        "\trepeat with i from 1 to number of items in foo\n"
        " if name of item i of foo is \"Chatting with Kim \\\"%2\\\\\" Lee et al.\" or name of item i of foo "
        "is \"Instant Messages with Kim \\\"%2\\\\\" Lee\" or name of item i of foo is \"Chatting with Kim "
        "\\\"%2\\\\\" Lee\" or name of item i of foo is \"Chat with Kim \\\"%2\\\\\" Lee\" then \n"
        " return yes\n"
        "end if\n"
        "end repeat\n"
        "return no\n"
        "end tell");
}

TEST_F(EndOfChat, IsAskedForByScriptLikeTheDialogWhoseFailureIsIgnored)
{
    osascript.answers("", 1);
    for (int i = 0; i < 3; ++i)
        VORAChatLog::reportError(VORAChatLog::ErrorCode::MailServer, QStringLiteral("550"));
    EXPECT_TRUE(
        osascript.script().value_or("").starts_with("tell application \"System Events\" to display dialog"));
    EXPECT_TRUE(dialogs().empty());
}

TEST_F(EndOfChat, IsNotKnownWithoutAnInterpreter)
{
    EXPECT_FALSE(chatWith({"Kim"})->isLikelyEndOfChat());
    EXPECT_FALSE(chatWith({"Kim", "Zoe"})->isLikelyEndOfChat());
}
