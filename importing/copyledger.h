#pragma once

#include <QByteArray>

#include <filesystem>
#include <map>
#include <set>
#include <span>
#include <string>
#include <sys/stat.h>

namespace importing {

/// A copy that was made.
struct LedgerEntry {
    std::filesystem::path place;  ///< relative to the transcript folder
    QByteArray digest;            ///< digestOf() its bytes
    std::filesystem::path source; ///< absolute
    timespec date;                ///< the modification time that it was given
};

/// The ledger of the copies that imports have made: only what stands in it may ever be replaced.
///
/// A text file that grows at its end, a line for each copy: the digest in hexadecimal, the date in Unix time,
/// place and source percent-encoded, with blanks between. A line is there before its copy is, so that one
/// whose copy is missing, or a place with several lines, means nothing; a line without its end is none.
class CopyLedger {
public:
    /// Reads the ledger at @p file; one that is missing is empty.
    /// @throws Failure when it cannot be read.
    explicit CopyLedger(std::filesystem::path file = defaultFile());
    /// `Library/Prattlebug/copies.ledger` below the home folder.
    [[nodiscard]] static std::filesystem::path defaultFile();

    /// Whether bytes of this digest at @p place are a copy that an import has made.
    [[nodiscard]] bool hasCopy(const std::filesystem::path &place, const QByteArray &digest) const;

    /// Appends entries, and waits until they are on the disk.
    /// @throws Failure
    void append(std::span<const LedgerEntry> entries);

private:
    std::filesystem::path m_file;
    std::map<std::string, std::set<QByteArray>> m_digests; ///< by places
    bool m_endsWithLine = true;
};

} // namespace importing
