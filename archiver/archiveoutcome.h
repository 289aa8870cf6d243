#pragma once

#include <QByteArray>
#include <QString>

#include <filesystem>
#include <vector>

/// What became of a run of the archiving command.
struct ArchiveOutcome {
    enum class Ending {
        NotRun,
        NoTranscriptFolder,
        Cancelled,
        Done,           ///< the mbox holds every chat that could be read
        MboxIncomplete, ///< the run went through, but the mbox could not be made or written whole
    };

    /// A file or folder that something did not work with.
    struct Failure {
        std::filesystem::path path;
        QString reason; ///< in English

        /// "PATH: REASON" in UTF-8, but for the path, which is any bytes.
        [[nodiscard]] QByteArray line() const;
    };

    Ending ending = Ending::NotRun;
    std::filesystem::path mboxPath; ///< empty before the user has chosen a folder
    QString mboxFailure;            ///< what kept the mbox itself from being whole; else empty

    qsizetype archived = 0;             ///< entries whose message stands in the mbox
    qsizetype notTranscripts = 0;       ///< folders and other files
    qsizetype passedOver = 0;           ///< by the check box
    std::vector<Failure> unreadFolders; ///< folders of which entries may be missing
    std::vector<Failure> unreadable;    ///< named as transcripts, but no well-formed ones
    std::vector<Failure> notWritten;    ///< loaded, but their message does not stand in the mbox

    [[nodiscard]] bool isMboxWhole() const { return ending == Ending::Done; }
    /// Whether there was nothing that the user has to look after. A damaged transcript is none: it stays as
    /// it is, however often the command runs.
    [[nodiscard]] bool isComplete() const { return isMboxWhole() && unreadFolders.empty(); }

    /// The counts in a line for people: "14 chats archived, 2 chats could not be read."
    [[nodiscard]] QString summary() const;
    /// Why the mbox is not whole, in English: the first reason of those that there are.
    [[nodiscard]] QString whyNotWhole() const;
};
