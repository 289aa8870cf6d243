#pragma once

#include "export/options.h"
#include "export/plan.h"

#include "platform/failure.h"

#include <QString>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace exporting {

/// How an export goes about.
struct Manner {
    Options options;
    bool mirror = false;  ///< whether documents of ours that no longer belong there are removed
    unsigned workers = 0; ///< processes at a time; 0 for one a processor
    /// For mails: all chats of the transcript folder, which are not to share a Message-ID with those that are
    /// exported. May be empty where these are all.
    std::vector<Transcript> kept;
};

/// What became of an export.
struct Outcome {
    qsizetype written = 0;   ///< documents that are new or have changed
    qsizetype unchanged = 0; ///< documents that stood there already
    qsizetype removed = 0;   ///< by Manner::mirror
    qint64 unreadableMessages = 0;
    qint64 filesLeftOut = 0;                   ///< attached files that would have been too much
    std::vector<platform::Failure> unreadable; ///< transcripts
    std::vector<platform::Failure> notWritten; ///< chats and documents
    std::optional<platform::Failure> failure;  ///< what ended the export before its end
    bool isInterrupted = false;

    [[nodiscard]] bool isComplete() const { return notWritten.empty() && !failure && !isInterrupted; }
};

/// Tells how far an export has come, in chats; gives false to stop it.
using Progress = std::function<bool(size_t done, size_t total)>;

/// Writes the chats of @p transcripts into @p folder, which is made where its parent is there: each document
/// as one step, in worker processes, and the folder's ledger at the end. Documents whose chats have not
/// changed since the last export with the same options stay as they are, and so does everything that is not
/// ours. When it is stopped, or the disk is full, what stands there is whole.
///
/// To be called from a process with one thread.
[[nodiscard]] Outcome exportChats(const std::filesystem::path &folder,
                                  const std::vector<Transcript> &transcripts, const Manner &manner,
                                  const Progress &progress);

} // namespace exporting
