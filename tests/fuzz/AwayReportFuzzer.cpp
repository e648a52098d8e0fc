// Any bytes as an away report in the history file: reading them gives a report or a DecodingError,
// what was read once is read the same after it has been stored again, and its text is the same one
// if it is stored after each of its events.
#include "core/away/AwayReport.h"
#include "core/away/AwayReportText.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

using namespace velmoran;

namespace {

void insist(bool holds) {
    if (!holds) {
        std::abort();
    }
}

void tryReport(const AwayReport& report) {
    insist(decode<AwayReport>(encode(report)) == report);
    insist(report.isEmpty() == report.events.empty());
    insist(std::ranges::none_of(report.events, [](const AwayEvent& event) {
        return event.kind == AwayEventKind::wentToSleep;
    }));
    auto running = report;
    running.end = {};
    running.events.clear();
    AwayReportText text;
    for (const auto& event : report.events) {
        insist(!event.title().empty());
        running.events.push_back(event);
        insist(text.of(running) == encode(running));
    }
    for (const auto& event : report.ownReturn) {
        insist(!event.title().empty());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    AwayReport report;
    try {
        report = decode<AwayReport>(bytes);
    } catch (const DecodingError&) {
        return 0;
    }
    tryReport(report);
    return 0;
}
