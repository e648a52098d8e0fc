// Where the floating button stands: on which screen, to which side it grows, and what is kept of
// the place that it was dragged to. Pure.
//
// All coordinates are Qt's: points of the whole desktop, y downward. A place is the middle of the
// button's icon: `floatingStopInset` inside the end of the window that the icon is at.
#pragma once

#include "app/model/SettingsStore.h"
#include "app/shell/surface/Overlays.h"

#include <QRect>
#include <QSize>
#include <optional>
#include <vector>

namespace velmoran {

inline constexpr int floatingStopInset = 32;

struct FloatingStopLayout {
    QRect frame;
    bool growsLeft = false; ///< the icon is at the right end

    bool operator==(const FloatingStopLayout&) const = default;
};

/// The window of a button of that size. `screens` has the main screen first; a place on none of
/// them, as on one that has gone, counts for the main one. No place stored: near the top right
/// corner of the main screen. The window lies inside what is visible of its screen as far as it
/// fits, its right and top edge first.
FloatingStopLayout floatingStopLayout(const std::optional<Point>& place, const QSize& size,
                                      const std::vector<ScreenArea>& screens);

/// What to store for a button that was dropped there: `frame` is its window, of which the part on
/// most of a screen decides; without any, the main screen counts. A window that hangs over the
/// screen's edge is taken as it will stand.
Point floatingStopPlace(const QRect& frame, const std::vector<ScreenArea>& screens);

} // namespace velmoran
