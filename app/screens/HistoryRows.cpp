#include "app/screens/HistoryRows.h"

#include "app/look/ScreenColors.h"
#include "app/look/TextStyle.h"
#include "app/screens/TimeColumn.h"
#include "core/text/DurationFormat.h"
#include "core/text/Localizer.h"

#include <QEvent>
#include <QFontMetrics>
#include <QPainter>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

namespace velmoran {

namespace {

constexpr int margin = 20;
constexpr int gap = 10;

int widest(const QFont& font, const std::vector<std::string>& texts) {
    const QFontMetrics metrics(font);
    int most = 0;
    for (const auto& text : texts) {
        most = std::max(most, metrics.horizontalAdvance(QString::fromStdString(text)));
    }
    return most + 2; // a text that just fits isn't cut
}

void drawPart(QPainter& painter, const QRect& frame, const std::string& text,
              Qt::Alignment alignment = Qt::AlignLeft) {
    const auto shown = painter.fontMetrics().elidedText(QString::fromStdString(text),
                                                        Qt::ElideRight, frame.width());
    painter.drawText(frame, static_cast<int>(alignment | Qt::AlignVCenter) | Qt::TextSingleLine,
                     shown);
}

bool hasSameLines(const HistoryContent& one, const HistoryContent& other) {
    return std::ranges::equal(one.rows, other.rows, {}, &ActivityRow::id, &ActivityRow::id) &&
           std::ranges::equal(one.sections, other.sections, {}, &HistorySection::first,
                              &HistorySection::first);
}

} // namespace

HistoryRows::HistoryRows(const ScreenContext& context, QWidget* parent)
    : QWidget(parent),
      context_(context),
      cells_(context),
      list_(new ItemList(QString::fromStdString(words().text("Activity")), *this, this)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(list_);
    list_->setObjectName("historyRows");
    setFocusProxy(list_);
    measure();
}

void HistoryRows::measure() {
    body_ = velmoran::font(TextStyle::body, font());
    digits_ = velmoran::font(TextStyle::tabular, font());
    timeWidth_ = timeColumnWidth(digits_);
    devicesWidth_ = widest(body_, {words().list({words().text("camera"), words().text("mic")}),
                                   words().text("speaker")});
    labelWidth_ =
        widest(body_, {words().text("Stopped"), words().text("Trusted"), words().text("Warned")});
    trailingWidth_ = widest(digits_, {words().text("Still on"), words().text("End not known"),
                                      DurationFormat::text(36000 + 59 * 60)});
    list_->setLineHeight(std::max(28, QFontMetrics(body_).height() + 12));
}

void HistoryRows::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        measure();
    }
    if (changesCells(*event)) {
        cells_.forget();
        list_->refresh();
    }
}

std::size_t HistoryRows::sectionOf(int index) const {
    // A section has one line more than rows.
    const auto& sections = content_.sections;
    std::size_t low = 0;
    std::size_t high = sections.size() - 1;
    while (low < high) {
        const auto middle = low + (high - low + 1) / 2;
        if (sections[middle].first + middle <= static_cast<std::size_t>(index)) {
            low = middle;
        } else {
            high = middle - 1;
        }
    }
    return low;
}

const ActivityRow& HistoryRows::row(int index) const {
    return content_.rows[static_cast<std::size_t>(index) - sectionOf(index) - 1];
}

std::optional<Uuid> HistoryRows::idAt(std::optional<int> index) const {
    return index ? std::optional(row(*index).id()) : std::nullopt;
}

std::optional<int> HistoryRows::indexOf(const Uuid& id) const {
    const auto& rows = content_.rows;
    const auto found = std::find_if(rows.begin(), rows.end(),
                                    [&](const ActivityRow& each) { return each.id() == id; });
    if (found == rows.end()) {
        return std::nullopt;
    }
    const auto place = static_cast<std::size_t>(found - rows.begin());
    const auto after = std::upper_bound(
        content_.sections.begin(), content_.sections.end(), place,
        [](std::size_t at, const HistorySection& section) { return at < section.first; });
    return static_cast<int>(place + static_cast<std::size_t>(after - content_.sections.begin()));
}

void HistoryRows::setContent(HistoryContent content) {
    if (hasSameLines(content, content_)) {
        content_ = std::move(content);
        list_->refresh();
        return;
    }
    const auto current = idAt(list_->current());
    const auto top = idAt(list_->top());
    content_ = std::move(content);
    std::vector<int> headings;
    for (const auto& section : content_.sections) {
        headings.push_back(static_cast<int>(section.first + headings.size()));
    }
    const auto place = [this](const std::optional<Uuid>& id) {
        return id ? indexOf(*id) : std::nullopt;
    };
    const int count = static_cast<int>(content_.rows.size() + headings.size());
    list_->setItems(count, std::move(headings), place(current), place(top));
}

HistoryRows::Columns HistoryRows::columnsIn(const QRect& frame, const std::string& devices,
                                            const AppIdentity& app) const {
    const int top = frame.top();
    const int height = frame.height();
    const int right = frame.right() + 1 - margin;
    Columns columns;
    columns.time = {frame.left() + margin, top, timeWidth_, height};
    columns.trailing = {right - trailingWidth_, top, trailingWidth_, height};
    columns.label = {columns.trailing.left() - gap - labelWidth_, top, labelWidth_, height};
    columns.devices = {columns.label.left() - gap - devicesWidth_, top, devicesWidth_, height};
    const int appLeft = columns.time.right() + 1 + 8;
    // A long name takes what the words beside it leave.
    const int taken = std::min(devicesWidth_, widest(body_, {devices}));
    const int wanted = cells_.widthOf({}, app, body_);
    const int spare = std::max(0, appLeft + wanted + gap - columns.devices.left());
    columns.devices.setLeft(columns.devices.left() + std::min(spare, devicesWidth_ - taken));
    columns.app = {appLeft, top, std::max(40, columns.devices.left() - gap - appLeft), height};
    return columns;
}

HistoryRows::Columns HistoryRows::columnsOf(int index, const QRect& frame) const {
    const auto& shown = row(index);
    return columnsIn(frame, rowText(shown, content_.now).devices, shown.app());
}

void HistoryRows::paintHeading(QPainter& painter, int index, const Look& look) const {
    const auto& section = content_.sections[sectionOf(index)];
    painter.setFont(velmoran::font(TextStyle::headline, font()));
    painter.setPen(ScreenColors(palette()).text);
    drawPart(painter, look.frame.adjusted(margin, 8, -margin, 0), section.title);
}

void HistoryRows::paint(QPainter& painter, int index, const Look& look) const {
    if (list_->isHeading(index)) {
        paintHeading(painter, index, look);
        return;
    }
    const ScreenColors colors(palette());
    const auto& shown = row(index);
    const auto text = rowText(shown, content_.now);
    const auto columns = columnsIn(look.frame, text.devices, shown.app());
    if (look.isCurrent || look.isHovered) {
        painter.save();
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(look.isCurrent ? colors.highlight : colors.hover);
        painter.drawRoundedRect(QRectF(look.frame).adjusted(8, 0, -8, 0), 6, 6);
        painter.restore();
    }
    const auto ink = look.isCurrent ? colors.highlightedText : colors.text;
    const auto quiet = look.isCurrent ? colors.highlightedText : colors.secondary;
    painter.setFont(digits_);
    painter.setPen(quiet);
    drawPart(painter, columns.time, text.time);
    cells_.paint(painter, {.frame = columns.app}, shown.app(),
                 {.font = body_, .text = ink, .secondary = quiet, .palette = palette()});
    painter.setFont(body_);
    painter.setPen(quiet);
    drawPart(painter, columns.devices, text.devices);
    const bool isStrong = shown.outcome == SessionOutcome::stoppedByUser;
    painter.setPen(isStrong ? ink : quiet);
    drawPart(painter, columns.label, text.label);
    painter.setFont(digits_);
    painter.setPen(shown.isOpen ? ink : quiet);
    drawPart(painter, columns.trailing, text.trailing, Qt::AlignRight);
}

QString HistoryRows::name(int index) const {
    if (list_->isHeading(index)) {
        return QString::fromStdString(content_.sections[sectionOf(index)].title);
    }
    auto text = rowText(row(index), content_.now);
    text.app = lineText(text.app).toStdString();
    return QString::fromStdString(text.spoken());
}

QString HistoryRows::help(int index, const QRect& frame, QPoint place) const {
    if (list_->isHeading(index)) {
        return {};
    }
    const auto columns = columnsOf(index, frame);
    return columns.app.contains(place)
               ? cells_.help({.frame = columns.app}, row(index).app(), body_, place)
               : QString();
}

QRect HistoryRows::part(int index, const QRect& frame) const {
    return cells_.infoFrame({.frame = columnsOf(index, frame).app}, row(index).app(), body_);
}

QString HistoryRows::partName(int index) const {
    return cells_.infoName(row(index).app());
}

void HistoryRows::press(int index, const QRect& frame, std::optional<QPoint> place) {
    // A copy: what it opens may change the list.
    const auto pressed = row(index);
    const auto info = part(index, frame);
    if (place && AppCells::isOnInfo(info, *place)) {
        cells_.explain(pressed.app(), list_->viewport(), info);
        return;
    }
    context_.actions.showDetails(pressed);
}

} // namespace velmoran
