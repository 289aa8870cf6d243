#pragma once

#include "reader/collection.h"

#include <QObject>
#include <QProcess>
#include <QString>

namespace reader {

/// Brings the index of a collection up to date, in a process of its own, since that forks workers: the
/// library wants a program with one thread for it, and a window has several.
class IndexUpdate final : public QObject {
    Q_OBJECT

public:
    IndexUpdate(Collection collection, QObject *parent);
    /// Stops it: what it has found out so far is kept.
    ~IndexUpdate() override;
    IndexUpdate(const IndexUpdate &) = delete;
    IndexUpdate &operator=(const IndexUpdate &) = delete;

    /// Starts it; when one is under way, another one follows it.
    void start();
    [[nodiscard]] bool isRunning() const { return m_process != nullptr; }

Q_SIGNALS:
    /// From time to time, when it takes longer than a moment.
    void progressed(int done, int total);
    /// @param changed whether the index is another than it was.
    /// @param failure why it could not be brought up to date, in English; empty when it was.
    void finished(bool changed, const QString &failure);

private:
    void readLines();
    void end(const QString &failure);

    Collection m_collection;
    QProcess *m_process = nullptr; ///< while it runs
    bool m_again = false;
    bool m_changed = false;
};

/// The process's side: `INDEX FOLDER [LINKED...]`. Writes a line "progress DONE TOTAL" now and then, and at
/// its end "changed" or "same", or "failed REASON". @return the exit code.
[[nodiscard]] int updateIndex(int argc, char **argv);

} // namespace reader
