#pragma once

#include "reader/chatloading.h"
#include "reader/chatsmodel.h"
#include "reader/chatview.h"
#include "reader/collection.h"
#include "reader/findbar.h"
#include "reader/folderwatch.h"
#include "reader/history.h"
#include "reader/indexthread.h"
#include "reader/indexupdate.h"
#include "reader/opening.h"
#include "reader/peoplemodel.h"
#include "reader/resultsmodel.h"

#include <QElapsedTimer>
#include <QMainWindow>
#include <QStringList>

#include <filesystem>
#include <memory>
#include <optional>

class QAction;
class QLabel;
class QLineEdit;
class QListView;
class QMenu;
class QProgressBar;
class QSplitter;
class QStackedWidget;
class QToolBar;

namespace reader {

/// The reader's window: people, the chats of one of them, and a chat.
class ReaderWindow final : public QMainWindow {
    Q_OBJECT

public:
    /// @param arguments files and folders; with none, the home folder's transcripts are read.
    explicit ReaderWindow(const QStringList &arguments);

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    // readerwindow.cpp: what the window is made of
    void layOut();
    void addActions();
    [[nodiscard]] QWidget *listPane(QWidget *above, QListView *list);
    void addSearch(QMenu &edit, QToolBar &tools);
    [[nodiscard]] QWidget *chatPane();
    [[nodiscard]] QWidget *welcomePane();
    void showShortcuts();
    void showAbout();

    // readercontents.cpp: what is shown in it
    void open(const QStringList &arguments);
    void bringUpToDate();
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

    // readersearch.cpp: finding, and going back and forward
    void connectSearch();
    void search();
    void takeResults(const std::vector<Result> &results, bool isEnd);
    void showResult(int row);
    /// Shows the message that was searched for, in the chat that is shown.
    void showMatch();
    /// Goes to the next (1) or previous (-1) match, in the chat or among the results.
    void goToMatch(int step);
    void goInHistory(int step);
    void keepPlace();
    void updateHistoryActions();

    Collection m_collection;
    std::unique_ptr<IndexThread> m_index;
    std::unique_ptr<IndexUpdate> m_update;
    ListsRef m_lists;
    bool m_isUpToDate = false;   ///< whether an update of the index has ended
    QElapsedTimer m_sinceReload; ///< since the lists of an update under way were asked for
    ChatLoading m_loading;
    Opening m_opening;
    std::filesystem::path m_path; ///< of the transcript that is shown or loaded, whole; empty for none

    std::optional<Result> m_match; ///< whose message is to be shown in the chat that is loaded
    indexing::Question m_question; ///< that the results answer
    History m_history;
    FolderWatch m_watch;

    PeopleModel m_people;
    ChatsModel m_chats;
    ResultsModel m_results;
    QStackedWidget *m_pages;
    QSplitter *m_splitter;
    QLineEdit *m_filter;
    QListView *m_peopleList;
    QListView *m_chatsList;
    QListView *m_resultsList;
    QStackedWidget *m_middle; ///< chats, or results of a search
    QLineEdit *m_search;
    QLabel *m_found;
    QLabel *m_name;
    QLabel *m_details;
    ChatView *m_view;
    FindBar *m_find;
    QLabel *m_welcome;
    QProgressBar *m_bar;
    QAction *m_back;
    QAction *m_forward;
    QAction *m_copy;
    QAction *m_asWritten;
};

} // namespace reader
