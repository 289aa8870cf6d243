#include "platform/propertylist/treecheck.h"

#include "platform/propertylist/readers.h"

#include <algorithm>

namespace platform {

namespace {

/// Sums stop growing here, far above any budget, so that two of them can always be added.
constexpr quint64 beyondMeasure = quint64(1) << 62U;

quint64 sum(quint64 a, quint64 b)
{
    return std::min(a + b, beyondMeasure);
}

/// How long a value is in the XML form, at most, when it stands at the left margin; each level that it stands
/// deeper adds one tab to each of its lines.
struct Extent {
    quint64 bytes = 0;
    quint64 lines = 0;
};

// Of each value the longest that the writer makes of it, with the line's end.
constexpr quint64 longestScalar = 40;    // <integer>-9223372036854775808</integer>
constexpr quint64 textElement = 18;      // <string></string>, and shorter for a key
constexpr quint64 bytesPerTextByte = 5;  // &#13; or &amp;
constexpr quint64 uidDictionary = 90;    // of four lines
constexpr quint64 containerElement = 17; // <array> and </array>, each on its line
constexpr quint64 dataElement = 15;      // <data> and </data>, the same
constexpr quint64 dataLine = 57;         // bytes that one line of Base64 holds
constexpr quint64 documentFrame = 256;   // what stands before and behind the value at the root
constexpr quint64 base64Line = 78;       // its length, the line's end included

Extent extentOfScalar(const PropertyListTable &table, PropertyListTable::Index node)
{
    if (const auto element = table.carriedElement(node))
        return {quint64(element->size()) + 1, 1};
    switch (table.kind(node)) {
    case PropertyListKind::String:
        return {textElement + bytesPerTextByte * quint64(table.stringLength(node)), 1};
    case PropertyListKind::Data: {
        const quint64 lines = quint64(table.data(node).size()) / dataLine + 1;
        return {dataElement + lines * base64Line, lines + 2};
    }
    case PropertyListKind::UID: return {uidDictionary, 4};
    default: return {longestScalar, 1};
    }
}

class TreeCheck {
public:
    TreeCheck(const PropertyListTable &table, DecodingBudget &budget) : m_table(table)
    {
        budget.charge(table.size(), sizeof(Seen), table.offset(table.root()));
        m_seen.resize(table.size());
    }

    /// @param depth how many containers @p node stands in.
    Extent check(PropertyListTable::Index node, int depth);

private:
    using Index = PropertyListTable::Index;
    enum class State : quint8 { New, Open, Done };

    /// What is known of a container.
    struct Seen {
        Extent extent;
        int height = 0; ///< levels of containers, itself included
        State state = State::New;
    };

    void add(Seen &container, Index child, int depth);
    void checkDepth(Index node, int levels) const
    {
        if (levels > deepestPropertyList)
            throw FormatError(m_table.offset(node), "containers are nested too deep");
    }

    const PropertyListTable &m_table;
    std::vector<Seen> m_seen;
};

Extent TreeCheck::check(Index node, int depth)
{
    const PropertyListKind kind = m_table.kind(node);
    if (kind != PropertyListKind::Array && kind != PropertyListKind::Dictionary)
        return extentOfScalar(m_table, node);

    Seen &seen = m_seen[node];
    if (seen.state == State::Open)
        throw FormatError(m_table.offset(node), "a container that holds itself");
    if (seen.state == State::Done) {
        checkDepth(node, depth + seen.height);
        return seen.extent;
    }
    checkDepth(node, depth + 1); // bounds the recursion, too
    seen = {{containerElement, 2}, 1, State::Open};
    const quint32 count = m_table.count(node);
    for (quint32 i = 0; i < count; ++i) {
        if (kind == PropertyListKind::Array) {
            add(seen, m_table.element(node, i), depth);
            continue;
        }
        const Index key = m_table.key(node, i);
        if (m_table.kind(key) != PropertyListKind::String)
            throw FormatError(m_table.offset(node), "a key that is no string");
        add(seen, key, depth);
        add(seen, m_table.value(node, i), depth);
    }
    seen.state = State::Done;
    return seen.extent;
}

void TreeCheck::add(Seen &container, Index child, int depth)
{
    const Extent extent = check(child, depth + 1);
    container.height = std::max(container.height, 1 + m_seen[child].height); // 0 for a scalar
    container.extent.bytes = sum(container.extent.bytes, sum(extent.bytes, extent.lines));
    container.extent.lines = sum(container.extent.lines, extent.lines);
}

} // namespace

quint64 checkTree(const PropertyListTable &table, DecodingBudget &budget)
{
    return sum(TreeCheck(table, budget).check(table.root(), 0).bytes, documentFrame);
}

} // namespace platform
