#include "app/screens/AwayReportsView.h"

#include "app/controls/Groups.h"
#include "app/screens/ScreenText.h"
#include "core/text/Localizer.h"

#include <QVBoxLayout>
#include <utility>

namespace velmoran {

AwayReportsView::AwayReportsView(const ScreenContext& context, QWidget* parent)
    : QWidget(parent),
      context_(context),
      listOrNothing_(new QStackedWidget(this)),
      lines_(new AwayReportLines(qt(words().text("Away watch")), listOrNothing_)) {
    setObjectName("awayReports");
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(listOrNothing_);
    listOrNothing_->addWidget(lines_);
    listOrNothing_->addWidget(
        new EmptyState("eye", qt(words().text("No Away watch reports yet")),
                       qt(words().text("A report appears here when something happened while "
                                       "the screen was locked.")),
                       listOrNothing_));
    watching_ = context_.model.awayReports.subscribe([this](const auto&) {
        if (isVisible()) {
            refresh();
        }
    });
}

void AwayReportsView::refresh() {
    const auto reports = *context_.model.awayReports;
    const auto now = context_.model.clock().now();
    std::vector<AwayReportLines::Entry> entries;
    entries.reserve(reports->size());
    for (const auto& report : *reports) {
        entries.push_back(
            {.day = words().dayTitle(report.start, now), .content = AwayReportContent::of(report)});
    }
    listOrNothing_->setCurrentIndex(entries.empty() ? 1 : 0);
    lines_->setEntries(std::move(entries));
}

void AwayReportsView::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    refresh();
}

} // namespace velmoran
