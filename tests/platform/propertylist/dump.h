#pragma once

#include "platform/propertylist/propertylist.h"

#include <QByteArray>

#include <string>

/// All that @p value holds, as a text that tells any two different lists apart; witness.py makes the same.
[[nodiscard]] std::string dump(const platform::PropertyList &value);

/// dump() of the list in @p bytes, or what is wrong with them: "no value (offset 12)".
[[nodiscard]] std::string dumpOf(const QByteArray &bytes);

/// What is wrong with @p bytes without the offset; empty when they are a list.
[[nodiscard]] std::string faultOf(const QByteArray &bytes);
