#pragma once

#include "VORAChatLog.h"

#include <filesystem>
#include <string>

// Transcripts that the user has named, on a command line or by opening them.

/// The path of the transcript that @p given names: itself; or, when it is relative and nothing stands there,
/// the file of that path in the transcript folder, where one does. (search prints such paths.)
[[nodiscard]] std::filesystem::path transcriptPath(const std::string &given);

/// The file name that the transcript at @p path is loaded by, whatever it is called: see loadTranscript().
[[nodiscard]] std::string transcriptFileName(const std::filesystem::path &path);

/// VORAChatLog::load() for a file that the user has named, whatever it is called: its extension may be in any
/// letter case, and where there is no " on " the other party is the name without its extension.
[[nodiscard]] VORAChatLog::Loading loadTranscript(const std::filesystem::path &path);
