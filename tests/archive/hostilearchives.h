#pragma once

#include <QByteArray>

#include <ostream>
#include <vector>

/// An archive that tries to take more memory or time than its size allows. It need not be well formed.
struct HostileArchive {
    const char *name;
    /// Makes one of about @p size bytes.
    QByteArray (*make)(qsizetype size);

    friend void PrintTo(const HostileArchive &archive, std::ostream *stream) { *stream << archive.name; }
};

[[nodiscard]] const std::vector<HostileArchive> &hostileStreams();
[[nodiscard]] const std::vector<HostileArchive> &hostileKeyedArchives();

/// A file wrapper's serialised form: a folder of as many files, without names and contents, as fit into @p
/// size bytes.
[[nodiscard]] QByteArray serializedFolderOfEmptyFiles(qsizetype size);
