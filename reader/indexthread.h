#pragma once

#include "reader/collection.h"

#include "index/chatindex.h"

#include <QObject>
#include <QThread>

#include <memory>
#include <vector>

namespace reader {

/// What the index knows, as the window's lists show it: values that nobody changes any more.
struct Lists {
    std::vector<indexing::Chat> chats; ///< in the order of their first messages
    std::vector<indexing::KnownPerson> people;
    std::vector<indexing::UnreadableTranscript> unreadable;
};
using ListsRef = std::shared_ptr<const Lists>;

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

Q_SIGNALS:
    void listed(const reader::ListsRef &lists);
    /// @param reason in English.
    void failed(const QString &reason);

private:
    QThread m_thread;
    QObject *m_onThread;                          ///< lives there
    std::shared_ptr<indexing::ChatIndex> m_index; ///< used there only
};

} // namespace reader
