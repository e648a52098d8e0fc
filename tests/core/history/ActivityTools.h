// What the tests of rows, times and days share: sessions by what matters to them.
#pragma once

#include "HistoryTools.h"
#include "core/history/SessionRef.h"

#include <memory>
#include <optional>
#include <random>
#include <string>
#include <utility>

namespace velmoran {

struct SomeUse {
    Device device = Device::camera;
    std::string app = "zoom";
    double start = 0;
    std::optional<double> end = {};
    std::optional<SessionOutcome> outcome = {};
    std::optional<WarningLevel> warningLevel = {};
    std::string name = "Zoom";
    unsigned number = 0; ///< 0: one of its own
};

/// Ended normally where it has an end and no outcome.
inline SessionRef someUse(const SomeUse& use) {
    static unsigned last = 1000;
    auto result = sessionNumber(use.number != 0 ? use.number : ++last, use.start);
    result.device = use.device;
    result.app.id = use.app;
    result.app.name = use.name;
    if (use.end) {
        result.end = Timestamp{*use.end};
        result.outcome = SessionOutcome::endedNormally;
    }
    if (use.outcome) {
        result.outcome = use.outcome;
    }
    result.warningLevel = use.warningLevel;
    return std::make_shared<const UsageSession>(std::move(result));
}

/// A crowd of sessions within `span` seconds, on a grid of a tenth of a second at which starts meet
/// and distances are exactly the window, a little less and a little more.
inline SessionList randomSessions(std::mt19937& random, unsigned count, unsigned span) {
    const auto oneOf = [&](unsigned sides) {
        return static_cast<unsigned>(random() % sides);
    };
    SessionList result;
    for (unsigned number = 1; number <= count; ++number) {
        auto each = sessionNumber(number, 700000000 + oneOf(span * 10) / 10.0);
        const auto app = oneOf(3);
        each.device = allDevices[oneOf(3)];
        each.app.id = "app" + std::to_string(app);
        each.app.name = oneOf(4) == 0 ? "Renamed" : "App " + std::to_string(app);
        each.app.unidentified = oneOf(8) == 0;
        if (oneOf(3) != 0) {
            each.end = each.start + static_cast<double>(oneOf(span * 10)) / 10.0 - 1;
            each.outcome = static_cast<SessionOutcome>(oneOf(2));
        } else if (oneOf(2) == 0) {
            each.outcome = SessionOutcome::endUnknown;
        }
        if (oneOf(4) != 0) {
            each.warningLevel = static_cast<WarningLevel>(oneOf(3));
        }
        result.push_back(std::make_shared<const UsageSession>(std::move(each)));
    }
    return result;
}

} // namespace velmoran
