#include "reader/readerwindow.h"

#include "reader/names.h"
#include "reader/rowdelegate.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMenuBar>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QSettings>
#include <QSplitter>
#include <QStackedWidget>
#include <QStatusBar>
#include <QStyle>
#include <QToolBar>
#include <QVBoxLayout>

namespace reader {

namespace {

constexpr int margin = 10;
constexpr QSize least(640, 400);
constexpr QSize usual(1100, 720);
constexpr auto geometrySetting = "window/geometry";
constexpr auto panesSetting = "window/panes";
constexpr auto asWrittenSetting = "window/asWritten";

QLabel *plainLabel(const char *name)
{
    auto *label = new QLabel;
    label->setObjectName(QLatin1String(name));
    label->setTextFormat(Qt::PlainText); // names are no markup
    label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    return label;
}

QListView *newList(const char *objectName, const QString &name, QAbstractItemModel &model)
{
    auto *list = new QListView;
    list->setObjectName(QLatin1String(objectName));
    list->setAccessibleName(name);
    list->setModel(&model);
    // A list that gets the keyboard makes its first row the current one, without selecting it.
    QObject::connect(list->selectionModel(), &QItemSelectionModel::currentChanged, list,
                     [list](const QModelIndex &current) {
                         list->selectionModel()->select(current, QItemSelectionModel::ClearAndSelect);
                     });
    list->setItemDelegate(new RowDelegate(list));
    list->setUniformItemSizes(true);
    list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    list->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    list->setFrameShape(QFrame::NoFrame);
    return list;
}

} // namespace

ReaderWindow::ReaderWindow(const QStringList &arguments)
    : m_loading(this), m_opening(*this), m_watch(this), m_pages(new QStackedWidget),
      m_splitter(new QSplitter), m_filter(new QLineEdit),
      m_peopleList(newList("people", tr("People"), m_people)),
      m_chatsList(newList("chats", tr("Chats"), m_chats)),
      m_resultsList(newList("results", tr("Results"), m_results)), m_middle(new QStackedWidget),
      m_search(new QLineEdit), m_found(plainLabel("found")), m_name(plainLabel("name")),
      m_details(plainLabel("details")), m_view(new ChatView), m_find(new FindBar(*m_view)),
      m_welcome(new QLabel), m_bar(new QProgressBar),
      m_back(new QAction(
          QIcon::fromTheme(QStringLiteral("go-previous"), style()->standardIcon(QStyle::SP_ArrowBack)),
          tr("&Back"), this)),
      m_forward(new QAction(
          QIcon::fromTheme(QStringLiteral("go-next"), style()->standardIcon(QStyle::SP_ArrowForward)),
          tr("&Forward"), this)),
      m_copy(new QAction(tr("&Copy"), this)), m_asWritten(new QAction(tr("Styles As &Written"), this))
{
    setWindowTitle(tr("Prattlebug Reader"));
    addActions();
    layOut();
    connectSearch();
    const QSettings settings;
    restoreGeometry(settings.value(QLatin1String(geometrySetting)).toByteArray());
    m_splitter->restoreState(settings.value(QLatin1String(panesSetting)).toByteArray());
    m_asWritten->setChecked(settings.value(QLatin1String(asWrittenSetting)).toBool());

    connect(m_filter, &QLineEdit::textChanged, this, [this](const QString &text) {
        m_people.setFilter(text);
        m_peopleList->setCurrentIndex(m_people.index(m_people.rowCount() > 1 && !text.isEmpty() ? 1 : 0));
    });
    connect(m_filter, &QLineEdit::returnPressed, m_chatsList, QOverload<>::of(&QWidget::setFocus));
    connect(m_peopleList->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this](const QModelIndex &current) { choosePerson(current.row()); });
    connect(m_chatsList->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            [this](const QModelIndex &current) { chooseChat(current.row()); });
    connect(m_peopleList, &QListView::activated, m_chatsList, QOverload<>::of(&QWidget::setFocus));
    connect(m_chatsList, &QListView::activated, m_view, QOverload<>::of(&QWidget::setFocus));

    connect(&m_loading, &ChatLoading::loaded, this, &ReaderWindow::showChat);
    connect(&m_loading, &ChatLoading::failed, this, [this](const QString &reason) {
        m_view->setNotice(tr("This file cannot be read as a chat: %1").arg(harmless(reason)));
    });
    connect(m_view, &ChatView::linkActivated, &m_opening, &Opening::openLink);
    connect(m_view, &ChatView::openRequested, this,
            [this](quint32 file) { m_opening.openFile(*m_view->chat()->files[file]); });
    connect(m_view, &ChatView::saveRequested, this,
            [this](quint32 file) { m_opening.saveFile(*m_view->chat()->files[file]); });
    connect(m_view, &ChatView::pictureActivated, this, &ReaderWindow::showPicture);
    connect(m_view, &ChatView::linkShown, this, [this](const QString &link) {
        if (link.isEmpty())
            statusBar()->clearMessage();
        else
            statusBar()->showMessage(harmless(link));
    });
    connect(m_view, &ChatView::selectionChanged, this,
            [this] { m_copy->setEnabled(!m_view->selection().isEmpty()); });
    const auto tell = [this](const QString &text) { statusBar()->showMessage(text, 10'000); };
    connect(m_view, &ChatView::told, this, tell);
    connect(&m_opening, &Opening::told, this, tell);

    open(arguments);
}

void ReaderWindow::closeEvent(QCloseEvent *event)
{
    QSettings settings;
    settings.setValue(QLatin1String(geometrySetting), saveGeometry());
    settings.setValue(QLatin1String(panesSetting), m_splitter->saveState());
    settings.setValue(QLatin1String(asWrittenSetting), m_asWritten->isChecked());
    QMainWindow::closeEvent(event);
}

void ReaderWindow::addActions()
{
    QMenu *file = menuBar()->addMenu(tr("&File"));
    QAction *openAction = file->addAction(QIcon::fromTheme(QStringLiteral("document-open")), tr("&Open…"));
    openAction->setShortcut(QKeySequence::Open);
    connect(openAction, &QAction::triggered, this, &ReaderWindow::openFiles);
    QAction *import =
        file->addAction(QIcon::fromTheme(QStringLiteral("document-import")), tr("&Import Chats…"));
    import->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_I));
    connect(import, &QAction::triggered, this, &ReaderWindow::importChats);
    file->addSeparator();
    QAction *quit = file->addAction(QIcon::fromTheme(QStringLiteral("application-exit")), tr("&Quit"));
    quit->setShortcut(QKeySequence::Quit);
    quit->setMenuRole(QAction::QuitRole);
    connect(quit, &QAction::triggered, this, &QWidget::close);

    QMenu *edit = menuBar()->addMenu(tr("&Edit"));
    m_copy->setIcon(QIcon::fromTheme(QStringLiteral("edit-copy")));
    m_copy->setShortcut(QKeySequence::Copy);
    m_copy->setEnabled(false);
    connect(m_copy, &QAction::triggered, m_view, &ChatView::copy);
    edit->addAction(m_copy);
    QAction *selectAll =
        edit->addAction(QIcon::fromTheme(QStringLiteral("edit-select-all")), tr("Select &All"));
    selectAll->setShortcut(QKeySequence::SelectAll);
    connect(selectAll, &QAction::triggered, m_view, &ChatView::selectAll);

    QMenu *view = menuBar()->addMenu(tr("&View"));
    m_asWritten->setCheckable(true);
    m_asWritten->setIcon(QIcon::fromTheme(QStringLiteral("preferences-desktop-font")));
    m_asWritten->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_T));
    m_asWritten->setToolTip(tr("Shows the fonts, sizes and colours that the chat was written in"));
    connect(m_asWritten, &QAction::toggled, m_view, &ChatView::setAsWritten);
    view->addAction(m_asWritten);
    view->addSeparator();
    view->addAction(m_back);
    view->addAction(m_forward);
    view->addSeparator();
    const auto addPlace = [view](const QString &text, int key, QWidget *widget) {
        QAction *action = view->addAction(text);
        action->setShortcut(QKeySequence(Qt::ALT | Qt::Key(key)));
        connect(action, &QAction::triggered, widget, QOverload<>::of(&QWidget::setFocus));
    };
    addPlace(tr("Go to &People"), Qt::Key_1, m_peopleList);
    addPlace(tr("Go to &Chats or Results"), Qt::Key_2, m_middle);
    addPlace(tr("Go to &Messages"), Qt::Key_3, m_view);

    QMenu *help = menuBar()->addMenu(tr("&Help"));
    QAction *shortcuts = help->addAction(tr("&Keyboard Shortcuts…"));
    shortcuts->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Question));
    connect(shortcuts, &QAction::triggered, this, &ReaderWindow::showShortcuts);
    QAction *about =
        help->addAction(QIcon::fromTheme(QStringLiteral("help-about")), tr("&About Prattlebug Reader"));
    about->setMenuRole(QAction::AboutRole);
    connect(about, &QAction::triggered, this, &ReaderWindow::showAbout);
    QAction *aboutQt = help->addAction(tr("About &Qt"));
    aboutQt->setMenuRole(QAction::AboutQtRole);
    connect(aboutQt, &QAction::triggered, qApp, &QApplication::aboutQt);

    QToolBar *tools = addToolBar(tr("Tools"));
    tools->setObjectName(QStringLiteral("tools"));
    tools->setMovable(false);
    tools->setContextMenuPolicy(Qt::PreventContextMenu); // it would hide the search
    addSearch(*edit, *tools);
    tools->addAction(m_asWritten);
}

void ReaderWindow::addSearch(QMenu &edit, QToolBar &tools)
{
    edit.addSeparator();
    const auto add = [this, &edit](const char *icon, const QString &text, const QKeySequence &keys) {
        QAction *action = edit.addAction(QIcon::fromTheme(QLatin1String(icon)), text);
        action->setShortcut(keys);
        return action;
    };
    connect(add("edit-find", tr("&Find in Chat"), QKeySequence::Find), &QAction::triggered, m_find,
            &FindBar::open);
    connect(add("system-search", tr("&Search All Chats"), QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_F)),
            &QAction::triggered, this, [this] {
                m_search->setFocus();
                m_search->selectAll();
            });
    connect(add("go-down", tr("&Next Match"), QKeySequence(Qt::Key_F3)), &QAction::triggered, this,
            [this] { goToMatch(1); });
    connect(add("go-up", tr("&Previous Match"), QKeySequence(Qt::SHIFT | Qt::Key_F3)), &QAction::triggered,
            this, [this] { goToMatch(-1); });

    m_back->setShortcut(QKeySequence(Qt::ALT | Qt::Key_Left));
    m_forward->setShortcut(QKeySequence(Qt::ALT | Qt::Key_Right));
    connect(m_back, &QAction::triggered, this, [this] { goInHistory(-1); });
    connect(m_forward, &QAction::triggered, this, [this] { goInHistory(1); });
    tools.addAction(m_back);
    tools.addAction(m_forward);

    m_search->setObjectName(QStringLiteral("search"));
    m_search->setPlaceholderText(tr("Search all chats"));
    m_search->setAccessibleName(tr("Search all chats"));
    m_search->setToolTip(tr("Words, \"several together\", from:kim, with:kim, since:2005-03, until:2005, "
                            "has:link, has:file, has:picture"));
    m_search->setClearButtonEnabled(true);
    if (const QIcon glass = QIcon::fromTheme(QStringLiteral("edit-find")); !glass.isNull())
        m_search->addAction(glass, QLineEdit::LeadingPosition);
    auto *place = new QWidget;
    auto *row = new QHBoxLayout(place);
    constexpr int widest = 480;
    row->setContentsMargins(margin, 0, margin, 0);
    row->addStretch(1);
    m_search->setMaximumWidth(widest);
    row->addWidget(m_search, 4);
    row->addStretch(1);
    tools.addWidget(place);
}

QWidget *ReaderWindow::listPane(QWidget *above, QListView *list)
{
    auto *pane = new QWidget;
    auto *column = new QVBoxLayout(pane);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    if (above) {
        auto *row = new QHBoxLayout;
        row->setContentsMargins(margin / 2, margin / 2, margin / 2, margin / 2);
        row->addWidget(above);
        column->addLayout(row);
    }
    column->addWidget(list);
    return pane;
}

QWidget *ReaderWindow::chatPane()
{
    QFont large = m_name->font();
    large.setBold(true);
    m_name->setFont(large);
    m_name->setWordWrap(true);
    m_details->setWordWrap(true);
    m_details->setForegroundRole(QPalette::PlaceholderText);
    auto *pane = new QWidget;
    auto *column = new QVBoxLayout(pane);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    auto *heading = new QVBoxLayout;
    heading->setContentsMargins(margin, margin / 2, margin, margin / 2);
    heading->setSpacing(0);
    heading->addWidget(m_name);
    heading->addWidget(m_details);
    column->addLayout(heading);
    column->addWidget(m_view, 1);
    column->addWidget(m_find);
    return pane;
}

QWidget *ReaderWindow::welcomePane()
{
    m_welcome->setObjectName(QStringLiteral("welcome"));
    m_welcome->setTextFormat(Qt::PlainText);
    m_welcome->setWordWrap(true);
    m_welcome->setAlignment(Qt::AlignCenter);
    auto *import = new QPushButton(tr("&Import Chats…"));
    connect(import, &QPushButton::clicked, this, &ReaderWindow::importChats);
    auto *openButton = new QPushButton(tr("&Open Files…"));
    connect(openButton, &QPushButton::clicked, this, &ReaderWindow::openFiles);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(import);
    buttons->addWidget(openButton);
    buttons->addStretch();
    auto *pane = new QWidget;
    auto *column = new QVBoxLayout(pane);
    column->addStretch();
    column->addWidget(m_welcome);
    column->addSpacing(margin);
    column->addLayout(buttons);
    column->addStretch();
    return pane;
}

void ReaderWindow::layOut()
{
    m_filter->setObjectName(QStringLiteral("filter"));
    m_filter->setPlaceholderText(tr("Filter people"));
    m_filter->setAccessibleName(tr("Filter people"));
    m_filter->setClearButtonEnabled(true);
    m_splitter->setObjectName(QStringLiteral("panes"));
    m_splitter->addWidget(listPane(m_filter, m_peopleList));
    m_found->setWordWrap(true);
    m_found->setForegroundRole(QPalette::PlaceholderText);
    m_middle->addWidget(listPane(nullptr, m_chatsList));
    m_middle->addWidget(listPane(m_found, m_resultsList));
    m_splitter->addWidget(m_middle);
    m_splitter->addWidget(chatPane());
    m_splitter->setChildrenCollapsible(false);
    m_splitter->setStretchFactor(0, 0);
    m_splitter->setStretchFactor(1, 0);
    m_splitter->setStretchFactor(2, 1);
    constexpr int peopleWidth = 210;
    constexpr int chatsWidth = 280;
    m_splitter->setSizes({peopleWidth, chatsWidth, usual.width() - peopleWidth - chatsWidth});
    m_pages->addWidget(m_splitter);
    m_pages->addWidget(welcomePane());
    setCentralWidget(m_pages);

    constexpr int barWidth = 220;
    m_bar->setFixedWidth(barWidth);
    m_bar->setAccessibleName(tr("Progress"));
    m_bar->hide();
    statusBar()->addPermanentWidget(m_bar);
    setMinimumSize(least);
    resize(usual);
}

void ReaderWindow::showShortcuts()
{
    QString rows;
    for (const QAction *const menu : menuBar()->actions()) {
        for (const QAction *const action : menu->menu()->actions()) {
            if (!action->shortcut().isEmpty())
                rows += QStringLiteral("<tr><td>%1&nbsp;&nbsp;</td><td>%2</td></tr>")
                            .arg(action->shortcut().toString(QKeySequence::NativeText).toHtmlEscaped(),
                                 action->text().remove(u'&').toHtmlEscaped());
        }
    }
    const auto row = [&rows](const QString &keys, const QString &text) {
        rows += QStringLiteral("<tr><td>%1&nbsp;&nbsp;</td><td>%2</td></tr>").arg(keys, text);
    };
    row(tr("Arrow keys, Page Up, Page Down, Space, Home, End"), tr("Scroll the chat"));
    row(tr("Shift with these"), tr("Select"));
    row(tr("Tab, Shift+Tab"), tr("Go to the next link, picture or file"));
    row(tr("Return"), tr("Open it"));
    row(tr("Menu"), tr("What else can be done with it"));
    row(tr("Return in the search"), tr("Go to the first match, and to the results"));
    QMessageBox box(this);
    box.setWindowTitle(tr("Keyboard Shortcuts"));
    box.setTextFormat(Qt::RichText);
    box.setText(QStringLiteral("<table>%1</table>").arg(rows));
    box.addButton(tr("Close"), QMessageBox::RejectRole);
    box.exec();
}

void ReaderWindow::showAbout()
{
    QMessageBox box(this);
    box.setWindowTitle(tr("About Prattlebug Reader"));
    constexpr int pictureSize = 64;
    box.setIconPixmap(
        QApplication::windowIcon().pixmap(QSize(pictureSize, pictureSize), devicePixelRatioF()));
    box.setTextFormat(Qt::RichText);
    box.setText(tr("<h3>Prattlebug Reader %1</h3><p>Shows iChat chats as they were, and finds what was said "
                   "in them.</p>")
                    .arg(QStringLiteral(PRATTLEBUG_VERSION)));
    box.addButton(tr("Close"), QMessageBox::RejectRole);
    box.exec();
}

} // namespace reader
