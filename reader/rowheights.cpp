#include "reader/rowheights.h"

#include <bit>
#include <utility>

namespace reader {

namespace {

constexpr size_t lowestBit(size_t number)
{
    return number & (~number + 1);
}

} // namespace

RowHeights::RowHeights(std::vector<int> heights) : m_heights(std::move(heights))
{
    m_sums.assign(m_heights.begin(), m_heights.end());
    for (size_t i = 1; i <= m_sums.size(); ++i) {
        if (const size_t above = i + lowestBit(i); above <= m_sums.size())
            m_sums[above - 1] += m_sums[i - 1];
    }
}

void RowHeights::setHeight(size_t row, int height)
{
    const qint64 difference = qint64(height) - m_heights[row];
    m_heights[row] = height;
    for (size_t i = row + 1; i <= m_sums.size(); i += lowestBit(i))
        m_sums[i - 1] += difference;
}

qint64 RowHeights::top(size_t row) const
{
    qint64 sum = 0;
    for (size_t i = row; i > 0; i -= lowestBit(i))
        sum += m_sums[i - 1];
    return sum;
}

size_t RowHeights::rowAt(qint64 place) const
{
    size_t row = 0;
    for (size_t step = std::bit_floor(m_sums.size()); step > 0; step /= 2) {
        if (row + step <= m_sums.size() && m_sums[row + step - 1] <= place) {
            row += step;
            place -= m_sums[row - 1];
        }
    }
    return row < count() ? row : count() - 1;
}

} // namespace reader
