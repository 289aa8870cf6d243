#pragma once

#include "platform/decodingbudget.h"
#include "platform/propertylist/propertylist.h"

#include <QByteArray>
#include <QByteArrayView>

#include <memory>
#include <vector>

namespace platform {

/// Builds a table from values in the order in which a document holds them: a container is begun, filled and
/// ended, a dictionary with a key before each value.
///
/// What it builds is a tree of bounded depth with strings for keys. The caller keeps to the order: one value
/// at the root, no value in a dictionary unless wantsKey() is false, no key unless it is true.
class PropertyListTableBuilder {
public:
    explicit PropertyListTableBuilder(DecodingBudget &budget) : m_budget(budget) {}

    /// What is open at the moment.
    enum class Container : quint8 { None, Array, Dictionary };
    [[nodiscard]] Container open() const;
    /// How many containers are open.
    [[nodiscard]] int depth() const { return int(m_open.size()); }
    /// Whether a dictionary is open and a key has to come before the next value.
    [[nodiscard]] bool wantsKey() const { return open() == Container::Dictionary && !m_open.back().hasKey; }
    /// Whether the value at the root is there with all it holds.
    [[nodiscard]] bool isComplete() const { return m_open.empty() && !m_nodes.empty(); }

    // Each takes where it stands in the input and throws FormatError when the budget is used up.

    /// @throws FormatError also when it is nested deeper than deepestPropertyList.
    void begin(PropertyListKind container, qint64 offset);
    /// Ends the container begun last; in a dictionary every key has its value.
    void end();
    void key(QByteArrayView utf8, qint64 offset);

    void null(qint64 offset) { scalar(PropertyListKind::Null, 0, offset); }
    void boolean(bool value, qint64 offset) { scalar(PropertyListKind::Boolean, value ? 1 : 0, offset); }
    void integer(qint64 value, qint64 offset) { scalar(PropertyListKind::Integer, quint64(value), offset); }
    void real(double value, qint64 offset);
    /// Nothing, a date that is none, becomes Null.
    void date(const std::optional<NSDate> &value, qint64 offset);
    void data(QByteArrayView bytes, qint64 offset);
    void string(QByteArrayView utf8, qint64 offset);
    /// Has the table carry @p element, XML, in place of the value just added, which does not hold all of it.
    void carry(QByteArray element, qint64 offset);

    /// The table; call once, when it is complete.
    [[nodiscard]] std::shared_ptr<const PropertyListTable> finish();

private:
    using Index = PropertyListTable::Index;

    struct Open {
        Index node;
        size_t firstChild; // in m_children
        bool hasKey;
    };

    Index append(PropertyListKind kind, quint64 content, qint64 offset);
    void addToOpen(Index node);
    void scalar(PropertyListKind kind, quint64 content, qint64 offset)
    {
        addToOpen(append(kind, content, offset));
    }
    [[nodiscard]] quint64 store(QByteArrayView bytes, qint64 offset);

    DecodingBudget &m_budget;
    QByteArray m_bytes;
    std::vector<PropertyListTable::Node> m_nodes;
    std::vector<Index> m_references; // of the containers that are ended
    PropertyListTable::CarriedElements m_carried;
    std::vector<Index> m_children; // of the open ones: elements, or keys and values by turns
    std::vector<Open> m_open;
};

} // namespace platform
