// The window of the floating button: above everything, on every desktop, and never with the focus.
// On X11 it goes past the window manager, which would else put full-screen windows above it. Owned
// by the floating button; main thread.
#pragma once

#include "app/shell/ClickOrDragView.h"
#include "app/shell/FloatingStopView.h"

#include <QWidget>

namespace velmoran {

class FloatingPanel final : public QWidget {
public:
    FloatingPanel();

    ClickOrDragView& mouse() { return *mouse_; }
    const FloatingStopView& view() const { return *view_; }
    /// What the window takes for this content.
    QSize fittingSize(const FloatingStopView::Content& content) const {
        return view_->fittingSize(content);
    }

    /// Shows that, there, in front of all else. `frame` has the fitting size.
    void showAt(const QRect& frame, FloatingStopView::Content content);

private:
    ClickOrDragView* mouse_;
    FloatingStopView* view_;
};

} // namespace velmoran
