#include "importing/macaddressbook.h"

#include "importing/bookdatabase.h"

#include "platform/files/directorywalk.h"
#include "platform/files/files.h"
#include "platform/files/systemcalls.h"
#include "platform/formaterror.h"
#include "platform/propertylist/propertylist.h"
#include "platform/text/encoding.h"

#include <QHash>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

namespace importing {

namespace {

constexpr char databaseName[] = "AddressBook-v22.abcddb";
constexpr char olderBookName[] = "AddressBook.data";

qint64 modificationTime(const std::filesystem::path &path)
{
    struct stat status{};
    return ::stat(path.c_str(), &status) == 0 ? status.st_mtim.tv_sec : 0;
}

bool isFolder(const std::filesystem::path &path)
{
    std::error_code error;
    return std::filesystem::is_directory(path, error);
}

/// The strings of a property that may have several values, the preferred one first.
QStringList valuesOf(const platform::PropertyList &person, QStringView property)
{
    const platform::PropertyList list = person[property];
    const platform::PropertyList values = list[u"values"];
    const platform::PropertyList identifiers = list[u"identifiers"];
    const std::optional<QString> primary = list[u"primary"].string();
    QStringList strings;
    for (quint32 position = 0; position < values.count(); ++position) {
        const QString value = values.at(position).string().value_or(QString());
        if (primary && identifiers.at(position).string() == primary)
            strings.prepend(value);
        else
            strings.append(value);
    }
    return strings;
}

std::optional<BookPerson> personIn(const QByteArray &bytes)
{
    const platform::PropertyList list = platform::readPropertyList(bytes);
    const auto text = [&](QStringView key) { return list[key].string().value_or(QString()); };
    BookPerson person{text(u"First"), text(u"Last"), text(u"Nickname"), text(u"Organization"), {}, {}, false};
    for (const QString &name : valuesOf(list, u"AIMInstant"))
        addAimName(person.aimNames, name);
    person.email = valuesOf(list, u"Email").value(0);
    return person.aimNames.isEmpty() ? std::nullopt : std::optional(person);
}

/// Gathers the files of several books, and then their people.
class Books {
public:
    /// @param place a home, a folder with a book, or a database.
    void add(const std::filesystem::path &place)
    {
        if (!isFolder(place)) {
            if (place.extension() == ".abcddb" && platform::fileExists(place))
                m_databases.push_back({place, place});
            return;
        }
        addBook(place);
        addBook(place / "Library/Application Support/AddressBook");
    }

    MacAddressBook read()
    {
        // The youngest first; and the databases, which tell the user's own card, before the property lists.
        for (std::vector<Part> *parts : {&m_databases, &m_metadata}) {
            std::ranges::stable_sort(*parts, std::greater(),
                                     [](const Part &part) { return modificationTime(part.path); });
            for (const Part &part : *parts)
                take(parts == &m_databases ? readBookDatabase(part.path) : readBookMetadata(part.path),
                     part.book);
        }
        return std::move(m_book);
    }

private:
    /// A database, or a folder with people as property lists.
    struct Part {
        std::filesystem::path path;
        std::filesystem::path book; ///< that it belongs to
    };

    void addBook(const std::filesystem::path &folder)
    {
        if (!isFolder(folder) || !m_seen.insert(folder).second)
            return;
        if (::access(folder.c_str(), R_OK | X_OK) != 0)
            m_book.unread.push_back({folder, platform::reasonOf(errno)});
        addParts(folder, folder);
        std::vector<std::string> sources = platform::contentsOfDirectory(folder / "Sources");
        std::ranges::sort(sources);
        for (const std::string &source : sources)
            addParts(folder / "Sources" / source, folder);
        if (const std::filesystem::path older = folder / olderBookName; platform::fileExists(older))
            m_book.notLookedInto.push_back(
                {older, "an address book in the form before Mac OS X 10.6: export its cards "
                        "as vCards on the Mac"});
    }

    void addParts(const std::filesystem::path &folder, const std::filesystem::path &book)
    {
        if (const std::filesystem::path database = folder / databaseName; platform::fileExists(database))
            m_databases.push_back({database, book});
        if (const std::filesystem::path metadata = folder / "Metadata"; isFolder(metadata))
            m_metadata.push_back({metadata, book});
    }

    void take(BookFile file, const std::filesystem::path &book)
    {
        std::ranges::move(file.damaged, std::back_inserter(m_book.damaged));
        std::ranges::move(file.unread, std::back_inserter(m_book.unread));
        if (!file.people.empty() && std::ranges::find(m_book.books, book) == m_book.books.end())
            m_book.books.push_back(book);
        for (BookPerson &person : file.people)
            addPerson(std::move(person));
    }

    void addPerson(BookPerson person)
    {
        for (const QString &name : person.aimNames) {
            for (const size_t position : m_byAimName.value(name)) {
                BookPerson &known = m_book.people[position];
                if (!known.isSameAs(person))
                    continue;
                known.isOwn = known.isOwn || person.isOwn;
                for (const QString &other : person.aimNames)
                    addAimName(known.aimNames, other);
                return note(position);
            }
        }
        if (person.isOwn && person.aimNames.isEmpty()) {
            const auto same = [&](const BookPerson &known) {
                return known.isOwn && known.fullName() == person.fullName();
            };
            if (std::ranges::any_of(m_book.people, same))
                return;
        }
        m_book.people.push_back(std::move(person));
        note(m_book.people.size() - 1);
    }

    void note(size_t position)
    {
        for (const QString &name : m_book.people[position].aimNames) {
            QList<size_t> &positions = m_byAimName[name];
            if (!positions.contains(position))
                positions += position;
        }
    }

    std::set<std::filesystem::path> m_seen;
    std::vector<Part> m_databases;
    std::vector<Part> m_metadata;
    QHash<QString, QList<size_t>> m_byAimName;
    MacAddressBook m_book;
};

/// A value of a vCard 3.0, RFC 2426.
QByteArray escaped(QString text)
{
    text.replace(u'\\', QStringLiteral("\\\\"))
        .replace(u',', QStringLiteral("\\,"))
        .replace(u';', QStringLiteral("\\;"))
        .replace(QStringLiteral("\r\n"), QStringLiteral("\\n"))
        .replace(u'\n', QStringLiteral("\\n"))
        .replace(u'\r', QStringLiteral("\\n"));
    return platform::utf8FromString(text);
}

} // namespace

QString BookPerson::fullName() const
{
    const QString name = QString(firstName + u' ' + lastName).trimmed();
    return name.isEmpty() ? organization : name;
}

bool BookPerson::isSameAs(const BookPerson &other) const
{
    return fullName() == other.fullName() &&
           std::ranges::any_of(aimNames, [&](const QString &name) { return other.aimNames.contains(name); });
}

const BookPerson *MacAddressBook::ownPerson() const
{
    if (std::ranges::count(people, true, &BookPerson::isOwn) != 1)
        return nullptr;
    return &*std::ranges::find(people, true, &BookPerson::isOwn);
}

std::vector<BookPerson> MacAddressBook::others() const
{
    std::vector<BookPerson> result;
    for (const BookPerson &person : people) {
        if (&person != ownPerson() && !person.aimNames.isEmpty())
            result.push_back(person);
    }
    return result;
}

BookFile readBookMetadata(const std::filesystem::path &folder)
{
    BookFile book;
    if (::access(folder.c_str(), R_OK | X_OK) != 0)
        book.unread.push_back({folder, platform::reasonOf(errno)});
    std::vector<std::string> names = platform::contentsOfDirectory(folder);
    std::ranges::sort(names);
    for (const std::string &name : names) {
        if (!name.ends_with(".abcdp") || name.starts_with("._"))
            continue;
        const std::filesystem::path path = folder / name;
        const auto file = platform::readWholeFile(path);
        if (!file) {
            book.unread.push_back({path, file.error().reason});
            continue;
        }
        try {
            if (auto person = personIn(*file))
                book.people.push_back(std::move(*person));
        } catch (const platform::FormatError &error) {
            book.damaged.push_back({path, error.description()});
        }
    }
    return book;
}

MacAddressBook readMacAddressBooks(std::span<const std::filesystem::path> places)
{
    Books books;
    for (const std::filesystem::path &place : places)
        books.add(place);
    return books.read();
}

QByteArray vCardsOf(std::span<const BookPerson> people)
{
    QByteArray cards;
    for (const BookPerson &person : people) {
        QString shown = person.fullName();
        for (const QString &other : {person.nickname, person.aimNames.value(0)})
            shown = shown.isEmpty() ? other : shown;
        cards += "BEGIN:VCARD\r\nVERSION:3.0\r\nN:" + escaped(person.lastName) + ';' +
                 escaped(person.firstName) + ";;;\r\nFN:" + escaped(shown) + "\r\n";
        const auto property = [&](const char *name, const QString &value) {
            if (!value.isEmpty())
                cards += name + (':' + escaped(value)) + "\r\n";
        };
        property("NICKNAME", person.nickname);
        property("ORG", person.organization);
        property("EMAIL", person.email);
        for (const QString &name : person.aimNames)
            property(name == person.aimNames.first() ? "X-AIM;TYPE=pref" : "X-AIM", name);
        cards += "END:VCARD\r\n";
    }
    return cards;
}

} // namespace importing
