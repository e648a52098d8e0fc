#include "app/controls/FocusRing.h"

#include "app/look/ScreenColors.h"

#include <QAbstractScrollArea>
#include <QEvent>
#include <QPainter>
#include <algorithm>

namespace velmoran {

namespace {

constexpr double away = 2;
constexpr double thickness = 2;

/// As there is one focus.
QPointer<FocusRing>& theRing() {
    static QPointer<FocusRing> ring;
    return ring;
}

/// What the ring is drawn on: what scrolls with the control, otherwise the window.
QWidget* groundOf(const QWidget& control) {
    auto* ground = control.parentWidget();
    while (ground && !ground->isWindow()) {
        auto* next = ground->parentWidget();
        const auto* area =
            next ? qobject_cast<QAbstractScrollArea*>(next->parentWidget()) : nullptr;
        if (area && area->viewport() == next) {
            return ground;
        }
        ground = next;
    }
    return ground;
}

} // namespace

void FocusRing::show(QWidget& control, const QRectF& frame, double radius) {
    delete theRing();
    auto* ground = groundOf(control);
    if (ground) {
        theRing() = new FocusRing(control, ground, frame, radius);
        theRing()->follow();
    }
}

void FocusRing::hide(const QWidget& control) {
    if (theRing() && theRing()->control_ == &control) {
        delete theRing();
    }
}

const QWidget* FocusRing::target() {
    return theRing() ? theRing()->control_.data() : nullptr;
}

FocusRing::FocusRing(QWidget& control, QWidget* over, const QRectF& frame, double radius)
    : QWidget(over),
      control_(&control),
      frame_(frame),
      radius_(radius) {
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_NoSystemBackground);
    setFocusPolicy(Qt::NoFocus);
    for (QWidget* each = &control; each && each != over; each = each->parentWidget()) {
        each->installEventFilter(this);
    }
    over->installEventFilter(this);
}

bool FocusRing::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
    case QEvent::Move:
    case QEvent::Resize:
    case QEvent::Show:
    case QEvent::Hide:
    case QEvent::PaletteChange:
        follow();
        break;
    default:
        break;
    }
    return QWidget::eventFilter(watched, event);
}

void FocusRing::follow() {
    if (!control_ || !control_->isVisible()) {
        setVisible(false);
        return;
    }
    if (control_->size() != frame_.size().toSize()) {
        frame_ = control_->rect();
    }
    const auto origin = QPointF(control_->mapTo(parentWidget(), QPoint(0, 0)));
    const double room = away + thickness;
    const auto wanted = frame_.translated(origin).adjusted(-room, -room, room, room);
    // Where the control reaches the edge, the ring stays inside.
    setGeometry(wanted.toAlignedRect() & parentWidget()->rect());
    setVisible(true);
    raise();
    update();
}

void FocusRing::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(ScreenColors(palette()).highlight, thickness));
    painter.setBrush(Qt::NoBrush);
    const double inset = thickness / 2;
    const auto ring = QRectF(rect()).adjusted(inset, inset, -inset, -inset);
    const double radius = radius_ + away + inset;
    painter.drawRoundedRect(ring, std::min(radius, ring.width() / 2),
                            std::min(radius, ring.height() / 2));
}

} // namespace velmoran
