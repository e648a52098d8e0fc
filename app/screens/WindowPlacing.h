// Where windows stand on a screen, and how large they may be there. Pure. Frames are windows with
// what the desktop puts around them; `visible` is what bars leave of a screen. Points, y downward.
#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>
#include <vector>

namespace velmoran {

/// Upper left corner of a frame of that size: in the middle from side to side, and a quarter of the
/// free height below the top. One that is larger than the screen begins at its top left, where the
/// title bar and the beginnings of lines are.
QPoint centred(const QRect& visible, const QSize& frame);

/// The same frame, moved no further than it must be to lie on the screen; a larger one begins at
/// the top left.
QRect keptOn(const QRect& visible, const QRect& frame);

/// Of these the part of a screen on which most of the frame is, or else the one that is nearest to
/// its middle; an empty rectangle if there are none.
QRect screenOf(const QRect& frame, const std::vector<QRect>& visible);

/// No larger than fits on the screen with that much around it; nothing at least.
QSize fitting(const QRect& visible, const QSize& content, const QSize& around);

} // namespace velmoran
