#pragma once

#include <QStringView>

/// Whether @p text is one address and nothing else, which can stand in a separator line of an mbox and be
/// read back: no blanks, control characters, quotes, brackets, commas or semicolons, one "@" inside, and
/// behind it a domain whose labels, between its points, are not empty.
[[nodiscard]] bool isBareAddress(QStringView text);
