#pragma once

#include "galleries/pagetemplate.h"
#include "galleries/statistics.h"

#include <vector>

namespace galleries {

/// What stands for the tokens of the statistics template, in the order in which they are put in.
///
/// Totals are whole numbers, averages have one digit after the point, sizes of bars are whole numbers on a
/// scale of 300; all as printf gives them in the C locale, halves rounded to even. What is divided by no
/// words is "nan", and the chats per day are 0.0 when no whole day is covered. Dates are local, "March 5,
/// 2005".
[[nodiscard]] std::vector<PageTemplate::Replacement> statisticsReplacements(const Statistics &statistics);

/// Makes `stats.html` from the template, atomically. Without a readable template, or when it cannot be
/// written, the page stays as it was.
void writeStatisticsPage(const Statistics &statistics);

} // namespace galleries
