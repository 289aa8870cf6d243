#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

namespace platform {

/// One card of an address book: the properties that the system asks for.
///
/// Stands in for the platform's ABPerson, of which it offers the first and last name and the AIM screen names.
struct ABPerson {
    /// kABFirstNameProperty and kABLastNameProperty; nothing when the card has none or an empty one.
    std::optional<QString> firstName;
    std::optional<QString> lastName;
    /// kABAIMInstantProperty: the AIM screen names in the card's order, each once; may be empty.
    QStringList aimNames;
    /// Position of the primary one in aimNames: the preferred one, else the first. 0 when there is none.
    qsizetype primaryAimName = 0;

    /// First and last name joined by one blank; nothing when one of them is absent.
    [[nodiscard]] std::optional<QString> fullName() const;
};

/// The user's address book: vCard files under the home folder, as address books export them.
///
/// `Library/Prattlebug/me.vcf` holds the user's own card (its first one), `Library/Prattlebug/contacts.vcf`
/// everybody else's, in file order. Each request asks the file's identity and reads it again when it has
/// changed, so that a change shows in the next request. A missing, unreadable or malformed file counts as one
/// without cards; a malformed card in a file is passed over.
class ABAddressBook {
public:
    /// The address book of the current home folder.
    [[nodiscard]] static ABAddressBook &sharedAddressBook();

    /// The user's own card, or null. Valid until the next request.
    [[nodiscard]] const ABPerson *me();
    /// The cards whose AIM screen names hold @p screenName, compared exactly, in the order of the file. Found through
    /// an index, not by a walk. Valid until the next request.
    [[nodiscard]] const std::vector<const ABPerson *> &recordsMatchingAimName(const QString &screenName);
};

/// Reads the cards of a vCard file: versions 2.1, 3.0 and 4.0, UTF-8 or UTF-16 with a byte-order mark.
///
/// Folded lines (of quoted-printable values too), groups (`item1.X-AIM`), parameters with and without names, quoted
/// parameter values, backslash escapes; quoted-printable and base64 values with their CHARSET. Names come from N (an
/// empty part counts as absent), AIM names from X-AIM and from IMPP of service AIM (its `aim:` prefix and percent-encoding
/// taken off), preferred by TYPE=pref, by a bare PREF (2.1) or by the lowest PREF=1…100 (4.0).
///
/// Never fails: what is no card is passed over. RFC 6350, RFC 2426 and the vCard 2.1 specification of 1996.
[[nodiscard]] std::vector<ABPerson> readVCards(const QByteArray &bytes);

} // namespace platform
