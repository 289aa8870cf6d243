#pragma once

#include <QtGlobal>

#include <vector>

namespace reader {

/// The heights of rows that stand one below the other, in pixels. A row's place, and the row at a place, are
/// found in a few steps however many rows there are, and any height may change at any time (a Fenwick tree).
class RowHeights {
public:
    RowHeights() = default;
    explicit RowHeights(std::vector<int> heights);

    [[nodiscard]] size_t count() const { return m_heights.size(); }
    [[nodiscard]] int height(size_t row) const { return m_heights[row]; }
    void setHeight(size_t row, int height);

    /// Where @p row begins; for count(), where the last one ends.
    [[nodiscard]] qint64 top(size_t row) const;
    [[nodiscard]] qint64 total() const { return top(count()); }
    /// The row at @p place: the first one above all, the last one below all. There is at least one row.
    [[nodiscard]] size_t rowAt(qint64 place) const;

private:
    std::vector<int> m_heights;
    std::vector<qint64>
        m_sums; ///< m_sums[i - 1] sums up the rows that end with row i - 1, as many as i's lowest bit
};

} // namespace reader
