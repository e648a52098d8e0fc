#include "app/telling/ModelState.h"

#include "app/contents/HistoryRange.h"
#include "app/contents/PanelContent.h"
#include "app/telling/SettingFields.h"
#include "core/history/Activity.h"
#include "core/history/DayUsage.h"
#include "core/text/Localizer.h"

#include <utility>

namespace velmoran {

namespace {

template <class Each, class Written>
Json arrayOf(const Each& all, Written written) {
    Json array = Json::array();
    for (const auto& each : all) {
        array.push_back(written(each));
    }
    return array;
}

Json times(const std::vector<AppTime>& times) {
    return arrayOf(times, [](const AppTime& each) {
        return Json{{"app", each.app}, {"seconds", each.seconds}};
    });
}

/// As the chart of the history counts them: what the settings hide elsewhere, too.
Json days(const AppModel& model, int count) {
    const auto all =
        DayUsage::days(model.historySessions->sessions(), count, model.clock().now(), words());
    return arrayOf(all, [](const DayUsage& each) {
        return Json{{"day", each.day},
                    {"camera", each.camera},
                    {"microphone", each.microphone},
                    {"apps", times(each.apps)}};
    });
}

Json appTimes(const AppModel& model, HistoryRange range) {
    const auto now = model.clock().now();
    const auto interval = intervalOf(range, now, words()).value();
    return times(Activity::appTimes(model.visibleSessions(), interval, now));
}

} // namespace

std::optional<Json> stateOf(const AppModel& model, const std::string& word, const Json& argument,
                            ReplayWriter& writer) {
    const auto session = [&](const UsageSession& each) {
        return writer.session(each);
    };
    const auto row = [&](const ActivityRow& each) {
        return writer.row(each);
    };
    if (word == "openSessions") {
        return arrayOf(*model.openSessions, session);
    }
    if (word == "history") {
        return arrayOf(*model.historySessions, session);
    }
    if (word == "recent") {
        return arrayOf(model.recentRows(), row);
    }
    if (word == "rows") {
        return arrayOf(Activity::rows(model.visibleSessions()), row);
    }
    if (word == "reports") {
        return arrayOf(**model.awayReports,
                       [&](const AwayReport& each) { return writer.report(each); });
    }
    if (word == "days") {
        return days(model, argument.get<int>());
    }
    if (word == "appTimes") {
        return appTimes(model, argument == "today" ? HistoryRange::today : HistoryRange::week);
    }
    if (word == "trust") {
        return *model.trust;
    }
    if (word == "notices") {
        return arrayOf(model.notices.items(),
                       [&](const NoticeItem& each) { return writer.notice(each); });
    }
    if (word == "icon") {
        return model.statusIconState();
    }
    if (word == "panel") {
        return panelLines(model, model.clock().now());
    }
    if (word == "settings") {
        return allFields(model.settings);
    }
    return std::nullopt;
}

} // namespace velmoran
