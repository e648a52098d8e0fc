#include "core/away/AwayReportText.h"

#include <string_view>

namespace velmoran {

std::string AwayReportText::of(const AwayReport& report) {
    if (report.end) {
        return encode(report);
    }
    if (!goesOn(report)) {
        id_ = report.id;
        count_ = 0;
        events_.clear();
    }
    for (; count_ < report.events.size(); ++count_) {
        events_ += count_ == 0 ? "" : ",";
        events_ += encode(report.events[count_]);
    }
    last_ = report.events.empty() ? std::nullopt : std::optional(report.events.back());
    auto text = encode(AwayReport{.id = report.id,
                                  .start = report.start,
                                  .end = {},
                                  .events = {},
                                  .slept = report.slept,
                                  .ownReturn = report.ownReturn});
    // The first of these: no text from outside stands before it.
    constexpr std::string_view place = R"("events":[)";
    text.insert(text.find(place) + place.size(), events_);
    return text;
}

bool AwayReportText::goesOn(const AwayReport& report) const {
    return report.id == id_ && report.events.size() >= count_ &&
           (count_ == 0 || report.events[count_ - 1] == last_);
}

} // namespace velmoran
