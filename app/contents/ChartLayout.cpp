#include "app/contents/ChartLayout.h"

#include <algorithm>

namespace velmoran {

ChartLayout::ChartLayout(const ChartContent& content, double width, double height,
                         const Margins& margins)
    : area_{.width = width, .height = height},
      plot_{.x = margins.left,
            .y = margins.top,
            .width = std::max(0.0, width - margins.left - margins.right),
            .height = std::max(0.0, height - margins.top - margins.bottom)} {
    const auto top = content.scale.top();
    const auto yOf = [&](Seconds value) {
        return plot_.bottom() - plot_.height * (value / top);
    };
    for (const auto tick : content.scale.ticks) {
        gridLines_.push_back(yOf(tick));
    }
    if (content.days.empty()) {
        return;
    }
    start_ = content.days.front().day;
    end_ = content.end;
    for (const auto& day : content.days) {
        const auto x =
            plot_.x + plot_.width * ((ChartContent::noonOf(day) - start_) / (end_ - start_));
        camera_.push_back({x, yOf(day.camera)});
        microphone_.push_back({x, yOf(day.microphone)});
    }
}

std::optional<Timestamp> ChartLayout::momentAt(ChartPoint place) const {
    if (camera_.empty() || plot_.width <= 0 || !plot_.contains(place)) {
        return std::nullopt;
    }
    return start_ + (end_ - start_) * ((place.x - plot_.x) / plot_.width);
}

ChartRect ChartLayout::noteFrame(std::size_t day, double width, double height) const {
    const auto x = xOf(day);
    const bool fitsRight = x + noteGap + width <= area_.right();
    const bool fitsLeft = x - noteGap - width >= area_.x;
    const auto wanted = fitsRight ? x + noteGap : fitsLeft ? x - noteGap - width : x - width / 2;
    const auto held = [](double place, double from, double to) {
        return std::max(from, std::min(place, to));
    };
    return {.x = held(wanted, area_.x, area_.right() - width),
            .y = held(plot_.y, area_.y, area_.bottom() - height),
            .width = width,
            .height = height};
}

} // namespace velmoran
