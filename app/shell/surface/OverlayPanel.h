// A window that stands over whatever else is on the screen: above full-screen windows, on every
// desktop, and never with the focus. On X11 it goes past the window manager, which would else put
// full-screen windows above it. Owned by whoever shows something in it; main thread.
#pragma once

#include <QRegion>
#include <QWidget>

namespace velmoran {

class OverlayPanel : public QWidget {
protected:
    explicit OverlayPanel(const QString& name);

    /// Shows itself there, in front of all else. `shape` is what its content covers of it: beside
    /// that nothing is clicked, and with `cut` nothing is drawn.
    void present(const QRect& frame, const QRegion& shape, bool cut);

private:
    double scale_ = 0; ///< in dots for a point, when it was presented last
};

} // namespace velmoran
