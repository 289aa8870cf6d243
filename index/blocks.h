#pragma once

#include "index/chatrecord.h"

#include <QByteArray>
#include <QString>

#include <optional>
#include <vector>

namespace indexing {

// The messages of a chat are kept in blocks: some of them in a row, in one piece of bytes, which is also what
// the table of texts has a document for. A block is small enough to be looked at whole when it is a
// candidate, and large enough that a row and an entry in the table cost little.

/// A message as a block holds it.
struct StoredMessage {
    quint32 place = 0;
    std::optional<qint64> milliseconds;
    quint32 person = 0; ///< the number the database has for them
    Contents contents;
    QString text;                       ///< empty when it is that of an earlier message:
    std::optional<quint32> textOfPlace; ///< the place of that message in the chat
    QStringList fileNames;              ///< of the attached files in the text: see readableText()
};
using Block = std::vector<StoredMessage>;

/// The messages of @p record in blocks. Every long text stands in them once.
/// @param persons the database's number of each person of the record.
[[nodiscard]] std::vector<Block> blocksOf(const ChatRecord &record, const std::vector<quint32> &persons);

[[nodiscard]] QByteArray serialized(const Block &block);
/// @p bytes come from serialized(); other ones give a block with nothing, or nonsense, in it, but no more.
[[nodiscard]] Block blockFrom(const QByteArray &bytes);

/// What the table of texts holds of a block: its texts, folded.
[[nodiscard]] QString foldedTexts(const Block &block);

} // namespace indexing
