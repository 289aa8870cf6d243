#include "conversation/conversation.h"

#include "tests/support/testhome.h"
#include "tests/support/transcripts.h"

#include "platform/appkit/nscolor.h"
#include "platform/appkit/nsfont.h"
#include "platform/foundation/scalars.h"

#include <gmock/gmock.h>

using conversation::Conversation;
using conversation::conversationOf;
using conversation::Style;
using platform::NSAttributedString;
using platform::NSFileWrapper;

using Conversations = TestHome;

namespace {

Conversation sample(const char *name)
{
    const VORAChatLog::Loading loading = VORAChatLog::load(std::filesystem::path(SAMPLES) / name);
    return loading ? conversationOf(**loading) : Conversation();
}

platform::AttributesRef fontAttributes(const char *name)
{
    return makeAttributes({{platform::NSFontAttributeName.toString(),
                            std::make_shared<platform::NSFont>(QString::fromLatin1(name), 13.0)}});
}

} // namespace

TEST_F(Conversations, OfBothFormatsAreTheSameAfterTheWayThroughBytes)
{
    for (const char *name : {"Kim Lee on 2003-07-12 at 20.41.chat", "Kim Lee on 2005-08-20 at 21.07.ichat",
                             "Kim Lee, Zoë Müller on 2005-02-11 at 18.47.chat"}) {
        SCOPED_TRACE(name);
        const Conversation before = sample(name);
        const Conversation after = conversation::conversationFrom(serialized(before));
        EXPECT_GT(before.messages.size(), 10U);
        EXPECT_EQ(after.otherParty, before.otherParty);
        EXPECT_EQ(after.participants, before.participants);
        EXPECT_EQ(after.speakers, before.speakers);
        EXPECT_EQ(after.messages, before.messages);
        EXPECT_EQ(after.texts, before.texts);
        EXPECT_EQ(after.styles, before.styles);
        EXPECT_EQ(after.links, before.links);
        ASSERT_EQ(after.files.size(), before.files.size());
        for (size_t i = 0; i < before.files.size(); ++i)
            EXPECT_EQ(after.files[i]->regularFileContents(), before.files[i]->regularFileContents());
    }
}

TEST_F(Conversations, TellTheUserFromTheOthers)
{
    const Conversation chat = sample("Kim Lee on 2003-07-12 at 20.41.chat");
    ASSERT_EQ(chat.speakers.size(), 2U);
    EXPECT_EQ(chat.speakers[0].screenName, QStringLiteral("kimlee77"));
    EXPECT_FALSE(chat.speakers[0].isUser);
    EXPECT_EQ(chat.speakers[1].screenName, QStringLiteral("robinashby"));
    EXPECT_TRUE(chat.speakers[1].isUser);
    EXPECT_TRUE(chat.messages[12].isNotice());

    // A guest who has left the list of participants is not the user, where the user's own card says who that
    // is.
    write("Library/Prattlebug/me.vcf",
          "BEGIN:VCARD\nVERSION:3.0\nN:Ashby;Robin\nX-AIM:Robin Ashby\nEND:VCARD\n");
    const NSAttributedString text(QStringLiteral("x"));
    const auto log = VORAChatLog::withMessages(
        {makeMessage(u"AIM", u"robinashby", text), makeMessage(u"AIM", u"guest", text)},
        QStringLiteral("Kim"));
    const Conversation guest = conversationOf(*log);
    EXPECT_TRUE(guest.speakers[0].isUser);
    EXPECT_FALSE(guest.speakers[1].isUser);
}

TEST_F(Conversations, KnowFontsByTheNamesOfPeople)
{
    const struct {
        const char *archived;
        const char *family;
        bool bold, italic;
    } cases[] = {
        {"Helvetica", "Helvetica", false, false},
        {"Helvetica-BoldOblique", "Helvetica", true, true},
        {"TimesNewRomanPS-ItalicMT", "Times New Roman", false, true},
        {"LucidaGrande-Bold", "Lucida Grande", true, false},
        {"ArialMT", "Arial", false, false},
        {"MT", "MT", false, false},
    };
    for (const auto &row : cases) {
        NSAttributedString text;
        text.append(u"x", fontAttributes(row.archived));
        const auto log =
            VORAChatLog::withMessages({makeMessage(u"AIM", u"kim", text)}, QStringLiteral("Kim"));
        const Conversation chat = conversationOf(*log);
        const Style &style = chat.styles.at(chat.texts.at(0).stretches.at(0).style);
        EXPECT_EQ(style, (Style{QString::fromLatin1(row.family), 13.0, row.bold, row.italic, {}}))
            << row.archived;
    }
}

TEST_F(Conversations, HoldWhatIsNamedManyTimesOnce)
{
    const auto file =
        std::make_shared<const NSFileWrapper>(QStringLiteral("a.bin"), QByteArray(1 << 20, 'x'));
    const auto twin =
        std::make_shared<const NSFileWrapper>(QStringLiteral("b.bin"), file->regularFileContents());
    NSAttributedString text(QString(1 << 20, u'x'));
    for (const auto &wrapper : {file, twin, file}) {
        text.append(u"\uFFFC", makeAttributes({{platform::NSAttachmentAttributeName.toString(),
                                                std::make_shared<platform::NSTextAttachment>(wrapper)}}));
    }
    const auto message = makeMessage(u"AIM", u"kim", text);
    const auto log = VORAChatLog::withMessages(VORAChatLog::Messages(1000, message), QStringLiteral("Kim"));
    const Conversation chat = conversationOf(*log);
    EXPECT_EQ(chat.messages.size(), 1000U);
    EXPECT_EQ(chat.texts.size(), 1U);
    EXPECT_EQ(chat.files.size(), 2U);
    EXPECT_EQ(chat.texts[0].stretches.size(), 4U);
    EXPECT_LT(serialized(chat).size(), 4 << 20);
}
