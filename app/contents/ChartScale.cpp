#include "app/contents/ChartScale.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace velmoran {

namespace {

/// Steps that are written in few words: seconds, minutes, hours.
constexpr std::array<Seconds, 20> niceSteps = {1,     2,     5,     10,    15,    30,   60,
                                               120,   300,   600,   900,   1800,  3600, 7200,
                                               10800, 14400, 21600, 28800, 43200, 86400};

constexpr int mostSteps = 5;

Seconds stepFor(Seconds most) {
    for (const auto step : niceSteps) {
        if (most <= step * mostSteps) {
            return step;
        }
    }
    // Whole days: 1, 2 or 5 of each power of ten.
    Seconds power = niceSteps.back();
    while (true) {
        for (const int times : {1, 2, 5}) {
            if (most <= power * times * mostSteps) {
                return power * times;
            }
        }
        power *= 10;
    }
}

} // namespace

ChartScale ChartScale::upTo(Seconds most) {
    const bool isEmpty = !(most > 0) || !std::isfinite(most);
    const auto reach = isEmpty ? 3600.0 : most;
    const auto step = isEmpty ? 900.0 : stepFor(reach);
    const auto count = std::max(2, static_cast<int>(std::ceil(reach / step)));
    ChartScale scale;
    for (int index = 0; index <= count; ++index) {
        scale.ticks.push_back(index * step);
    }
    return scale;
}

} // namespace velmoran
