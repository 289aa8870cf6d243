#pragma once

#include <unistd.h>
#include <utility>

namespace platform {

/// Owns an open file descriptor, or none.
class Descriptor {
public:
    Descriptor() = default;
    /// Takes @p number over; a negative one (what open(2) gives on failure) is none.
    explicit Descriptor(int number) : m_number(number) {}
    Descriptor(Descriptor &&other) noexcept : m_number(std::exchange(other.m_number, -1)) {}
    Descriptor &operator=(Descriptor &&other) noexcept
    {
        std::swap(m_number, other.m_number);
        return *this;
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    ~Descriptor() { close(); }

    [[nodiscard]] explicit operator bool() const { return m_number >= 0; }
    [[nodiscard]] int number() const { return m_number; }
    /// Gives the descriptor up to the caller, who closes it.
    [[nodiscard]] int release() { return std::exchange(m_number, -1); }
    /// Closes it now. @return false when the system reports that what was written may not have arrived (errno
    ///         says why); closing none succeeds.
    bool close() { return m_number < 0 || ::close(std::exchange(m_number, -1)) == 0; }

private:
    int m_number = -1;
};

} // namespace platform
