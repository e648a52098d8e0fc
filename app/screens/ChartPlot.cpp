#include "app/screens/ChartPlot.h"

#include "app/controls/Groups.h"
#include "app/look/ScreenColors.h"
#include "app/look/TextStyle.h"
#include "app/screens/ChartAccess.h"
#include "app/screens/ChartSwatch.h"
#include "core/text/DurationFormat.h"
#include "core/text/Localizer.h"

#include <QFontMetricsF>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

namespace velmoran {

namespace {

constexpr int drawingMilliseconds = 900;
constexpr int fadingMilliseconds = 150;
constexpr double lineWidth = 2;
constexpr double edgeWidth = 1;
constexpr double pointArea = 45;
constexpr double labelGap = 8;
constexpr int emptyAlignment =
    static_cast<int>(Qt::AlignCenter) | static_cast<int>(Qt::TextWordWrap);

QString emptyText() {
    return QString::fromStdString(words().text("No camera or microphone use in this time."));
}

QString tickText(Seconds tick) {
    return QString::fromStdString(DurationFormat::text(tick));
}

} // namespace

ChartPlot::ChartPlot(const ScreenContext& context, QWidget* parent)
    : QWidget(parent),
      context_(context),
      note_(new DayNoteView(context.picture, this)),
      noteOpacity_(new QGraphicsOpacityEffect(note_)) {
    installChartAccess();
    setObjectName("chart");
    setAccessibleName(QString::fromStdString(words().text("Camera and microphone time per day")));
    setFocusPolicy(Qt::StrongFocus);
    note_->setGraphicsEffect(noteOpacity_);
    note_->installEventFilter(this);
    note_->hide();
    drawing_.setDuration(drawingMilliseconds);
    drawing_.setEasingCurve(QEasingCurve::OutCubic);
    drawing_.setStartValue(0.0);
    drawing_.setEndValue(1.0);
    connect(&drawing_, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        drawn_ = value.toDouble();
        update();
    });
    fading_.setDuration(fadingMilliseconds);
    fading_.setEasingCurve(QEasingCurve::OutCubic);
    connect(&fading_, &QVariantAnimation::valueChanged, this, [this](const QVariant& value) {
        marking_ = value.toDouble();
        noteOpacity_->setOpacity(marking_);
        update();
    });
    connect(&fading_, &QVariantAnimation::finished, this, [this] {
        marked_ = selected_;
        note_->setVisible(marked_.has_value());
    });
}

void ChartPlot::setContent(ChartContent content) {
    content_ = std::move(content);
    setAccessibleDescription(content_.isEmpty() ? emptyText() : QString());
    layOut();
    if (selected_ && !content_.indexOf(*selected_)) {
        select(std::nullopt);
    }
    if (marked_ && !content_.indexOf(*marked_)) {
        marked_.reset();
        note_->hide();
    }
    if (const auto day = selected()) {
        note_->present(DayNoteContent::of(content_.days[*day], content_.now, words()));
        placeNote();
    }
    tellChartChanged(*this);
    update();
}

void ChartPlot::drawIn() {
    select(std::nullopt);
    fading_.stop();
    marked_.reset();
    note_->hide();
    drawing_.stop();
    if (wantsLessMotion()) {
        drawn_ = 1;
        update();
    } else {
        drawn_ = 0; // the animation tells of its first step only
        drawing_.start();
    }
}

std::optional<std::size_t> ChartPlot::selected() const {
    return selected_ ? content_.indexOf(*selected_) : std::nullopt;
}

void ChartPlot::select(std::optional<std::size_t> day) {
    if (day && *day >= content_.days.size()) {
        return;
    }
    const auto wanted = day ? std::optional(content_.days[*day].day) : std::nullopt;
    if (wanted == selected_) {
        return;
    }
    selected_ = wanted;
    if (day) {
        marked_ = wanted;
        note_->present(DayNoteContent::of(content_.days[*day], content_.now, words()));
        placeNote();
    }
    fadeNote(day.has_value());
    tellChartSelection(*this);
}

void ChartPlot::fadeNote(bool shown) {
    const double to = shown ? 1 : 0;
    fading_.stop();
    fading_.setStartValue(shown ? 0.0 : marking_);
    fading_.setEndValue(to);
    if (!wantsLessMotion() && isVisible()) {
        fading_.start();
        return;
    }
    marking_ = to;
    noteOpacity_->setOpacity(to);
    marked_ = selected_;
    note_->setVisible(shown);
    update();
}

void ChartPlot::layOut() {
    const QFontMetricsF metrics(velmoran::font(TextStyle::caption, font()));
    double widest = 0;
    for (const auto tick : content_.scale.ticks) {
        widest = std::max(widest, metrics.horizontalAdvance(tickText(tick)));
    }
    layout_ = ChartLayout(content_, width(), height(),
                          {.left = std::ceil(widest + labelGap),
                           .bottom = std::ceil(metrics.height() + labelGap),
                           .top = std::ceil(metrics.height() / 2),
                           .right = 4});
    placeNote();
}

void ChartPlot::placeNote() {
    if (const auto day = marked_ ? content_.indexOf(*marked_) : std::nullopt) {
        const auto frame = layout_.noteFrame(*day, note_->width(), note_->height());
        note_->move(QPointF(frame.x, frame.y).toPoint());
    }
}

void ChartPlot::paintAxes(QPainter& painter) const {
    const ScreenColors colors(palette());
    const auto captions = velmoran::font(TextStyle::caption, font());
    const QFontMetricsF metrics(captions);
    const auto& plot = layout_.plot();
    auto gridColor = colors.text;
    gridColor.setAlphaF(0.18F);
    painter.setFont(captions);
    for (std::size_t index = 0; index < content_.scale.ticks.size(); ++index) {
        const auto y = layout_.gridLines()[index];
        painter.setPen(QPen(gridColor, 1));
        painter.drawLine(QPointF(plot.x, std::round(y) + 0.5),
                         QPointF(plot.right(), std::round(y) + 0.5));
        painter.setPen(colors.secondary);
        painter.drawText(QRectF(0, y - metrics.height() / 2, plot.x - labelGap, metrics.height()),
                         Qt::AlignRight | Qt::AlignVCenter, tickText(content_.scale.ticks[index]));
    }
    painter.setPen(colors.secondary);
    for (const auto& label : content_.labels) {
        const auto text = QString::fromStdString(label.text);
        const auto textWidth = metrics.horizontalAdvance(text) + 1;
        const auto x = std::clamp(layout_.xOf(label.day) - textWidth / 2, 0.0,
                                  std::max(0.0, width() - textWidth));
        painter.drawText(QRectF(x, plot.bottom() + labelGap, textWidth, metrics.height()),
                         Qt::AlignCenter, text);
    }
}

void ChartPlot::paintLine(QPainter& painter, const std::vector<ChartPoint>& points,
                          bool isCamera) const {
    QPainterPath path;
    for (const auto& point : points) {
        const QPointF place(point.x, point.y);
        path.elementCount() == 0 ? path.moveTo(place) : path.lineTo(place);
    }
    const ScreenColors colors(palette());
    const auto color = chartColor(colors, isCamera);
    const auto edge = chartEdge(colors, isCamera);
    painter.setBrush(Qt::NoBrush);
    if (edge != color) {
        painter.setPen(
            QPen(edge, lineWidth + 2 * edgeWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.drawPath(path);
    }
    painter.setPen(QPen(color, lineWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPath(path);
}

void ChartPlot::paintSelection(QPainter& painter) const {
    const auto day = marked_ ? content_.indexOf(*marked_) : std::nullopt;
    if (!day) {
        return;
    }
    const ScreenColors colors(palette());
    const auto& plot = layout_.plot();
    const auto x = layout_.xOf(*day);
    painter.setOpacity(marking_);
    auto rule = colors.text;
    rule.setAlphaF(0.35F);
    painter.setPen(QPen(rule, 1));
    painter.drawLine(QPointF(x, plot.y), QPointF(x, plot.bottom()));
    const double radius = std::sqrt(pointArea / std::numbers::pi);
    for (const bool isCamera : {false, true}) {
        const auto& point = isCamera ? layout_.camera()[*day] : layout_.microphone()[*day];
        const auto color = chartColor(colors, isCamera);
        const auto edge = chartEdge(colors, isCamera);
        painter.setPen(edge != color ? QPen(edge, edgeWidth) : QPen(Qt::NoPen));
        painter.setBrush(color);
        painter.drawEllipse(QPointF(point.x, point.y), radius, radius);
    }
    painter.setOpacity(1);
}

void ChartPlot::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const ScreenColors colors(palette());
    paintAxes(painter);
    const auto& plot = layout_.plot();
    painter.save();
    painter.setClipRect(QRectF(plot.x, 0, plot.width * drawn_ + (drawn_ < 1 ? 0 : 4), height()));
    paintLine(painter, layout_.microphone(), false);
    paintLine(painter, layout_.camera(), true);
    painter.restore();
    paintSelection(painter);
    if (content_.isEmpty()) {
        const auto words = emptyText();
        const QRectF room(plot.x, plot.y, plot.width, plot.height);
        painter.setFont(velmoran::font(TextStyle::body, font()));
        // No line runs through the words.
        painter.fillRect(painter.boundingRect(room, emptyAlignment, words).adjusted(-8, -4, 8, 4),
                         colors.window);
        painter.setPen(colors.secondary);
        painter.drawText(room, emptyAlignment, words);
    }
    if (hasFocus() && focusIsByKeyboard_) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(colors.highlight, 2));
        painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 8, 8);
    }
}

void ChartPlot::resizeEvent(QResizeEvent*) {
    layOut();
}

void ChartPlot::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    layOut();
    update();
}

bool ChartPlot::eventFilter(QObject* watched, QEvent* event) {
    if (watched == note_ && event->type() == QEvent::Resize) {
        placeNote();
    }
    return QWidget::eventFilter(watched, event);
}

void ChartPlot::hideEvent(QHideEvent*) {
    // Nothing moves that isn't seen.
    drawing_.stop();
    drawn_ = 1;
    if (fading_.state() == QAbstractAnimation::Running) {
        fading_.stop();
        fadeNote(selected_.has_value());
    }
}

void ChartPlot::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        return;
    }
    focusIsByKeyboard_ = false;
    const auto place = event->position();
    const auto moment = layout_.momentAt({place.x(), place.y()});
    const auto day = moment ? content_.dayNearest(*moment) : std::nullopt;
    if (day) {
        select(day == selected() ? std::nullopt : day);
    }
}

void ChartPlot::keyPressEvent(QKeyEvent* event) {
    focusIsByKeyboard_ = true;
    const auto count = content_.days.size();
    const auto at = selected();
    const bool isArrow = event->key() == Qt::Key_Left || event->key() == Qt::Key_Right;
    if (count > 0 && (event->key() == Qt::Key_End || (isArrow && !at))) {
        select(count - 1);
    } else if (count > 0 && event->key() == Qt::Key_Home) {
        select(0);
    } else if (at && event->key() == Qt::Key_Left) {
        select(*at > 0 ? *at - 1 : 0);
    } else if (at && event->key() == Qt::Key_Right) {
        select(std::min(*at + 1, count - 1));
    } else if (at && event->key() == Qt::Key_Escape) {
        select(std::nullopt);
    } else {
        QWidget::keyPressEvent(event);
    }
}

void ChartPlot::focusInEvent(QFocusEvent* event) {
    if (event->reason() != Qt::ActiveWindowFocusReason) { // otherwise as it was
        focusIsByKeyboard_ =
            event->reason() == Qt::TabFocusReason || event->reason() == Qt::BacktabFocusReason;
    }
    update();
}

void ChartPlot::focusOutEvent(QFocusEvent*) {
    update();
}

} // namespace velmoran
