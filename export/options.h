#pragma once

#include <QByteArray>

namespace exporting {

/// What chats are written as.
enum class Format : quint8 { Html, Text, Markdown, Json, JsonLines, Csv, Eml, Maildir };

/// Which chats share a document: none, those with one person, or those that began in one month or year.
enum class Grouping : quint8 { Chat, Person, Month, Year };

/// What becomes of attached files.
enum class Attachments : quint8 {
    /// In HTML pictures stand inside and other files beside, in mails all stand inside, and elsewhere beside.
    Usual,
    Inside, ///< in the document, which HTML, JSON and mails can
    Beside, ///< in a folder beside the document, which names them
    None,   ///< only their names are told
};

struct Options {
    Format format = Format::Html;
    Grouping grouping = Grouping::Chat;
    Attachments attachments = Attachments::Usual;
};

/// Whether documents of @p format are mails, which hold one chat and all its files.
[[nodiscard]] inline bool isMail(Format format)
{
    return format == Format::Eml || format == Format::Maildir;
}

/// Whether documents of @p format can hold files.
[[nodiscard]] inline bool holdsFiles(Format format)
{
    return format == Format::Html || format == Format::Json || format == Format::JsonLines || isMail(format);
}

} // namespace exporting
