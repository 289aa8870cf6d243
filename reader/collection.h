#pragma once

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

namespace reader {

/// What is read: the transcripts of the home folder, or those that the command line names.
///
/// Of the latter the index is kept where nothing outlasts the session: in a folder of this program's own in
/// the user's runtime folder, which is memory. When they are not one folder, the index is made of a folder
/// there with links to them, named so that each is taken for a transcript.
struct Collection {
    std::filesystem::path folder; ///< with the transcripts, or the links
    std::filesystem::path index;  ///< the file of their index
    std::vector<std::filesystem::path>
        linked;          ///< what there are links to; empty when the folder is itself read
    bool isHome = false; ///< whether it is the home folder's transcript folder
    std::shared_ptr<QTemporaryDir> temporary; ///< removed with the last copy

    /// Of the files and folders that the command line names; the home folder's when it names none. A file in
    /// the transcript folder is a reason to read that too.
    [[nodiscard]] static Collection of(const QStringList &arguments);

    /// The transcript itself, where a list has a link.
    [[nodiscard]] std::filesystem::path transcript(const std::filesystem::path &relative) const;
};

/// Whether @p path ends as transcripts do, in any letter case.
[[nodiscard]] bool isNamedAsTranscript(const std::filesystem::path &path);

/// Makes links to @p linked in @p folder, anew: to the files, and to the transcripts in folders, at any
/// depth.
void linkTranscripts(const std::filesystem::path &folder, const std::vector<std::filesystem::path> &linked);

} // namespace reader
