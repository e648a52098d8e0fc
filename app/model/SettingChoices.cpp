#include "app/model/SettingChoices.h"

#include "app/model/AppModel.h"
#include "core/text/Localizer.h"

#include <algorithm>
#include <charconv>
#include <variant>

namespace velmoran::SettingChoices {

namespace {

template <class T>
using FieldOf = SettingsStore::Field<T> SettingsStore::*;

struct Choice {
    std::string_view name;
    std::variant<FieldOf<bool>, FieldOf<int>, FieldOf<std::optional<std::string>>> field;
    std::vector<std::string> values;
};

constexpr const char* ofSystem = "system";

const std::vector<Choice>& choices() {
    static const std::vector<std::string> either = {"true", "false"};
    static const std::vector<Choice> all = {
        {"retentionDays", &SettingsStore::retentionDays, {"30", "90", "365"}},
        {"warningSoundOn", &SettingsStore::warningSoundOn, either},
        {"standardNoticesStay", &SettingsStore::standardNoticesStay, either},
        {"speakerAutoMute", &SettingsStore::speakerAutoMute, either},
        {"monitorSpeakerUse", &SettingsStore::monitorSpeakerUse, either},
        {"hideSystemSounds", &SettingsStore::hideSystemSounds, either},
        {"ignoreSystemListening", &SettingsStore::ignoreSystemListening, either},
        {"floatingStopButton", &SettingsStore::floatingStopButton, either},
        {"stopShortcutOn", &SettingsStore::stopShortcutOn, either},
        {"confirmClosingBrowser", &SettingsStore::confirmClosingBrowser, either},
        {"ignoreOwnReturn", &SettingsStore::ignoreOwnReturn, either},
        {"awayWatchOnLock", &SettingsStore::awayWatchOnLock, either},
        {"language", &SettingsStore::language, {"en", "de", ofSystem}},
    };
    return all;
}

/// Null for another name.
const Choice* find(std::string_view name) {
    const auto found = std::ranges::find(choices(), name, &Choice::name);
    return found == choices().end() ? nullptr : &*found;
}

std::string textOf(bool value) {
    return value ? "true" : "false";
}

std::string textOf(int value) {
    return std::to_string(value);
}

std::string textOf(const std::optional<std::string>& value) {
    return value.value_or(ofSystem);
}

void read(std::string_view text, bool& value) {
    value = text == "true";
}

void read(std::string_view text, int& value) {
    std::from_chars(text.data(), text.data() + text.size(), value);
}

void read(std::string_view text, std::optional<std::string>& value) {
    value = text == ofSystem ? std::nullopt : std::optional<std::string>(text);
}

std::string joined(const std::vector<std::string>& texts) {
    std::string result;
    for (const auto& text : texts) {
        result += (result.empty() ? "" : ", ") + text;
    }
    return result;
}

} // namespace

std::vector<std::string> names() {
    std::vector<std::string> result;
    for (const auto& choice : choices()) {
        result.emplace_back(choice.name);
    }
    return result;
}

std::vector<std::string> values(std::string_view name) {
    const auto* choice = find(name);
    return choice ? choice->values : std::vector<std::string>();
}

std::string text(const SettingsStore& settings, std::string_view name) {
    const auto* choice = find(name);
    return choice ? std::visit([&](auto field) { return textOf((settings.*field).get()); },
                               choice->field)
                  : std::string();
}

Json all(const SettingsStore& settings) {
    Json result = Json::object();
    for (const auto& choice : choices()) {
        const std::string name(choice.name);
        if (const auto* language = std::get_if<2>(&choice.field)) {
            result[name] = textOf((settings.**language).get());
        } else if (const auto* flag = std::get_if<0>(&choice.field)) {
            result[name] = (settings.**flag).get();
        } else if (const auto* number = std::get_if<1>(&choice.field)) {
            result[name] = (settings.**number).get();
        }
    }
    return result;
}

std::optional<std::string> refusal(const std::string& name) {
    if (find(name)) {
        return std::nullopt;
    }
    if (name == "microphoneMuted" || name == "mutedByVelmoran") {
        return words().text("A stop mutes the microphone, and “velmoranctl unmute” unmutes it.");
    }
    if (name == "trustRulesData" || name == "trustRules") {
        return words().text("Trust is given on the screen, and taken by “velmoranctl trust remove” "
                            "too.");
    }
    if (name == "floatingStopPlace" || name == "onboardingDone") {
        return words().text("“%@” can't be set by name.", {name});
    }
    return words().text("There is no setting “%@”. There are: %@.", {name, joined(names())});
}

std::optional<std::string> refusal(const std::string& name, const std::string& value) {
    if (auto ofName = refusal(name)) {
        return ofName;
    }
    const auto allowed = values(name);
    return std::ranges::find(allowed, value) != allowed.end()
               ? std::nullopt
               : std::optional(words().text("“%@” can't be “%@”. It can be: %@.",
                                            {name, value, joined(allowed)}));
}

void set(SettingsStore& settings, std::string_view name, std::string_view value) {
    if (const auto* choice = find(name)) {
        std::visit(
            [&](auto field) {
                auto read = (settings.*field).get();
                SettingChoices::read(value, read);
                (settings.*field).set(read);
            },
            choice->field);
    }
}

void carryOut(AppModel& model, std::string_view name) {
    if (name == "monitorSpeakerUse" || name == "ignoreSystemListening") {
        model.syncSessions();
        model.onChange();
    } else if (name == "retentionDays") {
        model.pruneHistory();
    }
}

void carryOut(AppModel& model, FieldOf<bool> field) {
    for (const auto& choice : choices()) {
        if (choice.field == decltype(choice.field)(field)) {
            carryOut(model, choice.name);
        }
    }
}

} // namespace velmoran::SettingChoices
