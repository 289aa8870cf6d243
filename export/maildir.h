#pragma once

#include "export/ledger.h"

#include "platform/failure.h"

#include <QString>

#include <filesystem>
#include <optional>

namespace exporting {

// A folder of mails, each in a file of its own (https://cr.yp.to/proto/maildir.html). Mail programs note in
// the names of the files what became of a mail: those change, but for what stands before the ":".

/// What all mails are marked as first: seen.
constexpr QStringView maildirFlags = u":2,S";

/// Where the mail of the document @p key goes, without its flags:
/// `cur/1109735220.0123456789abcdef.prattlebug`.
/// @param first Unix, milliseconds.
[[nodiscard]] QString maildirPath(const std::string &key, const std::optional<qint64> &first);

/// Makes the folders that mail programs expect, where they are missing.
[[nodiscard]] platform::Result<> makeMaildir(const std::filesystem::path &folder);

/// Notes in @p ledger where mails of @p folder are now that mail programs have moved.
void findMovedMails(const std::filesystem::path &folder, Ledger &ledger);

} // namespace exporting
