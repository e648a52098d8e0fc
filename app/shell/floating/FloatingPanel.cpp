#include "app/shell/floating/FloatingPanel.h"

namespace velmoran {

FloatingPanel::FloatingPanel(Overlays& overlays)
    : OverlayPanel(QStringLiteral("floatingStop"), overlays),
      mouse_(new ClickOrDragView(this)),
      view_(new FloatingStopView(mouse_)) {
    mouse_->onDrag = [this](const QPoint& place) {
        dragTo(place);
    };
    // On Wayland Qt takes every window for one at the corner.
    mouse_->place = [this] {
        return frame().topLeft();
    };
}

void FloatingPanel::showAt(const QRect& frame, FloatingStopView::Content content) {
    content.cornersAreCut = !overlays().blends();
    mouse_->setText(content.label);
    mouse_->setAccessibleName(content.label);
    setWindowTitle(content.label);
    mouse_->resize(frame.size());
    view_->resize(frame.size());
    view_->setContent(content);
    present(frame, view_->shape(), content.cornersAreCut);
}

} // namespace velmoran
