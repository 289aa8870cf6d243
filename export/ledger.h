#pragma once

#include "export/indexpage.h"

#include "platform/failure.h"

#include <QByteArray>
#include <QString>

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace exporting {

/// The digest by which files and what they were made from are known: 64 hexadecimal digits (BLAKE2b-256).
[[nodiscard]] QByteArray digestOf(const QByteArray &bytes);

/// A document that an export has written.
struct WrittenDocument {
    struct Source {
        std::string transcript; ///< its path, as in Transcript::name
        QByteArray digest;      ///< of the transcript

        friend bool operator==(const Source &, const Source &) = default;
    };

    QString path;                         ///< relative to the folder
    QByteArray digest;                    ///< of the document
    std::map<QString, QByteArray> beside; ///< path and digest of each file that belongs to it
    QByteArray madeWith;                  ///< digest of all that it depends on beside its sources
    std::vector<Source> sources;
    Summary summary;
};

/// What exports have written into a folder, and from what: `.prattlebug-export.json` in it. By it a later
/// export tells what has changed, and which files are ours.
struct Ledger {
    std::map<std::string, WrittenDocument> documents; ///< by what each of them is, as in PlannedDocument::key

    [[nodiscard]] static std::filesystem::path pathIn(const std::filesystem::path &folder);

    /// Empty when there is none.
    [[nodiscard]] static platform::Result<Ledger> load(const std::filesystem::path &folder);
    [[nodiscard]] platform::Result<> save(const std::filesystem::path &folder) const;

    /// The digests of all files that are ours, by their paths.
    [[nodiscard]] std::map<QString, QByteArray> files() const;
};

} // namespace exporting
