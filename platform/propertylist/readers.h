#pragma once

#include "platform/decodingbudget.h"
#include "platform/propertylist/propertylist.h"

#include <QByteArray>

#include <memory>

namespace platform {

// The readers of the three forms. Each takes a whole file of less than 2 GiB, charges @p budget before it
// allocates and throws FormatError for bytes that are no list of its form.

/// The largest input that the readers take, in bytes: positions in a table have 32 bits, and what is decoded
/// from the other two forms may be half as long again as the file.
inline constexpr qsizetype largestPropertyList = (qsizetype(1) << 31) - 1;

/// How deep containers may be nested: in the XML and the text form always, in the binary form where a tree is
/// wanted.
inline constexpr int deepestPropertyList = 512;

/// The binary form, version 0x ("bplist00"). Strings and data of the table point into @p bytes.
/// @param salvage for a list that is to be written again: objects that make no sense are taken as Null and
///        counted there, and what a table cannot hold it carries along. Without it such objects are an error.
struct Salvage {
    quint64 unreadableObjects = 0;
};
[[nodiscard]] std::shared_ptr<const PropertyListTable>
readBinaryPropertyList(const QByteArray &bytes, DecodingBudget &budget, Salvage *salvage = nullptr);

/// The XML form, as UTF-8 or UTF-16. A document type that declares anything is refused.
[[nodiscard]] std::shared_ptr<const PropertyListTable> readXmlPropertyList(const QByteArray &bytes,
                                                                           DecodingBudget &budget);

/// The older text form: ( array ), { key = value; }, <data>, strings quoted or bare; also the keys and values
/// of a strings file, which has no braces around them, and typed scalars such as <*I5>. Bytes are UTF-8, or
/// UTF-16 behind a byte-order mark, for which the offsets in errors count in the UTF-8 of the same text.
[[nodiscard]] std::shared_ptr<const PropertyListTable> readTextPropertyList(const QByteArray &bytes,
                                                                            DecodingBudget &budget);

/// Whether @p bytes begin as the binary form does, in any of its versions.
[[nodiscard]] bool looksBinary(QByteArrayView bytes);

/// Whether @p bytes begin as the XML form does, in UTF-8 or UTF-16, white space before it not counted.
[[nodiscard]] bool looksXml(QByteArrayView bytes);

} // namespace platform
