#pragma once

#include "importing/macaddressbook.h"

namespace importing {

/// What was read of one file or folder of an address book.
struct BookFile {
    std::vector<BookPerson> people; ///< those with an AIM name, and the user
    std::vector<NotedPath> damaged; ///< what is not as it should be, and why; the rest was taken
    std::vector<NotedPath> unread;  ///< what the system does not give
};

/// Reads the people of an `AddressBook-v22.abcddb`: SQLite 3, whose tables Core Data has made. What its
/// `-wal` holds is part of it. Both are copied first: SQLite writes beside a database that it opens, or
/// cannot open it where it may not.
///
/// The file is hostile until it has shown otherwise: nothing in its schema is run, and it has bounded size,
/// memory and time. Columns that its version lacks are done without.
[[nodiscard]] BookFile readBookDatabase(const std::filesystem::path &path);

/// Reads the people of the files `*.abcdp` in a folder.
[[nodiscard]] BookFile readBookMetadata(const std::filesystem::path &folder);

/// Puts an AIM name at its place in a list; one that is empty or there already is left out.
void addAimName(QStringList &names, const QString &name);

} // namespace importing
