#include "importing/window/importdialog.h"

#include "importing/window/setupprocess.h"

#include "platform/preferences/preferences.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>

#include <algorithm>

namespace {

constexpr int wholeBar = 1000; // steps that one cannot tell apart

QLabel *plainLabel(const char *name)
{
    auto *label = new QLabel;
    label->setObjectName(QLatin1StringView(name));
    label->setTextFormat(Qt::PlainText); // file names are no markup
    label->setWordWrap(true);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

/// An empty label takes no room.
void fill(QLabel *label, const QString &text)
{
    label->setText(text);
    label->setVisible(!text.isEmpty());
}

} // namespace

ImportDialog::ImportDialog(QWidget *parent)
    : QDialog(parent), m_setup(new SetupProcess(this)), m_folder(new QLineEdit),
      m_browse(new QPushButton(tr("&Browse…"))), m_email(new QLineEdit), m_found(plainLabel("found")),
      m_book(plainLabel("book")), m_takeBook(new QCheckBox), m_bar(new QProgressBar),
      m_line(plainLabel("line")), m_details(new QPlainTextEdit),
      m_detailsButton(new QPushButton(tr("&Details"))), m_import(new QPushButton(tr("&Import"))),
      m_close(new QPushButton)
{
    setWindowTitle(tr("Import Chats"));
    layOut();

    connect(m_browse, &QPushButton::clicked, this, &ImportDialog::choose);
    connect(m_folder, &QLineEdit::returnPressed, this, &ImportDialog::look);
    connect(m_folder, &QLineEdit::textEdited, this, [this] { setStep(Step::Choosing); });
    connect(m_import, &QPushButton::clicked, this, [this] { m_step == Step::Choosing ? look() : import(); });
    connect(m_close, &QPushButton::clicked, this, &ImportDialog::reject);
    connect(m_detailsButton, &QPushButton::toggled, this, [this](bool isShown) {
        m_details->setVisible(isShown);
        growToContents();
    });
    connect(m_setup, &SetupProcess::finished, this, &ImportDialog::showEnd);
    connect(m_setup, &SetupProcess::progressed, this, [this](const QString &text, double part) {
        m_bar->setRange(0, wholeBar);
        m_bar->setValue(int(part * wholeBar));
        m_line->setText(text);
    });
    setStep(Step::Choosing);
}

void ImportDialog::layOut()
{
    m_folder->setObjectName(QStringLiteral("folder"));
    m_folder->setPlaceholderText(tr("A Mac's disk, a home folder on it, or a backup"));
    m_email->setObjectName(QStringLiteral("email"));
    m_email->setText(platform::CFPreferencesCopyAppValue(u"emailAddress").string().value_or(QString()));
    m_email->setPlaceholderText(tr("you@example.org"));
    m_takeBook->setObjectName(QStringLiteral("takeBook"));
    m_takeBook->setText(tr("&Use it in place of the cards that are there"));
    m_import->setObjectName(QStringLiteral("import"));
    m_import->setDefault(true);
    m_close->setObjectName(QStringLiteral("close"));
    m_close->setAutoDefault(false);
    m_browse->setAutoDefault(false);
    m_detailsButton->setCheckable(true);
    m_detailsButton->setAutoDefault(false);
    m_details->setObjectName(QStringLiteral("details"));
    m_details->setReadOnly(true);
    constexpr int lines = 12;
    m_details->setMinimumHeight(lines * m_details->fontMetrics().lineSpacing());
    m_details->setAccessibleName(tr("Details of the import"));
    m_details->hide();
    m_bar->setAccessibleName(tr("Progress"));
    m_bar->setTextVisible(false);

    auto *folder = new QHBoxLayout;
    folder->addWidget(m_folder, 1);
    folder->addWidget(m_browse);
    auto *form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->addRow(tr("&Chats are on:"), folder);
    qobject_cast<QLabel *>(form->labelForField(folder))->setBuddy(m_folder);
    form->addRow(tr("&Your e-mail address:"), m_email);

    auto *buttons = new QDialogButtonBox;
    buttons->addButton(m_detailsButton, QDialogButtonBox::ActionRole);
    buttons->addButton(m_import, QDialogButtonBox::ApplyRole);
    buttons->addButton(m_close, QDialogButtonBox::ActionRole);

    auto *column = new QVBoxLayout(this);
    column->addLayout(form);
    column->addWidget(m_found);
    column->addWidget(m_book);
    column->addWidget(m_takeBook);
    column->addWidget(m_bar);
    column->addWidget(m_line);
    column->addWidget(m_details, 1);
    column->addStretch();
    column->addWidget(buttons);
    setMinimumWidth(90 * fontMetrics().averageCharWidth());
}

void ImportDialog::choose()
{
    const QString folder =
        QFileDialog::getExistingDirectory(this, tr("The Disk or Folder with the Chats"),
                                          m_folder->text().isEmpty() ? QDir::homePath() : m_folder->text());
    if (folder.isEmpty())
        return;
    m_folder->setText(folder);
    look();
}

void ImportDialog::look()
{
    if (m_folder->text().isEmpty())
        return choose();
    setStep(Step::Looking);
    m_setup->start(QStringList{QStringLiteral("--dry-run"), QStringLiteral("--"), m_folder->text()});
}

QStringList ImportDialog::arguments() const
{
    QStringList arguments;
    if (!m_email->text().isEmpty())
        arguments << QStringLiteral("--email") << m_email->text().trimmed();
    if (m_takeBook->isChecked())
        arguments << QStringLiteral("--contacts") << m_bookPath;
    return arguments << QStringLiteral("--") << m_folder->text();
}

void ImportDialog::import()
{
    setStep(Step::Importing);
    m_setup->start(arguments());
}

/// Shows what was found, or what was done.
void ImportDialog::showEnd(bool succeeded)
{
    const bool wasLooking = m_step == Step::Looking;
    const auto summary = m_setup->event(QStringLiteral("summary"));
    m_hasImported = m_hasImported || !wasLooking;
    m_details->setPlainText((m_setup->errors() + m_setup->lines()).join(u'\n'));
    setStep(!summary ? Step::Choosing : wasLooking ? Step::Found : Step::Imported);
    fill(m_found, summary ? summary->value(u"text").toString() : QString());
    if (!succeeded)
        m_line->setText(m_setup->errors().size() > 1 ? tr("%1 And %2 more, see the details.")
                                                           .arg(m_setup->errors().first())
                                                           .arg(m_setup->errors().size() - 1)
                                                     : m_setup->errors().value(0));
    if (m_step == Step::Found)
        showBook();
    growToContents();
}

/// Shows what address book was found.
void ImportDialog::showBook()
{
    if (const auto book = m_setup->event(QStringLiteral("addressBook"))) {
        const bool isTaken = book->value(u"taken").toBool();
        m_bookPath = book->value(u"path").toString();
        const int people = book->value(u"people").toInt();
        fill(m_book, (people == 1 ? tr("Its address book has one person with an AIM screen name.")
                                  : tr("Its address book has %1 people with AIM screen names.").arg(people)) +
                         (isTaken ? tr(" Chats will show full names.") : QString()));
        m_takeBook->setVisible(!isTaken);
    } else {
        fill(m_book, tr("There is no address book: people without cards are shown by their screen names."));
    }
}

/// Texts that wrap need a height that depends on the width, which a window does not know of by itself.
void ImportDialog::growToContents()
{
    const int needed = layout()->totalHeightForWidth(width());
    if (height() < needed)
        resize(width(), needed);
}

void ImportDialog::setStep(Step step)
{
    m_step = step;
    const bool isRunning = step == Step::Looking || step == Step::Importing;
    for (QWidget *widget : {static_cast<QWidget *>(m_folder), static_cast<QWidget *>(m_browse),
                            static_cast<QWidget *>(m_email)})
        widget->setEnabled(!isRunning);
    m_bar->setVisible(isRunning);
    m_bar->setRange(0, 0);
    m_line->clear();
    if (step != Step::Importing) {
        fill(m_found, {});
        fill(m_book, {});
        m_takeBook->setChecked(false);
        m_takeBook->hide();
    }
    m_takeBook->setEnabled(!isRunning);
    m_detailsButton->setEnabled(step == Step::Found || step == Step::Imported ||
                                !m_details->toPlainText().isEmpty());
    m_import->setText(step == Step::Choosing || step == Step::Looking ? tr("&Find Chats") : tr("&Import"));
    m_import->setEnabled(step == Step::Choosing || step == Step::Found);
    m_close->setText(isRunning ? tr("Cancel") : tr("Close"));
}

void ImportDialog::reject()
{
    if (m_setup->isRunning())
        m_setup->stop(); // and its end is shown
    else
        QDialog::reject();
}
