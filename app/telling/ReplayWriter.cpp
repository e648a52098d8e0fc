#include "app/telling/ReplayWriter.h"

namespace velmoran {

std::string ReplayWriter::Names::name(const Uuid& id) {
    const auto [found, isNew] = names.try_emplace(id, last + 1);
    if (isNew) {
        ++last;
    }
    return letter + std::to_string(found->second);
}

void ReplayWriter::keepOnlySessions(const std::unordered_set<Uuid>& ids) {
    std::erase_if(sessions_.names, [&](const auto& each) { return !ids.contains(each.first); });
}

void ReplayWriter::write(Seconds at, std::string_view event, const Json& further) {
    Json line = Json::object();
    line["at"] = at;
    line["event"] = std::string(event);
    for (const auto& item : further.items()) {
        line[item.key()] = item.value();
    }
    sink_(encode(line));
}

Json ReplayWriter::session(const UsageSession& session) {
    Json json = session;
    json["id"] = sessions_.name(session.id);
    return json;
}

Json ReplayWriter::report(const AwayReport& report) {
    Json json = report;
    json["id"] = reports_.name(report.id);
    const auto rename = [&](const char* key, const std::vector<AwayEvent>& events) {
        for (std::size_t i = 0; i < events.size(); ++i) {
            json[key][i]["id"] = happenings_.name(events[i].id);
        }
    };
    rename("events", report.events);
    rename("ownReturn", report.ownReturn);
    return json;
}

Json ReplayWriter::row(const ActivityRow& row) {
    Json json = Json::object();
    json["id"] = sessions_.name(row.id());
    json["app"] = row.app();
    json["devices"] = row.devices;
    json["start"] = row.start();
    writeIfPresent(json, "end", row.end);
    json["isOpen"] = row.isOpen;
    writeIfPresent(json, "outcome", row.outcome);
    writeIfPresent(json, "warningLevel", row.warningLevel);
    json["sessions"] = Json::array();
    for (const auto& session : row.sessions) {
        json["sessions"].push_back(sessions_.name(session->id));
    }
    return json;
}

Json ReplayWriter::notice(const NoticeItem& item) {
    Json json = Json::object();
    json["id"] = notices_.name(item.id);
    json["title"] = item.title;
    writeIfPresent(json, "message", item.message);
    json["timeText"] = item.timeText;
    json["strong"] = item.isStrong;
    json["buttons"] = Json::array();
    for (const auto& button : item.buttons) {
        json["buttons"].push_back(button.title);
    }
    writeIfPresent(json, "autoHideAfter", item.autoHideAfter);
    writeIfPresent(json, "symbol", item.symbol);
    writeIfPresent(json, "appPath", item.appPath);
    return json;
}

} // namespace velmoran
