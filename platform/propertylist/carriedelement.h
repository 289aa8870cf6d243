#pragma once

#include <QByteArray>

namespace platform {

// XML elements for what the binary form can hold and a PropertyList cannot: carried along, they are written
// again as they were read.

/// The integer of 128 bits, in two's complement, whose halves are @p high and @p low.
[[nodiscard]] QByteArray integerElement(quint64 high, quint64 low);

/// The date @p secondsSince2001, in whole seconds. One that no calendar can name (it is not finite, or tens
/// of thousands of years away) becomes the real that it is in the binary form.
[[nodiscard]] QByteArray dateElement(double secondsSince2001);

} // namespace platform
