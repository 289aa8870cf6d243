#pragma once

#include "importing/observer.h"
#include "importing/transcriptnames.h"

#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace importing {

/// A path with a word about it: why it could not be read, or what it is.
struct NotedPath {
    std::filesystem::path path;
    std::string note; ///< in English
};

/// A file that is named as a transcript.
struct FoundTranscript {
    std::filesystem::path path;  ///< absolute
    std::filesystem::path home;  ///< whose chat folder holds it; empty when it lies in none
    std::filesystem::path place; ///< sub-folder and name, as they are to be kept
    Kind kind;
};

/// What lies on a disk.
struct Findings {
    std::vector<FoundTranscript> transcripts; ///< in the order of their paths, each once
    std::vector<std::filesystem::path> homes; ///< those that the transcripts came from, and what was named
    std::vector<NotedPath> notLookedInto;     ///< what looks like chats but is not read, and what it is
    std::vector<NotedPath> unread;            ///< folders that the system does not give, and why
    qsizetype entries = 0;                    ///< how many entries were looked at
};

/// Walks everything below @p sources, folders or single transcripts, at every depth. What lies in
/// @p transcriptFolder is none of it. No file is opened.
/// @throws Failure when one of the sources is not there or is neither of the two; Stopped.
[[nodiscard]] Findings findChats(std::span<const std::filesystem::path> sources,
                                 const std::filesystem::path &transcriptFolder, Observer &observer);

} // namespace importing
