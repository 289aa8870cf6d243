#pragma once

#include <QByteArray>
#include <QSet>

#include <filesystem>

/// Which chats the three stores in the support folder hold, as far as our programs know: a digest for each
/// that a run has folded in, in `Library/Prattlebug/chats.ledger`. The stores themselves only ever grow, and
/// do not tell.
///
/// A text file: the digest of the stores that it goes with, then one line for each chat, all BLAKE2b-256 in
/// hexadecimal digits. It counts only while the stores are those that it was last written with.
class ChatLedger {
public:
    [[nodiscard]] static std::filesystem::path path();

    /// The ledger of the stores as they stand; empty when there is none, or none that goes with them.
    [[nodiscard]] static ChatLedger load();
    /// Writes the ledger for the stores as they stand. Where it cannot be written, one that stood there no
    /// longer goes with them.
    void save() const;

    /// Whether it holds the chat of the transcript of this digest.
    [[nodiscard]] bool holds(const QByteArray &digest) const { return m_digests.contains(digest); }
    /// The same for the transcript at @p path; false when it cannot be read, or does not fit into memory.
    [[nodiscard]] bool holdsFile(const std::filesystem::path &path) const;
    void add(const QByteArray &digest) { m_digests.insert(digest); }
    [[nodiscard]] bool isEmpty() const { return m_digests.isEmpty(); }

    /// The digest of the transcript that these are the bytes of.
    [[nodiscard]] static QByteArray digestOf(const QByteArray &transcript);

private:
    QSet<QByteArray> m_digests;
};
