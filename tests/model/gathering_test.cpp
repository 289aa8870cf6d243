#include "VORAChatLog.h"

#include "tests/support/testhome.h"
#include "tests/support/transcripts.h"

#include "platform/foundation/scalars.h"

#include <gmock/gmock.h>

using platform::NSAttributedString;
using platform::NSURL;
using platform::ObjectRef;
using testing::ElementsAre;
using testing::IsEmpty;

using Gathering = TestHome;

namespace {

/// A message in which each value carries one character, and null stands for a plain one.
std::shared_ptr<const VORAInstantMessage> messageWith(const QString &attribute,
                                                      const std::vector<ObjectRef> &values)
{
    NSAttributedString text;
    for (const ObjectRef &value : values)
        text.append(u"x", value ? makeAttributes({{attribute, value}}) : nullptr);
    return makeMessage(u"Jabber", u"kim", text);
}

ObjectRef string(const char16_t *text)
{
    return std::make_shared<platform::NSString>(QString::fromUtf16(text));
}

} // namespace

TEST_F(Gathering, TakesALinkOncePerStretchOfTheSameObject)
{
    const auto a = string(u"a");
    const auto equalToA = string(u"a");
    const auto b =
        std::make_shared<NSURL>(QStringLiteral("b"), std::make_shared<NSURL>(QStringLiteral("http://c/d")));
    const auto number = std::make_shared<platform::NSNumber>(true);
    const auto links = [](const std::vector<ObjectRef> &values) {
        return messageWith(QStringLiteral("NSLink"), values)->allURLs().urls;
    };
    const QString A = QStringLiteral("a");
    const QString B = QStringLiteral("http://c/b");
    EXPECT_THAT(links({a, a, a}), ElementsAre(A));
    EXPECT_THAT(links({a, nullptr, a}), ElementsAre(A));
    EXPECT_THAT(links({a, equalToA}), ElementsAre(A, A));
    EXPECT_THAT(links({a, b, a}), ElementsAre(A, B, A));
    EXPECT_THAT(links({a, number, a}), ElementsAre(A, A));
    EXPECT_THAT(links({nullptr, number}), IsEmpty());
}

TEST_F(Gathering, TakesAFileOncePerStretchOfTheSameAttachment)
{
    const auto file = [](const char16_t *name) {
        return std::make_shared<platform::NSFileWrapper>(QString::fromUtf16(name), QByteArray("x"));
    };
    const auto a = std::make_shared<platform::NSTextAttachment>(file(u"a"));
    const auto b = std::make_shared<platform::NSTextAttachment>(file(u"b"));
    const auto none = std::make_shared<platform::NSTextAttachment>(nullptr);
    const auto images =
        messageWith(QStringLiteral("NSAttachment"), {a, nullptr, a, b, none, a})->allImages().images;
    EXPECT_THAT(images, ElementsAre(a->fileWrapper(), b->fileWrapper(), a->fileWrapper()));
}

TEST_F(Gathering, GivesRecordsForWhatWasSaidAndEmptyOnesWhereSomethingIsMissing)
{
    const auto text = std::make_shared<NSAttributedString>(NSAttributedString(
        QStringLiteral("x"), {{1, makeAttributes({{QStringLiteral("NSLink"), string(u"a")}})}}));
    const auto kim = std::make_shared<VORAPresentity>(QStringLiteral("Jabber"), QStringLiteral("kim"));
    const auto nobody = std::make_shared<VORAPresentity>(QStringLiteral("Jabber"), std::nullopt);
    const auto time = platform::NSDate::fromInterval(1);
    const auto message = [&text](const std::shared_ptr<const VORAPresentity> &sender, const auto &when) {
        return std::make_shared<VORAInstantMessage>(sender, text, when);
    };
    const auto chatLog = VORAChatLog::withMessages(
        {message(kim, time), message(nullptr, time), message(kim, std::nullopt), message(nobody, time)},
        QStringLiteral("kim"));
    const auto records = chatLog->GatheredURLs();
    ASSERT_EQ(records.size(), 3U) << "a status message has no record";
    EXPECT_THAT(records[0].urls, ElementsAre(QStringLiteral("a")));
    EXPECT_EQ(records[1].speaker, QStringLiteral("kim"));
    EXPECT_TRUE(!records[1].time && records[1].urls.empty()) << "no time stamp";
    EXPECT_TRUE(!records[2].speaker && !records[2].time && records[2].urls.empty()) << "no display name";
    EXPECT_EQ(chatLog->GatheredImages().size(), 3U);
}
