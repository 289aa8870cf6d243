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
    /// @param offset where in the input the fault was noticed: bytes from its start; in the XML form of a
    /// property list, characters.
    /// @param reason what is wrong, in English, without a full stop.
    FormatError(qint64 offset, const std::string &reason) : std::runtime_error(reason), m_offset(offset) {}

    [[nodiscard]] qint64 offset() const { return m_offset; }
    /// The reason, and the offset after it: "no type encoding (offset 12)".
    [[nodiscard]] std::string description() const
    {
        return what() + (" (offset " + std::to_string(m_offset)) + ')';
    }

private:
    qint64 m_offset;
};

/// What makes one object of a well-formed archive unreadable: where it was noticed, and the reason, as in a
/// FormatError.
struct LayoutFault {
    qint64 offset;
    const char *reason; ///< lives as long as the program
};

/// What is thrown when an archive is well formed, but one of its objects is not laid out as objects of its
/// class are. The unarchivers catch it and put an UnreadableObject in that object's place.
class LayoutError : public FormatError {
public:
    explicit LayoutError(LayoutFault fault) : FormatError(fault.offset, fault.reason), m_reason(fault.reason)
    {
    }

    [[nodiscard]] LayoutFault fault() const { return {offset(), m_reason}; }

private:
    const char *m_reason;
};

} // namespace platform
