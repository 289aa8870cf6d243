#include "VORAChatLog.h"

#include "tests/support/testhome.h"
#include "tests/support/transcripts.h"

#include "platform/appkit/nscolor.h"
#include "platform/appkit/nsfilewrapper.h"
#include "platform/appkit/nsfont.h"
#include "platform/foundation/scalars.h"
#include "platform/preferences/preferences.h"

#include <gmock/gmock.h>

#include <array>
#include <limits>

using platform::NSAttributedString;
using platform::NSColor;
using platform::NSColorSpace;
using platform::ObjectRef;

using Rendering = TestHome;

namespace {

const std::string head = "<html><head><title>Prattlebug log</title></head><body>";
const std::string richCredit =
    "<br><hr><i>Sent by <a href=\"https://prattlebug.example/\">Prattlebug</a>.</i></body></html>";
const std::string kim = "<font face=\"Helvetica-Bold\" point-size=\"12\">kim</font>: ";

ObjectRef color(NSColorSpace space, std::vector<double> components)
{
    return std::make_shared<NSColor>(space, components);
}

ObjectRef attachment(std::shared_ptr<const platform::NSFileWrapper> wrapper)
{
    return std::make_shared<platform::NSTextAttachment>(std::move(wrapper));
}

ObjectRef font(const char16_t *name, double size)
{
    return std::make_shared<platform::NSFont>(QString::fromUtf16(name), size);
}

ObjectRef string(const char16_t *text)
{
    return std::make_shared<platform::NSString>(QString::fromUtf16(text));
}

NSAttributedString styled(const char16_t *text, std::vector<platform::NSDictionary::Entry> attributes)
{
    NSAttributedString result;
    result.append(text, makeAttributes(std::move(attributes)));
    return result;
}

/// The HTML of a chat with one message from kim, without what stands around it.
std::string htmlOf(const NSAttributedString &text)
{
    const std::string html =
        VORAChatLog::withMessages({makeMessage(u"Jabber", u"kim", text)}, QStringLiteral("kim"))
            ->HTMLChatLog()
            .toStdString();
    const std::string before = head + kim;
    const std::string after = "\n\n<br>\n" + richCredit;
    EXPECT_TRUE(html.starts_with(before) && html.ends_with(after)) << html;
    return html.substr(before.size(), html.size() - before.size() - after.size());
}

} // namespace

TEST_F(Rendering, ShowsWhatWasSaidAndNoStatusMessages)
{
    write("Library/Prattlebug/me.vcf", "BEGIN:VCARD\nN:Park;Sam;;;\nX-AIM:samiam\nEND:VCARD\n");
    const auto path = write("Kim on x.ichat", keyedTranscript({{"Jabber", "Kim", "hi\nFrom here"},
                                                               {"", "", "Kim has left the chat"},
                                                               {"Jabber", "Kim", ""},
                                                               {"AIM", "samiam", "hello"}}));
    const auto chatLog = VORAChatLog::initWithFilePath(path);
    ASSERT_TRUE(chatLog);
    EXPECT_EQ(chatLog->PlainChatLog().toStdString(), "Kim: hi\nFrom here\nSam Park: hello\n"
                                                     "Sent by Prattlebug ( https://prattlebug.example/ )");
    EXPECT_EQ(chatLog->HTMLChatLog().toStdString(),
              head +
                  "<font face=\"Helvetica-Bold\" point-size=\"12\">Kim</font>: hi\nFrom here\n\n<br>\n"
                  "<font face=\"Helvetica-Bold\" point-size=\"12\">Sam Park</font>: hello\n\n<br>\n" +
                  richCredit);

    const NSAttributedString rich = chatLog->RichChatLog();
    ASSERT_EQ(rich.runs().size(), 4U) << "name, the rest, name, the rest with the credit";
    EXPECT_FALSE(rich.runs().back().attributes);
}

TEST_F(Rendering, GivesTheCreditAloneWhereNothingWasSaid)
{
    for (const auto &messages :
         {std::vector<TestMessage>{}, std::vector<TestMessage>{{"", "", "Kim is away"}}}) {
        const auto chatLog =
            VORAChatLog::initWithFilePath(write("Kim on x.ichat", keyedTranscript(messages)));
        ASSERT_TRUE(chatLog);
        EXPECT_EQ(chatLog->PlainChatLog().toStdString(),
                  "Sent by Prattlebug ( https://prattlebug.example/ )");
        EXPECT_EQ(chatLog->HTMLChatLog().toStdString(), head + richCredit);
        EXPECT_EQ(chatLog->LastMessageDate().has_value(), !messages.empty());
    }
}

TEST_F(Rendering, TurnsAttributesIntoTags)
{
    using platform::NSURL;
    const auto photo =
        std::make_shared<platform::NSFileWrapper>(QStringLiteral("photo.jpg"), QByteArray("x"));
    const auto nameless = std::make_shared<platform::NSFileWrapper>(std::nullopt, QByteArray("x"));
    const auto base = std::make_shared<NSURL>(QStringLiteral("https://example.org/a/b"));
    const QString fontKey = QStringLiteral("NSFont");
    const QString colorKey = QStringLiteral("NSColor");
    const QString linkKey = QStringLiteral("NSLink");
    const QString attachmentKey = QStringLiteral("NSAttachment");
    const struct {
        const char16_t *text;
        std::vector<platform::NSDictionary::Entry> attributes;
        const char *html;
    } table[] = {
        {u"<b>&", {}, "<b>&"},
        {u"hi",
         {{colorKey, color(NSColorSpace::DeviceRGB, {1, 0.5, 0})}},
         "<font color=\"#ff7f00\">hi</font>"},
        // Levels 7 and 126 as the platform writes them: as doubles they lie just below.
        {u"hi",
         {{colorKey, color(NSColorSpace::DeviceRGB, {0.02745098, 0.494117647, 0})}},
         "<font color=\"#077e00\">hi</font>"},
        {u"hi",
         {{colorKey, color(NSColorSpace::CalibratedRGB, {1, 1, 1, 0.2})}},
         "<font color=\"#ffffff\">hi</font>"},
        {u"hi",
         {{colorKey, color(NSColorSpace::DeviceRGB, {-3, 0, 7})}},
         "<font color=\"#0000ff\">hi</font>"},
        {u"hi",
         {{colorKey, color(NSColorSpace::CalibratedWhite, {0.5, 1})}},
         "<font color=\"#7f7f7f\">hi</font>"},
        {u"hi",
         {{colorKey, color(NSColorSpace::DeviceCMYK, {0, 1, 0.5, 0.25, 1})}},
         "<font color=\"#bf003f\">hi</font>"},
        {u"hi", {{colorKey, color(NSColorSpace::Pattern, {})}}, "hi"},
        {u"hi",
         {{fontKey, font(u"Lucida Grande", 12.5)}},
         "<font face=\"Lucida Grande\" point-size=\"12\">hi</font>"},
        {u"hi", {{fontKey, font(u"Big", 1e300)}}, "<font face=\"Big\" point-size=\"9999\">hi</font>"},
        {u"hi",
         {{fontKey, font(u"Helvetica", 12)}, {colorKey, color(NSColorSpace::DeviceRGB, {1, 0, 0})}},
         "<font color=\"#ff0000\"><font face=\"Helvetica\" point-size=\"12\">hi</font></font>"},
        {u"here", {{linkKey, string(u"no url\" at all")}}, "<a href=\"no url\" at all\">here</a>"},
        {u"here",
         {{linkKey, std::make_shared<NSURL>(QStringLiteral("../c"), base)}},
         "<a href=\"https://example.org/c\">here</a>"},
        {u"here", {{linkKey, std::make_shared<platform::NSNumber>(true)}}, "here"},
        {u"here",
         {{linkKey, string(u"x:y")}, {fontKey, font(u"F", 9)}},
         "<font face=\"F\" point-size=\"9\"><a href=\"x:y\">here</font></a>"},
        {u"\uFFFC", {{attachmentKey, attachment(photo)}}, "[photo.jpg] "},
        {u"\uFFFC", {{attachmentKey, attachment(nameless)}}, "[attached item] "},
        {u"\uFFFC", {{attachmentKey, attachment(nullptr)}}, "[attached item] "},
        {u"\uFFFC",
         {{attachmentKey, attachment(photo)}, {fontKey, font(u"F", 9)}},
         "[photo.jpg]<font face=\"F\" point-size=\"9\"> </font>"},
        {u"hi", {{QStringLiteral("NSUnderline"), std::make_shared<platform::NSNumber>(qint64(1))}}, "hi"},
    };
    for (const auto &row : table)
        EXPECT_EQ(htmlOf(styled(row.text, row.attributes)), row.html);
}

TEST_F(Rendering, ClosesTheTagsOfOneRunBeforeItOpensThoseOfTheNext)
{
    NSAttributedString text =
        styled(u"a", {{QStringLiteral("NSColor"), color(NSColorSpace::DeviceRGB, {1, 0, 0})}});
    text.append(styled(u"b", {{QStringLiteral("NSColor"), color(NSColorSpace::DeviceRGB, {0, 0, 1})}}));
    EXPECT_EQ(htmlOf(text), "<font color=\"#ff0000\">a</font><font color=\"#0000ff\">b</font>");
}

TEST_F(Rendering, KeepsAPairOfSurrogatesWholeUnlessATagPartsIt)
{
    const char16_t face[] = {0xD83D, 0xDE00, 0};
    const auto split = [&face](const std::vector<platform::NSDictionary::Entry> &secondAttributes) {
        NSAttributedString text;
        text.append(QStringView(face).first(1),
                    makeAttributes({{QStringLiteral("NSUnderline"), string(u"1")}}));
        text.append(QStringView(face).sliced(1), makeAttributes(secondAttributes));
        return text;
    };
    EXPECT_EQ(htmlOf(split({})), "\xF0\x9F\x98\x80");
    EXPECT_EQ(htmlOf(split({{QStringLiteral("NSLink"), string(u"x")}})),
              "\xEF\xBF\xBD<a href=\"x\">\xEF\xBF\xBD</a>");
}

TEST_F(Rendering, InsertsTextsAtOnePlaceInTheirOrder)
{
    QString target = QStringLiteral("[abc]");
    std::array<qsizetype, 4> indices{1, 2, 3, 4};
    InsertStringAndTrackIndices(target, indices, u"<1>", 0, 4);
    InsertStringAndTrackIndices(target, indices, u"</1>", 3, 4);
    InsertStringAndTrackIndices(target, indices, u"<2>", 0, 4);
    InsertStringAndTrackIndices(target, indices, u"</2>", 3, 4);
    EXPECT_EQ(target, QStringLiteral("[<1><2>abc</1></2>]"));
    EXPECT_EQ(indices, (std::array<qsizetype, 4>{7, 8, 9, 18}));
}

TEST_F(Rendering, GivesUpOnAChatThatNamesOneLargeMessageTooOften)
{
    const auto message = makeMessage(u"Jabber", u"kim", NSAttributedString(QString(1 << 20, u'x')));
    const auto chatLog =
        VORAChatLog::withMessages(VORAChatLog::Messages(1025, message), QStringLiteral("kim"));
    EXPECT_TRUE(chatLog->PlainChatLog().isNull());
    EXPECT_TRUE(chatLog->HTMLChatLog().isNull());
    EXPECT_EQ(consoleLog().count("The chat with kim is too large to be rendered."), 2);
}

TEST_F(Rendering, CountsTheSubjectsThatItMakesUnique)
{
    const auto chatLog = VORAChatLog::withMessages({}, QStringLiteral("Kim (é) [x]"));
    EXPECT_EQ(chatLog->subjectForEmail(), QStringLiteral("[IM] Kim (é) [x]"));
    EXPECT_TRUE(platform::CFPreferencesCopyAppValue(u"subjectNumber").isNull());

    setPreferences("<key>forceUniqueSubjects</key><string>YES</string>");
    for (const qint64 made : {1, 2}) {
        const std::string subject = chatLog->subjectForEmail().toStdString();
        EXPECT_THAT(subject,
                    testing::MatchesRegex("\\[IM\\] Kim .* \\([0-9:]{8} [0-9]{2} [A-Z][a-z]{2} [0-9]{4}\\)"));
        EXPECT_EQ(platform::CFPreferencesCopyAppValue(u"subjectNumber").integer(), made);
    }
    constexpr qint64 most = std::numeric_limits<qint64>::max();
    platform::CFPreferencesSetAppValue(u"subjectNumber", platform::PropertyList::fromInteger(most));
    EXPECT_TRUE(chatLog->subjectForEmail().contains(u':'));
    EXPECT_EQ(platform::CFPreferencesCopyAppValue(u"subjectNumber").integer(), most);
    const auto when = platform::NSDate::fromInterval(131432865.9);
    EXPECT_EQ(chatSubject(QStringLiteral("Kim"), when), QStringLiteral("[IM] Kim (21:07:45 01 Mar 2005)"));
}
