#pragma once

#include <filesystem>

namespace galleries {

/// Told of the failures that the user has to learn of. Whoever opens a Session hands one in: how the user
/// learns of them is not the galleries' business.
class Reporter {
public:
    virtual ~Reporter() = default;

    /// The link store at @p store could not be written, or could not be read and so is not replaced. It stays
    /// as it was.
    virtual void linkStoreNotWritten(const std::filesystem::path &store) = 0;
    /// The link store has outgrown what can be read again, and stays as it was.
    virtual void linkStoreTooLarge() = 0;
};

} // namespace galleries
