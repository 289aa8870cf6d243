#pragma once

#include "platform/formaterror.h"

#include <QtGlobal>

namespace platform {

/// How much memory the decoding of one file may take in all.
///
/// A few bytes of a file can name a large object many times. Every reader charges what it is about to
/// allocate here first, so that no file, whatever its bytes, takes more than 64 MiB plus 32 times its size.
class DecodingBudget {
public:
    /// @param fileSize size of the input in bytes; not negative.
    explicit DecodingBudget(qint64 fileSize) : m_left(baseAllowance + perByteAllowance * quint64(fileSize)) {}

    /// Takes @p bytes from what is left.
    /// @param offset where in the input the reader is, for the error.
    /// @throws FormatError when not so much is left.
    void charge(quint64 bytes, qint64 offset)
    {
        if (bytes > m_left)
            throw FormatError(offset, "the contents would take more memory than a file of this size may");
        m_left -= bytes;
    }

    /// The same for @p count things of @p size bytes each; the product may exceed 64 bits.
    void charge(quint64 count, quint64 size, qint64 offset)
    {
        if (size != 0 && count > m_left / size)
            charge(m_left + 1, offset);
        else
            charge(count * size, offset);
    }

private:
    // The rest, up to 64 MiB and 32 times the size, is for the file's own bytes, for copies that live for a
    // moment, and for the program itself.
    static constexpr quint64 baseAllowance = 48U << 20U;
    static constexpr quint64 perByteAllowance = 28;

    quint64 m_left;
};

} // namespace platform
