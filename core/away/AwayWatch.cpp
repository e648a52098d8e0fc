#include "core/away/AwayWatch.h"

#include <algorithm>
#include <iterator>
#include <ranges>
#include <utility>

namespace velmoran {

namespace {

bool isInput(AwayEventKind kind) {
    return kind == AwayEventKind::keyboardUsed || kind == AwayEventKind::mouseUsed;
}

bool canBeOwnReturn(AwayEventKind kind) {
    return isInput(kind) || kind == AwayEventKind::lidOpened || kind == AwayEventKind::wokeUp;
}

} // namespace

void AwayWatch::begin(Timestamp time, bool alreadyLocked) {
    if (isWatching()) {
        return;
    }
    current = AwayReport{.id = Uuid::random(),
                         .start = time,
                         .end = {},
                         .events = {},
                         .slept = false,
                         .ownReturn = {}};
    settlingUntil = alreadyLocked ? std::nullopt : std::optional(time + settleTime);
}

bool AwayWatch::record(AwayEventKind kind, const std::optional<std::string>& detail,
                       Timestamp time) {
    if (!isWatching() || (isInput(kind) && settlingUntil && time < *settlingUntil) ||
        kind == AwayEventKind::wentToSleep) {
        return false;
    }
    // Against the last one that was kept, so that steady typing goes on making events.
    auto newestFirst = current->events | std::views::reverse;
    const auto last = std::ranges::find_if(newestFirst, [&](const AwayEvent& event) {
        return event.kind == kind && event.detail == detail;
    });
    const Seconds window = isInput(kind) ? groupingWindow : repeatWindow;
    if (last != newestFirst.end() && time - last->time < window) {
        return false;
    }
    current->events.push_back({.id = Uuid::random(), .kind = kind, .time = time, .detail = detail});
    return true;
}

void AwayWatch::noteSleep() {
    if (current) {
        current->slept = true;
    }
}

std::optional<AwayReport> AwayWatch::finish(Timestamp time, bool ignoreOwnReturn) {
    auto report = std::exchange(current, std::nullopt);
    if (!report) {
        return std::nullopt;
    }
    report->end = time;
    if (ignoreOwnReturn) {
        const auto kept =
            std::ranges::stable_partition(report->events, [&](const AwayEvent& event) {
                return !canBeOwnReturn(event.kind) || time - event.time > returnWindow;
            });
        std::ranges::move(kept, std::back_inserter(report->ownReturn));
        report->events.erase(kept.begin(), kept.end());
    }
    return report;
}

} // namespace velmoran
