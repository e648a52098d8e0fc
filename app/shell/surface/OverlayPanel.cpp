#include "app/shell/surface/OverlayPanel.h"

namespace velmoran {

OverlayPanel::OverlayPanel(const QString& name, Overlays& overlays) : overlays_(overlays) {
    setWindowFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint |
                   Qt::WindowDoesNotAcceptFocus | Qt::NoDropShadowWindowHint |
                   Qt::BypassWindowManagerHint);
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_TranslucentBackground);
    setAttribute(Qt::WA_QuitOnClose, false);
    setObjectName(name);
    surface_ = overlays_.surfaceOf(*this);
    surface_->onLost = [this] {
        isPresented_ = false;
        onLost();
    };
    surface_->onDraws = [this](bool draws) {
        setDraws(draws);
    };
}

void OverlayPanel::present(const QRect& frame, const QRegion& shape, bool cut) {
    frame_ = frame;
    isPresented_ = true;
    surface_->present(frame, shape, cut);
}

void OverlayPanel::takeAway() {
    isPresented_ = false;
    surface_->takeAway();
}

void OverlayPanel::dragTo(const QPoint& place) {
    frame_.moveTopLeft(place);
    surface_->dragTo(place);
}

void OverlayPanel::setDraws(bool) {}

} // namespace velmoran
