#pragma once

#include "export/ledger.h"
#include "export/options.h"

#include <QString>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace exporting {

/// A transcript that is to be exported.
struct Transcript {
    std::filesystem::path path; ///< where it is read
    /// What it is called, also in the next export: its path relative to the transcript folder where it is in
    /// there, else its whole path.
    std::string name;
    std::string fileName;        ///< that VORAChatLog::loadBytes() takes it by
    std::optional<qint64> first; ///< Unix, milliseconds; wanted where chats share documents, and in mails
};

/// A document, and the chats that are to stand in it.
struct PlannedDocument {
    struct Chat {
        size_t transcript = 0; ///< position among all
        QString filesFolder;   ///< relative to the document
    };

    std::string
        key;       ///< what it is, which is the same in every export: "html chat Kim Lee on 2005-03-01.ichat"
    QString path;  ///< relative to the folder of the export
    QString title; ///< empty where the one chat in it has a title of its own
    std::vector<Chat> chats;
};

/// Documents with paths that are readable, unlike each other, and those of the last export where it had the
/// same documents:
///
/// - `Kim Lee/Kim Lee on 2005-03-01 at 21.07.html` for a chat: the names of the other party and of the
///   transcript;
/// - `Kim Lee.html`, `2005-03.html` and `2005.html` for a person, a month and a year;
/// - `chats.jsonl` for JSON lines, unless they are grouped;
/// - those of a Maildir: see maildirPath().
///
/// Files that belong to a document stand in a folder beside it: `Kim Lee files`.
[[nodiscard]] std::vector<PlannedDocument> planDocuments(const std::vector<Transcript> &transcripts,
                                                         const Options &options, const QString &suffix,
                                                         const Ledger &ledger);

/// The word for @p format in keys and on the command line.
[[nodiscard]] const char *nameOf(Format format);

} // namespace exporting
