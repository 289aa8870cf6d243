#pragma once

#include "platform/failure.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QString>

#include <filesystem>
#include <optional>
#include <vector>

/// What became of a run of the archiving command.
struct ArchiveOutcome {
    enum class Ending {
        NotRun,
        NoTranscriptFolder,
        Cancelled,
        Done,           ///< the mbox holds every chat that was found, could be read and fits into a mail
        MboxIncomplete, ///< the run went through, but the mbox could not be made or written whole
        Interrupted,    ///< by the user, after some entries
    };

    using Failure = platform::Failure;

    Ending ending = Ending::NotRun;
    std::filesystem::path mboxPath;     ///< empty before the user has chosen a folder
    std::optional<Failure> mboxFailure; ///< what kept the mbox itself from being whole

    qsizetype archived = 0;             ///< entries whose message stands in the mbox
    qsizetype unreadableMessages = 0;   ///< messages in the chats that were archived
    qsizetype countedBefore = 0;        ///< entries that the galleries and the statistics held before the run
    qsizetype notTranscripts = 0;       ///< folders and other files
    qsizetype passedOver = 0;           ///< by the check box
    std::vector<Failure> unreadFolders; ///< folders of which entries may be missing
    std::vector<Failure> unreadable;    ///< named as transcripts, but no well-formed ones
    std::vector<Failure> tooLarge;      ///< loaded, but too large for a mail message
    std::vector<Failure> notWritten;    ///< loaded, but the mbox did not take their message

    /// The mbox of the run before, where it stays since the new one is not whole; else empty.
    std::filesystem::path previousPath;

    /// Whether the mbox can take the place of an earlier one. A chat that is too large for a mail, or a
    /// damaged one, stays so however often the command runs; it counts for nothing here.
    [[nodiscard]] bool isMboxWhole() const { return ending == Ending::Done && unreadFolders.empty(); }
    /// Whether the mbox holds every chat but the damaged ones.
    [[nodiscard]] bool isComplete() const { return isMboxWhole() && tooLarge.empty(); }

    /// The counts in a line for people: "14 chats archived, 2 chats could not be read."
    [[nodiscard]] QString summary() const;
    /// A line for each chat and folder that could not be read or written, with the reason; UTF-8, but for the
    /// paths.
    [[nodiscard]] QByteArrayList failureLines() const;
    /// Why the mbox could not be written whole: the first reason of those that there are.
    [[nodiscard]] std::optional<Failure> whyNotWhole() const;
};
