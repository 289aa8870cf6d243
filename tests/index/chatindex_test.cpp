#include "index/chatindex.h"

#include "tests/support/testhome.h"
#include "tests/support/transcripts.h"

#include <csignal>
#include <random>
#include <set>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using indexing::ChatIndex;
using indexing::folded;
using indexing::Match;
using indexing::Question;

namespace {

using Order = ChatIndex::Order;

constexpr double startOf2005 = 126230400; // seconds since 2001

class ChatIndexTest : public TestHome {
protected:
    [[nodiscard]] std::filesystem::path folder() const { return home() / "chats"; }
    [[nodiscard]] std::filesystem::path file() const { return home() / "cache" / "chats.index"; }

    void add(const std::string &name, const std::vector<TestMessage> &messages) const
    {
        write("chats/" + name, keyedTranscript(messages));
    }

    /// The texts that are found, of an index that has just been opened.
    [[nodiscard]] std::vector<QString> find(const Question &question, Order order = Order::OldestFirst) const
    {
        ChatIndex index(folder(), file());
        EXPECT_FALSE(index.update());
        return find(index, question, order);
    }
    [[nodiscard]] static std::vector<QString> find(ChatIndex &index, const Question &question,
                                                   Order order = Order::OldestFirst)
    {
        std::vector<QString> texts;
        EXPECT_FALSE(index.find(question, order, [&texts](const Match &match) {
            texts.push_back(match.text);
            return true;
        }));
        return texts;
    }
    [[nodiscard]] static Question words(const std::vector<QString> &given)
    {
        Question question;
        for (const QString &word : given)
            question.words.push_back(folded(word));
        return question;
    }
};

} // namespace

TEST_F(ChatIndexTest, FindsWhatLookingAtEveryTextFinds)
{
    const std::vector<QByteArray> pieces{"o",  "ø",        "L",       "ł",  "ss", "ß",     "İ",  "i",  "か",
                                         "が", "か\u3099", "e\u0301", "É",  "你", "好",    "한", "국", "🌷",
                                         " ",  " ",        "AND",     "\"", "*",  "NEAR(", "x"};
    std::minstd_rand chance(5);
    std::vector<QString> texts;
    for (int chat = 0; chat < 40; ++chat) {
        std::vector<TestMessage> messages;
        for (int message = 0; message < 40; ++message) {
            QByteArray text;
            for (unsigned piece = 0; piece < 1 + chance() % 9; ++piece)
                text += pieces[chance() % pieces.size()];
            text.replace("\"", "&quot;");
            messages.push_back({"AIM", "kimlee", text, startOf2005 + chat * 1000 + message});
            texts.push_back(QString::fromUtf8(text.replace("&quot;", "\"")));
        }
        add("Kim on " + std::to_string(chat) + ".ichat", messages);
    }
    ChatIndex index(folder(), file());
    ASSERT_FALSE(index.update());
    for (int tried = 0; tried < 400; ++tried) {
        QByteArray word;
        for (unsigned piece = 0; piece < 1 + chance() % 3; ++piece)
            word += pieces[chance() % pieces.size()];
        Question question = words({QString::fromUtf8(word)});
        if (tried % 4 == 0)
            question.words.push_back(folded(QString::fromUtf8(pieces[chance() % pieces.size()])));
        std::vector<QString> expected;
        for (const QString &text : texts) {
            if (std::all_of(question.words.begin(), question.words.end(),
                            [&](const QString &wanted) { return folded(text).contains(wanted); }))
                expected.push_back(text);
        }
        EXPECT_EQ(find(index, question), expected) << word.constData();
        std::reverse(expected.begin(), expected.end());
        EXPECT_EQ(find(index, question, Order::NewestFirst), expected) << word.constData();
    }
}

TEST_F(ChatIndexTest, IsUpToDateWithWhateverHappensToTheTranscripts)
{
    const Question ferry = words({QStringLiteral("ferry")});
    add("Kim on 1.ichat", {{"AIM", "kimlee", "the Ferry leaves", startOf2005 + 10}});
    EXPECT_EQ(find(ferry), (std::vector<QString>{QStringLiteral("the Ferry leaves")}));
    // One that is older than all others, one that has grown, one that is damaged, one under another name.
    add("Zoe on 0.ichat", {{"AIM", "zoe", "first ferry", startOf2005}});
    add("Kim on 1.ichat", {{"AIM", "kimlee", "the Ferry leaves", startOf2005 + 10},
                           {"AIM", "kimlee", "ferry gone", startOf2005 + 11}});
    write("chats/Bob on 3.ichat", "bplist00");
    EXPECT_EQ(find(ferry),
              (std::vector<QString>{QStringLiteral("first ferry"), QStringLiteral("the Ferry leaves"),
                                    QStringLiteral("ferry gone")}));
    EXPECT_EQ(find(ferry, Order::NewestFirst).front(), QStringLiteral("ferry gone"));
    // One that lies elsewhere, and changes there.
    write("elsewhere", keyedTranscript({{"AIM", "kimlee", "ferry here", startOf2005 + 20}}));
    std::filesystem::create_symlink(home() / "elsewhere", folder() / "Sam on 4.ichat");
    EXPECT_EQ(find(ferry).back(), QStringLiteral("ferry here"));
    write("elsewhere", keyedTranscript({{"AIM", "kimlee", "the ferry is there", startOf2005 + 20}}));
    EXPECT_EQ(find(ferry).back(), QStringLiteral("the ferry is there"));
    std::filesystem::remove(folder() / "Sam on 4.ichat");
    std::filesystem::rename(folder() / "Zoe on 0.ichat", folder() / "Zoe on Sunday.ichat");
    std::filesystem::remove(folder() / "Kim on 1.ichat");
    ChatIndex index(folder(), file());
    ASSERT_FALSE(index.update());
    EXPECT_EQ(find(index, ferry), (std::vector<QString>{QStringLiteral("first ferry")}));
    ASSERT_EQ(index.chats().size(), 1U);
    EXPECT_EQ(index.chats().front().path, "Zoe on Sunday.ichat");
    ASSERT_EQ(index.unreadable().size(), 1U);
    EXPECT_FALSE(index.unreadable().front().isNew); // it was told before
    struct stat status{};
    ASSERT_EQ(::stat(file().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(ChatIndexTest, NamesPeopleAsTheAddressBookHasThemNow)
{
    add("Kim on 1.ichat", {{"AIM", "kimlee", "hello", startOf2005}});
    Question question;
    question.from = folded(u"Lee, the one");
    EXPECT_TRUE(find(question).empty());
    write("Library/Prattlebug/contacts.vcf",
          "BEGIN:VCARD\r\nVERSION:3.0\r\nN:one;Lee\\, the;;;\r\nX-AIM:kimlee\r\nEND:VCARD\r\n");
    EXPECT_EQ(find(question).size(), 1U);
}

TEST_F(ChatIndexTest, AnswersEveryFilter)
{
    setTimeZone("UTC");
    add("Kim on 1.ichat", {{"AIM", "kimlee", "one", startOf2005 - 1}, {"AIM", "sam", "two", startOf2005}});
    add("Zoe on 2.ichat",
        {{"AIM", "zoe", "three", startOf2005 + 90000}, {"AIM", "sam", "four", startOf2005 + 90001}});
    Question question;
    question.from = folded(u"SAM");
    EXPECT_EQ(find(question).size(), 2U);
    question.with = folded(u"zoe");
    EXPECT_EQ(find(question), (std::vector<QString>{QStringLiteral("four")}));
    question = {};
    question.since = indexing::Period::fromText(u"2005");
    question.until = indexing::Period::fromText(u"2005-01-01");
    EXPECT_EQ(find(question), (std::vector<QString>{QStringLiteral("two")}));
    question = words({QStringLiteral("o")});
    question.wholeWords = true;
    EXPECT_TRUE(find(question).empty());
}

TEST_F(ChatIndexTest, IsMadeAnewWhenItIsDamagedAndGoneOnWithWhenItWasKilled)
{
    for (int chat = 0; chat < 60; ++chat)
        add("Kim on " + std::to_string(chat) + ".ichat", {{"AIM", "kimlee", "ferry", startOf2005 + chat}});
    const Question ferry = words({QStringLiteral("ferry")});
    for (const QByteArray &damage : {QByteArray("no database"), QByteArray(5000, '\0'), QByteArray()}) {
        write("cache/chats.index", damage);
        EXPECT_EQ(find(ferry).size(), 60U);
    }
    std::filesystem::remove_all(home() / "cache");
    for (const size_t killedAt : {5, 61, 100}) { // while it reads, and while it lists
        if (const pid_t child = fork(); child == 0) {
            ChatIndex index(folder(), file());
            (void)index.update(
                [&](size_t done, size_t) { return done < killedAt || std::raise(SIGKILL) == 0; });
            _exit(1);
        } else {
            int status = 0;
            waitpid(child, &status, 0);
            EXPECT_TRUE(WIFSIGNALED(status));
        }
    }
    // Two at once share the work, and both are right.
    const pid_t other = fork();
    if (other == 0)
        _exit(find(ferry).size() == 60 ? 0 : 1);
    EXPECT_EQ(find(ferry).size(), 60U);
    int status = 0;
    waitpid(other, &status, 0);
    EXPECT_EQ(status, 0);
    // Where nothing can be kept, that is told.
    std::filesystem::remove_all(home() / "cache");
    write("cache", "a file");
    ChatIndex index(folder(), file());
    EXPECT_TRUE(index.update());
}

TEST_F(ChatIndexTest, MakesTheTableAnewWhenTooMuchComesOutOfOrder)
{
    add("Kim on 2.ichat", {{"AIM", "kimlee", "the last ferry", startOf2005 + 1e6}});
    const Question ferry = words({QStringLiteral("ferry")});
    EXPECT_EQ(find(ferry).size(), 1U);
    std::vector<TestMessage> many(16 * 1501, {"AIM", "kimlee", "nothing", startOf2005});
    many.back().text = "an old ferry";
    add("Kim on 1.ichat", many);
    EXPECT_EQ(find(ferry),
              (std::vector<QString>{QStringLiteral("an old ferry"), QStringLiteral("the last ferry")}));
    const platform::Database database(file(), platform::Database::Mode::ReadOnly);
    platform::Statement unlisted(database, "SELECT count(*) FROM chat WHERE firstDocument = 0");
    ASSERT_TRUE(unlisted.step());
    EXPECT_EQ(unlisted.integer(0), 0);
}

TEST_F(ChatIndexTest, LooksOnceAtATextThatIsNamedManyTimes)
{
    // In an index in memory, so that nothing but looking finds it.
    const QByteArray text = QByteArray("ferry ") + QByteArray(200, 'x');
    add("Kim on 1.ichat", {{"AIM", "kimlee", text, startOf2005}, {"AIM", "kimlee", "no", startOf2005 + 1}});
    ChatIndex index(folder(), [](const indexing::ChatRecord &record) { return record.texts.size() == 2; });
    ASSERT_FALSE(index.update());
    EXPECT_EQ(find(index, words({QStringLiteral("ferry")})).size(), 1U);
    EXPECT_EQ(index.messages(index.chats().front()).size(), 2U);
}
