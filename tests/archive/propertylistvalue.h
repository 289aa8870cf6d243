#pragma once

#include <QByteArray>
#include <QString>

#include <utility>
#include <vector>

/// A value of a property list that a test writes, and its writing in the XML and in the binary form.
struct PropertyListValue {
    enum class Kind { Null, Boolean, Integer, Real, Date, Data, String, Utf16String, Uid, Array, Dictionary };

    Kind kind = Kind::Null;
    QByteArray bytes{}; ///< of Data and String (UTF-8)
    QString text{};     ///< of a Utf16String, which may hold lone surrogates; binary form only
    qint64 integer = 0; ///< of a Boolean, Integer or Uid
    double real = 0;    ///< of a Real or Date (seconds since 2001)
    std::vector<PropertyListValue> children{}; ///< of an Array; of a Dictionary keys and values by turns

    using Members = std::vector<std::pair<QByteArray, PropertyListValue>>;

    static PropertyListValue ofBoolean(bool value)
    {
        return {.kind = Kind::Boolean, .integer = value ? 1 : 0};
    }
    static PropertyListValue ofInteger(qint64 value) { return {.kind = Kind::Integer, .integer = value}; }
    static PropertyListValue ofReal(double value) { return {.kind = Kind::Real, .real = value}; }
    static PropertyListValue ofDate(double secondsSince2001)
    {
        return {.kind = Kind::Date, .real = secondsSince2001};
    }
    static PropertyListValue ofData(const QByteArray &value) { return {.kind = Kind::Data, .bytes = value}; }
    static PropertyListValue ofString(const QByteArray &utf8)
    {
        return {.kind = Kind::String, .bytes = utf8};
    }
    static PropertyListValue ofUtf16(const QString &value)
    {
        return {.kind = Kind::Utf16String, .text = value};
    }
    static PropertyListValue ofUid(qint64 index) { return {.kind = Kind::Uid, .integer = index}; }
    static PropertyListValue ofArray(std::vector<PropertyListValue> elements)
    {
        return {.kind = Kind::Array, .children = std::move(elements)};
    }
    static PropertyListValue ofUids(const std::vector<int> &indexes)
    {
        PropertyListValue array{.kind = Kind::Array};
        for (const int index : indexes)
            array.children.push_back(ofUid(index));
        return array;
    }
    static PropertyListValue ofMembers(const Members &members)
    {
        PropertyListValue dictionary{.kind = Kind::Dictionary};
        for (const auto &[key, value] : members) {
            dictionary.children.push_back(ofString(key));
            dictionary.children.push_back(value);
        }
        return dictionary;
    }
};

/// The XML form of one value. UIDs become dictionaries with the key CF$UID.
inline void appendXml(QByteArray &xml, const PropertyListValue &value)
{
    using Kind = PropertyListValue::Kind;
    switch (value.kind) {
    case Kind::Null: return;
    case Kind::Boolean: xml += value.integer != 0 ? "<true/>" : "<false/>"; return;
    case Kind::Integer: xml += "<integer>" + QByteArray::number(value.integer) + "</integer>"; return;
    case Kind::Real: xml += "<real>" + QByteArray::number(value.real, 'g', 17) + "</real>"; return;
    case Kind::Date: xml += "<date>2001-01-01T00:00:00Z</date>"; return; // tests write others in binary
    case Kind::Data: xml += "<data>" + value.bytes.toBase64() + "</data>"; return;
    case Kind::String: xml += "<string>" + value.bytes + "</string>"; return;
    case Kind::Utf16String: xml += "<string>" + value.text.toUtf8() + "</string>"; return;
    case Kind::Uid:
        xml += "<dict><key>CF$UID</key><integer>" + QByteArray::number(value.integer) + "</integer></dict>";
        return;
    case Kind::Array:
        xml += "<array>";
        for (const PropertyListValue &element : value.children)
            appendXml(xml, element);
        xml += "</array>";
        return;
    case Kind::Dictionary:
        xml += "<dict>";
        for (size_t i = 0; i < value.children.size(); i += 2) {
            xml += "<key>" + value.children[i].bytes + "</key>";
            appendXml(xml, value.children[i + 1]);
        }
        xml += "</dict>";
    }
}
