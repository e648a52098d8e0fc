#include "app/shell/FloatingPanel.h"

#include "app/shell/X11Window.h"

namespace velmoran {

FloatingPanel::FloatingPanel()
    : mouse_(new ClickOrDragView(this)),
      view_(new FloatingStopView(mouse_)) {
    setWindowFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                   Qt::WindowDoesNotAcceptFocus | Qt::NoDropShadowWindowHint |
                   Qt::BypassWindowManagerHint);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_QuitOnClose, false);
    setObjectName(QStringLiteral("floatingStop"));
}

void FloatingPanel::showAt(const QRect& frame, FloatingStopView::Content content) {
    content.cornersAreCut = !hasCompositor();
    mouse_->setText(content.label);
    mouse_->setAccessibleName(content.label);
    setWindowTitle(content.label);
    mouse_->resize(frame.size());
    view_->resize(frame.size());
    view_->setContent(content);
    // In one step: it would else be seen growing to the wrong side.
    setGeometry(frame);
    if (content.cornersAreCut) {
        setMask(view_->shape());
    } else {
        clearMask();
    }
    show();
    // Beside the capsule there is nothing but shadow, and the click belongs to what is below.
    setInputShape(*this, view_->shape());
    raise();
}

} // namespace velmoran
