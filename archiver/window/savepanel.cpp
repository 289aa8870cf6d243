#include "archiver/window/savepanel.h"

#include "archiver/archivetarget.h"

#include "platform/files/files.h"

#include <QAction>
#include <QCollator>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QStyle>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>
#include <system_error>

namespace {

constexpr int lineLength = 60; // average characters

/// The folders in @p folder whose names do not begin with a full stop, links to folders among them, in the
/// order in which people read names.
std::vector<std::filesystem::path> foldersIn(const std::filesystem::path &folder)
{
    struct Entry {
        std::filesystem::path path;
        QCollatorSortKey key;
    };
    QCollator collator;
    collator.setNumericMode(true);
    std::vector<Entry> entries;
    std::error_code error;
    const std::filesystem::directory_iterator end;
    for (std::filesystem::directory_iterator entry(folder, error); !error && entry != end;
         entry.increment(error)) {
        const std::filesystem::path name = entry->path().filename();
        std::error_code ignored;
        if (!name.native().starts_with('.') && entry->is_directory(ignored))
            entries.push_back({entry->path(), collator.sortKey(platform::displayPath(name))});
    }
    std::sort(entries.begin(), entries.end(),
              [](const Entry &one, const Entry &other) { return one.key < other.key; });
    std::vector<std::filesystem::path> folders;
    folders.reserve(entries.size());
    for (Entry &entry : entries)
        folders.push_back(std::move(entry.path));
    return folders;
}

} // namespace

SavePanel::SavePanel(const DesktopInterface::SavePanel &panel, QWidget *parent)
    : QDialog(parent), m_name(new QLineEdit(panel.proposedName)), m_where(new QComboBox),
      m_list(new QListWidget), m_consequence(new QLabel), m_save(nullptr)
{
    setWindowTitle(panel.title);
    layOut(panel.message);

    connect(m_name, &QLineEdit::textChanged, this, &SavePanel::describeChoice);
    connect(m_where, &QComboBox::activated, this,
            [this](int index) { enterFolder(std::filesystem::path(m_ancestors[size_t(index)])); });
    connect(m_list, &QListWidget::itemActivated, this, &SavePanel::enterListed);
    m_list->installEventFilter(this);

    std::error_code ignored;
    const std::filesystem::path start =
        std::filesystem::absolute(panel.directory, ignored).lexically_normal();
    enterFolder(start.has_filename() ? start : start.parent_path()); // without a slash at its end
    m_name->selectAll();
    m_name->setFocus();
}

void SavePanel::layOut(const QString &message)
{
    auto *text = new QLabel(message);
    text->setTextFormat(Qt::PlainText);
    text->setWordWrap(true);

    auto *up = new QToolButton;
    up->setArrowType(Qt::UpArrow);
    up->setToolTip(tr("To the folder above"));
    up->setAccessibleName(up->toolTip());
    up->setShortcut(Qt::ALT | Qt::Key_Up);
    connect(up, &QToolButton::clicked, this, &SavePanel::enterParent);
    m_where->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    m_where->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    auto *place = new QHBoxLayout;
    place->addWidget(m_where, 1);
    place->addWidget(up);

    auto *form = new QFormLayout;
    form->addRow(tr("&Name:"), m_name);
    auto *whereLabel = new QLabel(tr("&Where:"));
    whereLabel->setBuddy(m_where);
    form->addRow(whereLabel, place);

    m_list->setAccessibleName(tr("Folders"));
    m_consequence->setTextFormat(Qt::PlainText);
    m_consequence->setWordWrap(true);
    m_consequence->setMinimumHeight(2 * m_consequence->fontMetrics().lineSpacing());
    m_consequence->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Minimum); // whatever is in a name
    m_consequence->setAlignment(Qt::AlignTop | Qt::AlignLeft);

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Save | QDialogButtonBox::Cancel);
    m_save = buttons->button(QDialogButtonBox::Save);
    m_save->setDefault(true);
    for (QAbstractButton *button : buttons->buttons())
        button->setIcon({}); // those that Qt draws where there is no icon theme look of another time
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto *column = new QVBoxLayout(this);
    column->addWidget(text);
    column->addLayout(form);
    column->addWidget(m_list, 1);
    column->addWidget(m_consequence);
    column->addWidget(buttons);
    setTabOrder(m_name, m_where);
    setTabOrder(m_where, up);
    setTabOrder(up, m_list);
    setTabOrder(m_list, buttons);
    resize(lineLength * fontMetrics().averageCharWidth() + 100, 30 * fontMetrics().lineSpacing());
}

void SavePanel::enterFolder(const std::filesystem::path &folder)
{
    m_folder = folder;

    m_ancestors.clear();
    m_where->clear();
    for (std::filesystem::path above = folder;; above = above.parent_path()) {
        m_ancestors.push_back(above);
        m_where->addItem(style()->standardIcon(QStyle::SP_DirIcon), platform::displayPath(above));
        if (!above.has_relative_path())
            break;
    }

    m_listed = foldersIn(folder);
    m_list->clear();
    for (const std::filesystem::path &listed : m_listed)
        m_list->addItem(new QListWidgetItem(style()->standardIcon(QStyle::SP_DirIcon),
                                            platform::displayPath(listed.filename())));
    describeChoice();
}

void SavePanel::enterParent()
{
    if (!m_folder.has_relative_path())
        return;
    const std::filesystem::path left = m_folder;
    enterFolder(left.parent_path());
    const auto row = std::find(m_listed.begin(), m_listed.end(), left);
    if (row != m_listed.end())
        m_list->setCurrentRow(int(row - m_listed.begin()));
}

void SavePanel::enterListed(const QListWidgetItem *item)
{
    const int row = m_list->row(item);
    if (row < 0)
        return;
    enterFolder(std::filesystem::path(m_listed[size_t(row)]));
    m_list->setCurrentRow(0);
}

bool SavePanel::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == m_list && event->type() == QEvent::KeyPress) {
        const int key = static_cast<const QKeyEvent *>(event)->key();
        if (key == Qt::Key_Return || key == Qt::Key_Enter) { // else the panel would save
            enterListed(m_list->currentItem());
            return true;
        }
        if (key == Qt::Key_Backspace) {
            enterParent();
            return true;
        }
    }
    return QDialog::eventFilter(watched, event);
}

std::optional<std::filesystem::path> SavePanel::path() const
{
    const QString name = m_name->text();
    if (name.trimmed().isEmpty())
        return std::nullopt;
    if (name == u'~')
        return platform::homeDirectory();
    if (name.startsWith(QStringLiteral("~/")))
        return platform::homeDirectory() / platform::pathFromString(QStringView(name).sliced(2));
    return m_folder / platform::pathFromString(name);
}

void SavePanel::describeChoice()
{
    const auto chosen = path();
    const auto obstacle = chosen ? ArchiveTarget(*chosen).obstacle() : std::nullopt;
    m_save->setEnabled(chosen && !obstacle);
    if (!chosen)
        m_consequence->clear();
    else if (obstacle)
        m_consequence->setText(tr("No archive can be made: %1.").arg(shortened(*obstacle)));
    else if (const auto warning = ArchiveTarget(*chosen).warning())
        m_consequence->setText(*warning);
    else if (ArchiveTarget(*chosen).isThere())
        m_consequence->setText(
            tr("This folder is there already. An archive in it from an earlier time will be replaced."));
    else
        m_consequence->setText(tr("Makes the folder %1.").arg(shortened(platform::displayPath(*chosen))));
}

QString SavePanel::shortened(const QString &text) const
{
    return m_consequence->fontMetrics().elidedText(text, Qt::ElideMiddle,
                                                   lineLength * fontMetrics().averageCharWidth());
}
