#include "reader/folderwatch.h"

#include <QFile>
#include <QSet>

#include <filesystem>
#include <set>
#include <utility>

namespace reader {

namespace fs = std::filesystem;

namespace {

constexpr size_t mostFolders = 1000; // each takes one of the system's watches
constexpr int quietTime = 700;       // milliseconds: files that come together are read together

} // namespace

FolderWatch::FolderWatch(QObject *parent) : QObject(parent)
{
    m_quiet.setSingleShot(true);
    m_quiet.setInterval(quietTime);
    connect(&m_watcher, &QFileSystemWatcher::directoryChanged, &m_quiet, QOverload<>::of(&QTimer::start));
    connect(&m_quiet, &QTimer::timeout, this, &FolderWatch::changed);
}

void FolderWatch::watch(const Collection &collection, const Lists &lists)
{
    std::set<fs::path> folders;
    std::error_code error;
    for (const fs::path &path : collection.linked) {
        if (fs::is_directory(path, error))
            folders.insert(path);
    }
    if (collection.linked.empty()) {
        fs::path folder = collection.folder;
        while (!fs::is_directory(folder, error) && folder.has_relative_path())
            folder = folder.parent_path(); // in which it may be made
        folders.insert(folder);
    }
    if (collection.linked.empty() || !folders.empty()) {
        fs::path last; // most are in the same folder as the one before
        for (const indexing::Chat &chat : lists.chats) {
            fs::path folder = collection.transcript(chat.path).parent_path();
            if (folder != last && folders.size() < mostFolders)
                folders.insert(folder);
            last = std::move(folder);
        }
    }
    QStringList wanted;
    for (const auto &one : folders)
        wanted += QFile::decodeName(QByteArray::fromStdString(one.native()));
    const QStringList watched = m_watcher.directories();
    const QSet<QString> before(watched.begin(), watched.end());
    const QSet<QString> after(wanted.begin(), wanted.end());
    if (const QSet<QString> gone = before - after; !gone.isEmpty())
        m_watcher.removePaths(QStringList(gone.begin(), gone.end()));
    if (const QSet<QString> come = after - before; !come.isEmpty())
        m_watcher.addPaths(QStringList(come.begin(), come.end()));
}

} // namespace reader
