#include "app/screens/AwayReportLines.h"

#include "app/look/ScreenColors.h"
#include "app/look/TextStyle.h"
#include "app/screens/AppCells.h"
#include "app/screens/ScreenText.h"
#include "app/screens/TimeColumn.h"
#include "core/text/Localizer.h"

#include <QEvent>
#include <QFontMetricsF>
#include <QPainter>
#include <QTextLayout>
#include <QVBoxLayout>
#include <algorithm>
#include <cmath>
#include <utility>

namespace velmoran {

namespace {

constexpr int sideMargin = 20;
constexpr int outerEdge = 16; ///< above the first line of all, and below the last
constexpr int betweenEntries = 14;
constexpr int halfPart = 5; ///< of what lies between two parts of a report
constexpr int halfRow = 3;  ///< between two rows, or a day and its report
constexpr int besideTime = 8;
constexpr int besideTag = 8;
constexpr int tagSide = 6;
constexpr int tagEdge = 1;
constexpr int narrowestTitle = 80;
constexpr std::size_t mostTitles = 20'000;

/// Wrapped between words, and inside one that is too long.
double layOutWrapped(QTextLayout& layout, const QString& text, const QFont& font, double width) {
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setText(text);
    layout.setFont(font);
    layout.setTextOption(option);
    double height = 0;
    layout.beginLayout();
    for (auto line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        line.setPosition({0, height});
        height += line.height();
    }
    layout.endLayout();
    return height;
}

int wrappedHeight(const QString& text, const QFont& font, int width) {
    QTextLayout layout;
    return static_cast<int>(std::ceil(layOutWrapped(layout, text, font, width)));
}

void paintWrapped(QPainter& painter, const QString& text, const QRect& frame) {
    QTextLayout layout;
    layOutWrapped(layout, text, painter.font(), frame.width());
    layout.draw(&painter, frame.topLeft());
}

} // namespace

AwayReportLines::AwayReportLines(const QString& accessibleName, QWidget* parent)
    : QWidget(parent),
      list_(new ItemList(accessibleName, *this, this)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(list_);
    setFocusProxy(list_);
    measure();
}

void AwayReportLines::measure() {
    titles_.clear();
    body_ = velmoran::font(TextStyle::body, font());
    digits_ = velmoran::font(TextStyle::tabular, font());
    caption_ = velmoran::font(TextStyle::caption, font());
    timeWidth_ = timeColumnWidth(digits_);
    tagWidth_ = QFontMetricsF(caption_).horizontalAdvance(qt(ownReturnTag()));
    list_->setLineHeight(static_cast<int>(std::ceil(QFontMetricsF(body_).height())) + 2 * halfRow);
}

void AwayReportLines::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        measure();
        widthChanged();
        chooseBar();
    }
}

void AwayReportLines::resizeEvent(QResizeEvent*) {
    chooseBar();
}

/// Without the bar where all is seen: beside one that stands already, the lines may need it.
void AwayReportLines::chooseBar() {
    const bool isAllSeen = heightFor(width(), height()) <= height();
    list_->setVerticalScrollBarPolicy(isAllSeen ? Qt::ScrollBarAlwaysOff : Qt::ScrollBarAsNeeded);
}

QFont AwayReportLines::fontOf(Kind kind) const {
    switch (kind) {
    case Kind::day: {
        auto day = caption_;
        day.setWeight(QFont::DemiBold);
        return day;
    }
    case Kind::heading:
        return velmoran::font(TextStyle::title3, font());
    case Kind::note:
        return caption_;
    default:
        return body_;
    }
}

std::string AwayReportLines::text(const Line& line) const {
    const auto& content = contentOf(line);
    switch (line.kind) {
    case Kind::day:
        return entries_[line.entry].day;
    case Kind::heading:
        return content.heading;
    case Kind::when:
        return content.when;
    case Kind::devices:
        return content.devices;
    case Kind::note:
        return content.notes[line.part];
    case Kind::row:
        break;
    }
    auto row = rowText(rowOf(line));
    row.title = lineText(row.title).toStdString();
    return row.spoken();
}

QString AwayReportLines::name(int index) const {
    return qt(text(lines_[static_cast<std::size_t>(index)]));
}

// MARK: - Which lines there are, and how high

void AwayReportLines::makeLines() {
    lines_.clear();
    headings_.clear();
    for (std::size_t at = 0; at < entries_.size(); ++at) {
        const auto& entry = entries_[at];
        const auto& content = entry.content;
        const auto add = [&](Kind kind, std::size_t part = 0, int above = halfPart,
                             int below = halfPart) {
            lines_.push_back(
                {.kind = kind, .entry = at, .part = part, .above = above, .below = below});
            if (isHeading(lines_.back())) {
                headings_.push_back(static_cast<int>(lines_.size()) - 1);
            }
        };
        const auto first = lines_.size();
        if (!entry.day.empty()) {
            add(Kind::day, 0, halfRow, halfRow);
        }
        add(Kind::heading, 0, entry.day.empty() ? halfPart : halfRow);
        add(Kind::when);
        const auto rows = content.rows.size();
        for (std::size_t row = 0; row < rows; ++row) {
            add(Kind::row, row, row == 0 ? halfPart : halfRow,
                row + 1 == rows ? halfPart : halfRow);
        }
        if (!content.devices.empty()) {
            add(Kind::devices);
        }
        for (std::size_t note = 0; note < content.notes.size(); ++note) {
            add(Kind::note, note);
        }
        lines_[first].above = at == 0 ? outerEdge : betweenEntries;
        lines_.back().below = at + 1 == entries_.size() ? outerEdge : betweenEntries;
    }
}

AwayReportLines::Title& AwayReportLines::titleOf(const AwayReportContent::Row& row) const {
    auto key = std::string(1, static_cast<char>(row.event.kind));
    if (row.event.detail) {
        key += ' ' + *row.event.detail;
    }
    if (titles_.size() >= mostTitles) {
        titles_.clear();
    }
    const auto [found, isNew] = titles_.try_emplace(std::move(key));
    if (isNew) {
        found->second.text = lineText(row.event.title());
        found->second.width = QFontMetricsF(body_).horizontalAdvance(found->second.text);
    }
    return found->second;
}

int AwayReportLines::titleWidth(const AwayReportContent::Row& row, int width) const {
    const int taken =
        row.justBeforeUnlock ? besideTag + 2 * tagSide + static_cast<int>(std::ceil(tagWidth_)) : 0;
    return std::max(narrowestTitle, width - timeWidth_ - besideTime - taken);
}

int AwayReportLines::textHeight(const Line& line, int width) const {
    if (line.kind != Kind::row) {
        return wrappedHeight(qt(text(line)), fontOf(line.kind), width);
    }
    const int room = titleWidth(rowOf(line), width);
    auto& title = titleOf(rowOf(line));
    // Before it has its place the list is as narrow as nobody will see it.
    if (title.width <= room || room == narrowestTitle) {
        return static_cast<int>(std::ceil(QFontMetricsF(body_).height()));
    }
    if (title.last.width != room) {
        std::swap(title.last, title.lastBut);
    }
    if (title.last.width != room) {
        title.last = {.width = room, .height = wrappedHeight(title.text, body_, room)};
    }
    return title.last.height;
}

int AwayReportLines::heightOf(const Line& line, int width) const {
    return line.above + line.below +
           textHeight(line, std::max(narrowestTitle, width - 2 * sideMargin));
}

std::vector<int> AwayReportLines::heights(int width) const {
    std::vector<int> result;
    result.reserve(lines_.size());
    for (const auto& line : lines_) {
        result.push_back(heightOf(line, width));
    }
    return result;
}

int AwayReportLines::heightFor(int width, int enough) const {
    int height = 0;
    for (auto line = lines_.begin(); line != lines_.end() && height <= enough; ++line) {
        height += heightOf(*line, width);
    }
    return height;
}

AwayReportLines::Key AwayReportLines::keyOf(const Line& line) const {
    Key key{.kind = line.kind, .report = contentOf(line).id, .event = {}, .part = 0};
    if (line.kind == Kind::row) {
        key.event = rowOf(line).event.id;
    } else {
        key.part = line.part;
    }
    return key;
}

std::optional<AwayReportLines::Key> AwayReportLines::keyAt(std::optional<int> index) const {
    return index ? std::optional(keyOf(lines_[static_cast<std::size_t>(*index)])) : std::nullopt;
}

std::optional<int> AwayReportLines::indexOf(const std::optional<Key>& key) const {
    if (!key) {
        return std::nullopt;
    }
    const auto found =
        std::ranges::find_if(lines_, [&](const Line& line) { return keyOf(line) == *key; });
    return found == lines_.end() ? std::nullopt
                                 : std::optional(static_cast<int>(found - lines_.begin()));
}

void AwayReportLines::setEntries(std::vector<Entry> entries) {
    if (entries == entries_) {
        return;
    }
    const auto current = keyAt(list_->current());
    const auto top = keyAt(list_->top());
    entries_ = std::move(entries);
    makeLines();
    list_->setItems(heights(list_->viewport()->width()), headings_, indexOf(current), indexOf(top));
    chooseBar();
    updateGeometry();
}

void AwayReportLines::widthChanged() {
    if (!lines_.empty()) {
        list_->setItems(heights(list_->viewport()->width()), headings_, list_->current(),
                        list_->top());
    }
}

// MARK: - Drawing

void AwayReportLines::paint(QPainter& painter, int index, const Look& look) const {
    const auto& line = lines_[static_cast<std::size_t>(index)];
    const ScreenColors colors(palette());
    if (index > 0 && line.kind == Kind::day) {
        painter.fillRect(QRectF(sideMargin, look.frame.top(), look.frame.width() - 2 * sideMargin,
                                1 / painter.device()->devicePixelRatioF()),
                         colors.line);
    }
    const auto frame = look.frame.adjusted(sideMargin, line.above, -sideMargin, -line.below);
    if (line.kind == Kind::row) {
        paintRow(painter, rowOf(line), frame);
        return;
    }
    painter.setFont(fontOf(line.kind));
    painter.setPen(line.kind == Kind::heading ? colors.text : colors.secondary);
    paintWrapped(painter, qt(text(line)), frame);
}

void AwayReportLines::paintRow(QPainter& painter, const AwayReportContent::Row& row,
                               const QRect& frame) const {
    const ScreenColors colors(palette());
    const auto lineHeight = QFontMetricsF(body_).height();
    painter.setFont(digits_);
    painter.setPen(colors.secondary);
    drawEven(painter, QRectF(frame.left(), frame.top(), timeWidth_, lineHeight),
             Qt::AlignLeft | Qt::AlignVCenter, qt(words().shortTime(row.event.time)));

    const auto& title = titleOf(row);
    const int left = frame.left() + timeWidth_ + besideTime;
    const int room = titleWidth(row, frame.width());
    painter.setFont(body_);
    painter.setPen(row.justBeforeUnlock ? colors.secondary : colors.text);
    paintWrapped(painter, title.text, {left, frame.top(), room, frame.height()});
    if (!row.justBeforeUnlock) {
        return;
    }
    const auto height = QFontMetricsF(caption_).height() + 2 * tagEdge;
    const QRectF tag(left + std::min<double>(std::ceil(title.width), room) + besideTag,
                     frame.top() + (lineHeight - height) / 2, tagWidth_ + 2 * tagSide, height);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(colors.quiet);
    painter.drawRoundedRect(tag, 4, 4);
    painter.restore();
    painter.setFont(caption_);
    painter.setPen(colors.secondary);
    painter.drawText(tag, static_cast<int>(Qt::AlignCenter) | Qt::TextSingleLine,
                     qt(ownReturnTag()));
}

} // namespace velmoran
