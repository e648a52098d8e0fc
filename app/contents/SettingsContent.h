// What the settings say: the choices with their titles and notes, in the order in which they stand.
// Values in the language of the process-wide words. Main thread, as the model that they are for.
#pragma once

#include "app/model/AwayOutlook.h"
#include "app/model/SettingsStore.h"

#include <string>
#include <vector>

namespace velmoran::SettingsContent {

/// One line with a switch.
struct Toggle {
    SettingsStore::Field<bool> SettingsStore::*field = nullptr;
    std::string title;
    std::string note;

    bool operator==(const Toggle&) const = default;
};

/// One line with a list to choose from.
template <class T>
struct Picker {
    struct Entry {
        T value;
        std::string label;

        bool operator==(const Entry&) const = default;
    };

    std::string title;
    std::string note;
    std::vector<Entry> entries;
    /// What stands there for a value that isn't among the entries, as a file that was changed by
    /// hand may have one.
    std::string other = {};

    bool operator==(const Picker&) const = default;
};

/// The language in which the program speaks in this run, "en" or "de".
std::string startLanguage();
/// The one that is chosen, or else the one in which the program started.
std::string chosenLanguage(const SettingsStore& settings);
/// By their own names, which are the same in every language.
Picker<std::string> languages();

Toggle warningSound();
Picker<bool> standardNotices();
std::vector<Toggle> quickStop(bool shortcutUnavailable, bool buttonUnavailable = false);
std::vector<Toggle> watching();
/// The away watch, with a note on what it can't notice here; and what of it isn't counted.
Toggle awayWatch(bool readsLid, const AwayGaps& gaps);
Toggle ownReturn();
Picker<int> retention(int days);

} // namespace velmoran::SettingsContent
