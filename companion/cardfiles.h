#pragma once

#include "companion/changes.h"
#include "companion/setupreport.h"

#include "importing/macaddressbook.h"

#include <QByteArray>

#include <filesystem>
#include <optional>

namespace companion {

/// Which of the two vCard files of the support folder.
enum class CardRole {
    Own /**< me.vcf, the user's own card */,
    Contacts /**< contacts.vcf, everybody else's */
};

[[nodiscard]] std::filesystem::path cardFilePath(CardRole role);

/// What cards change, for whoever has none.
inline constexpr char adviceOnCards[] = "Without cards names stay screen names. In the statistics the words "
                                        "of people who are shown under another name\n"
                                        "than the one in the transcript's file name count as yours.";

/// Cards that are to be stored.
struct Cards {
    QByteArray bytes; ///< of a vCard file
    qsizetype count = 0;
    qsizetype withScreenName = 0;
    std::vector<importing::NotedPath> damaged =
        {}; ///< files of an address book that were not read whole, and why
};
/// The cards of what the user has named for a role: a vCard file, a database of the Mac's address book, or a
/// folder with such a book in it.
/// @throws Changes::Failure when it cannot be read or has nothing for the role.
[[nodiscard]] Cards cardsAt(const std::filesystem::path &path, CardRole role);
/// What a Mac's address book has for a role; nothing when it has nothing.
[[nodiscard]] std::optional<Cards> cardsOf(const importing::MacAddressBook &book, CardRole role);

/// Stores cards, and tells so. A file that is there with other bytes gets a copy beside it first, with the
/// date in its name.
/// @throws Changes::Failure
void storeCards(CardRole role, const Cards &cards, Changes &changes, SetupReport &report);

} // namespace companion
