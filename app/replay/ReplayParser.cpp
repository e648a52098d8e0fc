#include "app/replay/ReplayParser.h"

#include "app/replay/RecordKeys.h"
#include "app/telling/SettingFields.h"
#include "core/away/AwayReport.h"
#include "core/text/Localizer.h"
#include "system/scripted/StrictJson.h"

#include <cmath>
#include <functional>
#include <map>
#include <set>

namespace velmoran {

namespace {

/// Text from a recording as part of a message: one line, valid UTF-8, of sensible length.
std::string printable(const std::string& text) {
    constexpr std::size_t longest = 400;
    auto cut = text.substr(0, longest);
    for (auto& c : cut) {
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
            c = ' ';
        }
    }
    // Writing replaces what isn't UTF-8, also a character that the cut went through.
    return decode<std::string>(encode(cut)) + (text.size() > longest ? "…" : "");
}

/// The library's message without "[json.exception.type_error.302] ".
std::string withoutCode(const nlohmann::json::exception& error) {
    const std::string text = error.what();
    const auto bracket = text.find("] ");
    return bracket == std::string::npos ? text : text.substr(bracket + 2);
}

std::string notJson(const nlohmann::json::exception& error) {
    const std::string text = error.what();
    // "[json.exception.parse_error.101] parse error at line 1, column 5: what is wrong": the line
    // is always the first of the one that was given.
    const auto column = text.find("column ");
    const auto colon = column == std::string::npos ? column : text.find(": ", column);
    if (colon == std::string::npos) {
        return "not JSON: " + withoutCode(error);
    }
    return "not JSON, " + text.substr(column, colon - column) + ": " + text.substr(colon + 2);
}

/// JSON in which no object has a key twice.
Json parseJson(std::string_view line) {
    std::vector<std::set<std::string>> keys;
    return Json::parse(line, [&](int, Json::parse_event_t event, Json& parsed) {
        switch (event) {
        case Json::parse_event_t::object_start:
            keys.emplace_back();
            break;
        case Json::parse_event_t::object_end:
            keys.pop_back();
            break;
        case Json::parse_event_t::key:
            if (!keys.back().insert(parsed.get<std::string>()).second) {
                throw DecodingError("the key \"" + parsed.get<std::string>() + "\" stands twice");
            }
            break;
        default:
            break;
        }
        return true;
    });
}

template <class Record>
Record record(const Json& json, const std::string& what) {
    try {
        return json.get<Record>();
    } catch (const DecodingError& error) {
        throw DecodingError("\"" + what + "\": " + error.what());
    } catch (const nlohmann::json::exception& error) {
        throw DecodingError("\"" + what + "\": " + withoutCode(error));
    }
}

/// A report of an away watch, which the program reads less strictly.
void checkReport(const Json& json) {
    const std::string what = "begin.reports";
    strict::onlyKeys(json, what, {"id", "start", "end", "events", "slept", "ownReturn"});
    const auto id = [&](const Json& holder) {
        if (!Uuid::parse(strict::text(strict::member(holder, what, "id"), what + ".id"))) {
            strict::fail(what + ".id", "an identifier");
        }
    };
    id(json);
    strict::number(strict::member(json, what, "start"), what + ".start");
    if (json.contains("end") && !json["end"].is_null()) {
        strict::number(json["end"], what + ".end");
    }
    if (json.contains("slept")) {
        strict::boolean(json["slept"], what + ".slept");
    }
    strict::member(json, what, "events");
    for (const auto* list : {"events", "ownReturn"}) {
        if (!json.contains(list)) {
            continue;
        }
        for (const auto& event : strict::array(json[list], what + "." + list)) {
            strict::onlyKeys(event, what + "." + list, {"id", "kind", "time", "detail"});
            id(event);
            const auto kind = strict::text(strict::member(event, what, "kind"), what + ".kind");
            if (!caseNamed<AwayEventKind>(kind)) {
                throw DecodingError("unknown name \"" + kind + "\" in \"" + what + "\"");
            }
            strict::number(strict::member(event, what, "time"), what + ".time");
            if (event.contains("detail") && !event["detail"].is_null()) {
                strict::text(event["detail"], what + ".detail");
            }
        }
    }
}

std::string timeZone(const Json& json, const std::string& what) {
    auto name = strict::text(json, what);
    if (!isTimeZone(name)) {
        throw DecodingError("\"" + what + "\" is not the name of a time zone: \"" + name + "\"");
    }
    return name;
}

ReplayBeginning beginning(const Json& json) {
    strict::onlyKeys(json, "begin",
                     {"time", "timeZone", "locale", "settings", "trust", "history", "reports",
                      "historyFails", "machine"});
    ReplayBeginning result;
    const auto with = [&](const char* key, const auto& read) {
        const auto found = json.find(key);
        if (found != json.end()) {
            read(*found, std::string("begin.") + key);
        }
    };
    using Text = const std::string&;
    with("time", [&](const Json& value, Text what) {
        result.time.seconds = strict::number(value, what);
        if (std::abs(result.time.seconds) > 2e11) {
            throw DecodingError("\"" + what + "\" is thousands of years away");
        }
    });
    with("timeZone",
         [&](const Json& value, Text what) { result.timeZone = timeZone(value, what); });
    with("locale",
         [&](const Json& value, Text what) { result.locale = strict::text(value, what); });
    with("settings", [&](const Json& value, Text what) {
        for (const auto& item : strict::object(value, what).items()) {
            checkField(item.key(), item.value());
        }
        result.settings = value;
    });
    with("trust", [&](const Json& value, Text what) {
        result.trust = record<TrustList>(value, what);
        onlyTrustKeys(value, what);
    });
    with("history", [&](const Json& value, Text what) {
        for (const auto& each : strict::array(value, what)) {
            result.history.push_back(record<UsageSession>(each, what));
            onlySessionKeys(each, what);
        }
    });
    with("reports", [&](const Json& value, Text what) {
        for (const auto& each : strict::array(value, what)) {
            checkReport(each);
            record<AwayReport>(each, what);
            result.reports.push_back(each);
        }
    });
    with("historyFails",
         [&](const Json& value, Text what) { result.historyFails = strict::boolean(value, what); });
    with("machine", [&](const Json& value, Text) { result.machine.apply(value); });
    return result;
}

// MARK: - Actions

using replay::Doing;

/// An action whose value is always true.
template <class Action>
Doing simple(const Json& value, const std::string& name, Action action) {
    if (!value.is_boolean() || !value.get<bool>()) {
        throw DecodingError("\"" + name + "\" takes true and nothing else");
    }
    return action;
}

Doing setting(const Json& value, const std::string& name) {
    strict::onlyKeys(value, name, {"name", "value"});
    replay::Setting result;
    result.name = strict::text(strict::member(value, name, "name"), name + ".name");
    result.value = strict::member(value, name, "value");
    checkField(result.name, result.value);
    return result;
}

Doing machine(const Json& value, const std::string&) {
    MachineScript().apply(value);
    return replay::ChangeMachine{value};
}

Doing press(const Json& value, const std::string& name) {
    strict::onlyKeys(value, name, {"notice", "button"});
    replay::Press result;
    result.notice = strict::text(strict::member(value, name, "notice"), name + ".notice");
    result.button = strict::text(strict::member(value, name, "button"), name + ".button");
    return result;
}

Doing decide(const Json& value, const std::string& name) {
    strict::onlyKeys(value, name, {"app", "devices", "value"});
    replay::Decide result;
    result.alwaysWarn = name == "setAlwaysWarn";
    result.app = strict::text(strict::member(value, name, "app"), name + ".app");
    for (const auto& each :
         strict::array(strict::member(value, name, "devices"), name + ".devices")) {
        const auto device = caseNamed<Device>(strict::text(each, name + ".devices"));
        if (!device) {
            throw DecodingError("unknown device \"" + each.get<std::string>() + "\"");
        }
        result.devices.push_back(*device);
    }
    result.value = strict::boolean(strict::member(value, name, "value"), name + ".value");
    return result;
}

Doing stop(const Json& value, const std::string& name) {
    return replay::Stop{strict::text(value, name)};
}

Doing signal(const Json& value, const std::string& name) {
    const auto kind = strict::text(strict::member(value, name, "kind"), name + ".kind");
    const auto known = caseNamed<AwaySignal::Kind>(kind);
    if (!known) {
        throw DecodingError("unknown signal \"" + kind + "\"");
    }
    replay::Signal result;
    result.signal.kind = *known;
    if (known == AwaySignal::Kind::lidMoved) {
        strict::onlyKeys(value, name, {"kind", "from", "to"});
        const auto angle = [&](const char* key) {
            return static_cast<int>(strict::integer(strict::member(value, name, key),
                                                    name + "." + key, INT32_MIN, INT32_MAX));
        };
        result.signal.from = angle("from");
        result.signal.to = angle("to");
    } else if (known == AwaySignal::Kind::devicePluggedIn) {
        strict::onlyKeys(value, name, {"kind", "name"});
        if (value.contains("name") && !value["name"].is_null()) {
            result.signal.name = strict::text(value["name"], name + ".name");
        }
    } else {
        strict::onlyKeys(value, name, {"kind"});
    }
    return result;
}

Doing show(const Json& value, const std::string& name) {
    static const std::set<std::string_view> known = {"openSessions", "history", "recent",  "rows",
                                                     "reports",      "trust",   "notices", "icon",
                                                     "panel",        "settings"};
    if (value.is_string()) {
        const auto word = value.get<std::string>();
        if (known.contains(word)) {
            return replay::Show{word, {}};
        }
        throw DecodingError("there is nothing called \"" + word + "\" to show");
    }
    if (!value.is_object() || value.size() != 1) {
        strict::fail(name, "a text or an object with one key");
    }
    strict::onlyKeys(value, name, {"days", "appTimes"});
    if (value.contains("days")) {
        constexpr int aCentury = 36'525;
        strict::integer(value["days"], name + ".days", 0, aCentury);
        return replay::Show{"days", value["days"]};
    }
    const auto span = strict::text(value["appTimes"], name + ".appTimes");
    if (span != "today" && span != "week") {
        throw DecodingError("\"show.appTimes\" is neither \"today\" nor \"week\"");
    }
    return replay::Show{"appTimes", value["appTimes"]};
}

using Reader = std::function<Doing(const Json&, const std::string&)>;

template <class Action>
Reader plain(Action action) {
    return [action](const Json& value, const std::string& name) {
        return simple(value, name, action);
    };
}

const std::map<std::string, Reader, std::less<>>& readers() {
    static const std::map<std::string, Reader, std::less<>> table = {
        {"launch", plain(replay::Launch{})},
        {"quit", plain(replay::Leave{.crash = false})},
        {"crash", plain(replay::Leave{.crash = true})},
        {"snapshot",
         [](const Json& value, const std::string& name) -> Doing {
             return replay::Snapshot{record<SystemSnapshot>(value, name)};
         }},
        {"setting", setting},
        {"machine", machine},
        {"press", press},
        {"stopEverything", plain(replay::StopEverything{})},
        {"stop", stop},
        {"setTrusted", decide},
        {"setAlwaysWarn", decide},
        {"unmuteMicrophone", plain(replay::UnmuteMicrophone{})},
        {"lock", plain(replay::Lock{.locked = true})},
        {"unlock", plain(replay::Lock{.locked = false})},
        {"signal", signal},
        {"deleteHistory", plain(replay::DeleteHistory{})},
        {"show", show},
        {"wait", plain(replay::Wait{})},
    };
    return table;
}

ReplayAction action(const Json& json) {
    ReplayAction result;
    std::string name;
    for (const auto& item : json.items()) {
        if (item.key() == "at") {
            result.at = strict::number(item.value(), "at");
            if (result.at < 0) {
                throw DecodingError("\"at\" is before the beginning");
            }
            if (result.at > latestReplayTime) {
                throw DecodingError("\"at\" is more than thirty years after the beginning");
            }
        } else if (item.key() == "begin") {
            throw DecodingError("\"begin\" stands alone on the first line");
        } else if (!readers().contains(item.key())) {
            throw DecodingError("unknown action \"" + item.key() + "\"");
        } else if (!name.empty()) {
            throw DecodingError("two actions in one line, \"" + name + "\" and \"" + item.key() +
                                "\"");
        } else {
            name = item.key();
        }
    }
    if (!json.contains("at")) {
        throw DecodingError("no \"at\"");
    }
    if (name.empty()) {
        throw DecodingError("no action");
    }
    result.doing = readers().find(name)->second(json[name], name);
    return result;
}

} // namespace

ReplayLine parseReplayLine(std::string_view line) {
    try {
        const auto json = parseJson(line);
        if (!json.is_object()) {
            throw DecodingError("not an object");
        }
        if (json.size() == 1 && json.contains("begin")) {
            return beginning(json["begin"]);
        }
        return action(json);
    } catch (const DecodingError& error) {
        throw DecodingError(printable(error.what()));
    } catch (const nlohmann::json::exception& error) {
        throw DecodingError(printable(notJson(error)));
    }
}

} // namespace velmoran
