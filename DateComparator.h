#pragma once

#include <QStringView>

#include <compare>

/// Ordering of month titles, such as "March 2005", by the months they name.
namespace DateComparator {

/// Compares the months of two titles, the earlier one being less. A text that is no month title is less than
/// every month.
[[nodiscard]] std::strong_ordering compareLinkDateString(QStringView receiver, QStringView other);

} // namespace DateComparator
