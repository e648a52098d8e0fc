#include "app/shell/floating/ClickOrDragView.h"

#include <QMouseEvent>
#include <cmath>
#include <utility>

namespace velmoran {

ClickOrDragView::ClickOrDragView(QWidget* parent) : QAbstractButton(parent) {
    setFocusPolicy(Qt::NoFocus);
    // Comes when somebody else than the mouse presses it, as a screen reader does.
    connect(this, &QAbstractButton::clicked, this, [this] {
        if (onClick) {
            onClick();
        }
    });
}

void ClickOrDragView::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) {
        start_ = event->globalPosition().toPoint();
        windowStart_ = place ? place() : window()->pos();
        dragged_ = false;
    }
    event->accept();
}

void ClickOrDragView::mouseMoveEvent(QMouseEvent* event) {
    if (!start_) {
        return;
    }
    const auto offset = event->globalPosition().toPoint() - *start_;
    if (!dragged_ && std::hypot(offset.x(), offset.y()) < clickTolerance) {
        return;
    }
    dragged_ = true;
    if (onDrag) {
        onDrag(windowStart_ + offset);
    }
}

void ClickOrDragView::mouseReleaseEvent(QMouseEvent* event) {
    event->accept();
    if (event->button() != Qt::LeftButton || !start_) {
        return;
    }
    start_.reset();
    const auto done = std::exchange(dragged_, false) ? onMoved : onClick;
    if (done) {
        done();
    }
}

void ClickOrDragView::enterEvent(QEnterEvent* event) {
    QAbstractButton::enterEvent(event);
    if (onHover) {
        onHover(true);
    }
}

void ClickOrDragView::leaveEvent(QEvent* event) {
    QAbstractButton::leaveEvent(event);
    if (onHover) {
        onHover(false);
    }
}

void ClickOrDragView::hideEvent(QHideEvent* event) {
    // Whoever lets the mouse go now has nothing under it any more.
    start_.reset();
    dragged_ = false;
    QAbstractButton::hideEvent(event);
}

void ClickOrDragView::paintEvent(QPaintEvent*) {
    // What there is to see is painted by what stands in it.
}

} // namespace velmoran
