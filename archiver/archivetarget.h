#pragma once

#include <QString>

#include <filesystem>
#include <optional>

/// The folder that an archive is to be made in.
class ArchiveTarget {
public:
    /// @param folder any path, also one with slashes at its end; a relative one starts in the current folder.
    explicit ArchiveTarget(const std::filesystem::path &folder);

    [[nodiscard]] const std::filesystem::path &folder() const { return m_folder; }
    /// `Prattlebug Archive mbox` in the folder.
    [[nodiscard]] std::filesystem::path mboxPath() const;

    /// What keeps an archive from being made there, as far as can be told without making one: the rest of a
    /// sentence, in English. Nothing when it can be made.
    [[nodiscard]] std::optional<QString> obstacle() const;
    /// Whether the folder is there already.
    [[nodiscard]] bool isThere() const;

private:
    std::filesystem::path m_folder; ///< without a slash at its end
};
