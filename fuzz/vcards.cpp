#include "fuzz/fuzz.h"

#include "platform/addressbook/addressbook.h"

// Any bytes hold some cards or none, and each card's primary name is one of its names.

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    for (const platform::ABPerson &person : platform::readVCards(fuzz::bytesOf(data, size))) {
        fuzz::require(person.aimNames.isEmpty()
                          ? person.primaryAimName == 0
                          : person.primaryAimName >= 0 && person.primaryAimName < person.aimNames.size());
        fuzz::require(!person.firstName || !person.firstName->isEmpty());
        fuzz::require(person.fullName.has_value() == (person.firstName && person.lastName));
    }
    return 0;
}
