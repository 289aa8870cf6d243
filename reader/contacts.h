#pragma once

#include "reader/indexthread.h"

#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

namespace reader {

/// Somebody, or a group of several people, whom the user has had chats with.
struct Contact {
    QString name; ///< as shown; of a group all names
    QStringList screenNames;
    bool isGroup = false;
    std::vector<quint32> chats; ///< positions in Lists::chats, in their order
    std::optional<qint64> last; ///< Unix, milliseconds
};

/// Everybody in @p lists by name, then the groups. All accounts of one name are one person. Where a chat has
/// no participants, its other party is who the file's name says.
[[nodiscard]] std::vector<Contact> contactsOf(const Lists &lists);

/// With whom @p chat was: the names of its participants, or its other party.
[[nodiscard]] QString namesIn(const Lists &lists, const indexing::Chat &chat);

} // namespace reader
