#include "app/contents/SettingsContent.h"

#include "core/text/Localizer.h"

#include <algorithm>

namespace velmoran::SettingsContent {

std::string startLanguage() {
    // The program's own languages are two; for all others it speaks English.
    return words().language() == "de" ? "de" : "en";
}

std::string chosenLanguage(const SettingsStore& settings) {
    const auto& chosen = *settings.language;
    return chosen ? *chosen : startLanguage();
}

Picker<std::string> languages() {
    return {.title = words().text("Language"),
            .note = "",
            .entries = {{"en", "English"}, {"de", "Deutsch"}}};
}

Toggle warningSound() {
    return {&SettingsStore::warningSoundOn, words().text("Warning sound"),
            words().text("Plays only for strong warnings.")};
}

Picker<bool> standardNotices() {
    return {.title = words().text("Standard notices"),
            .note = words().text("Strong warnings always stay until you act."),
            .entries = {{false, words().text("Hide after 8 s")},
                        {true, words().text("Stay until closed")}}};
}

std::vector<Toggle> quickStop(bool shortcutUnavailable, bool buttonUnavailable) {
    return {
        {&SettingsStore::floatingStopButton, words().text("Floating stop button"),
         buttonUnavailable
             ? words().text("This desktop has no place for the button: it lets no program stand "
                            "above the windows of others.")
             : words().text(
                   "A small button appears on screen while the camera or microphone is on. One "
                   "click stops them, like the button in the panel. Drag it where you want it.")},
        {&SettingsStore::confirmClosingBrowser, words().text("Ask before closing a browser"),
         words().text(
             "Stopping a web browser closes all its tabs. When on, Velmoran asks first, so "
             "you don't lose work by mistake.")},
        {&SettingsStore::stopShortcutOn, words().text("Keyboard shortcut ⌃⌥⌘."),
         shortcutUnavailable
             ? words().text(
                   "macOS didn't give Velmoran this shortcut. Another app may be using it.")
             : words().text("Press Control, Option, Command and the . key to stop the camera and "
                            "microphone from any app.")},
    };
}

std::vector<Toggle> watching() {
    return {
        {&SettingsStore::speakerAutoMute, words().text("Mute speakers when headphones disconnect"),
         words().text("Stops sound suddenly playing out loud.")},
        {&SettingsStore::monitorSpeakerUse, words().text("Monitor speaker use"),
         words().text("Saves which apps play sound, and for how long. When off, nothing new is "
                      "saved for the speaker; entries already in History stay there.")},
        {&SettingsStore::hideSystemSounds, words().text("Hide system sounds"),
         words().text("Sounds that macOS plays itself, such as alerts, are saved but left out of "
                      "the lists. Camera and microphone use is never hidden.")},
        {&SettingsStore::ignoreSystemListening, words().text("Ignore macOS's own listening"),
         words().text("Parts of macOS turn the microphone on by themselves, such as for “Hey Siri” "
                      "and dictation. When on, they are not shown and cause no notice. Apps are "
                      "never ignored.")},
    };
}

Toggle awayWatch(bool readsLid, const AwayGaps& gaps) {
    auto note =
        readsLid
            ? words().text("Notes if anyone touches this Mac while the screen is locked. Moving "
                           "the lid is noticed. Moving the whole Mac isn't: Velmoran can't read "
                           "its motion sensor.")
            : words().text("Notes if anyone touches this Mac while the screen is locked. Movement "
                           "isn't watched on this Mac: Velmoran can't read its motion sensor.");
    if (gaps.noInput) {
        note += " " + words().text("Keyboard and mouse aren't noticed: this desktop doesn't tell "
                                   "that they are used.");
    }
    if (gaps.noLock) {
        note += " " + words().text("Nothing has announced here yet that the screen is locked. "
                                   "Until something does, the watch can't begin.");
    }
    return {&SettingsStore::awayWatchOnLock, words().text("Away watch"), note};
}

Toggle ownReturn() {
    return {&SettingsStore::ignoreOwnReturn,
            words().text("Ignore the last 10 seconds before unlocking"),
            words().text("Leaving this on is recommended. Opening the lid and typing your password "
                         "would otherwise show up in every report. When off, everything counts, "
                         "and a report appears each time you unlock with the keyboard.")};
}

Picker<int> retention(int days) {
    Picker<int> picker{.title = words().text("Keep history for"),
                       .note = "",
                       .entries = {{30, words().text("30 days")},
                                   {90, words().text("90 days")},
                                   {365, words().text("1 year")}}};
    if (std::ranges::find(picker.entries, days, &Picker<int>::Entry::value) ==
        picker.entries.end()) {
        picker.other = words().text("Days: %lld", {std::to_string(days)});
    }
    return picker;
}

} // namespace velmoran::SettingsContent
