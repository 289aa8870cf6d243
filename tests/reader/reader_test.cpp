#include "reader/chatview.h"
#include "reader/filekind.h"
#include "reader/names.h"
#include "reader/rowheights.h"
#include "reader/searchtext.h"
#include "reader/selection.h"

#include <QAccessible>
#include <QImage>
#include <QScrollBar>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

namespace reader {
namespace {

using conversation::Conversation;

TEST(RowHeights, findsWhatAddingUpFinds)
{
    std::mt19937 chance(1);
    std::vector<int> heights(1000);
    for (int &height : heights)
        height = int(chance() % 90) + 1;
    RowHeights rows(heights);
    for (size_t change = 0; change < 300; ++change) {
        const size_t row = chance() % heights.size();
        rows.setHeight(row, heights[row] = int(chance() % 90) + 1);
    }
    qint64 top = 0;
    for (size_t row = 0; row < heights.size(); top += heights[row++]) {
        ASSERT_EQ(rows.top(row), top);
        ASSERT_EQ(rows.rowAt(top), row);
        ASSERT_EQ(rows.rowAt(top + heights[row] - 1), row);
    }
    EXPECT_EQ(rows.total(), top);
    EXPECT_EQ(rows.rowAt(-1), 0U);
    EXPECT_EQ(rows.rowAt(top + 5), heights.size() - 1);
}

TEST(Names, cannotPretendToBeOthers)
{
    struct Case {
        const char16_t *name;
        const char16_t *shown;
        const char16_t *saved;
    };
    for (const Case &expected : {
             Case{u"holiday.png", u"holiday.png", u"holiday.png"},
             Case{u"invoice\u202Egpj.exe", u"invoice\uFFFDgpj.exe", u"invoice\uFFFDgpj.exe"},
             Case{u"two\nlines\u2028.txt", u"two\uFFFDlines\uFFFD.txt", u"two\uFFFDlines\uFFFD.txt"},
             Case{u"../../.profile", u"../../.profile", u"_..:..:.profile"},
             Case{u".hidden", u".hidden", u"_.hidden"},
             Case{u"", u"", u"_"},
         }) {
        EXPECT_EQ(harmless(expected.name), QString::fromUtf16(expected.shown));
        EXPECT_EQ(nameToSave(expected.name), QString::fromUtf16(expected.saved));
    }
    EXPECT_EQ(harmlessMarkup(u"<img src=x>"),
              QStringLiteral("<p style='white-space:pre-wrap'>&lt;img src=x&gt;</p>"));
    EXPECT_LT(harmless(QString(100'000, u'x')).size(), 400);
}

TEST(FileKind, asksBeforeWhatTheSystemWouldRun)
{
    const auto risky = [](const char16_t *name, const QByteArray &contents) {
        return mightRun(platform::NSFileWrapper(QString::fromUtf16(name), contents));
    };
    const QByteArray picture("\x89PNG\r\n\x1a\n\0\0\0\rIHDR", 16);
    EXPECT_FALSE(risky(u"flower.png", picture));
    EXPECT_FALSE(risky(u"notes.txt", "some notes\n"));
    EXPECT_TRUE(risky(u"flower.png", "#!/bin/sh\nrm -r ~\n"));
    EXPECT_TRUE(risky(u"tool.desktop", "[Desktop Entry]\nType=Application\nExec=true\n"));
    EXPECT_TRUE(risky(u"tool", QByteArray("\x7f"
                                          "ELF\2\1\1\0\0\0\0\0\0\0\0\0\2\0\x3e\0",
                                          20)));
    EXPECT_TRUE(risky(u"setup.exe", "MZ"));
}

TEST(SearchText, takesFiltersAndQuotesAsTheyAreTyped)
{
    const indexing::Question question =
        SearchText::of(
            u"Tea from:Kim with:\"zoe muller\" \"at nine\" http://a.example since:2005-03 has:picture")
            .question;
    EXPECT_THAT(question.words, testing::ElementsAre(QStringLiteral("tea"), QStringLiteral("at nine"),
                                                     QStringLiteral("http://a.example")));
    EXPECT_EQ(question.from, QStringLiteral("kim"));
    EXPECT_EQ(question.with, QStringLiteral("zoe muller"));
    EXPECT_TRUE(question.since && !question.until && question.has.picture && !question.has.link);
    // What is being typed is no mistake.
    for (const char16_t *typed : {u"", u"from:", u"since:", u"has:", u"\"", u"\"see you"})
        EXPECT_EQ(SearchText::of(typed).problem, QString()) << QString::fromUtf16(typed).toStdString();
    for (const char16_t *typed : {u"since:yesterday", u"has:cake"})
        EXPECT_NE(SearchText::of(typed).problem, QString()) << QString::fromUtf16(typed).toStdString();
}

/// A chat of @p count messages that take turns.
Conversation chatOf(size_t count, const QString &text)
{
    Conversation chat;
    chat.speakers = {{{}, {}, QStringLiteral("Kim Lee"), false}, {{}, {}, QStringLiteral("Robin"), true}};
    chat.styles.resize(1);
    chat.texts = {{text, {{text.size(), 0, {}, {}}}}};
    for (size_t i = 0; i < count; ++i)
        chat.messages.push_back({qint64(i) * 60'000, quint32(i % 2), 0U, {}});
    return chat;
}

TEST(Copying, givesNamesAndTimesAcrossMessages)
{
    qputenv("TZ", "UTC");
    tzset();
    const Conversation chat = chatOf(3, QStringLiteral("one two"));
    EXPECT_EQ(copied(chat, {{1, 4}, {1, 7}}), QStringLiteral("two"));
    EXPECT_EQ(
        copied(chat, {{2, 3}, {0, 4}}), // upwards
        QStringLiteral(
            "Thursday, 1 January 1970\n00:00 Kim Lee: two\n00:01 Robin: one two\n00:02 Kim Lee: one\n"));
    EXPECT_FALSE(copied(chatOf(100'000, QString(100, u'x')), {{0, 0}, {99'999, 100}}, 1 << 20));
}

class ChatViewTest : public testing::Test {
protected:
    void show(Conversation chat)
    {
        m_view.resize(600, 400);
        m_view.show();
        m_view.setChat(std::make_shared<const Conversation>(std::move(chat)));
        m_view.grab();
    }
    [[nodiscard]] QScrollBar &bar() const { return *m_view.verticalScrollBar(); }

    ChatView m_view;
};

TEST_F(ChatViewTest, reachesEveryMessageWithoutLosingItsPlace)
{
    show(chatOf(5000, QStringLiteral(
                          "some words that are too long to stand on one line of a view as narrow as this, ")
                          .repeated(3)));
    m_view.bringIntoView({2500, 0});
    const auto place = m_view.place();
    m_view.grab(); // corrects heights
    EXPECT_EQ(m_view.place(), place);
    bar().setValue(bar().maximum());
    m_view.grab();
    EXPECT_EQ(m_view.positionAt(QPoint(300, 399))->message, 4999U);
    const int last = bar().value();
    bar().setValue(last - 100);
    bar().setValue(bar().value() + 100);
    EXPECT_EQ(m_view.positionAt(QPoint(300, 399))->message, 4999U);
    bar().setValue(0);
    EXPECT_EQ(m_view.place(), ChatView::Place());
}

TEST_F(ChatViewTest, takesHostileChats)
{
    show(chatOf(1'000'000, QString(3'000'000, u'\n'))); // a small file can say that
    bar().setValue(bar().maximum());
    m_view.grab();
    EXPECT_EQ(m_view.positionAt(QPoint(300, 399))->message, 999'999U);

    Conversation odd = chatOf(4, QStringLiteral("<b>bold</b>\u202E\a") + QChar(0xD800));
    odd.messages[0].milliseconds = std::numeric_limits<qint64>::max();
    odd.messages[1].milliseconds.reset();
    odd.messages[2].text.reset();
    odd.messages[3].fault = QStringLiteral("bytes are missing");
    odd.files = {nullptr, std::make_shared<platform::NSFileWrapper>(QStringLiteral("x.png"),
                                                                    QByteArray("no picture"))};
    odd.texts[0] = {QStringLiteral("ab"), {{1, 0, {}, 0U}, {1, 0, {}, 1U}}};
    show(std::move(odd));
    m_view.selectAll();
    m_view.grab();
    show(Conversation());
}

TEST_F(ChatViewTest, tellsScreenReadersOfEveryMessage)
{
    qputenv("TZ", "UTC");
    tzset();
    QAccessibleInterface *const list = QAccessible::queryAccessibleInterface(&m_view);
    for (const size_t count : {3, 500}) { // of the chat before nothing is left
        show(chatOf(count, QStringLiteral("see you at nine")));
        ASSERT_EQ(list->childCount(), int(count));
        QAccessibleInterface *const last = list->child(int(count) - 1);
        EXPECT_EQ(last->parent(), list);
        EXPECT_EQ(list->indexOfChild(last), int(count) - 1);
        EXPECT_EQ(last->textInterface()->text(4, 7), QStringLiteral("you"));
    }
    EXPECT_EQ(list->child(1)->text(QAccessible::Name), QStringLiteral("Robin, 00:01: see you at nine"));
    EXPECT_EQ(list->child(1)->text(QAccessible::Description),
              QStringLiteral("Thursday, 1 January 1970 00:01:00"));
    QAccessibleTextInterface *const text = list->child(400)->textInterface();
    EXPECT_TRUE(list->child(400)->state().offscreen);
    text->scrollToSubstring(0, 3);
    text->setSelection(0, 8, 15);
    EXPECT_FALSE(list->child(400)->state().offscreen);
    EXPECT_EQ(m_view.selection().in(400, 15).first, 8);
    const QRect character = text->characterRect(8);
    EXPECT_TRUE(list->child(400)->rect().contains(character));
    EXPECT_EQ(list->childAt(character.x(), character.y()), list->child(400));
    EXPECT_EQ(text->offsetAtPoint(character.center()), 8);
}

} // namespace
} // namespace reader
