#pragma once

#include "reader/collection.h"
#include "reader/indexthread.h"

#include <QFileSystemWatcher>
#include <QObject>
#include <QTimer>

namespace reader {

/// Tells when something has come into the folders of a collection, or has gone.
class FolderWatch final : public QObject {
    Q_OBJECT

public:
    explicit FolderWatch(QObject *parent);

    /// Watches the folders of the transcripts in @p lists, and those that others would come into, instead of
    /// anything else.
    void watch(const Collection &collection, const Lists &lists);

Q_SIGNALS:
    /// A moment after the last change.
    void changed();

private:
    QFileSystemWatcher m_watcher;
    QTimer m_quiet;
};

} // namespace reader
