#include "ctl/Reports.h"

#include "app/bus/ProgramStatus.h"
#include "core/away/AwayReport.h"
#include "core/text/Localizer.h"
#include "core/text/ZoneSource.h"
#include "ctl/Asking.h"
#include "ctl/KeptHistory.h"
#include "ctl/ReportLines.h"

#include <exception>
#include <optional>

namespace velmoran {

namespace {

std::optional<AwayReport> reportFrom(const std::string& payload) {
    try {
        return decode<AwayReport>(payload);
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

/// Only the program itself knows: what a killed one has left behind looks the same in the file.
bool watchIsOn(const AskOptions& asking) {
    if (!historyIsKept(asking)) {
        return false;
    }
    const auto answer =
        asking::call(asking, "Status", {}, asking::Wait::bounded, asking::Absence::isLeftToCaller);
    const char* text = nullptr;
    if (!answer.reply || sd_bus_message_read(answer.reply.get(), "s", &text) < 0) {
        return false;
    }
    try {
        return decode<ProgramStatus>(text).awayWatchOn;
    } catch (const DecodingError&) {
        return false;
    }
}

} // namespace

int printReports(bool json, const AskOptions& asking) {
    asking::prepare(asking);
    setZoneSource(nullptr); // asked for each line it would cost more than the line
    return printKept([&](HistoryReader& reader, Output& output) {
        bool isAny = false;
        const auto print = [&](const AwayReport& report) {
            if (!json && isAny) {
                output.collect("\n");
            }
            isAny = true;
            output.collect(json ? jsonOf(report) : linesOf(report));
        };
        std::optional<AwayReport> unfinished;
        reader.eachAwayReport([&](const std::string& payload) {
            const auto report = reportFrom(payload);
            if (report && !report->end) {
                unfinished = report;
            } else if (report && !report->isEmpty()) {
                print(*report);
            }
            return output.isOpen();
        });
        if (unfinished && watchIsOn(asking)) {
            print(*unfinished);
        }
        if (!isAny && !json) {
            output.collect(words().text("No Away watch reports yet") + "\n");
        }
    });
}

} // namespace velmoran
