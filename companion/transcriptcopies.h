#pragma once

#include "companion/changes.h"

#include <QString>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace companion {

/// Copies the transcripts of a folder into the transcript folder, so that the archiver takes every one of
/// them.
///
/// Transcripts are the files `*.chat` and `*.ichat`, at any depth. Each keeps its modification time, which is
/// the date of its mail, and its sub-folder; what lies in one of the folders where iChat keeps its
/// transcripts in a home (chatFolders()) keeps the sub-folder inside that one.
///
/// A name that is taken by a different file gets a number, " #2" and so on, as iChat gives them. One without
/// " on ", which the archiver would pass over, gets it together with the local date and time of the last
/// message: `Kim Lee #7.chat` becomes `Kim Lee on 2003-05-01 at 21.07 #7.chat`.
class TranscriptCopies {
public:
    struct Outcome {
        qsizetype copied = 0;
        qsizetype alreadyThere = 0;
        std::vector<std::string> renamed; ///< "OLD is now NEW", both relative; "is now also" where OLD stays
        std::vector<std::string> leftOut; ///< "PATH: why": no transcripts, for all that their names say
        std::vector<std::string> unread;  ///< "PATH: why": files and folders that the system does not give
    };
    /// Told of each copy: where from, and where to.
    using Told = std::function<void(const std::filesystem::path &, const std::filesystem::path &)>;

    /// @param transcriptFolder exists; copy() takes nothing out of it.
    TranscriptCopies(std::filesystem::path transcriptFolder, Changes &changes, Told told);

    /// Copies what is below @p chats, or that file itself.
    /// @throws Changes::Failure when it cannot be read, or the transcript folder cannot be written.
    void copy(const std::filesystem::path &chats);
    /// Copies, under a name that the archiver takes, what has been put into the transcript folder itself
    /// under one that it passes over; the original stays.
    /// @throws Changes::Failure as above.
    void copyPassedOver();

    /// Whether beside the transcript at @p path, which the archiver passes over, stands a copy that it takes.
    [[nodiscard]] static bool hasArchivedCopy(const std::filesystem::path &path);

    [[nodiscard]] const Outcome &outcome() const { return m_outcome; }

    /// Where iChat and its successor keep transcripts, relative to a home folder.
    [[nodiscard]] static const std::vector<std::filesystem::path> &chatFolders();

private:
    struct Copy {
        std::filesystem::path path;
        bool isNew;
    };
    enum class Placing : quint8 { Copied, ThereAlready, Taken /**< by a different file */ };

    void addCopy(const std::filesystem::path &source, const std::filesystem::path &relative);
    std::optional<Copy> copyTranscript(const std::filesystem::path &source,
                                       const std::filesystem::path &relative);
    Placing place(const std::filesystem::path &source, const QByteArray &bytes,
                  const std::filesystem::path &destination);

    std::filesystem::path m_folder;
    Changes &m_changes;
    Told m_told;
    Outcome m_outcome;
};

} // namespace companion
