#pragma once

#include "VORAChatLog.h"

#include <QByteArray>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// A chat on its way to a transcript file of plain texts, as a keyed archive in its XML form.
struct TranscriptFile {
    struct Message {
        QByteArray sender; ///< the identifier on Jabber, and so the display name too; empty for no sender
        QByteArray text;   ///< UTF-8, no markup
        std::optional<double> seconds = {}; ///< since 2001-01-01 00:00:00 UTC
    };

    std::string name = "Kim on 2005-03-05 at 12.00"; ///< without the extension
    std::vector<QByteArray> participants = {};
    std::vector<Message> messages = {};

    /// Writes the file into @p folder. @return its path.
    [[nodiscard]] std::filesystem::path write(const std::filesystem::path &folder) const;
    /// The chat log of the file, written into a folder that is gone afterwards.
    [[nodiscard]] std::unique_ptr<VORAChatLog> chatLog() const;
};
