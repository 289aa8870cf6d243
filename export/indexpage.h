#pragma once

#include <QByteArray>
#include <QString>

#include <optional>
#include <tuple>
#include <vector>

namespace exporting {

/// What is told of a document in the list of all of them.
struct Summary {
    QString title;
    std::vector<QString> people; ///< display names, each once, without the user
    std::optional<qint64> first; ///< Unix, milliseconds
    std::optional<qint64> last;
    qint64 chats = 0;
    qint64 messages = 0; ///< without notices
    qint64 files = 0;
};
constexpr auto membersOf(const Summary * /*type*/)
{
    return std::tuple(&Summary::title, &Summary::people, &Summary::first, &Summary::last, &Summary::chats,
                      &Summary::messages, &Summary::files);
}

struct IndexEntry {
    QString path; ///< relative to the page
    Summary summary;
};

/// The page `index.html`: all documents by month, with a field that shows those of some names or dates.
[[nodiscard]] QByteArray indexPage(std::vector<IndexEntry> entries);

} // namespace exporting
