#pragma once

#include "platform/text/byteordermark.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QStringView>

namespace platform {

/// The text of a file that nobody but the file itself tells the encoding of: UTF-16 in the byte order of the
/// mark at its start, or else bytes that need not be valid in any encoding. It can be added to without
/// touching the rest: what goes in is encoded as UTF-16 in the file's byte order, or as UTF-8, and all other
/// bytes stay as they are.
class FileText {
public:
    /// @param bytes the whole file.
    explicit FileText(QByteArray bytes);

    /// The whole file again.
    [[nodiscard]] const QByteArray &bytes() const { return m_bytes; }

    /// Appends @p text. Half a UTF-16 unit at the end makes room for it.
    void append(QStringView text);

    /// Puts @p text in place of every occurrence of @p asciiToken, from the start on; what is put in is not
    /// searched.
    /// @param largest size in bytes that the result must not exceed.
    /// @return whether it does not; if it does, nothing has changed.
    [[nodiscard]] bool replace(QByteArrayView asciiToken, QStringView text, qsizetype largest);

private:
    [[nodiscard]] QByteArray encoded(QStringView text) const;
    [[nodiscard]] qsizetype unitSize() const { return m_encoding == UnicodeEncoding::Utf8 ? 1 : 2; }
    /// Where @p token stands next, from @p from on; -1 when nowhere.
    [[nodiscard]] qsizetype find(QByteArrayView token, qsizetype from) const;

    QByteArray m_bytes;
    UnicodeEncoding m_encoding;
};

} // namespace platform
