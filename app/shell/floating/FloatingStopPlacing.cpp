#include "app/shell/floating/FloatingStopPlacing.h"

#include <algorithm>
#include <cmath>

namespace velmoran {

namespace {

constexpr int fromCorner = 44;

// QRect's own right and bottom are one short of the edge.
int rightOf(const QRect& rectangle) {
    return rectangle.x() + rectangle.width();
}

int bottomOf(const QRect& rectangle) {
    return rectangle.y() + rectangle.height();
}

double middleOf(const QRect& rectangle) {
    return rectangle.x() + rectangle.width() / 2.0;
}

bool holds(const QRect& rectangle, const Point& point) {
    return point.x >= rectangle.x() && point.x < rightOf(rectangle) && point.y >= rectangle.y() &&
           point.y < bottomOf(rectangle);
}

ScreenArea mainOf(const std::vector<ScreenArea>& screens) {
    return screens.empty() ? ScreenArea() : screens.front();
}

QRect clamped(QRect frame, const QRect& visible) {
    frame.moveLeft(std::max(frame.x(), visible.x()));
    frame.moveTop(std::min(frame.y(), bottomOf(visible) - frame.height()));
    frame.moveLeft(std::min(frame.x(), rightOf(visible) - frame.width()));
    frame.moveTop(std::max(frame.y(), visible.y()));
    return frame;
}

/// Whole points; what the settings file holds may be any number.
int rounded(double value) {
    constexpr double most = 1e6;
    return std::isfinite(value) ? static_cast<int>(std::lround(std::clamp(value, -most, most))) : 0;
}

} // namespace

FloatingStopLayout floatingStopLayout(const std::optional<Point>& place, const QSize& size,
                                      const std::vector<ScreenArea>& screens) {
    const auto main = mainOf(screens);
    const auto anchor =
        place.value_or(Point{static_cast<double>(rightOf(main.visible) - fromCorner),
                             static_cast<double>(main.visible.y() + fromCorner)});
    const auto found = std::find_if(screens.begin(), screens.end(), [&](const ScreenArea& screen) {
        return holds(screen.frame, anchor);
    });
    const auto visible = found == screens.end() ? main.visible : found->visible;
    const bool growsLeft = anchor.x > middleOf(visible);
    const double left =
        growsLeft ? anchor.x + floatingStopInset - size.width() : anchor.x - floatingStopInset;
    const QRect frame(QPoint(rounded(left), rounded(anchor.y - size.height() / 2.0)), size);
    return {.frame = clamped(frame, visible), .growsLeft = growsLeft};
}

Point floatingStopPlace(const QRect& frame, const std::vector<ScreenArea>& screens) {
    auto visible = mainOf(screens).visible;
    int most = 0;
    for (const auto& screen : screens) {
        const auto shared = frame.intersected(screen.frame);
        const int area = shared.isEmpty() ? 0 : shared.width() * shared.height();
        if (area > most) {
            most = area;
            visible = screen.visible;
        }
    }
    // Else the icon's middle could lie on no screen, and the button would jump to the main one.
    const auto shown = clamped(frame, visible);
    const double x = middleOf(shown) > middleOf(visible) ? rightOf(shown) - floatingStopInset
                                                         : shown.x() + floatingStopInset;
    return {x, shown.y() + shown.height() / 2.0};
}

} // namespace velmoran
