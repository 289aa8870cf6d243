#pragma once

#include <QtGlobal>

#include <stdexcept>
#include <string>

namespace platform {

/// What a reader throws when the bytes it was given are not what they should be.
///
/// Thrown inside the platform layer's readers only and caught by whoever asked for the reading, who turns it
/// into an empty result and one message; it never reaches further callers.
class FormatError : public std::runtime_error {
public:
    /// @param offset where in the input the fault was noticed: bytes from its start, or, for the XML form of
    /// a
    ///               property list, characters.
    /// @param reason what is wrong, in English, without a full stop, fit to stand after "offset N: ".
    FormatError(qint64 offset, const std::string &reason) : std::runtime_error(reason), m_offset(offset) {}

    [[nodiscard]] qint64 offset() const { return m_offset; }
    /// The reason, with the offset: "offset 12: no type encoding".
    [[nodiscard]] std::string description() const
    {
        return "offset " + std::to_string(m_offset) + ": " + what();
    }

private:
    qint64 m_offset;
};

} // namespace platform
