#include "archiver/window/archiverwindow.h"
#include "archiver/window/windowdesktop.h"

#include <QApplication>
#include <QLabel>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QTimer>

#include <gtest/gtest.h>

#include <limits>

namespace {

class ArchiverWindowTest : public testing::Test {
protected:
    ArchiverWindowTest() { m_window.show(); }

    template <class Widget>
    [[nodiscard]] Widget &child(const char *name) const
    {
        return *m_window.findChild<Widget *>(QLatin1String(name));
    }
    [[nodiscard]] double shownPart() const
    {
        const auto &bar = child<QProgressBar>("progressBar");
        return double(bar.value() - bar.minimum()) / (bar.maximum() - bar.minimum());
    }

    ArchiverWindow m_window;
};

TEST_F(ArchiverWindowTest, barShowsThePartThatIsHandled)
{
    struct Case {
        qsizetype maximum;
        qsizetype value;
        double shown;
    };
    constexpr qsizetype beyondInt = qsizetype(std::numeric_limits<int>::max()) * 2;
    for (const Case &expected : {Case{4, 1, 0.25}, Case{4, 4, 1}, Case{4, 7, 1}, Case{1, beyondInt, 1},
                                 Case{beyondInt, beyondInt, 1}}) {
        m_window.startProgress(expected.maximum);
        EXPECT_EQ(shownPart(), 0);
        m_window.showProgress(expected.value);
        EXPECT_EQ(shownPart(), expected.shown) << expected.maximum << ' ' << expected.value;
    }
}

TEST_F(ArchiverWindowTest, barIsFullRatherThanBusyWhenThereIsNothingToCount)
{
    m_window.startProgress(0);
    EXPECT_LT(child<QProgressBar>("progressBar").minimum(), child<QProgressBar>("progressBar").maximum());
    EXPECT_EQ(shownPart(), 1);
}

TEST_F(ArchiverWindowTest, lineTakesNamesOfAnyLengthAsTheyAre)
{
    const auto &line = child<QLabel>("line");
    m_window.showEntry(QStringLiteral("<b>Kim</b> & Zoë.chat"));
    EXPECT_EQ(line.text(), QStringLiteral("<b>Kim</b> & Zoë.chat"));
    EXPECT_EQ(line.textFormat(), Qt::PlainText);

    const QSize before = m_window.size();
    m_window.showEntry(QString(5000, u'x') + QStringLiteral(".chat"));
    EXPECT_TRUE(line.text().endsWith(QStringLiteral(".chat")));
    EXPECT_LE(line.fontMetrics().horizontalAdvance(line.text()), line.width());
    QApplication::sendPostedEvents();
    EXPECT_EQ(m_window.size(), before);
}

TEST_F(ArchiverWindowTest, takesNoInputWhileArchiving)
{
    int started = 0;
    QObject::connect(&m_window.archiveAction(), &QAction::triggered, [&started] { ++started; });
    auto &button = child<QPushButton>("archiveButton");
    m_window.setArchiving(true);
    button.click();
    m_window.archiveAction().trigger();
    EXPECT_EQ(started, 0);
    m_window.setArchiving(false);
    button.click();
    EXPECT_EQ(started, 1);
}

TEST_F(ArchiverWindowTest, dialogOfTheModelIsAnAlert)
{
    QString text;
    const WindowDesktop desktop(m_window);
    QTimer::singleShot(0, &m_window, [&text] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        ASSERT_NE(box, nullptr);
        text = box->text();
        ASSERT_EQ(box->buttons().size(), 1);
        box->buttons().constFirst()->click();
    });
    platform::Host::current().dialog(QStringLiteral("<i>The disk is full.</i>"));
    EXPECT_EQ(text, QStringLiteral("<i>The disk is full.</i>"));
}

} // namespace
