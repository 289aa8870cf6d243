#include "archiver/window/archiverwindow.h"
#include "archiver/window/manual.h"
#include "archiver/window/preferencespanel.h"

#include "tests/support/testhome.h"

#include "platform/preferences/preferences.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QGroupBox>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTextBlock>
#include <QTextBrowser>
#include <QTimer>

#include <algorithm>

#include <gtest/gtest.h>

using platform::PropertyList;

namespace {

class PreferencesPanelTest : public TestHome {
protected:
    template <class Widget>
    static Widget &child(PreferencesPanel &panel, const char *name)
    {
        return *panel.findChild<Widget *>(QLatin1String(name));
    }

    static QPushButton &saveButton(PreferencesPanel &panel)
    {
        const auto buttons = panel.findChildren<QPushButton *>();
        return **std::find_if(buttons.begin(), buttons.end(),
                              [](const QPushButton *button) { return button->text() == u"Save"; });
    }

    static void set(QStringView key, const PropertyList &value)
    {
        platform::CFPreferencesSetAppValue(key, value);
        platform::CFPreferencesAppSynchronize();
    }

    static PropertyList stored(QStringView key) { return platform::CFPreferencesCopyAppValue(key); }
};

TEST_F(PreferencesPanelTest, storesWhatIsEnteredAsItsTypes)
{
    PreferencesPanel panel(nullptr);
    child<QLineEdit>(panel, "address").setText(QStringLiteral(" sam@example.org "));
    child<QCheckBox>(panel, "uniqueSubjects").setChecked(true);
    child<QGroupBox>(panel, "login").setChecked(true);
    child<QLineEdit>(panel, "userName").setText(QStringLiteral("Säm"));
    child<QLineEdit>(panel, "password").setText(QStringLiteral(" secret "));
    saveButton(panel).click();
    EXPECT_EQ(panel.result(), QDialog::Accepted);
    EXPECT_EQ(stored(u"emailAddress").string(), QStringLiteral("sam@example.org"));
    EXPECT_EQ(stored(u"forceUniqueSubjects").boolean(), true);
    EXPECT_EQ(stored(u"emailNeedsUsername").integer(), 1);
    EXPECT_EQ(stored(u"emailUsername").string(), QStringLiteral("Säm"));
    EXPECT_EQ(stored(u"emailPassword").string(), QStringLiteral(" secret "));

    PreferencesPanel again(nullptr);
    EXPECT_EQ(child<QLineEdit>(again, "address").text(), u"sam@example.org");
    EXPECT_TRUE(child<QGroupBox>(again, "login").isChecked());
    child<QLineEdit>(again, "address").clear();
    child<QGroupBox>(again, "login").setChecked(false);
    again.accept();
    EXPECT_TRUE(stored(u"emailAddress").isNull());
    EXPECT_EQ(stored(u"emailNeedsUsername").integer(), 0);
    EXPECT_EQ(stored(u"emailUsername").string(), QStringLiteral("Säm")) << "kept for later";
}

TEST_F(PreferencesPanelTest, writesNothingThatWasNotChanged)
{
    set(u"emailAddress", PropertyList::fromString(u"sam@example.org"));
    set(u"forceUniqueSubjects", PropertyList::fromString(u"YES")); // another program's way to say so
    PreferencesPanel panel(nullptr);
    EXPECT_TRUE(child<QCheckBox>(panel, "uniqueSubjects").isChecked());
    set(u"emailAddress", PropertyList::fromString(u"kim@example.org")); // by another program, meanwhile
    saveButton(panel).click();
    EXPECT_EQ(stored(u"emailAddress").string(), QStringLiteral("kim@example.org"));
    EXPECT_EQ(stored(u"forceUniqueSubjects").string(), QStringLiteral("YES"));
    EXPECT_TRUE(stored(u"emailNeedsUsername").isNull());
    EXPECT_TRUE(stored(u"emailPassword").isNull());
}

TEST_F(PreferencesPanelTest, takesNoWrongAddress)
{
    PreferencesPanel panel(nullptr);
    for (const char16_t *wrong : {u"sam", u"Sam <sam@example.org>", u"sam@", u"a b@c"}) {
        child<QLineEdit>(panel, "address").setText(QString::fromUtf16(wrong));
        EXPECT_FALSE(saveButton(panel).isEnabled())
            << testing::PrintToString(QString::fromUtf16(wrong).toStdString());
    }
    child<QLineEdit>(panel, "address").clear();
    EXPECT_TRUE(saveButton(panel).isEnabled());
}

TEST_F(PreferencesPanelTest, whatCouldNotBeSavedWaitsForAnotherSave)
{
    const std::filesystem::path inTheWay = write("Library", "a file where a folder must be");
    PreferencesPanel panel(nullptr);
    child<QLineEdit>(panel, "address").setText(QStringLiteral("sam@example.org"));
    child<QLineEdit>(panel, "password").setText(QStringLiteral("secret"));
    child<QGroupBox>(panel, "login").setChecked(true);
    QTimer::singleShot(0, [] { QApplication::activeModalWidget()->close(); });
    panel.accept();
    EXPECT_NE(panel.result(), QDialog::Accepted);
    std::filesystem::remove(inTheWay);
    set(u"subjectNumber", PropertyList::fromInteger(1)); // as archiving does, after Cancel for one
    for (const QStringView key : {u"emailAddress", u"emailPassword", u"emailNeedsUsername"})
        EXPECT_TRUE(stored(key).isNull());
    panel.accept();
    EXPECT_EQ(panel.result(), QDialog::Accepted);
    EXPECT_EQ(stored(u"emailAddress").string(), QStringLiteral("sam@example.org"));
    EXPECT_EQ(stored(u"emailPassword").string(), QStringLiteral("secret"));
}

TEST_F(PreferencesPanelTest, helpShowsFailuresAndClearsTheirCount)
{
    set(u"errorStatus", PropertyList::fromInteger(1));
    set(u"reportThis", PropertyList::fromString(u"permissions"));
    set(u"emailFails", PropertyList::fromInteger(2));
    const ArchiverWindow window;
    const auto actions = window.findChildren<QAction *>();
    const auto status = std::find_if(actions.begin(), actions.end(),
                                     [](const QAction *action) { return action->text() == u"&Status…"; });
    ASSERT_NE(status, actions.end());
    QString shown;
    QTimer::singleShot(0, [&] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        shown = box->text();
        for (QAbstractButton *button : box->buttons()) {
            if (box->buttonRole(button) == QMessageBox::DestructiveRole)
                button->click();
        }
    });
    (*status)->trigger();
    EXPECT_EQ(shown, u"2 failures since the count was last cleared.\nThe latest: a file could not be written "
                     u"(permissions).");
    EXPECT_TRUE(stored(u"emailFails").isNull());
    EXPECT_EQ(stored(u"errorStatus").integer(), 1);
}

TEST(ManualTest, everyPageThatALinkNamesIsThere)
{
    auto *manual = new Manual(nullptr); // deletes itself
    auto &pages = *manual->findChild<QTextBrowser *>(QStringLiteral("pages"));
    QStringList seen{QStringLiteral("manual.md")};
    for (qsizetype page = 0; page < seen.size(); ++page) {
        pages.setSource(QUrl(QStringLiteral("qrc:/manual/") + seen.at(page)),
                        QTextDocument::MarkdownResource);
        ASSERT_GT(pages.toPlainText().size(), 200) << seen.at(page).toStdString();
        for (QTextBlock block = pages.document()->begin(); block.isValid(); block = block.next()) {
            for (auto fragment = block.begin(); !fragment.atEnd(); ++fragment) {
                const QString link = fragment.fragment().charFormat().anchorHref();
                if (!link.isEmpty() && !link.contains(u':') && !seen.contains(link))
                    seen += link;
            }
        }
    }
    EXPECT_EQ(seen.size(), 6);
    manual->close();
}

} // namespace
