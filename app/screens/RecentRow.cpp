#include "app/screens/RecentRow.h"

#include "app/contents/DeviceNames.h"
#include "app/screens/ScreenText.h"

#include <QHBoxLayout>
#include <algorithm>
#include <cmath>

namespace velmoran {

namespace {

constexpr int recentImage = 16;
constexpr int deviceSymbol = 12;
constexpr int deviceGap = 3;
constexpr int columnGap = 10;
constexpr int recentInset = 8;
constexpr int recentRoom = 2; ///< above and below the name

} // namespace

RecentColumns RecentColumns::of(const std::vector<RecentLine>& lines, const QFont& body) {
    const auto digits = font(RecentRow::digits, body);
    RecentColumns columns;
    int most = 1;
    for (const auto& line : lines) {
        const auto widthOf = [&](const std::string& text) {
            return static_cast<int>(std::ceil(evenWidth(digits, qt(text)))) + 1;
        };
        most = std::max(most, static_cast<int>(line.devices.size()));
        columns.time = std::max(columns.time, widthOf(line.time));
        columns.duration = std::max(columns.duration, widthOf(line.duration));
        columns.hasStop |= line.wasStopped;
    }
    columns.devices = deviceSymbol * most + deviceGap * (most - 1);
    return columns;
}

RecentRow::RecentRow(const AppPicture& picture, const AppIdentity& app, QWidget* parent)
    : RowButton(parent),
      image_(new AppImage(picture, app, recentImage, this)),
      name_(new LineLabel({}, TextStyle::body, Ink::text, this)),
      devices_(new QWidget(this)),
      stopColumn_(new QWidget(this)),
      stop_(new SymbolLabel(QStringLiteral("stop.fill"), deviceSymbol, Ink::secondary, stopColumn_,
                            qt(RecentLine::stoppedByYou()))),
      time_(new LineLabel({}, digits, Ink::secondary, this)),
      duration_(new LineLabel({}, digits, Ink::secondary, this)) {
    auto* devices = new QHBoxLayout(devices_);
    devices->setContentsMargins(0, 0, 0, 0);
    devices->setSpacing(deviceGap);
    // The place stays where only other lines have the symbol.
    stopColumn_->setFixedWidth(deviceSymbol);
    auto* stop = new QHBoxLayout(stopColumn_);
    stop->setContentsMargins(0, 0, 0, 0);
    stop->addWidget(stop_);
    stop_->setToolTip(qt(RecentLine::stoppedByYou()));
    time_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    duration_->setAlignment(Qt::AlignRight | Qt::AlignVCenter);

    auto* line = new QHBoxLayout(this);
    line->setContentsMargins(recentInset, recentRoom, recentInset, recentRoom);
    line->setSpacing(columnGap);
    line->addWidget(image_);
    line->addWidget(name_, 1);
    line->addWidget(devices_);
    line->addWidget(stopColumn_);
    line->addWidget(time_);
    line->addWidget(duration_);
}

void RecentRow::showDevices(const std::vector<Device>& devices) {
    auto* layout = devices_->layout();
    while (auto* item = layout->takeAt(0)) {
        delete item->widget();
        delete item;
    }
    for (const auto device : devices) {
        layout->addWidget(new SymbolLabel(qt(DeviceNames::symbolOf(device)), deviceSymbol,
                                          Ink::secondary, devices_, qt(DeviceNames::of(device))));
    }
    static_cast<QHBoxLayout*>(layout)->addStretch();
}

void RecentRow::present(const RecentLine& line, const RecentColumns& columns) {
    if (shown_ == line && columns_ == columns) {
        return;
    }
    if (!shown_ || shown_->app != line.app) {
        image_->setApp(line.app);
        name_->setPlain(qt(line.app.name));
    }
    if (!shown_ || shown_->devices != line.devices) {
        showDevices(line.devices);
    }
    if (!shown_ || columns_ != columns) {
        devices_->setFixedWidth(columns.devices);
        time_->setFixedWidth(columns.time);
        duration_->setFixedWidth(columns.duration);
        stopColumn_->setVisible(columns.hasStop);
    }
    if (!shown_ || shown_->wasStopped != line.wasStopped) {
        stop_->setVisible(line.wasStopped);
    }
    if (!shown_ || shown_->time != line.time) {
        time_->setPlain(qt(line.time));
    }
    if (!shown_ || shown_->duration != line.duration) {
        duration_->setPlain(qt(line.duration));
    }
    setSpokenName(*this, qt(line.spoken()));
    shown_ = line;
    columns_ = columns;
}

} // namespace velmoran
