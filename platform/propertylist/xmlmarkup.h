#pragma once

#include <QByteArray>

namespace platform {

/// An XML document made ready for QXmlStreamReader.
struct XmlMarkup {
    QByteArray utf8;    ///< what follows the XML declaration
    qint64 dropped = 0; ///< how many characters of the file stand before it
};

/// Decodes the document in @p file and refuses what no property list holds but what would keep the XML reader
/// busy out of proportion: NULs, declarations in the document type (entities, default attributes), and tags
/// longer than 1024 bytes (the reader compares each attribute with every other). Everything else is left to
/// the XML reader.
/// @throws FormatError for these, and for an encoding that is neither UTF-8 nor UTF-16.
[[nodiscard]] XmlMarkup xmlMarkup(const QByteArray &file);

} // namespace platform
