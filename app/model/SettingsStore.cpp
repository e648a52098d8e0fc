#include "app/model/SettingsStore.h"

#include "core/base/Json.h"

#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace velmoran {

namespace {

constexpr const char* muteKey = "microphoneMuted";
constexpr const char* mutedPlacesKey = "mutedByVelmoran";
constexpr std::array<const char*, 2> languages = {"en", "de"};

std::optional<Point> readPlace(const KeyValueStore& store, const char* key) {
    const auto numbers = store.numbers(key);
    if (!numbers || numbers->size() != 2 || !std::isfinite((*numbers)[0]) ||
        !std::isfinite((*numbers)[1])) {
        return std::nullopt;
    }
    return Point{(*numbers)[0], (*numbers)[1]};
}

std::optional<MutedPlaces> readPlaces(const KeyValueStore& store, const char* key) {
    const auto written = store.bytes(key);
    try {
        return written ? std::optional(decode<MutedPlaces>(*written)) : std::nullopt;
    } catch (const DecodingError&) {
        return std::nullopt;
    }
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
    const auto days = store_.integer("retentionDays").value_or(90);
    // A hand-edited number that no calendar could subtract acts as missing.
    const bool sensible = days >= 0 && days <= std::numeric_limits<int>::max();
    retentionDays.value_ = Observable<int>(sensible ? static_cast<int>(days) : 90);
    retentionDays.write_ = [this](int value) {
        store_.setInteger("retentionDays", value);
        noteWritten();
    };
    // Defaults aren't written: a later version can change them for all who never touched them.
    bind(warningSoundOn, "warningSoundOn", true);
    bind(standardNoticesStay, "standardNoticesStay", false);
    bind(speakerAutoMute, "speakerAutoMute", true);
    bind(monitorSpeakerUse, "monitorSpeakerUse", false);
    bind(hideSystemSounds, "hideSystemSounds", true);
    bind(ignoreSystemListening, "ignoreSystemListening", true);
    bind(floatingStopButton, "floatingStopButton", false);
    bind(stopShortcutOn, "stopShortcutOn", false);
    bind(confirmClosingBrowser, "confirmClosingBrowser", true);
    bind<Point>(floatingStopPlace, "floatingStopPlace", readPlace(store_, "floatingStopPlace"),
                [](KeyValueStore& to, const char* key, const Point& place) {
                    to.setNumbers(key, {place.x, place.y});
                });
    bind(ignoreOwnReturn, "ignoreOwnReturn", true);
    bind(awayWatchOnLock, "awayWatchOnLock", false);
    bind(microphoneMuted, muteKey, false);
    bind<MutedPlaces>(mutedByVelmoran, mutedPlacesKey, readPlaces(store_, mutedPlacesKey),
                      [](KeyValueStore& to, const char* key, const MutedPlaces& places) {
                          to.setBytes(key, encode(places));
                      });
    mutedByVelmoran.alwaysWritten_ = false;
    bind(onboardingDone, "onboardingDone", false);
    bind<std::string>(trustRulesData, "trustRules", store_.bytes("trustRules"),
                      [](KeyValueStore& to, const char* key, const std::string& data) {
                          to.setBytes(key, data);
                      });
    trustRulesData.alwaysWritten_ = false;
    bind<std::string>(language, "AppleLanguages", readLanguage(store_, "AppleLanguages"),
                      [](KeyValueStore& to, const char* key, const std::string& code) {
                          to.setTexts(key, {code});
                      });
}

std::optional<bool> SettingsStore::muteElsewhere() {
    store_.reload();
    noteWritten();
    const auto written = store_.boolean(muteKey);
    return written == *microphoneMuted ? std::nullopt : written;
}

std::optional<MutedPlaces> SettingsStore::writtenMutedByVelmoran() const {
    return readPlaces(store_, mutedPlacesKey);
}

void SettingsStore::bind(Field<bool>& field, const char* key, bool byDefault) {
    field.value_ = Observable<bool>(store_.boolean(key).value_or(byDefault));
    field.write_ = [this, key](bool value) {
        store_.setBoolean(key, value);
        noteWritten();
    };
}

template <class T>
void SettingsStore::bind(Field<std::optional<T>>& field, const char* key, std::optional<T> value,
                         void (*write)(KeyValueStore&, const char* key, const T&)) {
    field.value_ = Observable(std::move(value));
    field.write_ = [this, key, write](const std::optional<T>& chosen) {
        if (chosen) {
            write(store_, key, *chosen);
        } else {
            store_.remove(key);
        }
        noteWritten();
    };
}

} // namespace velmoran
