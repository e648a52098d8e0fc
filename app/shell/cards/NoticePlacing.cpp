#include "app/shell/cards/NoticePlacing.h"

#include <algorithm>

namespace velmoran {

namespace {
constexpr int gap = 2;  ///< between the status item and the panel
constexpr int edge = 4; ///< between the panel and the sides of the screen
constexpr int bar = 64; ///< how far in from its edge a bar reaches at most that takes no room
constexpr int room = 8; ///< between the cards and what they keep clear of

bool isLow(const QRect& visible, const std::optional<QRect>& anchor) {
    return anchor && anchor->y() + anchor->height() / 2 > visible.y() + visible.height() / 2;
}

} // namespace

bool canBeOnTray(const QPoint& click, const QRect& frame, const QRect& visible) {
    return frame.contains(click) &&
           !(visible.contains(click) && frame.adjusted(bar, bar, -bar, -bar).contains(click));
}

int noticePanelRoom(const QRect& visible, const std::optional<QRect>& anchor) {
    const int bottom = visible.y() + visible.height();
    if (!anchor) {
        return visible.height() - gap;
    }
    return isLow(visible, anchor)
               ? std::min(bottom, anchor->y()) - gap - visible.y()
               : bottom - std::max(visible.y(), anchor->y() + anchor->height()) - gap;
}

QPoint noticePanelPlace(const QRect& visible, const std::optional<QRect>& anchor,
                        const QSize& panel) {
    // QRect's own right and bottom are one short of the edge.
    const int left = visible.x();
    const int right = visible.x() + visible.width();
    const int top = visible.y();
    const int bottom = visible.y() + visible.height();

    const QRect at = anchor.value_or(QRect(right - 40, top, 24, 0));
    int x = at.x() + at.width() / 2 - panel.width() / 2;
    x = std::max(x, left + edge);
    x = std::min(x, right - panel.width() - edge);

    const int y = isLow(visible, anchor) ? std::min(bottom, at.y()) - gap - panel.height()
                                         : std::max(top, at.y() + at.height()) + gap;
    return {x, y};
}

int noticeShiftBeside(const QRect& visible, const QRect& cards, const QRect& panel) {
    if (!cards.intersects(panel)) {
        return 0;
    }
    const int left = panel.x() - room - cards.width();
    const int right = panel.x() + panel.width() + room;
    if (left >= visible.x() + edge) {
        return left - cards.x();
    }
    return right + cards.width() + edge <= visible.x() + visible.width() ? right - cards.x() : 0;
}

int noticeClearance(const QRect& visible, const QRect& cards, const QRect& obstacle) {
    if (!cards.intersects(obstacle)) {
        return 0;
    }
    const bool isLow = cards.center().y() > visible.center().y();
    const int by = isLow ? obstacle.top() - room - cards.bottom() - 1
                         : obstacle.bottom() + 1 + room - cards.top();
    const auto moved = cards.translated(0, by);
    return moved.top() >= visible.top() && moved.bottom() <= visible.bottom() ? by : 0;
}

int noticeRoomBeside(const QRect& visible, const std::optional<QRect>& anchor,
                     const QRect& obstacle, int padding) {
    const int begin = noticePanelPlace(visible, anchor, QSize(0, 0)).y();
    const int above = obstacle.y() - room;
    const int below = obstacle.y() + obstacle.height() + room;
    // Towards the tray the panel keeps its place, and beyond the obstacle it may stick out.
    if (isLow(visible, anchor)) {
        return std::max(begin - below + padding, above - visible.y() + 2 * padding);
    }
    const int bottom = visible.y() + visible.height();
    return std::max(above - begin + padding, bottom - below + 2 * padding);
}

} // namespace velmoran
