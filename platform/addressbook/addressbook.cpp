#include "platform/addressbook/addressbook.h"

#include <QStringBuilder>

#include <chrono>
#include <utility>

namespace platform {

namespace {

/// Whether a file of this identity could be changed once more without its identity showing it: the kernel
/// takes the time of a change from a clock that stands still for up to 10 ms.
bool couldChangeUnseen(const FileIdentity &identity)
{
    const auto changed =
        std::chrono::seconds(identity.seconds) + std::chrono::nanoseconds(identity.nanoseconds);
    const auto age = std::chrono::system_clock::now().time_since_epoch() - changed;
    return std::chrono::abs(age) < std::chrono::milliseconds(20);
}

std::filesystem::path folder()
{
    return homeDirectory() / "Library" / "Prattlebug";
}

} // namespace

std::optional<QString> ABPerson::fullName() const
{
    if (!firstName || !lastName)
        return std::nullopt;
    return *firstName % u' ' % *lastName; // one allocation: asked for with every message
}

ABAddressBook &ABAddressBook::sharedAddressBook()
{
    static ABAddressBook shared;
    return shared;
}

bool ABAddressBook::CardFile::update(const std::filesystem::path &current)
{
    // Asked before the file is read: a change in between then shows in the next request.
    const std::optional<FileIdentity> now = fileIdentity(current);
    if (holds && path == current && identity == now)
        return false;

    const FileContents contents = now ? readWholeFile(current) : FileContents{};
    cards = contents.bytes ? readVCards(*contents.bytes) : std::vector<ABPerson>();
    path = current;
    identity = now;
    // What could not be read now may be readable later without having changed.
    holds = !now || (contents.bytes && !couldChangeUnseen(*now));
    return true;
}

ABAddressBook::Reading::Reading()
{
    ABAddressBook &book = sharedAddressBook();
    if (book.m_readings++ == 0)
        ++book.m_readingsSoFar;
}

ABAddressBook::Reading::~Reading()
{
    --sharedAddressBook().m_readings;
}

bool ABAddressBook::update(CardFile &file, const char *name) const
{
    if (m_readings > 0 && std::exchange(file.reading, m_readingsSoFar) == m_readingsSoFar)
        return false;
    return file.update(folder() / name);
}

const ABPerson *ABAddressBook::me()
{
    update(m_me, "me.vcf");
    return m_me.cards.empty() ? nullptr : &m_me.cards.front();
}

const std::vector<const ABPerson *> &ABAddressBook::recordsMatchingAimName(const QString &screenName)
{
    if (update(m_contacts, "contacts.vcf")) {
        m_recordsByAimName.clear();
        for (const ABPerson &person : m_contacts.cards) {
            for (const QString &name : person.aimNames)
                m_recordsByAimName[name].push_back(&person);
        }
    }
    static const std::vector<const ABPerson *> none;
    const auto found = m_recordsByAimName.constFind(screenName);
    return found == m_recordsByAimName.constEnd() ? none : *found;
}

} // namespace platform
