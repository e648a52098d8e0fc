#include "app/screens/HistoryScreen.h"

#include "app/controls/Groups.h"
#include "app/screens/CrossFade.h"
#include "core/text/Localizer.h"

#include <QAbstractItemView>
#include <QHBoxLayout>
#include <QPointer>
#include <QVBoxLayout>
#include <algorithm>

namespace velmoran {

namespace {

constexpr int fadeMilliseconds = 250;
constexpr int mostMenuCharacters = 60;

QString screenText(const std::string& text) {
    return QString::fromStdString(text);
}

} // namespace

HistoryScreen::HistoryScreen(const ScreenContext& context, QWidget* parent)
    : QWidget(parent),
      context_(context),
      now_(context.model.clock().now()) {
    setObjectName("history");
    auto* header = makeHeader();
    pages_ = new QStackedWidget(this);
    pages_->addWidget(makeActivity());
    chart_ = new HistoryChartView(context_, pages_);
    pages_->addWidget(chart_);
    away_ = new AwayReportsView(context_, pages_);
    pages_->addWidget(away_);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addWidget(header);
    layout->addWidget(new Hairline(this));
    layout->addWidget(pages_, 1);
    layout->addWidget(new Hairline(this));
    layout->addWidget(makeFooter());
    showPage();

    auto& model = context_.model;
    const auto changed = [this](const auto&) {
        historyChanged();
    };
    const auto footerChanged = [this](const auto&) {
        refreshFooter();
    };
    auto& settings = model.settings;
    subscriptions_.push_back(model.historySessions.subscribe(changed));
    for (auto* field : {&settings.hideSystemSounds, &settings.ignoreSystemListening}) {
        subscriptions_.push_back(field->subscribe(changed));
        subscriptions_.push_back(field->subscribe(footerChanged));
    }
    subscriptions_.push_back(settings.retentionDays.subscribe(footerChanged));
}

QWidget* HistoryScreen::makeHeader() {
    auto* header = new QWidget(this);
    auto* layout = new QHBoxLayout(header);
    layout->setContentsMargins(20, 12, 20, 12);
    layout->setSpacing(8);
    auto* tabs = new SegmentedControl(screenText(words().text("View")),
                                      {{.label = screenText(words().text("Activity"))},
                                       {.label = screenText(words().text("Away watch"))}},
                                      header);
    tabs->setObjectName("tabs");
    tabs->setFixedWidth(240);
    tabs->onChoose = [this](int index) {
        showsAway_ = index == 1;
        showPage();
    };
    chartButton_ = new SymbolButton("chart.xyaxis.line", 18, 30, header);
    chartButton_->setObjectName("chartButton");
    connect(chartButton_, &QAbstractButton::clicked, this, [this] { flip(); });
    layout->addWidget(tabs);
    layout->addWidget(chartButton_);
    layout->addStretch(1);
    // Without the button the window doesn't jump.
    header->setFixedHeight(std::max(30, tabs->sizeHint().height()) + 24);
    return header;
}

QWidget* HistoryScreen::makeFilterBar(QWidget* parent) {
    auto* bar = new QWidget(parent);
    auto* layout = new QHBoxLayout(bar);
    layout->setContentsMargins(20, 12, 20, 8);
    layout->setSpacing(8);
    auto* devices = new SegmentedControl(
        screenText(words().text("Device")),
        {{.label = screenText(words().text("All"))},
         {.label = screenText(deviceTitle(Device::camera)), .symbol = "video.fill"},
         {.label = screenText(deviceTitle(Device::microphone)), .symbol = "mic.fill"},
         {.label = screenText(deviceTitle(Device::speaker)), .symbol = "speaker.wave.2.fill"}},
        bar);
    devices->setObjectName("deviceFilter");
    devices->setMaximumWidth(220);
    devices->setToolTip(
        screenText(words().text("Show all, or only the camera, the microphone or the speaker")));
    devices->onChoose = [this](int index) {
        auto filter = filter_;
        filter.device = index == 0 ? std::nullopt
                                   : std::optional(allDevices[static_cast<std::size_t>(index - 1)]);
        choose(filter);
    };

    appPicker_ =
        makePicker(screenText(words().text("App")), {screenText(words().text("All apps"))}, bar);
    appPicker_->setObjectName("appFilter");
    appPicker_->setMaximumWidth(110);
    appPicker_->view()->setMinimumWidth(220);
    appPicker_->view()->setTextElideMode(Qt::ElideRight);
    appPicker_->view()->installEventFilter(this);
    connect(appPicker_, &QComboBox::activated, this, [this](int index) {
        auto filter = filter_;
        filter.appID = index == 0 ? std::nullopt
                                  : std::optional(apps_[static_cast<std::size_t>(index - 1)].id);
        choose(filter);
    });

    QList<QString> ranges;
    for (const auto range : allHistoryRanges) {
        ranges.push_back(screenText(labelOf(range)));
    }
    auto* days = makePicker(screenText(words().text("Days")), ranges, bar);
    days->setObjectName("daysFilter");
    days->setMaximumWidth(110);
    days->view()->setMinimumWidth(140);
    days->setCurrentIndex(1);
    connect(days, &QComboBox::activated, this, [this](int index) {
        auto filter = filter_;
        filter.range = allHistoryRanges[static_cast<std::size_t>(index)];
        choose(filter);
    });

    layout->addWidget(devices);
    layout->addStretch(1);
    layout->addWidget(appPicker_);
    layout->addWidget(days);
    return bar;
}

QWidget* HistoryScreen::makeActivity() {
    auto* activity = new QWidget(pages_);
    auto* columns = new QHBoxLayout(activity);
    columns->setContentsMargins(0, 0, 0, 0);
    columns->setSpacing(0);
    auto* left = new QVBoxLayout;
    left->setSpacing(0);
    left->addWidget(makeFilterBar(activity));
    rowsOrNothing_ = new QStackedWidget(activity);
    rows_ = new HistoryRows(context_, rowsOrNothing_);
    rowsOrNothing_->addWidget(rows_);
    auto* nothing =
        new EmptyState("clock", screenText(words().text("Nothing here")),
                       screenText(words().text("No use matches these filters.")), rowsOrNothing_);
    nothing->setObjectName("nothingHere");
    rowsOrNothing_->addWidget(nothing);
    left->addWidget(rowsOrNothing_, 1);
    columns->addLayout(left, 1);
    columns->addWidget(new Hairline(activity, Qt::Vertical));
    totals_ = new TotalsView(context_, activity);
    totals_->onRange = [this] {
        refreshTotals();
    };
    columns->addWidget(totals_);
    return activity;
}

QWidget* HistoryScreen::makeFooter() {
    auto* footer = new QWidget(this);
    auto* layout = new QHBoxLayout(footer);
    layout->setContentsMargins(20, 8, 20, 10);
    layout->setSpacing(12);
    footer_ = new TextLabel({}, TextStyle::caption, Ink::secondary, footer);
    footer_->setObjectName("historyFooter");
    auto* change =
        new LinkButton(screenText(words().text("Change in Settings")), footer, TextStyle::caption);
    change->setObjectName("changeInSettings");
    connect(change, &QAbstractButton::clicked, this, [this] { context_.actions.showSettings(); });
    layout->addWidget(footer_, 1);
    layout->addWidget(change, 0, Qt::AlignVCenter);
    refreshFooter();
    return footer;
}

void HistoryScreen::showPage() {
    chartButton_->setVisible(!showsAway_);
    chartButton_->setSymbol(showsChart_ ? "list.bullet" : "chart.xyaxis.line");
    chartButton_->setWords(
        screenText(showsChart_ ? words().text("Back to the list")
                               : words().text("Show camera and microphone time as a chart")),
        screenText(showsChart_ ? words().text("Back to the list")
                               : words().text("Show the chart")));
    // What the window shows is built anew, and with it the chart's time.
    chartIsStale_ = true;
    pages_->setCurrentIndex(showsAway_ ? 2 : showsChart_ ? 1 : 0);
    refreshShown();
}

void HistoryScreen::flip() {
    fadeOut(pages_, fadeMilliseconds);
    showsChart_ = !showsChart_;
    showPage();
}

void HistoryScreen::choose(const HistoryFilter& filter) {
    const bool isOtherDevice = filter.device != filter_.device;
    filter_ = filter;
    refreshRows();
    if (isOtherDevice) {
        refreshTotals();
    }
}

void HistoryScreen::showEvent(QShowEvent*) {
    ticks_ = context_.scheduler.every(tick, [this] { moveOn(); });
    now_ = context_.model.clock().now();
    listIsStale_ = true;
    chartIsStale_ = true;
    refreshShown();
}

void HistoryScreen::hideEvent(QHideEvent*) {
    ticks_.reset();
    sessions_ = {};
    listIsStale_ = true;
}

bool HistoryScreen::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::Hide && choicesWait_) {
        // Once what was chosen in the menu is known, which is told by its place there.
        context_.scheduler.post([self = QPointer(this)] {
            if (self && self->isVisible() && self->choicesWait_) {
                self->refreshChoices();
            }
        });
    }
    return QWidget::eventFilter(watched, event);
}

void HistoryScreen::moveOn() {
    now_ = context_.model.clock().now();
    if (pages_->currentIndex() == 0) {
        refreshRows();
        refreshTotals();
    } else {
        listIsStale_ = true;
    }
    if (pages_->currentIndex() == 2) {
        away_->refresh(); // what was today may be yesterday
    }
}

void HistoryScreen::historyChanged() {
    listIsStale_ = true;
    chartIsStale_ = true;
    if (isRefreshPosted_ || !isVisible()) {
        return;
    }
    isRefreshPosted_ = true;
    context_.scheduler.post([self = QPointer(this)] {
        if (self) {
            self->isRefreshPosted_ = false;
            self->refreshShown();
        }
    });
}

void HistoryScreen::refreshShown() {
    if (!isVisible()) {
        return;
    }
    if (pages_->currentIndex() == 0 && listIsStale_) {
        listIsStale_ = false;
        sessions_ = context_.model.visibleSessions();
        refreshChoices();
        refreshRows();
        refreshTotals();
    } else if (pages_->currentIndex() == 1 && chartIsStale_) {
        chartIsStale_ = false;
        chart_->refresh();
    }
}

void HistoryScreen::refreshRows() {
    auto content = HistoryContent::of(sessions_, filter_, now_, words());
    const bool isEmpty = content.rows.empty();
    rows_->setContent(std::move(content));
    rowsOrNothing_->setCurrentIndex(isEmpty ? 1 : 0);
}

void HistoryScreen::refreshTotals() {
    totals_->setSessions(sessions_, filter_.device, now_);
}

void HistoryScreen::refreshChoices() {
    choicesWait_ = appPicker_->view()->isVisible();
    if (choicesWait_) {
        return; // nothing moves under the pointer
    }
    auto choices = appChoices(sessions_);
    const auto isChosen = [this](const AppChoiceEntry& each) {
        return each.id == filter_.appID;
    };
    if (filter_.appID && std::none_of(choices.begin(), choices.end(), isChosen)) {
        // The filter holds although its app has gone from the history.
        choices.push_back(*std::find_if(apps_.begin(), apps_.end(), isChosen));
    }
    if (choices == apps_) {
        return;
    }
    apps_ = std::move(choices);
    QStringList entries{screenText(words().text("All apps"))};
    int chosen = 0;
    for (const auto& app : apps_) {
        if (isChosen(app)) {
            chosen = static_cast<int>(entries.size());
        }
        entries.push_back(lineText(app.name).left(mostMenuCharacters));
    }
    appPicker_->clear();
    appPicker_->addItems(entries);
    appPicker_->setCurrentIndex(chosen);
}

void HistoryScreen::refreshFooter() {
    const auto& settings = context_.model.settings;
    footer_->setPlain(screenText(historyFooter(*settings.retentionDays, *settings.hideSystemSounds,
                                               *settings.ignoreSystemListening)));
}

} // namespace velmoran
