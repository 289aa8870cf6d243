#pragma once

#include <chrono>
#include <functional>

namespace galleries {

/// When the galleries of a session are written: often enough for the files to be of use in the middle of a
/// long run, and so that writing takes at most a fiftieth of the time, however large the galleries are.
class WriteSchedule {
public:
    using Clock = std::chrono::steady_clock;

    /// @param now tells the time.
    explicit WriteSchedule(std::function<Clock::time_point()> now = Clock::now) : m_now(std::move(now)) {}

    /// Whether fifty times as long has passed as the last writing of all took, and what was written alone
    /// since.
    [[nodiscard]] bool isDue() const;

    /// Calls @p write, which writes one gallery.
    void writeOne(const std::function<void()> &write);
    /// Calls @p write, which writes all galleries.
    void writeAll(const std::function<void()> &write);

private:
    std::function<Clock::time_point()> m_now;
    Clock::time_point m_lastEnd;
    Clock::duration m_lastCost{};
};

} // namespace galleries
