#pragma once

#include <QByteArray>

namespace exporting {

/// What chats are written as.
enum class Format : quint8 { Html, Text, Markdown, Json, JsonLines, Csv };

/// Which chats share a document: none, those with one person, or those that began in one month or year.
enum class Grouping : quint8 { Chat, Person, Month, Year };

/// What becomes of attached files.
enum class Attachments : quint8 {
    Usual,  ///< in HTML pictures stand inside and other files beside; elsewhere all stand beside
    Inside, ///< in the document, which HTML and JSON can
    Beside, ///< in a folder beside the document, which names them
    None,   ///< only their names are told
};

struct Options {
    Format format = Format::Html;
    Grouping grouping = Grouping::Chat;
    Attachments attachments = Attachments::Usual;
};

/// Whether documents of @p format can hold files.
[[nodiscard]] inline bool holdsFiles(Format format)
{
    return format == Format::Html || format == Format::Json || format == Format::JsonLines;
}

} // namespace exporting
