// The window of the floating button. Owned by that; main thread.
#pragma once

#include "app/shell/floating/ClickOrDragView.h"
#include "app/shell/floating/FloatingStopView.h"
#include "app/shell/surface/OverlayPanel.h"

namespace velmoran {

class FloatingPanel final : public OverlayPanel {
public:
    FloatingPanel();

    ClickOrDragView& mouse() { return *mouse_; }
    const FloatingStopView& view() const { return *view_; }

    /// Shows that, there, in front of all else. `frame` has the view's fitting size.
    void showAt(const QRect& frame, FloatingStopView::Content content);

private:
    ClickOrDragView* mouse_;
    FloatingStopView* view_;
};

} // namespace velmoran
