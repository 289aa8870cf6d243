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

    /// The element that @p value is in the XML form, to stand in the dictionary at the root.
    [[nodiscard]] static QByteArray elementOf(const PropertyList &value);
    /// The element that @p key is there.
    [[nodiscard]] static QByteArray elementOfKey(QStringView key);

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
    /// A whole value with all it holds. A UID is written as a dictionary with the one key "CF$UID", Null as
    /// <null/>, which is ours: the form has no element for it. Where the list carries an element in place of
    /// a value that it cannot hold, that is written.
    void value(const PropertyList &value);
    /// A value that is XML already: one element, as elementOf() gives it.
    void element(QByteArrayView xml) { line(xml); }

    /// Bytes written so far.
    [[nodiscard]] qsizetype size() const { return m_bytes.size(); }
    /// The document, complete; call once, after the value is complete.
    [[nodiscard]] QByteArray finish();

private:
    /// For elements that stand at @p depth.
    explicit XMLPropertyListWriter(qsizetype depth) : m_depth(depth) {}

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
