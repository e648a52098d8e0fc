// A window that stands over whatever else is on the screen, on a surface that the desktop has for
// that. Owned by whoever shows something in it; main thread.
#pragma once

#include "app/shell/surface/Overlays.h"

#include <QRegion>
#include <QWidget>
#include <memory>

namespace velmoran {

class OverlayPanel : public QWidget {
public:
    /// It is on the screen, or will be as soon as the desktop lets it.
    bool isPresented() const { return isPresented_; }
    /// Where it stands, or has been dragged to.
    QRect frame() const { return frame_; }
    void takeAway();
    void dragTo(const QPoint& place);
    void bringToFront() { surface_->raise(); }

    /// The desktop doesn't let it stand there any more.
    std::function<void()> onLost = [] {
    };

protected:
    /// The overlays outlive it.
    OverlayPanel(const QString& name, Overlays& overlays);

    /// Shows itself there, in front of all else. `shape` is what its content covers of it: beside
    /// that nothing is clicked, and with `cut` nothing is drawn.
    void present(const QRect& frame, const QRegion& shape, bool cut);
    /// Its content is drawn elsewhere for a while, or here again.
    virtual void setDraws(bool draws);

    Overlays& overlays() const { return overlays_; }
    OverlaySurface& surface() const { return *surface_; }

private:
    Overlays& overlays_;
    std::unique_ptr<OverlaySurface> surface_;
    QRect frame_;
    bool isPresented_ = false;
};

} // namespace velmoran
