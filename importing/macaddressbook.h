#pragma once

#include "importing/findings.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace importing {

// The address book that a Mac keeps in a home folder, below `Library/Application Support/AddressBook`: since
// Mac OS X 10.6 databases, one for the people on the Mac and one in `Sources` for each account, and
// since 10.4 a property list for each person, which its search reads and which is often left when the
// database is not.

/// One person, or company, with an AIM name; or the user.
struct BookPerson {
    QString firstName; ///< each may be empty
    QString lastName;
    QString nickname;
    QString organization;
    QString email;        ///< the preferred one
    QStringList aimNames; ///< the preferred one first, each once; may be empty for the user
    bool isOwn = false;   ///< the card that is marked as the user's own

    /// First and last name, or else the organization; may be empty.
    [[nodiscard]] QString fullName() const;
    /// Whether both are one person: they have the same name, and an AIM name in common.
    [[nodiscard]] bool isSameAs(const BookPerson &other) const;
};

/// What was read of one or more address books.
struct MacAddressBook {
    std::vector<BookPerson> people;           ///< each once
    std::vector<std::filesystem::path> books; ///< where people were found: folders, or what was named
    std::vector<NotedPath> damaged;           ///< what could not be read whole, and why; the rest was taken
    std::vector<NotedPath> unread;            ///< what the system does not give
    std::vector<NotedPath> notLookedInto;     ///< `AddressBook.data`, the older form, which nobody here knows

    /// The only person that is marked as the user; null when there is none or several are.
    [[nodiscard]] const BookPerson *ownPerson() const;
    /// The people with AIM names, but for ownPerson().
    [[nodiscard]] std::vector<BookPerson> others() const;
};

/// Reads the address books at @p places: home folders, folders with an address book in them, and databases. A
/// place without one gives nothing. Of records that are one person the first counts, and gets the names of
/// the later ones; the book whose file is the youngest comes first.
[[nodiscard]] MacAddressBook readMacAddressBooks(std::span<const std::filesystem::path> places);

/// The people as vCards, version 3.0, which every address book reads and platform::readVCards() too.
[[nodiscard]] QByteArray vCardsOf(std::span<const BookPerson> people);

} // namespace importing
