#pragma once

#include <stdexcept>

namespace importing {

/// What the disk, the permissions or the input do not allow. Its text is one line for people that names the
/// path.
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Thrown when the user has stopped the import before anything was copied.
class Stopped : public std::exception {
public:
    [[nodiscard]] const char *what() const noexcept override { return "stopped"; }
};

} // namespace importing
