#include "ctl/ReportLines.h"

#include "app/contents/AwayReportContent.h"
#include "core/base/Json.h"
#include "core/text/CellText.h"
#include "core/text/Localizer.h"
#include "core/text/MomentText.h"
#include "core/text/PlainLine.h"

namespace velmoran {

namespace {

/// The longest title that a line shows; a longer one is nothing to be read.
constexpr std::size_t titleColumns = 160;

std::string whenOf(const AwayReport& report) {
    const std::vector<std::string> range = {wallTime(report.start),
                                            report.end ? wallTime(*report.end) : presentMoment()};
    return report.isEmpty() ? words().text("%@ to %@", range)
                            : words().text("Away watch was on from %@ to %@.", range);
}

Json timeOf(Timestamp time) {
    const auto text = isoTime(time, Precision::milliseconds);
    return text.empty() ? Json() : Json(text);
}

Json objectOf(const AwayEvent& event) {
    Json json = {
        {"id", event.id.text()}, {"kind", rawValue(event.kind)}, {"time", timeOf(event.time)}};
    writeIfPresent(json, "detail", event.detail);
    json["title"] = event.title();
    return json;
}

Json arrayOf(const std::vector<AwayEvent>& events) {
    Json json = Json::array();
    for (const auto& event : events) {
        json.push_back(objectOf(event));
    }
    return json;
}

} // namespace

std::string linesOf(const AwayReport& report) {
    const auto content = AwayReportContent::of(report);
    auto lines = whenOf(report) + "\n";
    if (report.isEmpty()) {
        lines += "  " + content.heading + "\n";
    }
    for (const auto& row : content.rows) {
        const auto text = rowText(row);
        lines += "  " + wallTime(row.event.time) + "  " + cutLine(text.title, titleColumns) +
                 (text.tag.empty() ? "" : " (" + text.tag + ")") + "\n";
    }
    if (!content.devices.empty()) {
        lines += "  " + content.devices + "\n";
    }
    for (const auto& note : content.notes) {
        lines += "  " + note + "\n";
    }
    return lines;
}

std::string jsonOf(const AwayReport& report) {
    Json json = {{"id", report.id.text()}, {"start", timeOf(report.start)}};
    if (report.end) {
        json["end"] = timeOf(*report.end);
    }
    json["slept"] = report.slept;
    json["events"] = arrayOf(report.events);
    json["ownReturn"] = arrayOf(report.ownReturn);
    return plainJson(encode(json)) + "\n";
}

} // namespace velmoran
