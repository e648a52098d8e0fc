// Camera and microphone time per day, with its legend and the choice of how many days. Counts the
// whole history, also what lists don't show. Owned by the History window; main thread.
#pragma once

#include "app/controls/Choices.h"
#include "app/screens/ChartPlot.h"
#include "app/screens/ScreenContext.h"

#include <QWidget>

namespace velmoran {

class HistoryChartView final : public QWidget {
public:
    HistoryChartView(const ScreenContext& context, QWidget* parent);

    /// Reads the history anew, up to now.
    void refresh();
    ChartPlot& plot() { return *plot_; }

protected:
    void showEvent(QShowEvent* event) override;

private:
    void addLegend(QLayout* into, bool isCamera);

    ScreenContext context_;
    ChartSpan span_ = ChartSpan::week;
    SegmentedControl* spans_;
    ChartPlot* plot_;
};

} // namespace velmoran
