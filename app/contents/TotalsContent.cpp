#include "app/contents/TotalsContent.h"

namespace velmoran {

std::string deviceTitle(std::optional<Device> device) {
    if (device == Device::camera) {
        return words().text("Camera");
    }
    if (device == Device::microphone) {
        return words().text("Microphone");
    }
    return device ? words().text("Speaker") : words().text("All devices");
}

TotalsContent TotalsContent::of(const SessionList& sessions, std::optional<Device> device,
                                HistoryRange range, Timestamp now, const Localizer& calendar) {
    const auto interval = intervalOf(range, now, calendar).value_or(Interval{.end = now});
    // What lies outside the period adds nothing to it.
    const auto counted = Activity::matching(sessions, device, std::nullopt, interval, now);
    return {.device = deviceTitle(device), .apps = Activity::appTimes(counted, interval, now)};
}

} // namespace velmoran
