#include "archiver/window/archiverwindow.h"

#include "archiver/window/manual.h"
#include "archiver/window/preferencespanel.h"

#include "failurestatus.h"

#include "archiver/PBArchiver.h"

#include "importing/window/importdialog.h"

#include "platform/files/files.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFontInfo>
#include <QIcon>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QProcess>
#include <QProgressBar>
#include <QPushButton>
#include <QStandardPaths>
#include <QVBoxLayout>

#include <algorithm>
#include <limits>

namespace {

constexpr int pictureSize = 64;
constexpr int margin = 20;
constexpr int barHeight = 14;
constexpr qint64 wholeInterval = 250; // milliseconds

/// A bar counts in int; a folder of more entries than that is not worth a second kind of bar.
int barValue(qsizetype value)
{
    return int(std::min<qsizetype>(value, std::numeric_limits<int>::max()));
}

} // namespace

ArchiverWindow::ArchiverWindow()
    : m_archiveAction(new QAction(tr("&Archive Chats…"), this)), m_archiveButton(new QPushButton),
      m_progressBar(new QProgressBar), m_skipChatsButton(new QCheckBox), m_line(new QLabel),
      m_detailsButton(new QPushButton)
{
    setWindowTitle(tr("Prattlebug Archiver"));

    m_archiveAction->setShortcut(QKeySequence::Save);
    m_archiveButton->setObjectName(QStringLiteral("archiveButton"));
    m_archiveButton->setText(m_archiveAction->text());
    m_archiveButton->setAccessibleDescription(tr("Asks where to save, then archives all chats."));
    m_archiveButton->setDefault(true);
    connect(m_archiveButton, &QPushButton::clicked, m_archiveAction, &QAction::trigger);

    m_skipChatsButton->setObjectName(QStringLiteral("skipChatsButton"));
    m_skipChatsButton->setText(tr("&Skip chats from after Prattlebug was set up"));
    m_skipChatsButton->setToolTip(tr("Leaves out every transcript that was created after the folder "
                                     "“iChats (Prattlebugged)” was."));

    m_progressBar->setObjectName(QStringLiteral("progressBar"));
    m_progressBar->setAccessibleName(tr("Progress"));
    m_progressBar->setTextVisible(false);
    m_progressBar->setFixedHeight(barHeight);
    m_progressBar->setRange(0, 1);
    m_progressBar->setValue(0);

    m_line->setObjectName(QStringLiteral("line"));
    m_line->setWordWrap(true);
    m_line->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    connect(m_line, &QLabel::linkActivated, this, &ArchiverWindow::importChats);
    showReadiness();

    m_detailsButton->setObjectName(QStringLiteral("detailsButton"));
    m_detailsButton->setText(tr("&Details…"));
    m_detailsButton->setAccessibleDescription(tr("Lists what could not be read or written."));
    connect(m_detailsButton, &QPushButton::clicked, this, &ArchiverWindow::showDetails);

    addMenus();
    layOut();
    m_archiveButton->setFocus();
}

void ArchiverWindow::addMenus()
{
    QMenu *file = menuBar()->addMenu(tr("&File"));
    file->addAction(m_archiveAction);
    QAction *import =
        file->addAction(QIcon::fromTheme(QStringLiteral("document-import")), tr("&Import Chats…"));
    import->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_I));
    connect(import, &QAction::triggered, this, &ArchiverWindow::importChats);
    QAction *read = file->addAction(QIcon::fromTheme(QStringLiteral("mail-read")), tr("&Read Chats…"));
    read->setShortcut(QKeySequence::Open);
    connect(read, &QAction::triggered, this, &ArchiverWindow::readChats);
    QAction *preferences =
        file->addAction(QIcon::fromTheme(QStringLiteral("preferences-system")), tr("&Preferences…"));
    preferences->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Comma));
    preferences->setMenuRole(QAction::PreferencesRole);
    connect(preferences, &QAction::triggered, this, &ArchiverWindow::showPreferences);
    file->addSeparator();
    QAction *quit = file->addAction(QIcon::fromTheme(QStringLiteral("application-exit")), tr("&Quit"));
    quit->setShortcut(QKeySequence::Quit);
    quit->setMenuRole(QAction::QuitRole);
    connect(quit, &QAction::triggered, qApp, &QApplication::quit);

    QMenu *help = menuBar()->addMenu(tr("&Help"));
    QAction *contents =
        help->addAction(QIcon::fromTheme(QStringLiteral("help-contents")), tr("Prattlebug Archiver &Help"));
    contents->setShortcut(QKeySequence::HelpContents);
    connect(contents, &QAction::triggered, this, &ArchiverWindow::showHelp);
    connect(help->addAction(tr("&Status…")), &QAction::triggered, this, &ArchiverWindow::showStatus);
    help->addSeparator();
    QAction *about =
        help->addAction(QIcon::fromTheme(QStringLiteral("help-about")), tr("&About Prattlebug Archiver"));
    about->setMenuRole(QAction::AboutRole);
    connect(about, &QAction::triggered, this, &ArchiverWindow::showAbout);
    QAction *aboutQt = help->addAction(tr("About &Qt"));
    aboutQt->setMenuRole(QAction::AboutQtRole);
    connect(aboutQt, &QAction::triggered, qApp, &QApplication::aboutQt);
}

void ArchiverWindow::layOut()
{
    auto *icon = new QLabel;
    icon->setPixmap(picture());
    auto *headline = new QLabel(tr("Archive your chats"));
    QFont large = headline->font();
    large.setPointSizeF(QFontInfo(large).pointSizeF() * 1.5); // a theme may give pixels instead
    large.setBold(true);
    headline->setFont(large);
    auto *explanation =
        new QLabel(tr("Writes every chat that Prattlebug keeps into one mbox file, which your mail "
                      "program can import."));
    explanation->setWordWrap(true);

    auto *words = new QVBoxLayout;
    words->addWidget(headline);
    words->addWidget(explanation);
    words->addStretch();
    auto *header = new QHBoxLayout;
    header->setSpacing(margin);
    header->addWidget(icon, 0, Qt::AlignTop);
    header->addLayout(words, 1);

    m_archiveButton->setMinimumSize(m_archiveButton->sizeHint() + QSize(margin, margin / 2));
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(m_archiveButton);

    // Room for the longest outcome: nothing is laid out again while the command runs.
    m_line->setMinimumHeight(2 * m_line->fontMetrics().lineSpacing());

    auto *content = new QWidget;
    auto *column = new QVBoxLayout(content);
    column->setContentsMargins(margin, margin, margin, margin);
    column->addLayout(header);
    column->addSpacing(margin / 2);
    column->addWidget(m_skipChatsButton);
    column->addSpacing(margin / 2);
    column->addWidget(m_progressBar);
    auto *outcome = new QHBoxLayout;
    outcome->addWidget(m_line, 1);
    outcome->addWidget(m_detailsButton, 0, Qt::AlignTop);
    column->addLayout(outcome);
    column->addStretch();
    column->addLayout(buttons);
    setCentralWidget(content);
    setTabOrder(m_skipChatsButton, m_detailsButton);
    setTabOrder(m_detailsButton, m_archiveButton);

    const int textWidth = 60 * fontMetrics().averageCharWidth();
    setMinimumWidth(textWidth + pictureSize + 3 * margin);
    resize(minimumWidth(), sizeHint().height());
}

QPixmap ArchiverWindow::picture() const
{
    return QApplication::windowIcon().pixmap(QSize(pictureSize, pictureSize), devicePixelRatioF());
}

bool ArchiverWindow::skipChats() const
{
    return m_skipChatsButton->isChecked();
}

void ArchiverWindow::setArchiving(bool archiving)
{
    m_archiveAction->setEnabled(!archiving);
    m_archiveButton->setEnabled(!archiving);
    m_skipChatsButton->setEnabled(!archiving);
    if (!archiving)
        m_archiveButton->setFocus(); // a control that is off has none
    if (archiving)
        m_detailsButton->hide();
    m_sinceWhole.start();
    repaint();
}

void ArchiverWindow::repaintAtOnce(QWidget &changed)
{
    if (m_sinceWhole.isValid() && m_sinceWhole.hasExpired(wholeInterval)) {
        m_sinceWhole.start();
        repaint();
    } else {
        changed.repaint();
    }
}

void ArchiverWindow::startProgress(qsizetype maximum)
{
    // A range of 0 to 0 would be Qt's sign for "no idea how long".
    m_progressBar->setRange(0, std::max(1, barValue(maximum)));
    m_progressBar->setValue(maximum > 0 ? 0 : 1);
    repaintAtOnce(*m_progressBar);
}

void ArchiverWindow::showProgress(qsizetype value)
{
    m_progressBar->setValue(std::min(barValue(value), m_progressBar->maximum()));
    repaintAtOnce(*m_progressBar);
}

void ArchiverWindow::showReadiness()
{
    const bool isReady = platform::fileExists(PBArchiver::transcriptFolder());
    m_line->setTextFormat(isReady ? Qt::PlainText : Qt::RichText);
    m_line->setText(isReady ? tr("Ready.")
                            : tr("There are no chats yet. <a href=\"import\">Import Chats…</a>"));
    m_detailsButton->hide(); // it belongs to an outcome
}

void ArchiverWindow::showEntry(const QString &text)
{
    m_line->setTextFormat(Qt::PlainText); // file names are no markup
    m_line->setText(m_line->fontMetrics().elidedText(text, Qt::ElideMiddle, m_line->contentsRect().width()));
    repaintAtOnce(*m_line);
}

void ArchiverWindow::showOutcome(const QString &text, const QString &details)
{
    m_line->setTextFormat(Qt::PlainText);
    m_line->setText(text);
    m_details = details;
    m_detailsButton->setVisible(!details.isEmpty());
    repaint();
}

void ArchiverWindow::showDetails()
{
    QDialog dialog(this);
    dialog.setWindowTitle(tr("What Could Not Be Archived"));
    auto *list = new QPlainTextEdit(m_details);
    list->setReadOnly(true);
    list->setLineWrapMode(QPlainTextEdit::NoWrap);
    list->setAccessibleName(dialog.windowTitle());
    auto *buttons = new QDialogButtonBox;
    connect(buttons->addButton(tr("Close"), QDialogButtonBox::RejectRole), &QPushButton::clicked, &dialog,
            &QDialog::reject);
    auto *column = new QVBoxLayout(&dialog);
    column->addWidget(list);
    column->addWidget(buttons);
    dialog.resize(width(), height());
    dialog.exec();
}

void ArchiverWindow::showHelp()
{
    if (!m_manual)
        m_manual = new Manual(this);
    m_manual->show();
    m_manual->raise();
    m_manual->activateWindow();
}

void ArchiverWindow::importChats()
{
    ImportDialog dialog(this); // nothing is archived meanwhile
    dialog.exec();
    if (dialog.hasImported())
        showReadiness();
}

void ArchiverWindow::readChats()
{
    const QString name = QStringLiteral("prattlebug-reader");
    QString program = QStandardPaths::findExecutable(name, {QCoreApplication::applicationDirPath()});
    if (program.isEmpty())
        program = QStandardPaths::findExecutable(name);
    if (program.isEmpty() || !QProcess::startDetached(program, {}))
        QMessageBox::warning(this, windowTitle(),
                             tr("The program “prattlebug-reader”, which shows the chats, could not be "
                                "started."));
}

void ArchiverWindow::showPreferences()
{
    PreferencesPanel(this).exec();
}

void ArchiverWindow::showStatus()
{
    const FailureStatus status = FailureStatus::current();
    QMessageBox box(this);
    box.setWindowTitle(tr("Prattlebug Status"));
    box.setIconPixmap(picture());
    box.setTextFormat(Qt::PlainText);
    box.setText(status.description());
    if (!m_details.isEmpty()) {
        box.setInformativeText(tr("Not everything could be archived the last time."));
        box.setDetailedText(m_details);
    }
    const QPushButton *clear =
        status.sinceCleared > 0 ? box.addButton(tr("C&lear Count"), QMessageBox::DestructiveRole) : nullptr;
    box.setDefaultButton(box.addButton(tr("Close"), QMessageBox::RejectRole));
    box.exec();
    if (clear && box.clickedButton() == clear && !clearFailureCount())
        QMessageBox::warning(this, box.windowTitle(), tr("The preferences could not be written."));
}

void ArchiverWindow::showAbout()
{
    QMessageBox box(this);
    box.setWindowTitle(tr("About Prattlebug Archiver"));
    box.setIconPixmap(picture());
    box.setTextFormat(Qt::RichText);
    box.setText(tr("<h3>Prattlebug Archiver %1</h3>"
                   "<p>Turns the iChat chats that Prattlebug keeps into one mbox file that any mail program "
                   "imports.</p>")
                    .arg(QStringLiteral(PRATTLEBUG_VERSION)));
    box.addButton(tr("Close"), QMessageBox::RejectRole);
    box.exec();
}
