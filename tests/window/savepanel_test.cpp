#include "archiver/window/savepanel.h"

#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

#include <gmock/gmock.h>

#include <fstream>

namespace {

namespace fs = std::filesystem;

class SavePanelTest : public testing::Test {
protected:
    SavePanelTest() : m_home(fs::path(m_temporary.path().toStdString()) / "home")
    {
        for (const char *folder : {"Desktop/Deep", "Mail", ".hidden", "Not text \xff"})
            fs::create_directories(m_home / folder);
        std::ofstream(m_home / "A file") << "here already\n";
        fs::create_directory_symlink(m_home / "Mail", m_home / "Letters");
        fs::create_directory_symlink(m_home / "gone", m_home / "Lost");
        fs::create_directory(m_home / "Desktop" / "Prattlebug Archive mbox");
        qputenv("HOME", QByteArray::fromStdString(m_home.native()));
    }

    ~SavePanelTest() override
    {
        std::error_code ignored;
        fs::remove_all(m_home, ignored); // Qt does not see the folder whose name is no text
    }

    [[nodiscard]] std::unique_ptr<SavePanel> makePanel() const
    {
        auto panel = std::make_unique<SavePanel>(
            DesktopInterface::SavePanel{QStringLiteral("The title"), QStringLiteral("The message"),
                                        QStringLiteral("Archive"), m_home},
            nullptr);
        panel->open();
        EXPECT_TRUE(QTest::qWaitForWindowActive(panel.get()));
        return panel;
    }

    [[nodiscard]] static QStringList listed(const SavePanel &panel)
    {
        QStringList names;
        const auto *list = panel.findChild<QListWidget *>();
        for (int row = 0; row < list->count(); ++row)
            names += list->item(row)->text();
        return names;
    }

    QTemporaryDir m_temporary;
    fs::path m_home;
};

TEST_F(SavePanelTest, proposesTheNameInTheHomeFolder)
{
    const auto panel = makePanel();
    EXPECT_EQ(panel->windowTitle(), QStringLiteral("The title"));
    QStringList labels;
    for (const QLabel *label : panel->findChildren<QLabel *>())
        labels += label->text();
    EXPECT_TRUE(labels.contains(QStringLiteral("The message")));
    EXPECT_EQ(panel->path(), m_home / "Archive");
    EXPECT_EQ(listed(*panel), QStringList({QStringLiteral("Desktop"), QStringLiteral("Letters"),
                                           QStringLiteral("Mail"), QStringLiteral("Not text \uFFFD")}));
    EXPECT_TRUE(panel->findChild<QLineEdit *>()->hasFocus());
    QTest::keyClick(panel->focusWidget(), Qt::Key_Return);
    EXPECT_EQ(panel->result(), QDialog::Accepted);
    EXPECT_FALSE(panel->isVisible());
}

TEST_F(SavePanelTest, walksTheFoldersByKeyboard)
{
    const auto panel = makePanel();
    auto *list = panel->findChild<QListWidget *>();
    list->setFocus();
    list->setCurrentRow(0);
    QTest::keyClick(list, Qt::Key_Return);
    EXPECT_TRUE(panel->isVisible()) << "Return in the list enters a folder and saves nothing";
    EXPECT_EQ(panel->path(), m_home / "Desktop" / "Archive");
    EXPECT_EQ(listed(*panel),
              QStringList({QStringLiteral("Deep"), QStringLiteral("Prattlebug Archive mbox")}));

    QTest::keyClick(list, Qt::Key_Backspace);
    EXPECT_EQ(panel->path(), m_home / "Archive");
    EXPECT_EQ(list->currentItem()->text(), QStringLiteral("Desktop"));
    QTest::keyClick(list, Qt::Key_End);
    QTest::keyClick(list, Qt::Key_Return);
    EXPECT_EQ(panel->path(), m_home / "Not text \xff" / "Archive") << "a folder goes by its bytes";
    QTest::keyClick(list, Qt::Key_Return); // there is no folder in it to enter
    EXPECT_EQ(panel->path(), m_home / "Not text \xff" / "Archive");

    QTest::keyClick(list, Qt::Key_Up, Qt::AltModifier); // presses a button, which takes its time
    EXPECT_TRUE(QTest::qWaitFor([&] { return panel->path() == m_home / "Archive"; }));
    for (int level = 0; level < 100; ++level)
        QTest::keyClick(list, Qt::Key_Backspace);
    EXPECT_EQ(panel->path(), "/Archive");
}

TEST_F(SavePanelTest, takesPathsAndTellsWhatTheyLeadTo)
{
    struct Case {
        std::string name;
        std::optional<fs::path> path;
        const char *tells; ///< some words of what the panel says
        bool isTaken = true;
    };
    for (const Case &expected : {
             Case{"", std::nullopt, "", false},
             Case{"   ", std::nullopt, "", false},
             Case{"New", m_home / "New", "Makes"},
             Case{"New/", m_home / "New/", "Makes"},
             Case{"Zo\xC3\xAB", m_home / "Zo\xC3\xAB", "Makes"},
             Case{"Mail/New", m_home / "Mail" / "New", "Makes"},
             Case{"~/Mail/New", m_home / "Mail" / "New", "Makes"},
             Case{std::string(255, 'x'), m_home / std::string(255, 'x'), "Makes"},
             Case{"~", m_home, "replaced"},
             Case{"Mail", m_home / "Mail", "replaced"},
             Case{"Mail/", m_home / "Mail/", "replaced"},
             Case{"Letters", m_home / "Letters", "replaced"},
             Case{"Desktop", m_home / "Desktop", "there is a folder", false},
             Case{"/nowhere/New", "/nowhere/New", "there is no folder /nowhere", false},
             Case{"A file", m_home / "A file", "a file of this name", false},
             Case{"Lost", m_home / "Lost", "a link that leads nowhere", false},
             Case{std::string(256, 'x'), m_home / std::string(256, 'x'), "the name is too long", false},
         }) {
        const auto panel = makePanel();
        const int width = panel->minimumSizeHint().width();
        panel->findChild<QLineEdit *>()->setText(QString::fromStdString(expected.name));
        EXPECT_EQ(panel->path(), expected.path) << expected.name;
        EXPECT_EQ(panel->findChild<QPushButton *>()->isEnabled(), expected.isTaken) << expected.name;
        QString told;
        for (const QLabel *label : panel->findChildren<QLabel *>())
            told += label->text() + u'\n';
        EXPECT_THAT(told.toStdString(), testing::HasSubstr(expected.tells)) << expected.name;
        EXPECT_EQ(panel->minimumSizeHint().width(), width) << "no name makes the panel wider";
    }
}

} // namespace
