#pragma once

#include "platform/failure.h"
#include "platform/files/descriptor.h"

#include <QByteArrayView>

#include <filesystem>

namespace platform {

/// A file that is open for writing, at the end of what was written so far; or none, where it could not be
/// opened: then every write fails.
class NSFileHandle {
public:
    /// None.
    NSFileHandle() = default;

    /// Makes an empty file at @p path in place of whatever file stands there (a symbolic link is replaced,
    /// not followed) and opens it.
    [[nodiscard]] static Result<NSFileHandle> createFileAtPath(const std::filesystem::path &path);

    [[nodiscard]] bool isOpen() const { return bool(m_file); }
    /// Appends @p bytes, all of them or none: when the system takes only a part (a full disk), the file is
    /// cut back to where it was.
    [[nodiscard]] Result<> writeData(QByteArrayView bytes);
    /// Returns when what was written, and the file's name in its folder, have reached the disk.
    [[nodiscard]] Result<> synchronizeFile();
    /// Whether the open file is the one that stands at @p path: somebody may have removed, renamed or
    /// replaced it or its folder.
    [[nodiscard]] bool standsAt(const std::filesystem::path &path) const;

private:
    [[nodiscard]] Failure failure(int error) const;

    std::filesystem::path m_path;
    Descriptor m_file;
    Descriptor m_folder;
    qint64 m_length = 0; ///< bytes of whole writes
};

} // namespace platform
