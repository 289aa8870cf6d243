#pragma once

#include "archiver/archiveoutcome.h"
#include "archiver/chatledger.h"
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

    /// `Documents/iChats (Prattlebugged)` under the home folder.
    [[nodiscard]] static std::filesystem::path transcriptFolder();

    /// The whole command, from the save panel to the reveal. Returns when it has ended.
    void beginArchiving();

    /// Handles one entry of the transcript folder, given by its full path.
    void processLog(const std::filesystem::path &path, platform::NSFileHandle &intoMailbox);

    /// Whether the entry at @p path may be archived under the check box's setting: when that is on, only what
    /// was created before the transcript folder itself.
    [[nodiscard]] bool AllowLog(const std::filesystem::path &path) const;

    /// Appends @p log to the mbox as one message, from the user to the user, dated @p onDate. When that
    /// fails, the file ends with the message before, and the console log says why, too.
    /// @return FailureKind::TooLarge when it would be too large for a mail.
    [[nodiscard]] platform::Result<> appendChatLog(const VORAChatLog &log, platform::NSFileHandle &toMailbox,
                                                   const platform::NSDate &onDate);

    /// What became of the last run, or so far of the one that goes on.
    [[nodiscard]] const ArchiveOutcome &outcome() const { return m_outcome; }

private:
    void noteMboxFailure(const platform::Failure &failure);

    DesktopInterface &m_desktop;
    ArchiveOutcome m_outcome;
    ChatLedger m_before;    ///< what the stores held before the run
    ChatLedger m_ledger;    ///< what they hold
    qsizetype m_folded = 0; ///< how many chats this run has folded into them
};
