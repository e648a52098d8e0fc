#include "app/telling/SettingFields.h"

#include "app/model/MemorySettings.h"
#include "system/scripted/StrictJson.h"

#include <limits>
#include <optional>
#include <utility>

namespace velmoran {

namespace {

void read(const Json& json, const std::string& name, int& value) {
    value = static_cast<int>(strict::integer(json, name, 0, std::numeric_limits<int>::max()));
}

void read(const Json& json, const std::string& name, bool& value) {
    value = strict::boolean(json, name);
}

void read(const Json& json, const std::string& name, std::optional<Point>& value) {
    value = std::nullopt;
    if (json.is_null()) {
        return;
    }
    if (strict::array(json, name).size() != 2) {
        strict::fail(name, "an array of two numbers");
    }
    value = Point{strict::number(json[0], name), strict::number(json[1], name)};
}

void read(const Json& json, const std::string& name, std::optional<std::string>& value) {
    value = std::nullopt;
    if (json.is_null()) {
        return;
    }
    value = strict::text(json, name);
    if (name == "language" && value != "en" && value != "de") {
        throw DecodingError("\"language\" is neither \"en\" nor \"de\" nor null");
    }
}

Json written(const std::optional<Point>& value) {
    return value ? Json::array({value->x, value->y}) : Json();
}

Json written(const std::optional<std::string>& value) {
    return value ? Json(*value) : Json();
}

template <class T>
Json written(const T& value) {
    return value;
}

/// In the order of the fields.
template <class Settings, class Visitor>
void visit(Settings& settings, Visitor visitor) {
    visitor("retentionDays", settings.retentionDays);
    visitor("warningSoundOn", settings.warningSoundOn);
    visitor("standardNoticesStay", settings.standardNoticesStay);
    visitor("speakerAutoMute", settings.speakerAutoMute);
    visitor("monitorSpeakerUse", settings.monitorSpeakerUse);
    visitor("hideSystemSounds", settings.hideSystemSounds);
    visitor("ignoreSystemListening", settings.ignoreSystemListening);
    visitor("floatingStopButton", settings.floatingStopButton);
    visitor("stopShortcutOn", settings.stopShortcutOn);
    visitor("confirmClosingBrowser", settings.confirmClosingBrowser);
    visitor("floatingStopPlace", settings.floatingStopPlace);
    visitor("ignoreOwnReturn", settings.ignoreOwnReturn);
    visitor("awayWatchOnLock", settings.awayWatchOnLock);
    visitor("microphoneMuted", settings.microphoneMuted);
    visitor("onboardingDone", settings.onboardingDone);
    visitor("trustRulesData", settings.trustRulesData);
    visitor("language", settings.language);
}

} // namespace

void setField(SettingsStore& settings, const std::string& name, const Json& value) {
    bool found = false;
    visit(settings, [&](const char* each, auto& field) {
        if (name == each) {
            found = true;
            auto converted = field.get();
            read(value, name, converted);
            field.set(converted);
        }
    });
    if (!found) {
        throw DecodingError("unknown setting \"" + name + "\"");
    }
}

void checkField(const std::string& name, const Json& value) {
    MemorySettings nowhere;
    SettingsStore settings(nowhere);
    setField(settings, name, value);
}

Json allFields(const SettingsStore& settings) {
    Json result = Json::object();
    visit(settings, [&](const char* each, const auto& field) {
        if (auto value = written(field.get()); !value.is_null()) {
            result[each] = std::move(value);
        }
    });
    return result;
}

} // namespace velmoran
