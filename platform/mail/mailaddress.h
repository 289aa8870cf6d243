#pragma once

#include <QStringView>

namespace platform {

/// Whether @p text is one address and nothing else, which can stand in a separator line of an mbox and be
/// read back: no blanks, control characters, quotes, brackets, commas or semicolons, one "@" inside, and
/// after it a domain whose labels, between its dots, are not empty.
[[nodiscard]] bool isBareAddress(QStringView text);

/// Whether @p text is a bare address that can stand on an envelope and in a header as it is: printable ASCII,
/// and no longer than mail allows (254 characters).
[[nodiscard]] bool isEnvelopeAddress(QStringView text);

} // namespace platform
