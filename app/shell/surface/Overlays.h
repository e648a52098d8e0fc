// What cards and the floating button stand on: windows over all else, above those that fill the
// screen, on every desktop and without the keyboard. How a window gets there, and what the screens
// have room for, is the desktop's business: on X11 a window places itself, on Wayland the
// compositor does it by the layer-shell protocol. Both speak of places in one plane of points, y
// downward, in which the areas lie. Main thread.
#pragma once

#include <QObject>
#include <QPoint>
#include <QRect>
#include <QRegion>
#include <QWidget>
#include <functional>
#include <memory>
#include <vector>

namespace velmoran {

struct ScreenArea {
    QRect frame;   ///< all of the screen
    QRect visible; ///< what no bars take of it

    bool operator==(const ScreenArea&) const = default;
};

/// Of one window, which outlives it. Owned by the window's own class.
class OverlaySurface {
public:
    OverlaySurface() = default;
    virtual ~OverlaySurface() = default;
    OverlaySurface(const OverlaySurface&) = delete;
    OverlaySurface& operator=(const OverlaySurface&) = delete;

    /// Shows the window there, in front of all else, at once or as soon as the desktop lets it.
    /// `shape` is what its content covers of it: beside that nothing is clicked, and with `cut`
    /// nothing is drawn.
    virtual void present(const QRect& frame, const QRegion& shape, bool cut) = 0;
    virtual void takeAway() = 0;
    /// Whatever can be done before the window is presented, each time anew, so that it comes at
    /// once.
    virtual void prepare() {}
    /// Where the mouse that holds the window has taken it. It stands there when it is presented
    /// there.
    virtual void dragTo(const QPoint& place) = 0;
    /// In front of what has come since.
    virtual void raise() {}
    virtual void takeKeyboard() = 0;
    virtual void giveKeyboardBack() = 0;
    /// Somebody else has it already.
    virtual void noteKeyboardGone() = 0;

    /// The desktop has taken the window away for good, or never let it come.
    std::function<void()> onLost = [] {
    };
    /// Whether the window draws what it has to show: not while that is drawn elsewhere.
    std::function<void(bool draws)> onDraws = [](bool) {
    };
};

/// One per program and kind of desktop.
class Overlays {
public:
    Overlays() = default;
    virtual ~Overlays() = default;
    Overlays(const Overlays&) = delete;
    Overlays& operator=(const Overlays&) = delete;

    virtual std::unique_ptr<OverlaySurface> surfaceOf(QWidget& window) = 0;
    /// The main screen first.
    virtual std::vector<ScreenArea> areas() const = 0;
    /// The one with that point; the main one where there is none, empty without a screen.
    ScreenArea areaAt(const QPoint& point) const;
    /// Whether what is translucent is blended; else corners are cut, and there are no shadows.
    virtual bool blends() const = 0;
    /// Whether windows proper say themselves where they stand, and a popup hears of all clicks.
    /// Else a popup stands on an overlay, with the clicks beside it caught.
    virtual bool placesWindows() const = 0;
    /// Calls that for each click on a screen beside overlays of the program that have been
    /// presented since, as long as what it gives lives. Such a click reaches nobody else. Null
    /// where windows place themselves.
    virtual std::unique_ptr<QObject> catchClicks(std::function<void()> clicked) = 0;

    /// Areas have changed in a way in which no QScreen tells it.
    std::function<void()> onAreasChanged = [] {
    };
};

/// Of a desktop on which windows place themselves, as on X11.
Overlays& placedOverlays();

} // namespace velmoran
