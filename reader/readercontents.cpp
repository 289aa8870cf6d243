#include "reader/readerwindow.h"

#include "reader/contacts.h"
#include "reader/counts.h"
#include "reader/names.h"
#include "reader/pictureview.h"
#include "reader/times.h"

#include "archiver/transcript.h"

#include "importing/window/importdialog.h"

#include "platform/files/files.h"

#include <QFile>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QProgressBar>
#include <QSplitter>
#include <QStackedWidget>
#include <QStatusBar>

#include <algorithm>
#include <numeric>

namespace reader {

using conversation::Conversation;

namespace {

enum Page : quint8 { ListsPage, WelcomePage };

/// "Kim Lee · Tuesday, 1 March 2005 21:07 · 24 messages"
QString detailsOf(const Conversation &chat)
{
    QStringList parts;
    const auto timed =
        std::find_if(chat.messages.begin(), chat.messages.end(),
                     [](const conversation::Message &message) { return message.milliseconds.has_value(); });
    if (timed != chat.messages.end())
        parts += exactTime(*timed->milliseconds);
    qint64 messages = 0;
    for (const conversation::Message &message : chat.messages)
        messages += message.isNotice() ? 0 : 1;
    parts += counted(messages, ReaderWindow::tr("1 message"), ReaderWindow::tr("%1 messages"));
    return parts.join(QStringLiteral(" · "));
}

QString nameOf(const Conversation &chat)
{
    QStringList names;
    for (const conversation::Speaker &participant : chat.participants) {
        if (!names.contains(participant.displayName))
            names += participant.displayName;
    }
    return harmless(names.isEmpty() ? chat.otherParty : names.join(QStringLiteral(", ")));
}

} // namespace

void ReaderWindow::open(const QStringList &arguments)
{
    m_update.reset();
    m_index.reset();
    m_lists = std::make_shared<const Lists>();
    m_path.clear();
    m_match.reset();
    m_history = {};
    m_search->clear();
    m_view->setNotice({});
    m_collection = Collection::of(arguments);
    m_people.setLists(m_lists);
    listChats(nullptr);

    m_index = std::make_unique<IndexThread>(m_collection, nullptr);
    connect(m_index.get(), &IndexThread::listed, this, &ReaderWindow::setLists);
    connect(m_index.get(), &IndexThread::found, this, &ReaderWindow::takeResults);
    connect(m_index.get(), &IndexThread::failed, this, [this](const QString &reason) {
        if (!m_update->isRunning()) // else it is being made anew
            statusBar()->showMessage(tr("The index cannot be used: %1").arg(harmless(reason)));
    });
    m_update = std::make_unique<IndexUpdate>(m_collection, nullptr);
    connect(m_update.get(), &IndexUpdate::progressed, this, [this](int done, int total) {
        m_bar->setRange(0, total);
        m_bar->setValue(done);
        m_bar->setFormat(tr("Reading new chats: %p%"));
        m_bar->show();
        constexpr int stepOfTheUpdate = 3; // seconds, after which what it has found can be asked for
        if (!m_sinceReload.isValid() || m_sinceReload.hasExpired(qint64(stepOfTheUpdate) * 1000)) {
            m_sinceReload.start();
            m_index->reload();
        }
    });
    connect(m_update.get(), &IndexUpdate::finished, this, [this](bool changed, const QString &failure) {
        m_bar->hide();
        if (!failure.isEmpty())
            statusBar()->showMessage(tr("The index cannot be brought up to date: %1").arg(harmless(failure)));
        m_isUpToDate = true;
        if (!changed) {
            m_watch.watch(m_collection, *m_lists);
            showWhatThereIs();
            return;
        }
        m_index->reload();
        if (!m_search->text().isEmpty() && !m_resultsList->currentIndex().isValid())
            search(); // nobody has gone to any of the results yet
    });
    m_isUpToDate = false;
    m_index->reload(); // what was known the last time, at once
    bringUpToDate();
    if (arguments.size() == 1) {
        const std::filesystem::path path = transcriptPath(QFile::encodeName(arguments.front()).toStdString());
        std::error_code error;
        if (!std::filesystem::is_directory(path, error))
            openTranscript(std::filesystem::absolute(path, error).lexically_normal());
    }
    showWhatThereIs();
}

void ReaderWindow::bringUpToDate()
{
    if (!m_collection.isHome || platform::fileExists(m_collection.folder))
        m_update->start();
    else
        m_isUpToDate = true;
}

void ReaderWindow::showWhatThereIs()
{
    const bool isEmpty = m_lists->chats.empty() && unreadable().empty() && m_path.empty() && m_isUpToDate;
    m_welcome->setText(
        m_collection.isHome
            ? tr("There are no chats yet.\n\nImport Chats copies the ones on a Mac’s disk, or in any folder.")
            : tr("There are no chats here."));
    m_pages->setCurrentIndex(isEmpty ? WelcomePage : ListsPage);
}

void ReaderWindow::setLists(const ListsRef &lists)
{
    const Contact *const somebody = m_people.contact(m_peopleList->currentIndex().row());
    const QString name = somebody ? somebody->name : QString();
    m_lists = lists;
    m_watch.watch(m_collection, *m_lists);
    m_people.setLists(lists);
    const int row = name.isEmpty() ? 0 : m_people.rowOf(name);
    m_peopleList->setCurrentIndex(m_people.index(row));
    showWhatThereIs();
}

std::vector<ChatsModel::Unreadable> ReaderWindow::unreadable() const
{
    std::vector<ChatsModel::Unreadable> result;
    for (const auto &transcript : m_lists->unreadable)
        result.push_back(
            {m_collection.transcript(transcript.path), QString::fromStdString(transcript.reason)});
    for (const auto &path : m_collection.linked) {
        std::error_code error;
        if (!std::filesystem::is_directory(path, error) && !isNamedAsTranscript(path))
            result.push_back({path, tr("its name is not that of a transcript")});
    }
    return result;
}

void ReaderWindow::choosePerson(int row)
{
    if (row < 0)
        return;
    if (m_peopleList->hasFocus() || m_filter->hasFocus())
        m_search->clear(); // somebody's chats instead of what was found
    listChats(m_people.contact(row));
}

void ReaderWindow::listChats(const Contact *somebody)
{
    std::vector<quint32> chats;
    if (somebody) {
        chats = somebody->chats;
    } else {
        chats.resize(m_lists->chats.size());
        std::iota(chats.begin(), chats.end(), 0U);
    }
    m_chats.setChats(m_lists, std::move(chats), !somebody || somebody->isGroup,
                     somebody ? std::vector<ChatsModel::Unreadable>() : unreadable());
    selectShown();
}

void ReaderWindow::selectShown()
{
    if (m_path.empty())
        return;
    for (int row = 0; row < m_chats.rowCount(); ++row) {
        const indexing::Chat *const chat = m_chats.chat(row);
        const ChatsModel::Unreadable *const transcript = m_chats.unreadable(row);
        if ((chat && m_collection.transcript(chat->path) == m_path) ||
            (transcript && transcript->path == m_path)) {
            m_chatsList->setCurrentIndex(m_chats.index(row));
            m_chatsList->scrollTo(m_chats.index(row), QAbstractItemView::PositionAtCenter);
            return;
        }
    }
}

void ReaderWindow::chooseChat(int row)
{
    if (const indexing::Chat *const chat = m_chats.chat(row))
        openTranscript(m_collection.transcript(chat->path));
    else if (const ChatsModel::Unreadable *const transcript = m_chats.unreadable(row))
        openTranscript(transcript->path);
}

void ReaderWindow::openTranscript(const std::filesystem::path &path)
{
    if (path == m_path)
        return;
    keepPlace();
    m_path = path;
    m_match.reset();
    m_history.visit(path);
    updateHistoryActions();
    m_loading.load(path);
    m_name->setText(harmless(platform::displayPath(path.stem())));
    m_details->clear();
    m_view->setNotice({});
}

void ReaderWindow::showChat(const ChatView::Chat &chat)
{
    m_name->setText(nameOf(*chat));
    m_details->setText(detailsOf(*chat));
    m_details->setToolTip(harmlessMarkup(platform::displayPath(m_path)));
    m_view->setChat(chat);
    if (m_match)
        showMatch();
    else
        m_view->setPlace(m_history.place(m_path));
    setWindowTitle(tr("%1 – Prattlebug Reader").arg(nameOf(*chat)));
}

void ReaderWindow::showPicture(quint32 file)
{
    auto *view = new PictureView(m_view->chat(), file, this);
    connect(view, &PictureView::saveRequested, this,
            [this, wrapper = m_view->chat()->files[file]] { m_opening.saveFile(*wrapper); });
    view->show();
}

void ReaderWindow::importChats()
{
    ImportDialog dialog(this);
    dialog.exec();
    if (dialog.hasImported())
        open({});
}

void ReaderWindow::openFiles()
{
    const QStringList files = QFileDialog::getOpenFileNames(
        this, tr("Open Chats"), {}, tr("iChat transcripts (*.chat *.ichat);;All files (*)"));
    if (!files.isEmpty())
        open(files);
}

} // namespace reader
