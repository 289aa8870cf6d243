#pragma once

#include "reader/collection.h"

#include "index/chatindex.h"

#include <QObject>
#include <QPoint>
#include <QString>
#include <QThread>

#include <atomic>
#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

namespace reader {

/// What the index knows, as the window's lists show it: values that nobody changes any more.
struct Lists {
    std::vector<indexing::Chat> chats; ///< in the order of their first messages
    std::vector<indexing::KnownPerson> people;
    std::vector<indexing::UnreadableTranscript> unreadable;
};
using ListsRef = std::shared_ptr<const Lists>;

/// A message that a search has found.
struct Result {
    std::filesystem::path path; ///< of the transcript, relative to the collection's folder
    QString otherParty;
    QString speaker;
    std::optional<qint64> milliseconds; ///< Unix time
    quint32 place = 0;                  ///< its position in the chat
    QString excerpt;                    ///< what stands around the first word found, on one line
    QPoint match;                       ///< first and number of the characters of that word in it
};

/// The index, on a thread that does nothing but ask it: whatever it takes, the window goes on.
///
/// The names in the lists come from the address book, which is for one thread of a process: for this one.
class IndexThread final : public QObject {
    Q_OBJECT

public:
    IndexThread(const Collection &collection, QObject *parent);
    ~IndexThread() override;
    IndexThread(const IndexThread &) = delete;
    IndexThread &operator=(const IndexThread &) = delete;

    /// Takes anew what the file holds; listed() or failed() follows.
    void reload();
    /// Finds messages, the newest first; found() follows, several times perhaps. An earlier search ends at
    /// once, and says nothing more.
    void search(const indexing::Question &question);
    void stopSearch();

    static constexpr size_t mostResults = 5000;

Q_SIGNALS:
    void listed(const reader::ListsRef &lists);
    /// @param reason in English.
    void failed(const QString &reason);
    /// @param isEnd whether that was all, or as much as is looked for.
    void found(const std::vector<reader::Result> &results, bool isEnd);

private:
    void find(const indexing::Question &question, int number);
    void hand(std::vector<Result> results, int number, bool isEnd);

    QThread m_thread;
    QObject *m_onThread;                          ///< lives there
    std::shared_ptr<indexing::ChatIndex> m_index; ///< used there only
    std::atomic<int> m_search = 0;                ///< the number of the search that is wanted
};

} // namespace reader
