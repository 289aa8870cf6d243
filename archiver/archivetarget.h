#pragma once

#include "platform/failure.h"

#include <QString>

#include <filesystem>
#include <optional>

/// The folder that an archive is to be made in, and the archive of an earlier run there.
///
/// While a new mbox is made, the whole one of an earlier run stays beside it as `Prattlebug Archive
/// mbox.previous` and goes when the new one is whole. So whatever becomes of a run, one whole mbox stays:
/// where there is a
/// `.previous`, the mbox beside it is unfinished, and the next run replaces that one. A first run has nothing
/// to keep; an empty hidden file says meanwhile that its mbox is unfinished.
class ArchiveTarget {
public:
    /// @param folder any path, also one with slashes at its end; a relative one starts in the current folder.
    explicit ArchiveTarget(const std::filesystem::path &folder);

    [[nodiscard]] const std::filesystem::path &folder() const { return m_folder; }
    /// `Prattlebug Archive mbox` in the folder.
    [[nodiscard]] std::filesystem::path mboxPath() const;
    /// Where the mbox of an earlier run is kept.
    [[nodiscard]] std::filesystem::path previousPath() const;
    /// Whether it is kept there.
    [[nodiscard]] bool hasPrevious() const;

    /// What keeps an archive from being made there, as far as can be told without making one: the rest of a
    /// sentence, in English. Nothing when it can be made.
    [[nodiscard]] std::optional<QString> obstacle() const;
    /// Whether the folder is there already.
    [[nodiscard]] bool isThere() const;
    /// What the user should know before the mbox of an earlier run is kept or replaced, a sentence in
    /// English: that the disk may be too full for both, or that it cannot be kept. Nothing when there is no
    /// such mbox, or nothing to tell.
    [[nodiscard]] std::optional<QString> warning() const;

    /// To be called when the folder is there and before the new mbox is made.
    /// @return a failure when the mbox of an earlier run could not be kept.
    [[nodiscard]] platform::Result<> keepPrevious() const;
    /// To be called when the new mbox is whole: the earlier one goes.
    void dropPrevious() const;

private:
    [[nodiscard]] std::filesystem::path unfinishedPath() const;
    [[nodiscard]] bool isUnfinished() const;

    std::filesystem::path m_folder; ///< without a slash at its end
};
