#include "VORAChatLog.h"

#include "tests/support/testhome.h"
#include "tests/support/transcripts.h"

#include "platform/foundation/scalars.h"

#include <gtest/gtest.h>

// A few bytes of a file can name the same large thing very often. Each of these chats fits into a file of a
// few megabytes or less, and would take hours or tens of gigabytes, were what is shared gone through anew
// each time.

using platform::AttributesRef;
using platform::NSAttributedString;
using platform::NSFileWrapper;
using Message = std::shared_ptr<const VORAInstantMessage>;

namespace {

class Amplification : public TestHome {};

const platform::NSDate someDay = platform::NSDate::fromUnixTime(1109711265);

/// @p length characters, each a run, with two sets of attributes by turns.
std::shared_ptr<const NSAttributedString> oneRunEach(qsizetype length, const AttributesRef &even,
                                                     const AttributesRef &odd)
{
    std::vector<NSAttributedString::Run> runs;
    for (qsizetype i = 0; i < length; ++i)
        runs.push_back({1, i % 2 == 0 ? even : odd});
    return std::make_shared<NSAttributedString>(QString(length, u'x'), runs);
}

std::unique_ptr<VORAChatLog> chatOf(const VORAPresentity &sender,
                                    const std::shared_ptr<const NSAttributedString> &text, size_t times)
{
    const auto message =
        std::make_shared<VORAInstantMessage>(std::make_shared<VORAPresentity>(sender), text, someDay);
    return VORAChatLog::withMessages(VORAChatLog::Messages(times, message), QStringLiteral("kim"));
}

const VORAPresentity kim(QStringLiteral("Jabber"), QStringLiteral("kim"));

} // namespace

TEST_F(Amplification, OfRunsEndsAtTheLimits)
{
    const auto text = oneRunEach(100'000, makeAttributes({}), makeAttributes({}));
    const auto chatLog = chatOf(kim, text, 3000);
    EXPECT_TRUE(chatLog->HTMLChatLog().isNull());
    EXPECT_TRUE(chatLog->GatheredURLs().empty());
    EXPECT_TRUE(chatLog->GatheredImages().empty());
    EXPECT_EQ(chatLog->CountWordsForOthersInSet(nullptr), 3000);
    EXPECT_EQ(consoleLog().count("is too large to be rendered."), 1);
    EXPECT_EQ(consoleLog().count("is too large for its links and files to be gathered."), 2);
}

TEST_F(Amplification, OfAttributesThatNobodyAsksForCostsNothing)
{
    std::vector<platform::NSDictionary::Entry> entries;
    for (int i = 0; i < 100'000; ++i)
        entries.push_back({QStringLiteral("k%1").arg(i), nullptr});
    const auto chatLog =
        chatOf(kim, oneRunEach(200'000, makeAttributes(entries), makeAttributes(entries)), 1);
    EXPECT_TRUE(chatLog->HTMLChatLog().contains("xxxx"));
}

TEST_F(Amplification, OfALongBaseOfAUrlCostsNothing)
{
    const auto base =
        std::make_shared<platform::NSURL>(QStringLiteral("http://h/") + QString(1'000'000, u'a') + u'/');
    const auto link = [&] {
        return makeAttributes(
            {{QStringLiteral("NSLink"), std::make_shared<platform::NSURL>(QStringLiteral("/x"), base)}});
    };
    const auto chatLog = chatOf(kim, oneRunEach(100'000, link(), link()), 1);
    EXPECT_EQ(chatLog->HTMLChatLog().count("<a href=\"http://h/x\">"), 100'000);
    EXPECT_EQ(chatLog->GatheredURLs().at(0).urls.size(), 100'000U);
}

TEST_F(Amplification, OfLongNamesEndsAtTheLimits)
{
    const QString longName(1'000'000, u'a');
    const auto text = std::make_shared<NSAttributedString>(QStringLiteral("one two"));
    const VORAPresentity sender(QStringLiteral("SubNet"), longName + QStringLiteral("@host"));
    const auto ofOne = chatOf(sender, text, 100'000);
    EXPECT_EQ(ofOne->CountWordsForUserInSet(nullptr), 200'000);
    EXPECT_TRUE(ofOne->PlainChatLog().isNull());

    VORAChatLog::Messages messages;
    for (int i = 0; i < 100'000; ++i)
        messages.push_back(
            std::make_shared<VORAInstantMessage>(std::make_shared<VORAPresentity>(sender), text, someDay));
    const auto ofMany = VORAChatLog::withMessages(messages, QStringLiteral("kim"));
    EXPECT_EQ(ofMany->CountWordsForUserInSet(nullptr), 0);
    EXPECT_EQ(consoleLog().count("The chat with kim is too large for its words to be counted."), 1);

    NSAttributedString look;
    look.append(u"\uFFFC",
                makeAttributes({{QStringLiteral("NSAttachment"),
                                 std::make_shared<platform::NSTextAttachment>(
                                     std::make_shared<NSFileWrapper>(longName, QByteArray("x")))}}));
    EXPECT_TRUE(chatOf(kim, std::make_shared<NSAttributedString>(look), 100'000)->GatheredImages().empty());
}
