#pragma once

#include <filesystem>
#include <vector>

namespace importing {

/// Where transcripts lie in a home folder, relative to it: the three folders of iChat and its successor, and
/// the transcript folder of this product, which another computer's home may hold.
[[nodiscard]] const std::vector<std::filesystem::path> &chatFolders();

/// Whose a transcript on a disk is, and its place among their chats.
struct ChatPlace {
    std::filesystem::path home; ///< the home folder whose chat folder holds it; empty when none does
    std::filesystem::path
        relative; ///< sub-folder and name, inside the chat folder or else below what was named
};

/// The place of the file at @p path, which lies below the folder @p root, or is it. Both are absolute,
/// without links. A chat folder may lie at any depth, above @p root too, so that a disk, a home on it and a
/// backup of it give the same places; of several the innermost counts.
[[nodiscard]] ChatPlace chatPlace(const std::filesystem::path &path, const std::filesystem::path &root);

/// @p path without @p folder at its beginning; empty when it does not lie below that.
[[nodiscard]] std::filesystem::path below(const std::filesystem::path &folder,
                                          const std::filesystem::path &path);

} // namespace importing
