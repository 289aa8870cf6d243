#pragma once

#include "galleries/filenames.h"

#include "platform/appkit/nsfilewrapper.h"
#include "platform/failure.h"

#include <QHash>

#include <filesystem>
#include <functional>
#include <memory>

namespace galleries {

/// Writes the attached files of one chat into a folder, which must exist: none is made.
///
/// What one chat may write has a limit, since a small transcript can name one large file in very many
/// messages: 64 MiB, and 16 times the bytes of its different files. Each file or folder counts 4096 bytes
/// more, and a hard link 256.
class SavedFiles {
public:
    static constexpr qint64 leastLimit = qint64(1) << 26;

    /// Told of a file that could not be written, and why.
    using Failed = std::function<void(const platform::Failure &failure)>;

    explicit SavedFiles(std::filesystem::path folder, Failed failed = {}, qint64 limit = leastLimit)
        : m_folder(std::move(folder)), m_failed(std::move(failed)), m_left(limit)
    {
    }

    /// Writes @p wrapper under @p name, in place of what stands there: a file as a file, or as a hard link
    /// when the very same wrapper has been saved under another name; a folder as a folder with all it holds,
    /// each name in it made fit by fileName(). A folder that cannot be written whole does not replace one
    /// that stands there.
    ///
    /// It does not wait for the disk: the transcript still has the file.
    /// @return false when it was left out because the limit was reached; a file that could not be written is
    /// not left out.
    [[nodiscard]] bool save(const std::shared_ptr<const platform::NSFileWrapper> &wrapper,
                            const FileName &name);

    /// Whether anything was left out; then all that follows is as well.
    [[nodiscard]] bool isFull() const { return m_isFull; }

private:
    [[nodiscard]] bool link(const platform::NSFileWrapper &wrapper, const std::filesystem::path &path);

    std::filesystem::path m_folder;
    Failed m_failed;
    qint64 m_left; ///< bytes
    bool m_isFull = false;
    QHash<QString, std::shared_ptr<const platform::NSFileWrapper>> m_saved; ///< by name on disk
    /// The name under which each wrapper has been saved last; empty for one that could not be.
    QHash<const platform::NSFileWrapper *, QString> m_places;
};

} // namespace galleries
