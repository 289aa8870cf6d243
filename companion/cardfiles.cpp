#include "companion/cardfiles.h"

#include "galleries/supportfolder.h"

#include "platform/addressbook/addressbook.h"
#include "platform/date/calendar.h"
#include "platform/text/encoding.h"

namespace companion {

namespace {

const char *nameOf(CardRole role)
{
    return role == CardRole::Own ? "me" : "contacts";
}

/// The cards in these bytes; nothing when there is none with a name in it.
std::optional<Cards> cardsIn(const QByteArray &bytes)
{
    Cards cards{bytes};
    for (const platform::ABPerson &person : platform::readVCards(bytes)) {
        cards.count += person.firstName || person.lastName || !person.aimNames.isEmpty() ? 1 : 0;
        cards.withScreenName += person.aimNames.isEmpty() ? 0 : 1;
    }
    return cards.count > 0 ? std::optional(cards) : std::nullopt;
}

Cards cardsInBook(const std::filesystem::path &path, CardRole role)
{
    const importing::MacAddressBook book = importing::readMacAddressBooks(std::span(&path, 1));
    if (std::optional<Cards> cards = cardsOf(book, role)) {
        cards->damaged = book.damaged;
        return *std::move(cards);
    }
    for (const auto *problems : {&book.unread, &book.damaged, &book.notLookedInto}) {
        if (!problems->empty())
            throw Changes::Failure(problems->front().path.native() +
                                   " cannot be read: " + problems->front().note);
    }
    if (book.people.empty())
        throw Changes::Failure("There is no address book with people who have AIM screen names in " +
                               path.native());
    throw Changes::Failure(path.native() + (role == CardRole::Own
                                                ? " does not mark exactly one card as the user's own."
                                                : " has nobody but the user in it."));
}

/// A name beside @p path that nothing has: "contacts until 2026-11-23 at 12.05.17.vcf".
std::filesystem::path datedName(const std::filesystem::path &path)
{
    const QString moment =
        platform::descriptionWithCalendarFormat(platform::NSDate::now(), u" until %Y-%m-%d at %H.%M.%S");
    const std::string stem = path.stem().native() + platform::utf8FromString(moment).toStdString();
    std::filesystem::path dated = path.parent_path() / (stem + ".vcf");
    for (int number = 2; platform::fileExists(dated); ++number)
        dated = path.parent_path() / (stem + " #" + std::to_string(number) + ".vcf");
    return dated;
}

} // namespace

std::filesystem::path cardFilePath(CardRole role)
{
    return galleries::supportFolder() / (std::string(nameOf(role)) + ".vcf");
}

Cards cardsAt(const std::filesystem::path &path, CardRole role)
{
    std::error_code error;
    if (path.extension() == ".abcddb" || std::filesystem::is_directory(path, error))
        return cardsInBook(path, role);
    const auto file = platform::readWholeFile(path);
    if (!file)
        throw Changes::Failure(path.native() + " cannot be read: " + file.error().reason);
    const std::optional<Cards> cards = cardsIn(*file);
    if (!cards)
        throw Changes::Failure(path.native() + " is no vCard file: there is no card with a name in it.");
    return *cards;
}

std::optional<Cards> cardsOf(const importing::MacAddressBook &book, CardRole role)
{
    if (role == CardRole::Contacts)
        return cardsIn(vCardsOf(book.others()));
    const importing::BookPerson *own = book.ownPerson();
    return own ? cardsIn(vCardsOf(std::span(own, 1))) : std::nullopt;
}

void storeCards(CardRole role, const Cards &cards, Changes &changes, SetupReport &report)
{
    const std::filesystem::path path = cardFilePath(role);
    const auto there = platform::readWholeFile(path);
    if (!there && there.error().kind != platform::FailureKind::Missing)
        throw Changes::Failure(path.native() + " cannot be replaced: " + there.error().reason);
    QByteArray kept;
    if (there && *there != cards.bytes) {
        const std::filesystem::path dated = datedName(path);
        changes.writeFile(dated, *there);
        kept = "; the ones before are in " + QByteArray::fromStdString(dated.filename().native());
    }
    if (there != cards.bytes)
        changes.writeFile(path, cards.bytes);
    report.line(QLatin1StringView("cards"),
                QByteArray(role == CardRole::Own ? "Your own card: " : "Contacts: ") +
                    QByteArray::number(cards.count) + (cards.count == 1 ? " card, " : " cards, ") +
                    QByteArray::number(cards.withScreenName) + " with an AIM screen name" + kept,
                {{QStringLiteral("file"), QLatin1StringView(nameOf(role))},
                 {QStringLiteral("cards"), cards.count},
                 {QStringLiteral("people"), cards.withScreenName}});
}

} // namespace companion
