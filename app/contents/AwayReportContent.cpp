#include "app/contents/AwayReportContent.h"

#include "core/text/Localizer.h"

#include <algorithm>

namespace velmoran {

namespace {

std::vector<AwayReportContent::Row> rowsOf(const AwayReport& report) {
    std::vector<AwayReportContent::Row> rows;
    rows.reserve(report.events.size() + report.ownReturn.size());
    for (const auto& event : report.events) {
        rows.push_back({.event = event, .justBeforeUnlock = false});
    }
    for (const auto& event : report.ownReturn) {
        rows.push_back({.event = event, .justBeforeUnlock = true});
    }
    // A clock that was set may have left them in another order.
    std::ranges::stable_sort(rows, {}, [](const auto& row) { return row.event.time; });
    return rows;
}

} // namespace

std::string presentMoment() {
    return words().text("now");
}

std::string ownReturnTag() {
    return words().text("just before you unlocked");
}

AwayReportContent AwayReportContent::of(const AwayReport& report) {
    const std::vector<std::string> range = {words().shortTime(report.start),
                                            report.end ? words().shortTime(*report.end)
                                                       : presentMoment()};
    AwayReportContent content;
    content.id = report.id;
    if (report.isEmpty()) {
        content.heading = words().text("Nothing happened while you were away");
        content.when = words().text("%@ to %@", range);
    } else {
        content.heading = words().text("While you were away");
        content.when = words().text("Away watch was on from %@ to %@.", range);
        content.rows = rowsOf(report);
        if (!report.hasDeviceUse()) {
            content.devices = words().text("The camera and microphone were not used.");
        }
    }
    if (!report.ownReturn.empty()) {
        content.notes.push_back(
            words().text("What happened in the last seconds before you unlocked is probably you. "
                         "It is listed, but doesn't count as something that happened."));
    }
    if (report.slept) {
        content.notes.push_back(
            words().text("Velmoran can't notice anything while the Mac is asleep."));
    }
    return content;
}

std::string AwayRowText::spoken() const {
    return time + ", " + title + (tag.empty() ? "" : ", " + tag);
}

AwayRowText rowText(const AwayReportContent::Row& row) {
    return {.time = words().shortTime(row.event.time),
            .title = row.event.title(),
            .tag = row.justBeforeUnlock ? ownReturnTag() : std::string()};
}

} // namespace velmoran
