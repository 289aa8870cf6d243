#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <sys/stat.h>

namespace importing {

// File names of transcripts. Names are bytes; they may be no UTF-8.

enum class Kind : unsigned char { Chat, IChat };

/// The kind that the name tells: it ends in `.chat` or `.ichat` in any letter case, with something before it.
/// Nothing for other files, nor for `._NAME`, in which macOS keeps what a foreign file system has no place
/// for.
[[nodiscard]] std::optional<Kind> transcriptKind(const std::filesystem::path &path);

/// Whether the archiver takes a file of this name: it ends in `.chat` or `.ichat` and holds " on ".
[[nodiscard]] bool isArchivableName(const std::filesystem::path &path);

/// The name that a transcript should have: the extension in lower case, and a localised name as iChat writes
/// it in English: `Kim Lee le 2005-03-01 à 21.07 #2.ICHAT` becomes `Kim Lee on 2005-03-01 at 21.07 #2.ichat`.
/// At most 255 bytes.
[[nodiscard]] std::string properName(const std::string &fileName);

/// A proper name without " on " given one, with a local date and time: `Kim Lee #7.chat` becomes `Kim Lee on
/// 2003-05-01 at 21.07 #7.chat`. At most 255 bytes: the beginning is cut where it has to be.
[[nodiscard]] std::string nameWithDate(const std::string &fileName, const timespec &date);

/// @p fileName with another number at its end, which stands for @p number chats of one name: `… #2.chat`.
[[nodiscard]] std::string nameWithNumber(const std::string &fileName, int number);

/// The moment that a name of iChat's in any language tells, in local time: `Kim on 2005-03-01 at 21.07.chat`.
[[nodiscard]] std::optional<timespec> dateInName(const std::string &fileName);

} // namespace importing
