#include "app/screens/AwayReportView.h"

#include "app/controls/Buttons.h"
#include "app/screens/ScreenText.h"
#include "core/text/Localizer.h"

#include <QHBoxLayout>
#include <QVBoxLayout>
#include <algorithm>

namespace velmoran {

namespace {

constexpr int highestReport = 460;
constexpr int lowestReport = 80;
constexpr int aroundButtons = 20;
constexpr int besideButton = 6;
constexpr int belowReport = 4;     ///< which ends in room of its own
constexpr int belowCutReport = 12; ///< and where it scrolls

} // namespace

AwayReportView::AwayReportView(const AwayReport& report, const std::function<void()>& openHistory,
                               const std::function<void()>& done, QWidget* parent)
    : QWidget(parent),
      lines_(new AwayReportLines(qt(words().text("Away watch")), this)) {
    setObjectName(QStringLiteral("awayReport"));
    setFixedWidth(windowWidth);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->setSpacing(0);
    column->addWidget(lines_, 1);
    std::vector<AwayReportLines::Entry> entries(1);
    entries.front().content = AwayReportContent::of(report);
    lines_->setEntries(std::move(entries));

    const bool leadsOn = openHistory && !report.isEmpty();
    if (!leadsOn && !done) {
        return;
    }
    foot_ = new QWidget(this);
    auto* foot = new QVBoxLayout(foot_);
    foot->setContentsMargins({});
    foot->setSpacing(0);
    const bool scrolls = lines_->heightFor(windowWidth, highestReport) > highestReport;
    if (scrolls) {
        foot->addWidget(new Hairline(foot_));
    }
    auto* line = new QHBoxLayout;
    foot->addLayout(line);
    line->setContentsMargins(aroundButtons, scrolls ? belowCutReport : belowReport, aroundButtons,
                             scrolls ? belowCutReport : aroundButtons);
    line->setSpacing(besideButton);
    line->addStretch(1);
    const auto add = [&](const std::string& text, FaceButton::Face face, auto action) {
        auto* button = new FaceButton(qt(text), face, foot_);
        connect(button, &QAbstractButton::clicked, this, [action] { action(); });
        line->addWidget(button);
        return button;
    };
    if (leadsOn) {
        add(words().text("Open in History"), FaceButton::Face::plain, openHistory);
    }
    if (done) {
        add(words().text("Done"), FaceButton::Face::prominent, done)->setIsDefault();
    }
    column->addWidget(foot_);
}

QSize AwayReportView::sizeHint() const {
    return {windowWidth,
            std::clamp(lines_->heightFor(windowWidth, highestReport), lowestReport, highestReport) +
                (foot_ ? foot_->sizeHint().height() : 0)};
}

QSize AwayReportView::minimumSizeHint() const {
    return {windowWidth, lowestReport + (foot_ ? foot_->sizeHint().height() : 0)};
}

} // namespace velmoran
