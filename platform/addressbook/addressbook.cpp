#include "platform/addressbook/addressbook.h"

#include "platform/files/supportfolder.h"

#include <utility>

namespace platform {

ABAddressBook &ABAddressBook::sharedAddressBook()
{
    static ABAddressBook shared;
    return shared;
}

void ABAddressBook::CardFile::update(const std::filesystem::path &path)
{
    if (!file.hasChanged(path))
        return;
    ++version;
    cards.clear();
    if (!file.exists())
        return;
    if (const auto contents = readWholeFile(path))
        cards = readVCards(*contents);
    else
        file.forget();
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

void ABAddressBook::update(CardFile &file, const char *name) const
{
    if (m_readings == 0 || std::exchange(file.reading, m_readingsSoFar) != m_readingsSoFar)
        file.update(supportFolder() / name);
}

const ABPerson *ABAddressBook::me()
{
    update(m_me, ownCardName);
    return m_me.cards.empty() ? nullptr : &m_me.cards.front();
}

const std::vector<const ABPerson *> &ABAddressBook::recordsMatchingAimName(const QString &screenName)
{
    const ABPerson *own = me();
    update(m_contacts, contactsName);
    if (const std::pair versions(m_me.version, m_contacts.version); m_indexed != versions) {
        m_indexed = versions;
        m_recordsByAimName.clear();
        for (const ABPerson &person : m_contacts.cards)
            addToIndex(person);
        if (own)
            addToIndex(*own);
    }
    static const std::vector<const ABPerson *> none;
    const auto found = m_recordsByAimName.constFind(screenName);
    return found == m_recordsByAimName.constEnd() ? none : *found;
}

void ABAddressBook::addToIndex(const ABPerson &person)
{
    for (const QString &name : person.aimNames)
        m_recordsByAimName[name].push_back(&person);
}

} // namespace platform
