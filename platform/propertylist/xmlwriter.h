#pragma once

#include "platform/propertylist/propertylist.h"

#include <QByteArray>
#include <QStringView>

namespace platform {

/// Writes a property list in its XML form, version 1.0, value after value.
///
/// A list is one value; arrays and dictionaries are opened, filled and closed, a dictionary with a key before
/// each value. Text comes back from readPropertyList() as it went in: CR is written as a character reference,
/// and characters that XML cannot hold (control characters, U+FFFE and U+FFFF, surrogates without their
/// partner) become U+FFFD.
class XMLPropertyListWriter {
public:
    XMLPropertyListWriter();

    void beginArray();
    void endArray();
    void beginDictionary();
    void endDictionary();
    void key(QStringView key);

    void boolean(bool value);
    void integer(qint64 value);
    void real(double value);        ///< shortest text that reads back to the same double
    void date(const NSDate &value); ///< UTC, whole seconds, cut downwards
    void data(QByteArrayView value);
    void string(QStringView value);
    /// A whole value with all it holds. Null is written as an empty string, a UID as a dictionary with the
    /// one key "CF$UID".
    void value(const PropertyList &value);

    /// Bytes written so far.
    [[nodiscard]] qsizetype size() const { return m_bytes.size(); }
    /// The document, complete; call once, after the value is complete.
    [[nodiscard]] QByteArray finish();

private:
    void begin(QByteArrayView tag);
    void end(QByteArrayView openingTag, QByteArrayView closingTag, QByteArrayView emptyTag);
    void indent() { m_bytes.append(m_depth, '\t'); }
    void text(QByteArrayView openingTag, QStringView content, QByteArrayView closingTag);
    void line(QByteArrayView opening, QByteArrayView content = {}, QByteArrayView closing = {});

    QByteArray m_bytes;
    qsizetype m_depth = 0; // containers that are open
};

/// @p text with every character that XML cannot hold replaced by U+FFFD: what the writer makes of it.
[[nodiscard]] QString withoutCharactersUnfitForXml(QStringView text);

} // namespace platform
