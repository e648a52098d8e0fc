#include "app/screens/HistoryChartView.h"

#include "app/contents/TotalsContent.h"
#include "app/controls/Labels.h"
#include "app/screens/ChartSwatch.h"
#include "core/text/Localizer.h"

#include <QHBoxLayout>
#include <QShowEvent>
#include <QVBoxLayout>

namespace velmoran {

HistoryChartView::HistoryChartView(const ScreenContext& context, QWidget* parent)
    : QWidget(parent),
      context_(context) {
    setObjectName("historyChart");
    QList<SegmentedControl::Segment> segments;
    for (const auto span : allChartSpans) {
        segments.push_back({.label = QString::fromStdString(labelOf(span))});
    }
    spans_ = new SegmentedControl(QString::fromStdString(words().text("Span")), segments, this);
    spans_->setObjectName("span");
    spans_->setFixedWidth(210);
    spans_->onChoose = [this](int index) {
        span_ = allChartSpans[static_cast<std::size_t>(index)];
        refresh();
        plot_->drawIn();
    };
    plot_ = new ChartPlot(context_, this);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(20, 12, 20, 16);
    layout->setSpacing(16);
    auto* top = new QHBoxLayout;
    top->setSpacing(8);
    addLegend(top, true);
    top->addSpacing(12);
    addLegend(top, false);
    top->addStretch(1);
    top->addWidget(spans_);
    layout->addLayout(top);
    layout->addWidget(plot_, 1);
}

void HistoryChartView::addLegend(QLayout* into, bool isCamera) {
    const auto title = deviceTitle(isCamera ? Device::camera : Device::microphone);
    into->addWidget(new ChartSwatch(isCamera, QSize(14, 3), this));
    into->addWidget(
        new LineLabel(QString::fromStdString(title), TextStyle::body, Ink::text, this, false));
}

void HistoryChartView::refresh() {
    plot_->setContent(ChartContent::of(context_.model.historySessions->sessions(), span_,
                                       context_.model.clock().now(), words()));
}

void HistoryChartView::showEvent(QShowEvent* event) {
    // Back from the task bar it is as it was.
    if (!event->spontaneous()) {
        plot_->drawIn();
    }
}

} // namespace velmoran
