#include "app/shell/floating/FloatingPanel.h"

#include "app/shell/surface/X11Window.h"

namespace velmoran {

FloatingPanel::FloatingPanel()
    : OverlayPanel(QStringLiteral("floatingStop")),
      mouse_(new ClickOrDragView(this)),
      view_(new FloatingStopView(mouse_)) {}

void FloatingPanel::showAt(const QRect& frame, FloatingStopView::Content content) {
    content.cornersAreCut = !hasCompositor();
    mouse_->setText(content.label);
    mouse_->setAccessibleName(content.label);
    setWindowTitle(content.label);
    mouse_->resize(frame.size());
    view_->resize(frame.size());
    view_->setContent(content);
    present(frame, view_->shape(), content.cornersAreCut);
}

} // namespace velmoran
