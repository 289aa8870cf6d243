#pragma once

#include "export/chatreport.h"
#include "export/document.h"
#include "export/exporting.h"
#include "export/ledger.h"
#include "export/ownfiles.h"

#include <filesystem>
#include <memory>
#include <set>
#include <string>

namespace exporting {

/// Makes documents whole from what workers report of their chats, and notes in the ledger what they were made
/// from. Where one cannot become whole, the ledger keeps the one before.
class Assembly {
public:
    Assembly(const Writer &writer, const OwnFiles &files, Ledger &ledger, Outcome &outcome)
        : m_writer(writer), m_files(files), m_ledger(ledger), m_outcome(outcome)
    {
    }

    /// A chat of a document.
    struct Part {
        const PlannedDocument &document;
        size_t chat = 0; ///< in the document
        const std::string &transcript;
        QByteArray madeWith; ///< see WrittenDocument
    };

    /// Takes the chats of all documents, one after another, each document's in their order.
    void take(const Part &part, ChatReport &report);

    /// Files that belonged to documents as they were before.
    [[nodiscard]] const std::set<QString> &orphans() const { return m_orphans; }

private:
    void takeDone(const Part &part, ChatReport &report);
    /// All chats of it have been taken.
    void finishDocument(const PlannedDocument &document);
    /// Files that were written for a document that was not are ours all the same.
    void keepFilesBeside(const PlannedDocument &document);

    const Writer &m_writer;
    const OwnFiles &m_files;
    Ledger &m_ledger;
    Outcome &m_outcome;
    std::set<QString> m_orphans;

    // The document whose chats are being taken.
    WrittenDocument m_made;
    std::unique_ptr<GrowingFile> m_growing;
    bool m_hasChanged = false;
    bool m_isHalf = false; // it cannot become whole
};

/// Why there is no document, or no chat in it. @param path relative to the folder of the export, or the
/// transcript's name.
[[nodiscard]] platform::Failure failureOf(const std::filesystem::path &path, const std::string &reason);

} // namespace exporting
