#pragma once

#include <QStringView>

/// Whether @p text is an address that can stand in a separator line of an mbox and be read back: no blanks,
/// no control characters, no angle brackets, one "@" inside.
[[nodiscard]] bool isBareAddress(QStringView text);
