#pragma once

#include "archiver/desktopinterface.h"

#include "VORAChatLog.h"

#include "platform/date/nsdate.h"
#include "platform/files/nsfilehandle.h"

#include <filesystem>
#include <optional>

/// The controller of the archiver: one command, which turns the whole transcript folder into one mbox file
/// and brings the statistics up to date with it.
///
/// Knows neither windows nor terminals; it is handed the desktop that it runs on.
class PBArchiver {
public:
    /// @param desktop lent; must outlive the archiver.
    explicit PBArchiver(DesktopInterface &desktop) : m_desktop(desktop) {}

    /// What became of the entries of the last run.
    struct Counts {
        qsizetype archived = 0;           ///< their message stands in the mbox
        qsizetype notTranscripts = 0;     ///< folders and other files
        qsizetype passedOver = 0;         ///< by the check box
        qsizetype unreadable = 0;         ///< named as transcripts, but no well-formed ones
        qsizetype unreadableMessages = 0; ///< in the chats that were archived
        qsizetype notWritten = 0;         ///< loaded, but their message does not stand in the mbox
    };
    /// How the last run ended.
    enum class Ending {
        NotRun,
        NoTranscriptFolder,
        Cancelled,
        Done,           ///< the mbox holds every chat that could be read
        MboxIncomplete, ///< the run went through, but the mbox could not be made or written whole
    };

    /// `Documents/iChats (Prattlebugged)` under the home folder.
    [[nodiscard]] static std::filesystem::path transcriptFolder();

    /// The whole command, from the save panel to the reveal. Returns when it has ended.
    void beginArchiving();

    /// Handles one entry of the transcript folder, given by its full path.
    void processLog(const std::filesystem::path &path, platform::NSFileHandle &intoMailbox);

    /// Whether the entry at @p path may be archived under the check box's setting: when that is on, only what
    /// was created before the transcript folder itself.
    [[nodiscard]] bool AllowLog(const std::filesystem::path &path) const;

    /// Appends @p log to the mbox as one message, from the user to the user, dated @p onDate.
    /// @return whether it stands there; when not, the file ends with the message before, and the console log
    /// says why.
    bool appendChatLog(const VORAChatLog &log, platform::NSFileHandle &toMailbox,
                       const platform::NSDate &onDate);

    [[nodiscard]] const Counts &counts() const { return m_counts; }
    [[nodiscard]] Ending ending() const { return m_ending; }
    /// The mbox file of the last run; empty before the user has chosen one.
    [[nodiscard]] const std::filesystem::path &mboxPath() const { return m_mboxPath; }
    /// The counts in a line for people: "14 chats archived, 2 could not be read."
    [[nodiscard]] QString summary() const;

private:
    DesktopInterface &m_desktop;
    Counts m_counts;
    Ending m_ending = Ending::NotRun;
    std::filesystem::path m_mboxPath;
};
