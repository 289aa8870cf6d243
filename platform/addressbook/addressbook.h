#pragma once

#include "platform/files/notedfile.h"

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QStringList>

#include <filesystem>
#include <optional>
#include <utility>
#include <vector>

namespace platform {

/// One card of an address book: the properties that the system asks for.
///
/// Stands in for the platform's ABPerson, of which it offers the first and last name and the AIM screen
/// names.
struct ABPerson {
    /// kABFirstNameProperty and kABLastNameProperty; nothing when the card has none or an empty one.
    std::optional<QString> firstName;
    std::optional<QString> lastName;
    /// First and last name joined by one blank, once and for all: it is asked for with every message. Nothing
    /// when one of them is absent.
    std::optional<QString> fullName;
    /// kABAIMInstantProperty: the AIM screen names in the card's order, each once; may be empty.
    QStringList aimNames;
    /// Position of the primary one in aimNames: the preferred one, else the first. 0 when there is none.
    qsizetype primaryAimName = 0;
};

// The files of the address book, in the support folder.
inline constexpr char ownCardName[] = "me.vcf";
inline constexpr char contactsName[] = "contacts.vcf";

/// The user's address book: vCard files in the support folder, as address books export them.
///
/// One file holds the user's own card (its first one), the other everybody else's, in file order. Each
/// request asks the file's identity and reads it again when it has changed, so that a change shows in the
/// next request; whoever asks for many names at a time holds a Reading meanwhile. A missing, unreadable or
/// malformed file counts as one without cards; a malformed card in a file is passed over.
class ABAddressBook {
public:
    /// The address book of the current home folder.
    [[nodiscard]] static ABAddressBook &sharedAddressBook();

    /// While one exists, the address book stays as its first request in that time finds it: a rendering asks
    /// for thousands of names, and should call nobody by two of them. They may be nested; the outermost
    /// counts.
    class Reading {
    public:
        Reading();
        ~Reading();
        Reading(const Reading &) = delete;
        Reading &operator=(const Reading &) = delete;
    };

    /// The user's own card, or null. Valid until the next request.
    [[nodiscard]] const ABPerson *me();
    /// The cards whose AIM screen names hold @p screenName, compared exactly: the others in the order of
    /// their file, then the user's own one, which may have several names. Found through an index, not by a
    /// walk. Valid until the next request.
    [[nodiscard]] const std::vector<const ABPerson *> &recordsMatchingAimName(const QString &screenName);

    ABAddressBook(const ABAddressBook &) = delete;
    ABAddressBook &operator=(const ABAddressBook &) = delete;

private:
    ABAddressBook() = default;

    /// The cards of one file, as it was when last read.
    struct CardFile {
        NotedFile file;
        quint64 reading = 0; ///< the last Reading that asked for it, by number; 0 for none
        quint64 version = 0; ///< how often `cards` have been replaced
        std::vector<ABPerson> cards;

        /// Reads the file at @p path unless `cards` still are what it holds.
        void update(const std::filesystem::path &path);
    };

    /// update() of the card file @p name, unless the Reading at hand has asked for it already.
    void update(CardFile &file, const char *name) const;
    void addToIndex(const ABPerson &person);

    CardFile m_me;
    CardFile m_contacts;
    int m_readings = 0;          ///< how many are nested now
    quint64 m_readingsSoFar = 0; ///< the number of the outermost one
    /// The records that bear each AIM name, in order; pointers into the cards of both files.
    QHash<QString, std::vector<const ABPerson *>> m_recordsByAimName;
    std::pair<quint64, quint64> m_indexed; ///< the versions of the two files that it was made from
};

/// Reads the cards of a vCard file: versions 2.1, 3.0 and 4.0, in UTF-8, UTF-16 or any superset of ASCII.
/// UTF-16 is known by its byte-order mark or, as the platform's address book left that out, by its first
/// letter. A file that is marked, or UTF-16, is Unicode whatever the CHARSET of its values; elsewhere a value
/// without CHARSET that is not UTF-8 is Windows-1252.
///
/// Folded lines (of quoted-printable values too), groups (`item1.X-AIM`), parameters with and without names,
/// quoted parameter values, backslash escapes; quoted-printable and base64 values with their CHARSET.
///
/// Names come from the first N with a value; white space around a part is dropped, and an empty part counts
/// as absent. A part with several values, separated by commas (3.0 and 4.0), has them joined by one blank;
/// in 2.1 a comma stands for itself.
///
/// AIM names come from X-AIM and from IMPP whose X-SERVICE-TYPE is AIM or, where it names no service, whose
/// scheme is `aim:`. `aim:` and percent-encoding are taken off, and `aim:goim?screenname=…` gives the name in
/// it. Preferred by TYPE=pref, by a bare PREF (2.1), or by the lowest PREF=1…100 (4.0), the first of several
/// preferred alike; a name that stands there twice keeps its first position and its best preference.
///
/// Never fails: what is no card is passed over, so that a file that is no vCard at all gives no cards. A card
/// whose END is missing goes on to the next card or the end of the file. The card of an AGENT inside another
/// one is no card of its own. Takes time and memory in proportion to the bytes. RFC 6350, RFC 2426 and the
/// vCard 2.1, of 1996.
[[nodiscard]] std::vector<ABPerson> readVCards(const QByteArray &bytes);

} // namespace platform
