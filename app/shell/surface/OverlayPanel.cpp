#include "app/shell/surface/OverlayPanel.h"

#include "app/shell/surface/WindowGeometry.h"
#include "app/shell/surface/X11Window.h"

#include <utility>

namespace velmoran {

OverlayPanel::OverlayPanel(const QString& name) {
    setWindowFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                   Qt::WindowDoesNotAcceptFocus | Qt::NoDropShadowWindowHint |
                   Qt::BypassWindowManagerHint);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_QuitOnClose, false);
    setObjectName(name);
}

void OverlayPanel::present(const QRect& frame, const QRegion& shape, bool cut) {
    // In one step: it would else be seen growing to the wrong side, and then moving.
    setWindowGeometry(*this, frame);
    // The same points are other dots.
    if (std::exchange(scale_, devicePixelRatioF()) != devicePixelRatioF()) {
        clearMask();
    }
    if (cut) {
        setMask(shape);
    } else {
        clearMask();
    }
    show();
    // Where there is nothing but shadow or nothing at all, the click belongs to what is below.
    setInputShape(*this, shape);
    raise();
}

} // namespace velmoran
