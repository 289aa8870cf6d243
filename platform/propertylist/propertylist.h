#pragma once

#include "platform/date/nsdate.h"
#include "platform/decodingbudget.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QString>

#include <bit>
#include <cstring>
#include <map>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace platform {

/// The kinds of value that a property list can hold.
enum class PropertyListKind : quint8 {
    Null, ///< a date that the years 1 to 9999 do not hold, too
    Boolean,
    Integer, ///< signed 64 bits; a value beyond is held at the end of that range
    Real,
    Date,
    Data,
    String,
    UID,   ///< index into a keyed archive's object table; binary form only (the XML form spells it as a
           ///< dictionary)
    Array, ///< also the binary form's sets
    Dictionary,
};

/// A property list as its nodes, numbered from 0: what the readers build and what keyed archives are decoded
/// from.
///
/// Flat and shared: a value that the file names from many places is one node, so that a table takes memory in
/// proportion to its file. Strings and data stay encoded in the bytes until they are asked for. Immutable
/// once read; every node that an array or dictionary refers to exists, but nothing here forbids a container
/// to hold itself: walking one is bounded by the walker (see readPropertyList()).
class PropertyListTable {
public:
    using Index = quint32;

    /// How the bytes of a string are to be taken.
    enum class Encoding : quint8 { Utf8, Utf16BigEndian };

    /// One node as the table stores it. Of interest to the readers that make tables; everybody else asks
    /// below.
    struct Node {
        PropertyListKind kind = PropertyListKind::Null;
        Encoding encoding = Encoding::Utf8; ///< of a String
        quint32 offset = 0;
        /// The bits of a Boolean, Integer, UID, Real or Date (its interval); of anything else packed(): for
        /// strings and data where their bytes begin and how many they are, for containers where their
        /// references begin and how many elements or pairs there are.
        quint64 content = 0;

        [[nodiscard]] static quint64 packed(quint32 first, quint32 count)
        {
            return quint64(first) << 32U | count;
        }
        [[nodiscard]] quint32 first() const { return quint32(content >> 32U); }
        [[nodiscard]] quint32 count() const { return quint32(content); }
    };

    /// For values that no node can hold as they are: the XML element that says the whole of it, by node.
    using CarriedElements = std::map<Index, QByteArray>;
    static constexpr quint64 costOfCarrying = 128; ///< bytes that each takes beside its own

    /// Takes over what a reader has checked: every position that a node names lies inside @p bytes or
    /// @p references, every reference is a node, and so is @p root. An array's references are its elements; a
    /// dictionary's are all its keys and then all its values.
    PropertyListTable(QByteArray bytes, std::vector<Node> nodes, std::vector<Index> references, Index root,
                      CarriedElements carried = {})
        : m_bytes(std::move(bytes)), m_nodes(std::move(nodes)), m_references(std::move(references)),
          m_carried(std::move(carried)), m_root(root)
    {
    }

    [[nodiscard]] Index root() const { return m_root; }
    /// How many nodes there are.
    [[nodiscard]] Index size() const { return Index(m_nodes.size()); }

    [[nodiscard]] PropertyListKind kind(Index node) const { return m_nodes[node].kind; }
    /// Where the node stands in the input, for error messages: bytes, in the XML form characters, from its
    /// start.
    [[nodiscard]] qint64 offset(Index node) const { return m_nodes[node].offset; }

    // Each of these may be asked of a node of its kind only.
    [[nodiscard]] bool boolean(Index node) const { return m_nodes[node].content != 0; }
    [[nodiscard]] qint64 integer(Index node) const
    {
        return qint64(m_nodes[node].content);
    } ///< of an Integer or a UID
    [[nodiscard]] double real(Index node) const { return std::bit_cast<double>(m_nodes[node].content); }
    [[nodiscard]] NSDate date(Index node) const;
    /// Lives as long as the table.
    [[nodiscard]] QByteArrayView data(Index node) const { return bytesOf(m_nodes[node]); }
    /// Malformed UTF-8 shows as U+FFFD; a UTF-16 string comes as it is, with any surrogate that has no
    /// partner.
    [[nodiscard]] QString string(Index node) const;
    /// The XML element that is to be written in place of @p node, which does not hold all of its value;
    /// nothing for the others.
    [[nodiscard]] std::optional<QByteArray> carriedElement(Index node) const
    {
        const auto found = m_carried.find(node);
        return found == m_carried.end() ? std::nullopt : std::optional(found->second);
    }
    /// Bytes of its encoded form: an upper bound of its UTF-16 length.
    [[nodiscard]] qsizetype stringLength(Index node) const { return m_nodes[node].count(); }

    /// Whether @p node is a string that equals @p ascii; any node may be asked, and nothing is converted.
    [[nodiscard]] bool isString(Index node, QByteArrayView ascii) const
    {
        const Node &candidate = m_nodes[node];
        if (candidate.kind != PropertyListKind::String)
            return false;
        if (candidate.encoding != Encoding::Utf8)
            return isUtf16String(candidate, ascii);
        return qsizetype(candidate.count()) == ascii.size() &&
               (ascii.empty() || std::memcmp(m_bytes.constData() + candidate.first(), ascii.data(),
                                             size_t(ascii.size())) == 0);
    }

    /// Elements of an Array or pairs of a Dictionary. A dictionary's pairs are those of the file in its
    /// order, also when a key comes twice.
    [[nodiscard]] quint32 count(Index container) const { return m_nodes[container].count(); }
    [[nodiscard]] Index element(Index array, quint32 position) const
    {
        return m_references[size_t(m_nodes[array].first()) + position];
    }
    [[nodiscard]] Index key(Index dictionary, quint32 position) const
    {
        return element(dictionary, position);
    }
    [[nodiscard]] Index value(Index dictionary, quint32 position) const
    {
        const Node &node = m_nodes[dictionary];
        return m_references[size_t(node.first()) + node.count() + position];
    }
    /// The value of the first pair whose key is a string equal to @p asciiKey; nothing when there is none or
    /// @p node is no dictionary.
    [[nodiscard]] std::optional<Index> valueForKey(Index node, QByteArrayView asciiKey) const;

private:
    [[nodiscard]] QByteArrayView bytesOf(const Node &node) const
    {
        return QByteArrayView(m_bytes.constData() + node.first(), qsizetype(node.count()));
    }
    [[nodiscard]] bool isUtf16String(const Node &node, QByteArrayView ascii) const;

    QByteArray m_bytes; // what strings and data point into: the file itself, or what a reader decoded
    std::vector<Node> m_nodes;
    std::vector<Index> m_references;
    CarriedElements m_carried;
    Index m_root;
};

/// Reads the nodes of a property list in its binary or XML form, told apart by the first bytes, and leaves
/// them flat: containers may share and contain one another in any way.
/// @throws FormatError when the bytes are no such list or would take more than @p budget.
[[nodiscard]] std::shared_ptr<const PropertyListTable> readPropertyListTable(const QByteArray &bytes,
                                                                             DecodingBudget &budget);

struct SalvagedPropertyList;

/// One value of a property list; containers are read through it. Cheap to copy: it shares the table that
/// holds it.
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
    [[nodiscard]] std::optional<qint64> uid() const;
    [[nodiscard]] std::optional<double> real() const;
    [[nodiscard]] std::optional<NSDate> date() const;
    [[nodiscard]] std::optional<QByteArray> data() const;
    [[nodiscard]] std::optional<QString> string() const;
    /// See PropertyListTable::carriedElement().
    [[nodiscard]] std::optional<QByteArray> carriedElement() const;

    /// Elements of an array or pairs of a dictionary; 0 for anything else.
    [[nodiscard]] quint32 count() const;
    /// Element @p position of an array; Null when it is no array or has no such element.
    [[nodiscard]] PropertyList at(quint32 position) const;
    /// Key and value of pair @p position of a dictionary, which must have it.
    [[nodiscard]] QString keyAt(quint32 position) const;
    [[nodiscard]] PropertyList valueAt(quint32 position) const;
    /// The value under @p key in a dictionary, of its first pair with that key; Null when it is no dictionary
    /// or has no such key. Looks through the pairs one by one.
    [[nodiscard]] PropertyList operator[](QStringView key) const;

private:
    friend PropertyList readPropertyList(const QByteArray &bytes);
    friend SalvagedPropertyList salvagePropertyList(const QByteArray &bytes);
    PropertyList(std::shared_ptr<const PropertyListTable> table, PropertyListTable::Index node);
    explicit PropertyList(const PropertyListTable::Node &node, QByteArray bytes = {});

    [[nodiscard]] bool is(PropertyListKind wanted) const { return kind() == wanted; }

    std::shared_ptr<const PropertyListTable> m_table; // none for Null
    PropertyListTable::Index m_node = 0;
};

/// Reads a property list in any of its forms: binary ("bplist0"), XML, or the older text form.
///
/// The list is a tree of values that can be walked and written again without further care: no container holds
/// itself, nothing is nested deeper than 512 levels, every key of a dictionary is a string, and writing it
/// out gives no more than what a budget for @p bytes allows (values that the file shares are counted as often
/// as they are named).
/// @throws FormatError when the bytes are no such list.
[[nodiscard]] PropertyList readPropertyList(const QByteArray &bytes);

/// What could be read of a property list.
struct SalvagedPropertyList {
    PropertyList list;
    bool isWhole = true; ///< whether that is all of it
};
/// Like readPropertyList(), but an object of a binary list that makes no sense is taken as Null.
/// @throws FormatError when nothing can be made of the list as a whole.
[[nodiscard]] SalvagedPropertyList salvagePropertyList(const QByteArray &bytes);

} // namespace platform
