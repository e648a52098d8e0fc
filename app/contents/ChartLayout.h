// Where the parts of the history's chart stand: pure geometry, in points, y downwards. A plain
// value, made anew for each size; any thread.
#pragma once

#include "app/contents/ChartContent.h"

#include <optional>
#include <vector>

namespace velmoran {

struct ChartPoint {
    double x = 0;
    double y = 0;

    bool operator==(const ChartPoint&) const = default;
};

struct ChartRect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    double right() const { return x + width; }
    double bottom() const { return y + height; }
    bool contains(ChartPoint point) const {
        return point.x >= x && point.x <= right() && point.y >= y && point.y <= bottom();
    }

    bool operator==(const ChartRect&) const = default;
};

class ChartLayout {
public:
    /// What the labels take, as their font measures them.
    struct Margins {
        double left = 0;   ///< for the widest text beside the upward axis
        double bottom = 0; ///< for the names of the days
        double top = 0;    ///< half a line, so that the topmost text isn't cut
        double right = 0;

        bool operator==(const Margins&) const = default;
    };

    ChartLayout() = default;
    ChartLayout(const ChartContent& content, double width, double height, const Margins& margins);

    /// The area in which the lines run.
    const ChartRect& plot() const { return plot_; }
    /// From the oldest day on.
    const std::vector<ChartPoint>& camera() const { return camera_; }
    const std::vector<ChartPoint>& microphone() const { return microphone_; }
    /// The heights of the scale's ticks, from 0 up.
    const std::vector<double>& gridLines() const { return gridLines_; }
    /// Where that day stands.
    double xOf(std::size_t day) const { return camera_[day].x; }
    /// The moment that a place stands for; nothing outside the plot, or where there are no days.
    std::optional<Timestamp> momentAt(ChartPoint place) const;
    /// Where a note of that size stands for a day: beside its rule, where there is room, and never
    /// beyond the chart as long as it fits at all.
    ChartRect noteFrame(std::size_t day, double width, double height) const;

    static constexpr double noteGap = 10; ///< from the rule

private:
    ChartRect area_;
    ChartRect plot_;
    Timestamp start_;
    Timestamp end_;
    std::vector<ChartPoint> camera_;
    std::vector<ChartPoint> microphone_;
    std::vector<double> gridLines_;
};

} // namespace velmoran
