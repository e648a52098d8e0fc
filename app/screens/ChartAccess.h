// The chart as a screen reader meets it: a table with a line for each day, in which a day can be
// chosen. Main thread.
#pragma once

namespace velmoran {

class ChartPlot;

/// Once for all charts; a further call does nothing.
void installChartAccess();
/// The table has other days or other figures.
void tellChartChanged(ChartPlot& plot);
/// Another day was chosen, or none.
void tellChartSelection(ChartPlot& plot);

} // namespace velmoran
