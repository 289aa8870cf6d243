#include "archiver/window/manual.h"

#include <QDialogButtonBox>
#include <QPushButton>
#include <QTextBrowser>
#include <QVBoxLayout>

Manual::Manual(QWidget *parent) : QDialog(parent)
{
    setWindowTitle(tr("Prattlebug Archiver Help"));
    setAttribute(Qt::WA_DeleteOnClose);

    auto *pages = new QTextBrowser;
    pages->setObjectName(QStringLiteral("pages"));
    pages->setOpenExternalLinks(true);
    pages->setSource(QUrl(QStringLiteral("qrc:/manual/manual.md")), QTextDocument::MarkdownResource);

    auto *buttons = new QDialogButtonBox;
    QPushButton *back = buttons->addButton(tr("&Back"), QDialogButtonBox::ActionRole);
    back->setEnabled(false);
    connect(back, &QPushButton::clicked, pages, &QTextBrowser::backward);
    connect(pages, &QTextBrowser::backwardAvailable, back, &QPushButton::setEnabled);
    connect(buttons->addButton(tr("Close"), QDialogButtonBox::RejectRole), &QPushButton::clicked, this,
            &QDialog::close);

    auto *column = new QVBoxLayout(this);
    column->addWidget(pages);
    column->addWidget(buttons);
    constexpr int width = 90;
    constexpr int height = 32;
    resize(width * fontMetrics().averageCharWidth(), height * fontMetrics().lineSpacing());
}
