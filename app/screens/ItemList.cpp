#include "app/screens/ItemList.h"

#include "app/controls/Accessibility.h"
#include "app/look/CardText.h"
#include "app/look/ScreenColors.h"
#include "app/screens/ItemListAccess.h"

#include <QHelpEvent>
#include <QKeyEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QScrollBar>
#include <QToolTip>
#include <algorithm>
#include <utility>

namespace velmoran {

ItemList::ItemList(const QString& accessibleName, ItemSource& source, QWidget* parent)
    : QAbstractScrollArea(parent),
      source_(source) {
    installItemListAccess();
    setAccessibleName(accessibleName);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::StrongFocus);
    setBackgroundRole(QPalette::Window);
    viewport()->setBackgroundRole(QPalette::Window);
    viewport()->setMouseTracking(true);
}

ItemList::~ItemList() {
    forgetAccessibleItems();
}

void ItemList::setItems(int count, std::vector<int> headings, std::optional<int> current,
                        std::optional<int> top) {
    take({count, std::move(headings), lineHeight()}, current, top);
}

void ItemList::setItems(const std::vector<int>& heights, std::vector<int> headings,
                        std::optional<int> current, std::optional<int> top) {
    take({heights, std::move(headings), lineHeight()}, current, top);
}

void ItemList::take(LinePlaces places, std::optional<int> current, std::optional<int> top) {
    const auto shownTop = this->top();
    const int offset = shownTop ? verticalScrollBar()->value() - places_.topOf(*shownTop) : 0;
    forgetAccessibleItems();
    places_ = std::move(places);
    current_ = current;
    isOnPart_ = isOnPart_ && current_ && !partOf(*current_).isEmpty();
    hovered_.reset();
    pressed_.reset();
    scrollTo(top, offset);
    if (QAccessible::isActive()) {
        QAccessibleEvent event(this, QAccessible::ObjectReorder);
        QAccessible::updateAccessibility(&event);
    }
    if (hasFocus()) {
        tellFocus(); // what had it has gone
    }
}

void ItemList::scrollTo(std::optional<int> top, int offset) {
    verticalScrollBar()->setSingleStep(lineHeight());
    verticalScrollBar()->setRange(0, std::max(0, places_.height() - viewport()->height()));
    if (top && *top < count()) {
        verticalScrollBar()->setValue(places_.topOf(*top) + offset);
    }
    viewport()->update();
}

void ItemList::tellFocus() {
    if (QAccessible::isActive() && current_) {
        QAccessibleEvent event(isOnPart_ ? accessiblePart(*current_) : accessibleItem(*current_),
                               QAccessible::Focus);
        QAccessible::updateAccessibility(&event);
    }
}

void ItemList::refresh() {
    viewport()->update();
}

void ItemList::setLineHeight(int height) {
    const auto top = this->top();
    const int offset = top ? verticalScrollBar()->value() - places_.topOf(*top) : 0;
    places_.setLineHeight(height);
    scrollTo(top, offset);
}

std::optional<int> ItemList::top() const {
    const int value = verticalScrollBar()->value();
    return count() == 0 || value == 0 ? std::nullopt
                                      : places_.nearestLine(places_.lineAt(value), 1);
}

QRect ItemList::frameOf(int index) const {
    return {0, places_.topOf(index) - verticalScrollBar()->value(), viewport()->width(),
            places_.topOf(index + 1) - places_.topOf(index)};
}

std::optional<int> ItemList::indexAt(QPoint place) const {
    const int y = place.y() + verticalScrollBar()->value();
    if (count() == 0 || y < 0 || y >= places_.height() || !viewport()->rect().contains(place)) {
        return std::nullopt;
    }
    return places_.lineAt(y);
}

void ItemList::setCurrent(std::optional<int> index) {
    current_ = index;
    isOnPart_ = false;
    viewport()->update();
}

void ItemList::move(std::optional<int> to) {
    if (!to) {
        return;
    }
    current_ = to;
    isOnPart_ = false;
    // The heading of the first line of a day is seen with it.
    int from = *to;
    while (from > 0 && isHeading(from - 1)) {
        --from;
    }
    auto* bar = verticalScrollBar();
    const int bottom = places_.topOf(*to + 1);
    if (places_.topOf(from) < bar->value()) {
        bar->setValue(places_.topOf(from));
    } else if (bottom > bar->value() + viewport()->height()) {
        bar->setValue(bottom - viewport()->height());
    }
    viewport()->update();
    tellFocus();
}

void ItemList::press(int index, std::optional<QPoint> place) {
    if (index >= 0 && index < count() && !isHeading(index) && source_.isPressable()) {
        source_.press(index, frameOf(index), place);
    }
}

QRect ItemList::partOf(int index) const {
    const bool isLine = index >= 0 && index < count() && !isHeading(index);
    return isLine ? source_.part(index, frameOf(index)) : QRect();
}

void ItemList::pressPart(int index) {
    if (const auto part = partOf(index); !part.isEmpty()) {
        press(index, part.center());
    }
}

bool ItemList::step(bool toPart) {
    if (toPart == isOnPart_ || !current_ || (toPart && partOf(*current_).isEmpty())) {
        return false;
    }
    isOnPart_ = toPart;
    focusIsByKeyboard_ = true;
    viewport()->update();
    tellFocus();
    return true;
}

bool ItemList::focusNextPrevChild(bool next) {
    return step(next) || QAbstractScrollArea::focusNextPrevChild(next);
}

QAccessibleInterface* ItemList::accessibleItem(int index) {
    if (index < 0 || index >= count()) {
        return nullptr;
    }
    const auto found = accessibleItems_.find(index);
    if (found != accessibleItems_.end()) {
        return QAccessible::accessibleInterface(found->second);
    }
    auto* item = makeAccessibleItem(*this, index);
    accessibleItems_[index] = QAccessible::registerAccessibleInterface(item);
    return item;
}

QAccessibleInterface* ItemList::accessiblePart(int index) {
    if (partOf(index).isEmpty()) {
        return nullptr;
    }
    const auto found = accessibleParts_.find(index);
    if (found != accessibleParts_.end()) {
        return QAccessible::accessibleInterface(found->second);
    }
    auto* part = makeAccessiblePart(*this, index);
    accessibleParts_[index] = QAccessible::registerAccessibleInterface(part);
    return part;
}

void ItemList::forgetAccessibleItems() {
    for (auto* made : {&accessibleParts_, &accessibleItems_}) {
        for (const auto& [index, id] : std::exchange(*made, {})) {
            QAccessible::deleteAccessibleInterface(id);
        }
    }
}

QSize ItemList::sizeHint() const {
    return {240, std::min(places_.height(), 400)};
}

void ItemList::hover(std::optional<int> index) {
    if (index != hovered_) {
        hovered_ = index;
        viewport()->update();
    }
}

bool ItemList::viewportEvent(QEvent* event) {
    switch (event->type()) {
    case QEvent::MouseMove:
        hover(indexAt(static_cast<QMouseEvent*>(event)->pos()));
        break;
    case QEvent::Leave:
        hover(std::nullopt);
        break;
    case QEvent::ToolTip: {
        const auto* help = static_cast<QHelpEvent*>(event);
        const auto index = indexAt(help->pos());
        const auto text = index ? source_.help(*index, frameOf(*index), help->pos()) : QString();
        QToolTip::showText(help->globalPos(), text.isEmpty() ? text : plainToolTip(text),
                           viewport());
        return true;
    }
    default:
        break;
    }
    return QAbstractScrollArea::viewportEvent(event);
}

void ItemList::paintEvent(QPaintEvent* event) {
    QPainter painter(viewport());
    if (count() == 0) {
        return;
    }
    const int from =
        places_.lineAt(std::max(0, verticalScrollBar()->value() + event->rect().top()));
    for (int index = from; index < count(); ++index) {
        const auto frame = frameOf(index);
        if (frame.top() > event->rect().bottom()) {
            break;
        }
        const bool isCurrent = current_ == index && hasFocus();
        // A line whose part has the keyboard is no more than the place of that.
        source_.paint(painter, index,
                      {.frame = frame,
                       .isCurrent = isCurrent && !isOnPart_,
                       .isHovered = hovered_ == index || (isCurrent && isOnPart_)});
        if (isCurrent && focusIsByKeyboard_) {
            paintFocus(painter, isOnPart_ ? partOf(index).adjusted(-3, -3, 3, 3)
                                          : frame.adjusted(9, 1, -9, -1));
        }
    }
}

void ItemList::paintFocus(QPainter& painter, const QRect& frame) const {
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(ScreenColors(palette()).highlight, 2));
    painter.drawRoundedRect(QRectF(frame), 6, 6);
}

void ItemList::resizeEvent(QResizeEvent* event) {
    if (event->size().width() != event->oldSize().width()) {
        source_.widthChanged();
    }
    verticalScrollBar()->setPageStep(viewport()->height());
    verticalScrollBar()->setSingleStep(lineHeight());
    verticalScrollBar()->setRange(0, std::max(0, places_.height() - viewport()->height()));
}

void ItemList::scrollContentsBy(int, int) {
    hovered_.reset();
    viewport()->update();
}

void ItemList::keyPressEvent(QKeyEvent* event) {
    focusIsByKeyboard_ = true;
    const int at = current_.value_or(-1);
    const int page = std::max(1, viewport()->height() / lineHeight() - 1);
    switch (event->key()) {
    case Qt::Key_Down:
        return move(places_.nearestLine(at + 1, 1));
    case Qt::Key_Up:
        return move(places_.nearestLine(current_ ? at - 1 : count() - 1, -1));
    case Qt::Key_PageDown:
        return move(places_.nearestLine(std::min(at + page, count() - 1), -1));
    case Qt::Key_PageUp:
        return move(places_.nearestLine(std::max(at - page, 0), 1));
    case Qt::Key_Home:
        return move(places_.nearestLine(0, 1));
    case Qt::Key_End:
        return move(places_.nearestLine(count() - 1, -1));
    case Qt::Key_Right:
    case Qt::Key_Left:
        step(event->key() == Qt::Key_Right);
        return;
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
        if (current_ && isOnPart_) {
            pressPart(*current_);
            return;
        }
        if (current_ && source_.isPressable()) {
            press(*current_);
            return;
        }
        break;
    default:
        break;
    }
    QAbstractScrollArea::keyPressEvent(event);
}

void ItemList::mousePressEvent(QMouseEvent* event) {
    pressed_ = event->button() == Qt::LeftButton ? indexAt(event->pos()) : std::nullopt;
}

void ItemList::mouseReleaseEvent(QMouseEvent* event) {
    const auto index = indexAt(event->pos());
    const auto pressed = std::exchange(pressed_, std::nullopt);
    if (event->button() != Qt::LeftButton || !index || index != pressed || isHeading(*index)) {
        return;
    }
    focusIsByKeyboard_ = false;
    setCurrent(index);
    press(*index, event->pos());
}

void ItemList::focusInEvent(QFocusEvent* event) {
    viewport()->update();
    if (event->reason() == Qt::ActiveWindowFocusReason || event->reason() == Qt::PopupFocusReason) {
        return; // as it was before the other window
    }
    focusIsByKeyboard_ = event->reason() == Qt::TabFocusReason ||
                         event->reason() == Qt::BacktabFocusReason ||
                         event->reason() == Qt::ShortcutFocusReason;
    if (focusIsByKeyboard_) {
        move(current_ ? current_ : places_.nearestLine(top().value_or(0), 1));
    }
    if (event->reason() == Qt::BacktabFocusReason) {
        step(true); // its last place comes first
    }
}

void ItemList::focusOutEvent(QFocusEvent*) {
    viewport()->update();
}

void ItemList::changeEvent(QEvent* event) {
    QAbstractScrollArea::changeEvent(event);
    viewport()->update();
}

} // namespace velmoran
