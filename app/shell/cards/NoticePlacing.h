// Where the panel with the cards stands: under the status item, or above it where the tray is at
// the bottom of the screen. Pure.
#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>
#include <optional>

namespace velmoran {

/// Whether somebody can have clicked a tray's icon there: on a bar, so beside what no bars take of
/// the screen, or where a bar may lie over it that takes nothing, at the screen's edge. All of the
/// screen is `frame`, `visible` is as below.
bool canBeOnTray(const QPoint& click, const QRect& frame, const QRect& visible);

/// Upper left corner of a panel of that size, in the coordinates of the screen, y downward.
/// `visible` is the part of the screen that no bars take, empty without a screen; `anchor` is the
/// status item's rectangle, nothing where the desktop doesn't tell it.
QPoint noticePanelPlace(const QRect& visible, const std::optional<QRect>& anchor,
                        const QSize& panel);

/// How high that panel can be there without leaving the visible part.
int noticePanelRoom(const QRect& visible, const std::optional<QRect>& anchor);

/// How far to the left (below 0) or right cards there have to move to stand beside a panel; 0 where
/// they don't meet, or where there is no room on either side.
int noticeShiftBeside(const QRect& visible, const QRect& cards, const QRect& panel);

/// How far down (above 0) or up cards there have to move to stand clear of an obstacle: away from
/// the nearer of the screen's two edges; 0 where they don't meet, or where there is no room.
int noticeClearance(const QRect& visible, const QRect& cards, const QRect& obstacle);

/// How high the panel can be where its cards have no room to stand clear of an obstacle: the larger
/// of the parts before and beyond it. `padding` is what the panel has around its cards.
int noticeRoomBeside(const QRect& visible, const std::optional<QRect>& anchor,
                     const QRect& obstacle, int padding);

} // namespace velmoran
