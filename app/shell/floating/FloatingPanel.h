// The window of the floating button. Owned by that; main thread.
#pragma once

#include "app/shell/floating/ClickOrDragView.h"
#include "app/shell/floating/FloatingStopView.h"
#include "app/shell/surface/OverlayPanel.h"

namespace velmoran {

class FloatingPanel final : public OverlayPanel {
public:
    /// The overlays outlive it.
    explicit FloatingPanel(Overlays& overlays);

    ClickOrDragView& mouse() { return *mouse_; }
    const FloatingStopView& view() const { return *view_; }

    /// Shows that, there, in front of all else. `frame` has the view's fitting size.
    void showAt(const QRect& frame, FloatingStopView::Content content);

protected:
    void setDraws(bool draws) override { view_->setVisible(draws); }

private:
    ClickOrDragView* mouse_;
    FloatingStopView* view_;
};

} // namespace velmoran
