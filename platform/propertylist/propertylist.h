#pragma once

#include "platform/date/nsdate.h"
#include "platform/decodingbudget.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <memory>
#include <optional>
#include <vector>

namespace platform {

/// The kinds of value that a property list can hold.
enum class PropertyListKind : quint8 {
    Null, ///< binary form only; also a date that the years 1 to 9999 do not hold
    Boolean,
    Integer, ///< signed 64 bits; an unsigned value above that range is held at its upper end
    Real,
    Date,
    Data,
    String,
    UID, ///< index into a keyed archive's object table; binary form only (the XML form spells it as a dictionary)
    Array, ///< also the binary form's sets
    Dictionary,
};

/// A property list as its nodes, numbered from 0: what the readers build and what keyed archives are decoded from.
///
/// Flat and shared: a value that the file names from many places is one node, so that a table takes memory in
/// proportion to its file. Strings and data stay encoded in the bytes until they are asked for. Immutable once
/// read; every node that an array or dictionary refers to exists, but nothing here forbids a container to hold
/// itself: walking one is bounded by the walker (see readPropertyList()).
class PropertyListTable {
public:
    using Index = quint32;

    [[nodiscard]] Index root() const;
    /// How many nodes there are.
    [[nodiscard]] Index size() const;

    [[nodiscard]] PropertyListKind kind(Index node) const;
    /// Where the node stands in the input, for error messages: bytes, in the XML form characters, from its start.
    [[nodiscard]] qint64 offset(Index node) const;

    // Each of these may be asked of a node of its kind only.
    [[nodiscard]] bool boolean(Index node) const;
    [[nodiscard]] qint64 integer(Index node) const; ///< of an Integer or a UID
    [[nodiscard]] double real(Index node) const;
    [[nodiscard]] NSDate date(Index node) const;
    [[nodiscard]] QByteArrayView data(Index node) const; ///< lives as long as the table
    [[nodiscard]] QString string(Index node) const;
    [[nodiscard]] qsizetype stringLength(Index node) const; ///< bytes of its encoded form: an upper bound of its UTF-16 length

    /// Whether @p node is a string that equals @p ascii; any node may be asked, and nothing is converted.
    [[nodiscard]] bool isString(Index node, QByteArrayView ascii) const;

    /// Elements of an Array or pairs of a Dictionary.
    [[nodiscard]] quint32 count(Index container) const;
    [[nodiscard]] Index element(Index array, quint32 position) const;
    [[nodiscard]] Index key(Index dictionary, quint32 position) const;
    [[nodiscard]] Index value(Index dictionary, quint32 position) const;
    /// The value of the first pair whose key is a string equal to @p asciiKey; nothing when there is none or
    /// @p node is no dictionary.
    [[nodiscard]] std::optional<Index> valueForKey(Index node, QByteArrayView asciiKey) const;
};

/// Reads the nodes of a property list in its binary or XML form, told apart by the first bytes, and leaves them flat:
/// containers may share and contain one another in any way.
/// @throws FormatError when the bytes are no such list or would take more than @p budget.
[[nodiscard]] std::shared_ptr<const PropertyListTable> readPropertyListTable(const QByteArray &bytes, DecodingBudget &budget);

/// One value of a property list; containers are read through it. Cheap to copy: it shares the table that holds it.
///
/// A default-constructed value is of kind Null and stands for "absent".
class PropertyList {
public:
    PropertyList();

    [[nodiscard]] static PropertyList fromBoolean(bool value);
    [[nodiscard]] static PropertyList fromInteger(qint64 value);
    [[nodiscard]] static PropertyList fromString(QStringView value);

    [[nodiscard]] PropertyListKind kind() const;
    [[nodiscard]] bool isNull() const { return kind() == PropertyListKind::Null; }

    // The value when it is of that kind, else nothing.
    [[nodiscard]] std::optional<bool> boolean() const;
    [[nodiscard]] std::optional<qint64> integer() const;
    [[nodiscard]] std::optional<double> real() const;
    [[nodiscard]] std::optional<NSDate> date() const;
    [[nodiscard]] std::optional<QByteArray> data() const;
    [[nodiscard]] std::optional<QString> string() const;

    /// Elements of an array or pairs of a dictionary; 0 for anything else.
    [[nodiscard]] quint32 count() const;
    /// Element @p position of an array; Null when it is no array or has no such element.
    [[nodiscard]] PropertyList at(quint32 position) const;
    /// Key and value of pair @p position of a dictionary, which must have it.
    [[nodiscard]] QString keyAt(quint32 position) const;
    [[nodiscard]] PropertyList valueAt(quint32 position) const;
    /// The value under @p key in a dictionary; Null when it is no dictionary or has no such key.
    [[nodiscard]] PropertyList operator[](QStringView key) const;
};

/// Reads a property list in any of its forms: binary ("bplist0"), XML, or the older text form.
///
/// The list is a tree of values that can be walked and written again without further care: no container holds
/// itself, nothing is nested deeper than 512 levels, every key of a dictionary is a string, and writing it out
/// gives no more than what a budget for @p bytes allows (values that the file shares are counted as often as
/// they are named).
/// @throws FormatError when the bytes are no such list.
[[nodiscard]] PropertyList readPropertyList(const QByteArray &bytes);

} // namespace platform
