// The upward axis of a chart of lengths of time: a few steps of a size that people count in. A
// plain value; any thread.
#pragma once

#include "core/base/Timestamp.h"

#include <vector>

namespace velmoran {

struct ChartScale {
    /// From 0 up, evenly spaced; 3 to 6 of them.
    std::vector<Seconds> ticks;

    /// Reaches `most` or a little further; an hour where there is nothing to show.
    static ChartScale upTo(Seconds most);

    Seconds top() const { return ticks.back(); }

    bool operator==(const ChartScale&) const = default;
};

} // namespace velmoran
