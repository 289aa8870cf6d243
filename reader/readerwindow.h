#pragma once

#include "reader/chatloading.h"
#include "reader/chatsmodel.h"
#include "reader/chatview.h"
#include "reader/collection.h"
#include "reader/indexthread.h"
#include "reader/indexupdate.h"
#include "reader/opening.h"
#include "reader/peoplemodel.h"

#include <QElapsedTimer>
#include <QMainWindow>
#include <QStringList>

#include <filesystem>
#include <memory>

class QAction;
class QLabel;
class QLineEdit;
class QListView;
class QProgressBar;
class QSplitter;
class QStackedWidget;

namespace reader {

/// The reader's window: people, the chats of one of them, and a chat.
class ReaderWindow final : public QMainWindow {
    Q_OBJECT

public:
    /// @param arguments files and folders; with none, the home folder's transcripts are read.
    explicit ReaderWindow(const QStringList &arguments);

private:
    // readerwindow.cpp: what the window is made of
    void layOut();
    void addActions();
    [[nodiscard]] QWidget *listPane(QWidget *above, QListView *list);
    [[nodiscard]] QWidget *chatPane();
    [[nodiscard]] QWidget *welcomePane();
    void showShortcuts();
    void showAbout();

    // readercontents.cpp: what is shown in it
    void open(const QStringList &arguments);
    void setLists(const ListsRef &lists);
    void choosePerson(int row);
    void listChats(const Contact *somebody);
    /// Marks the chat that is shown in the list, where it is there.
    void selectShown();
    void chooseChat(int row);
    void openTranscript(const std::filesystem::path &path);
    void showChat(const ChatView::Chat &chat);
    void showPicture(quint32 file);
    [[nodiscard]] std::vector<ChatsModel::Unreadable> unreadable() const;
    void showWhatThereIs();
    void importChats();
    void openFiles();

    Collection m_collection;
    std::unique_ptr<IndexThread> m_index;
    std::unique_ptr<IndexUpdate> m_update;
    ListsRef m_lists;
    bool m_isUpToDate = false;   ///< whether an update of the index has ended
    QElapsedTimer m_sinceReload; ///< since the lists of an update under way were asked for
    ChatLoading m_loading;
    Opening m_opening;
    std::filesystem::path m_path; ///< of the transcript that is shown or loaded, whole; empty for none

    PeopleModel m_people;
    ChatsModel m_chats;
    QStackedWidget *m_pages;
    QSplitter *m_splitter;
    QLineEdit *m_filter;
    QListView *m_peopleList;
    QListView *m_chatsList;
    QLabel *m_name;
    QLabel *m_details;
    ChatView *m_view;
    QLabel *m_welcome;
    QProgressBar *m_bar;
    QAction *m_copy;
    QAction *m_asWritten;
};

} // namespace reader
