#pragma once

#include "galleries/filenames.h"

#include "platform/appkit/nsfilewrapper.h"

#include <QHash>

#include <filesystem>
#include <memory>

namespace galleries {

/// Writes the attached files of one chat into a folder, which must exist: none is made.
class SavedFiles {
public:
    /// The most that is written for one chat, in bytes, each file or folder counting 4096 more and its name
    /// inside a folder its length. No readable transcript holds as much, but a small one can name one large
    /// file in very many messages.
    static constexpr qint64 largestTotal = qint64(1) << 32;

    explicit SavedFiles(std::filesystem::path folder, qint64 total = largestTotal)
        : m_folder(std::move(folder)), m_left(total)
    {
    }

    /// Writes @p wrapper under @p name, in place of what stands there: a file as a file, a folder as a folder
    /// with all it holds, each name in it made fit by fileName(). What cannot be written is left out; nobody
    /// is told. A folder that cannot be written whole does not replace one that stands there.
    ///
    /// It does not wait for the disk: the transcript still has the file.
    void save(const std::shared_ptr<const platform::NSFileWrapper> &wrapper, const FileName &name);

private:
    std::filesystem::path m_folder;
    qint64 m_left;
    QHash<QString, std::shared_ptr<const platform::NSFileWrapper>> m_saved; // by name on disk
};

} // namespace galleries
