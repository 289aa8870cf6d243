#pragma once

#include "platform/date/nsdate.h"
#include "platform/failure.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <filesystem>
#include <optional>

struct stat;

namespace platform {

// Paths are bytes: std::filesystem::path carries them, and only what is shown becomes text.

/// The user's home folder: the environment's HOME, else the password database's entry. Read anew on every
/// call.
[[nodiscard]] std::filesystem::path homeDirectory();

/// @p path as text for people; bytes that are no UTF-8 show as U+FFFD.
[[nodiscard]] QString displayPath(const std::filesystem::path &path);

/// The path that @p text spells in UTF-8.
[[nodiscard]] std::filesystem::path pathFromString(QStringView text);

/// Whether something stands at @p path, symbolic links followed. What cannot be looked at (for want of
/// permission, or as the disk fails) counts as standing there, so that nobody writes over it.
[[nodiscard]] bool fileExists(const std::filesystem::path &path);

/// When the file, folder or link at @p path (links not followed) was created: the earlier of birth time and
/// modification time, to the nanosecond, since a copy keeps only the latter and nothing is created after it
/// was last changed. A birth time of 0 or none counts as absent. Nothing when there is no such file.
struct CreationTime {
    qint64 seconds = 0;   ///< Unix time
    long nanoseconds = 0; ///< 0 to 999,999,999, counting forward

    [[nodiscard]] NSDate date() const { return NSDate::fromUnixTime(seconds, nanoseconds); }
    friend auto operator<=>(const CreationTime &, const CreationTime &) = default;
};
[[nodiscard]] std::optional<CreationTime> creationTime(const std::filesystem::path &path);

/// Enough of a file's identity to tell that nobody has changed it: a cache built from the file holds as long
/// as this is equal.
struct FileIdentity {
    quint64 device = 0;
    quint64 inode = 0;
    qint64 size = 0;
    qint64 seconds = 0;
    long nanoseconds = 0;

    friend bool operator==(const FileIdentity &, const FileIdentity &) = default;
};
/// The identity of the file at @p path, links followed; nothing when there is none.
[[nodiscard]] std::optional<FileIdentity> fileIdentity(const std::filesystem::path &path);
/// The identity of the file that @p status is of.
[[nodiscard]] FileIdentity identityOf(const struct stat &status);

/// The largest file that readWholeFile() takes: 2 GiB less one byte.
inline constexpr qint64 largestReadableFile = (qint64(1) << 31) - 1;

/// Reads the whole file at @p path, links followed. Only regular files are read: a FIFO or a device gives an
/// error at once instead of blocking.
[[nodiscard]] Result<QByteArray> readWholeFile(const std::filesystem::path &path);

/// Whether a new file waits for the disk before it takes the old one's place.
enum class Durability : quint8 {
    Synced,   ///< also after a power cut, the old file or the new one stands there
    Unsynced, ///< after a power cut it may be empty, on some file systems: for what can be made anew
};

struct AtomicWriting {
    /// The new file's mode bits, before the process's umask. When not given, those of the file that it
    /// replaces, or 0666 when there is none.
    std::optional<unsigned> permissions = std::nullopt;
    Durability durability = Durability::Synced;
};
/// Replaces whatever stands at @p path (a symbolic link is replaced, not followed; a folder is not) by a file
/// of these bytes, as one step: a reader sees the old file or the new one, and after a failure the old one
/// still stands.
[[nodiscard]] Result<> writeAtomically(const std::filesystem::path &path, QByteArrayView bytes,
                                       const AtomicWriting &manner = {});

} // namespace platform
