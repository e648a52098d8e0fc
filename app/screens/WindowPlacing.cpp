#include "app/screens/WindowPlacing.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace velmoran {

namespace {

std::int64_t areaOf(const QRect& rectangle) {
    return rectangle.isEmpty() ? 0 : std::int64_t(rectangle.width()) * rectangle.height();
}

/// From a point to the nearest of a range's.
std::int64_t away(int point, int begin, int size) {
    return std::max(
        {std::int64_t(begin) - point, point - std::int64_t(begin) - size + 1, std::int64_t(0)});
}

int kept(int begin, int size, int visibleBegin, int visibleSize) {
    return std::max(visibleBegin, std::min(begin, visibleBegin + visibleSize - size));
}

} // namespace

QPoint centred(const QRect& visible, const QSize& frame) {
    const int room = std::max(0, visible.height() - frame.height());
    return {std::max(visible.x(), visible.x() + (visible.width() - frame.width()) / 2),
            visible.y() + room / 4};
}

QRect keptOn(const QRect& visible, const QRect& frame) {
    return {QPoint(kept(frame.x(), frame.width(), visible.x(), visible.width()),
                   kept(frame.y(), frame.height(), visible.y(), visible.height())),
            frame.size()};
}

QRect screenOf(const QRect& frame, const std::vector<QRect>& visible) {
    QRect best;
    std::int64_t mostArea = -1;
    std::int64_t leastDistance = std::numeric_limits<std::int64_t>::max();
    const auto middle = frame.center();
    for (const auto& screen : visible) {
        const auto area = areaOf(screen.intersected(frame));
        const auto x = away(middle.x(), screen.x(), screen.width());
        const auto y = away(middle.y(), screen.y(), screen.height());
        const auto distance = x + y;
        if (area > mostArea || (area == mostArea && distance < leastDistance)) {
            best = screen;
            mostArea = area;
            leastDistance = distance;
        }
    }
    return best;
}

QSize fitting(const QRect& visible, const QSize& content, const QSize& around) {
    return content.boundedTo(visible.size() - around).expandedTo(QSize(0, 0));
}

} // namespace velmoran
