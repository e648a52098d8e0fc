#include "app/model/SettingsStore.h"

#include <array>
#include <cmath>
#include <limits>

namespace velmoran {

namespace {

constexpr const char* muteKey = "microphoneMuted";
constexpr std::array<const char*, 2> languages = {"en", "de"};

std::optional<Point> readPlace(const KeyValueStore& store, const char* key) {
    const auto numbers = store.numbers(key);
    if (!numbers || numbers->size() != 2 || !std::isfinite((*numbers)[0]) ||
        !std::isfinite((*numbers)[1])) {
        return std::nullopt;
    }
    return Point{(*numbers)[0], (*numbers)[1]};
}

std::optional<std::string> readLanguage(const KeyValueStore& store, const char* key) {
    const auto texts = store.texts(key);
    if (!texts || texts->empty()) {
        return std::nullopt;
    }
    for (const auto* code : languages) {
        if (texts->front().starts_with(code)) {
            return code;
        }
    }
    return std::nullopt;
}

} // namespace

SettingsStore::SettingsStore(KeyValueStore& store) : store_(store) {
    // Registered and not written: a later version can change these for all who never touched them.
    store_.registerInteger("retentionDays", 90);
    for (const auto* key : {"warningSoundOn", "speakerAutoMute", "hideSystemSounds",
                            "ignoreSystemListening", "confirmClosingBrowser", "ignoreOwnReturn"}) {
        store_.registerBoolean(key, true);
    }

    const auto days = store_.integer("retentionDays").value_or(90);
    // A hand-edited number that no calendar could subtract acts as missing.
    const bool sensible = days >= 0 && days <= std::numeric_limits<int>::max();
    retentionDays.value_ = Observable<int>(sensible ? static_cast<int>(days) : 90);
    retentionDays.write_ = [this](int value) {
        store_.setInteger("retentionDays", value);
    };
    bind(warningSoundOn, "warningSoundOn");
    bind(standardNoticesStay, "standardNoticesStay");
    bind(speakerAutoMute, "speakerAutoMute");
    bind(monitorSpeakerUse, "monitorSpeakerUse");
    bind(hideSystemSounds, "hideSystemSounds");
    bind(ignoreSystemListening, "ignoreSystemListening");
    bind(floatingStopButton, "floatingStopButton");
    bind(stopShortcutOn, "stopShortcutOn");
    bind(confirmClosingBrowser, "confirmClosingBrowser");
    floatingStopPlace.value_ = Observable(readPlace(store_, "floatingStopPlace"));
    floatingStopPlace.write_ = [this](const std::optional<Point>& place) {
        if (place) {
            store_.setNumbers("floatingStopPlace", {place->x, place->y});
        } else {
            store_.remove("floatingStopPlace");
        }
    };
    bind(ignoreOwnReturn, "ignoreOwnReturn");
    bind(awayWatchOnLock, "awayWatchOnLock");
    bind(microphoneMuted, muteKey);
    bind(onboardingDone, "onboardingDone");
    trustRulesData.value_ = Observable(store_.bytes("trustRules"));
    trustRulesData.alwaysWritten_ = false;
    trustRulesData.write_ = [this](const std::optional<std::string>& data) {
        if (data) {
            store_.setBytes("trustRules", *data);
        } else {
            store_.remove("trustRules");
        }
    };
    language.value_ = Observable(readLanguage(store_, "AppleLanguages"));
    language.write_ = [this](const std::optional<std::string>& code) {
        if (code) {
            store_.setTexts("AppleLanguages", {*code});
        } else {
            store_.remove("AppleLanguages");
        }
    };
}

std::optional<bool> SettingsStore::muteElsewhere() {
    store_.reload();
    const auto written = store_.boolean(muteKey);
    return written == *microphoneMuted ? std::nullopt : written;
}

void SettingsStore::bind(Field<bool>& field, const char* key) {
    field.value_ = Observable<bool>(store_.boolean(key).value_or(false));
    field.write_ = [this, key](bool value) {
        store_.setBoolean(key, value);
    };
}

} // namespace velmoran
