#include "reader/contacts.h"

#include "reader/names.h"

#include <QCollator>
#include <QHash>

#include <algorithm>

namespace reader {

namespace {

QStringList participantNames(const Lists &lists, const indexing::Chat &chat)
{
    QStringList names;
    for (const quint32 person : chat.participants) {
        const QString &name = lists.people[person].displayName;
        if (!name.isEmpty() && !names.contains(name))
            names += name;
    }
    if (names.isEmpty())
        names += chat.otherParty;
    names.sort(Qt::CaseInsensitive);
    return names;
}

} // namespace

QString namesIn(const Lists &lists, const indexing::Chat &chat)
{
    return harmless(participantNames(lists, chat).join(QStringLiteral(", ")));
}

std::vector<Contact> contactsOf(const Lists &lists)
{
    std::vector<Contact> contacts;
    QHash<QStringList, size_t> known;
    for (size_t position = 0; position < lists.chats.size(); ++position) {
        const indexing::Chat &chat = lists.chats[position];
        const QStringList names = participantNames(lists, chat);
        const auto entry = known.constFind(names);
        const size_t number = entry == known.cend() ? contacts.size() : *entry;
        if (entry == known.cend()) {
            known.insert(names, number);
            contacts.push_back({harmless(names.join(QStringLiteral(", "))), {}, names.size() > 1, {}, {}});
        }
        Contact &contact = contacts[number];
        contact.chats.push_back(quint32(position));
        contact.last = std::max(contact.last, chat.last);
        for (const quint32 person : chat.participants) {
            const QString screenName = harmless(lists.people[person].person.screenName.value_or(QString()));
            if (!contact.isGroup && !screenName.isEmpty() && !contact.screenNames.contains(screenName))
                contact.screenNames += screenName;
        }
    }
    QCollator collator;
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    std::sort(contacts.begin(), contacts.end(), [&collator](const Contact &a, const Contact &b) {
        return a.isGroup != b.isGroup ? b.isGroup : collator.compare(a.name, b.name) < 0;
    });
    return contacts;
}

} // namespace reader
