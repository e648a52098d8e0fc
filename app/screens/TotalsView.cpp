#include "app/screens/TotalsView.h"

#include "app/look/ScreenColors.h"
#include "core/text/DurationFormat.h"
#include "core/text/Localizer.h"

#include <QEvent>
#include <QFontMetrics>
#include <QPainter>
#include <QVBoxLayout>
#include <algorithm>
#include <array>
#include <utility>

namespace velmoran {

namespace {

constexpr int side = 16;
constexpr int inset = 16;
constexpr int timeGap = 6;

constexpr std::array<HistoryRange, 2> periods = {HistoryRange::today, HistoryRange::week};

} // namespace

TotalsView::TotalsView(const ScreenContext& context, QWidget* parent)
    : QWidget(parent),
      context_(context),
      cells_(context) {
    setObjectName("totals");
    setFixedWidth(columnWidth);
    const auto text = [](const std::string& words) {
        return QString::fromStdString(words);
    };
    QList<SegmentedControl::Segment> segments;
    for (const auto range : periods) {
        segments.push_back({.label = text(labelOf(range))});
    }
    auto* heading =
        new LineLabel(text(words().text("Time per app")), TextStyle::headline, Ink::text, this);
    period_ = new SegmentedControl(text(words().text("Period")), segments, this);
    period_->setObjectName("period");
    period_->setCurrent(1);
    period_->onChoose = [this](int index) {
        range_ = periods[static_cast<std::size_t>(index)];
        onRange();
    };
    device_ = new LineLabel({}, TextStyle::body, Ink::secondary, this);
    device_->setObjectName("totalsDevice");
    nothing_ = new TextLabel(text(words().text("No use in this period.")), TextStyle::body,
                             Ink::secondary, this);
    list_ = new ItemList(text(words().text("Time per app")), *this, this);
    list_->setObjectName("totalsRows");

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 12, 0, 0);
    layout->setSpacing(8);
    auto* head = new QVBoxLayout;
    head->setContentsMargins(inset, 0, inset, 0);
    head->setSpacing(8);
    head->addWidget(heading);
    head->addWidget(period_);
    head->addWidget(device_);
    head->addWidget(nothing_);
    layout->addLayout(head);
    layout->addWidget(list_, 1);
}

void TotalsView::setSessions(const SessionList& sessions, std::optional<Device> device,
                             Timestamp now) {
    const auto before =
        std::exchange(content_, TotalsContent::of(sessions, device, range_, now, words()));
    device_->setPlain(QString::fromStdString(content_.device));
    const int count = static_cast<int>(content_.apps.size());
    nothing_->setVisible(count == 0);
    list_->setFocusPolicy(count == 0 ? Qt::NoFocus : Qt::StrongFocus);
    const auto isSameApp = [](const AppTime& one, const AppTime& other) {
        return one.app.id == other.app.id;
    };
    if (std::ranges::equal(before.apps, content_.apps, isSameApp)) {
        list_->refresh();
        return;
    }
    const auto current = list_->current();
    list_->setItems(count, {}, current && *current < count ? current : std::nullopt, list_->top());
}

void TotalsView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (changesCells(*event)) {
        cells_.forget();
        if (list_) {
            list_->refresh();
        }
    }
}

QString TotalsView::time(int index) const {
    return QString::fromStdString(DurationFormat::text(at(index).seconds));
}

AppCells::Place TotalsView::placeIn(const QRect& frame, int index) const {
    const QFontMetrics metrics(velmoran::font(TextStyle::captionTabular, font()));
    const int taken = metrics.horizontalAdvance(time(index)) + timeGap;
    return {.frame = frame.adjusted(inset, 0, -inset - taken, 0), .pictureSide = side};
}

void TotalsView::paint(QPainter& painter, int index, const Look& look) const {
    const ScreenColors colors(palette());
    cells_.paint(painter, placeIn(look.frame, index), at(index).app,
                 {.font = velmoran::font(TextStyle::body, font()),
                  .text = colors.text,
                  .secondary = colors.secondary,
                  .palette = palette()});
    painter.setFont(velmoran::font(TextStyle::captionTabular, font()));
    painter.setPen(colors.secondary);
    painter.drawText(look.frame.adjusted(inset, 0, -inset, 0), Qt::AlignRight | Qt::AlignVCenter,
                     time(index));
}

QString TotalsView::name(int index) const {
    return lineText(at(index).app.name) + ", " + time(index);
}

QString TotalsView::help(int index, const QRect& frame, QPoint place) const {
    const auto cell = placeIn(frame, index);
    return cell.frame.contains(place)
               ? cells_.help(cell, at(index).app, velmoran::font(TextStyle::body, font()), place)
               : QString();
}

QRect TotalsView::part(int index, const QRect& frame) const {
    return cells_.infoFrame(placeIn(frame, index), at(index).app,
                            velmoran::font(TextStyle::body, font()));
}

QString TotalsView::partName(int index) const {
    return cells_.infoName(at(index).app);
}

void TotalsView::press(int index, const QRect& frame, std::optional<QPoint> place) {
    const auto app = at(index).app;
    const auto info = part(index, frame);
    if (!info.isEmpty() && (!place || AppCells::isOnInfo(info, *place))) {
        cells_.explain(app, list_->viewport(), info);
    }
}

} // namespace velmoran
