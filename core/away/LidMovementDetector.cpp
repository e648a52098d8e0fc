#include "core/away/LidMovementDetector.h"

#include <cstdlib>

namespace velmoran {

namespace {

constexpr int stillWithin = 2; // two readings closer than this: the lid stands

} // namespace

std::optional<LidMovementDetector::Movement> LidMovementDetector::feed(int angle) {
    if (!rest || std::abs(angle - *rest) < threshold) {
        if (!rest) {
            rest = angle;
        }
        moving.reset();
        return std::nullopt;
    }
    if (!moving || std::abs(angle - *moving) >= stillWithin) {
        moving = angle;
        return std::nullopt;
    }
    const int from = *rest;
    restAt(angle);
    if (from < closedBelow || angle < closedBelow) {
        return std::nullopt;
    }
    return Movement{.from = from, .to = angle};
}

} // namespace velmoran
