#pragma once

#include "importing/copyledger.h"
#include "importing/findings.h"

#include "platform/files/files.h"

#include <QByteArray>

#include <filesystem>
#include <map>
#include <vector>

namespace importing {

/// A copy that is to be made.
struct PlannedCopy {
    LedgerEntry entry;
    platform::FileIdentity source; ///< the source's, when it was read
    /// The digest of the shorter copy whose place it takes; empty when there is nothing at that place.
    QByteArray replaced;
};

/// A file of the transcript folder that is to get a better modification time.
struct Redating {
    std::filesystem::path place;
    timespec date;
};

/// A transcript that has got another name.
struct Renaming {
    std::filesystem::path from; ///< its place as it was found
    std::filesystem::path to;
    bool fromStays; ///< it lies in the transcript folder itself, and stays there
};

/// What became, or would become, of the transcripts that were found: each of them is counted in one of
/// `copies`, `same`, `superseded`, `leftOut` and `unread`.
struct ImportPlan {
    std::vector<PlannedCopy> copies; ///< in the order of their places
    std::vector<Redating> redatings;

    qsizetype found = 0;
    qsizetype same = 0;       ///< have the same bytes as another one, or as a file of the transcript folder
    qsizetype superseded = 0; ///< are the beginning of a longer one
    qsizetype datesMended = 0;
    std::vector<Renaming> renamed;
    std::vector<NotedPath> damaged;   ///< copied, or there already, all the same
    std::vector<NotedPath> leftOut;   ///< no transcripts, for all that their names say
    std::vector<NotedPath> unread;    ///< files
    std::vector<NotedPath> unreadOwn; ///< files and folders of the transcript folder
    std::map<std::filesystem::path, qsizetype> copiedByHome;
    qsizetype archived = 0; ///< how many the archiver finds there before

    /// How many of `copies` take the place of a shorter one.
    [[nodiscard]] qsizetype replacing() const;
};

/// Works out what an import of @p transcripts into @p transcriptFolder has to do. Only reads.
///
/// - The same bytes are copied once, and not when the transcript folder holds them under a name that the
/// archiver
///   takes. Transcripts in that folder under names that it does not take are copied to such names, beside
///   them.
/// - Of two whole transcripts of one kind and chat (ChatFacts::chat), one of which begins with all messages
/// of the
///   other, only the longer one is copied. It takes the place of a shorter copy of which the ledger knows.
/// - A copy is named by properName() and nameWithDate(); where another file has that name it is numbered.
/// - A copy is dated by the earliest modification time of the same bytes that is not before its last message;
/// by
///   the last message when that time is more than a day later, for then it was lost. A chat without a dated
///   message is measured by the date in its name. Files of the transcript folder that have the same bytes as
///   a transcript that was found get the same date.
///
/// Every file is decoded once, one at a time; those that may be of the same chat once more.
/// @throws Stopped
[[nodiscard]] ImportPlan planImport(const std::vector<FoundTranscript> &transcripts,
                                    const std::filesystem::path &transcriptFolder, const CopyLedger &ledger,
                                    Observer &observer);

} // namespace importing
