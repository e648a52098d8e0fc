// How many days the history's chart shows. Plain values; any thread.
#pragma once

#include <array>
#include <string>

namespace velmoran {

enum class ChartSpan { week, month, quarter };

inline constexpr std::array<ChartSpan, 3> allChartSpans = {ChartSpan::week, ChartSpan::month,
                                                           ChartSpan::quarter};

/// What a person chooses it by.
std::string labelOf(ChartSpan span);
int daysIn(ChartSpan span);
/// Every how many days one is named under the chart.
int daysBetweenLabels(ChartSpan span);

} // namespace velmoran
