#pragma once

#include "importing/transcriptnames.h"

#include <QByteArray>
#include <QString>

#include <optional>
#include <vector>

namespace importing {

/// BLAKE2b of a file's bytes, 32 bytes.
[[nodiscard]] QByteArray digestOf(const QByteArray &bytes);

/// What an import needs to know of a transcript's contents.
struct ChatFacts {
    enum class Condition : unsigned char {
        Whole,
        Damaged, ///< begins as an archive of its kind, or is empty
        Foreign, ///< of some other program, for all that its name says
    };
    Condition condition = Condition::Foreign;
    QString reason;                      ///< why it is not whole
    std::optional<timespec> lastMessage; ///< the time of the last message that has one
    qsizetype messages = 0;
    /// Equal in two transcripts that may be of the same chat: they have the same participants, and the same
    /// time and sender of the first message. Empty when that cannot be told.
    QByteArray chat;
};
[[nodiscard]] ChatFacts factsOf(const QByteArray &bytes, Kind kind);

/// The messages of a whole transcript as digests: entry n is equal in two transcripts when their first n + 1
/// messages are equal, each in its sender, its time, and its text with all attributes and attached files.
/// Empty when it is not whole.
[[nodiscard]] std::vector<QByteArray> beginningsOf(const QByteArray &bytes, Kind kind);

} // namespace importing
