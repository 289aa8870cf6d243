#pragma once

#include "platform/files/descriptor.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QCryptographicHash>
#include <QString>

#include <filesystem>
#include <map>
#include <optional>
#include <string>

namespace exporting {

/// The files of a folder that are ours: they stand there as an export has written them. Nothing else is ever
/// replaced or removed.
class OwnFiles {
public:
    /// @param digests of files that were written earlier, by their paths relative to @p folder.
    OwnFiles(std::filesystem::path folder, std::map<QString, QByteArray> digests)
        : m_folder(std::move(folder)), m_digests(std::move(digests))
    {
    }

    /// What came of writing a file.
    struct Result {
        bool isWritten = false;             ///< false also when the very same file stood there
        std::optional<std::string> failure; ///< in English; nothing when the file stands there
        bool isFull = false;                ///< whether it failed since the disk takes nothing more
        QByteArray digest;                  ///< of the file
    };

    /// Writes @p bytes to @p path, whose folders are made. It does not wait for the disk.
    [[nodiscard]] Result write(const QString &path, const QByteArray &bytes) const;

    /// Removes the file at @p path, and folders that this leaves empty.
    /// @return false when it is not as we have written it, and so stays.
    bool remove(const QString &path) const;

    [[nodiscard]] const std::filesystem::path &folder() const { return m_folder; }

private:
    friend class GrowingFile;

    [[nodiscard]] bool isOurs(const QString &path) const;
    /// @return why these folders cannot be made, in English.
    [[nodiscard]] Result makeFolders(const std::filesystem::path &path) const;

    std::filesystem::path m_folder;
    std::map<QString, QByteArray> m_digests;
};

/// A file that is written piece by piece, and takes its place when it is whole. Without finish() nothing is
/// left of it.
class GrowingFile {
public:
    GrowingFile(const OwnFiles &files, QString path);
    ~GrowingFile();
    GrowingFile(const GrowingFile &) = delete;
    GrowingFile &operator=(const GrowingFile &) = delete;

    /// After a failure nothing more is written; finish() tells of it.
    void append(QByteArrayView bytes);
    [[nodiscard]] OwnFiles::Result finish();

private:
    const OwnFiles &m_files;
    QString m_path;
    std::filesystem::path m_temporary;
    platform::Descriptor m_file;
    QCryptographicHash m_hash{QCryptographicHash::Blake2b_256};
    OwnFiles::Result m_result;
};

} // namespace exporting
