// The settings that are a person's to choose, by their names: what each may be, and what a change
// of it means. One place for the settings screen, recordings and other programs. Main thread.
#pragma once

#include "app/model/SettingsStore.h"
#include "core/base/Json.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmoran {

class AppModel;

namespace SettingChoices {

/// In the order of the fields.
std::vector<std::string> names();
/// What can be chosen: "true" and "false"; "30", "90", "365"; "en", "de", "system" (the language of
/// the system). Empty for a name that isn't among these.
std::vector<std::string> values(std::string_view name);

/// What is chosen, in one of those forms. A file that was changed by hand may have another number.
std::string text(const SettingsStore& settings, std::string_view name);
/// All of them as truth values, numbers and texts.
Json all(const SettingsStore& settings);

/// Why a setting can't be chosen like this, in the language of the process-wide words; nothing if
/// it can. What a person didn't choose by name, such as whether the microphone is muted, can't.
std::optional<std::string> refusal(const std::string& name, const std::string& value);
/// The same for a name alone.
std::optional<std::string> refusal(const std::string& name);

/// Sets one field and nothing else. The value is one of `values`.
void set(SettingsStore& settings, std::string_view name, std::string_view value);
/// What a change of that field means beyond the field, as for whoever has just set it: the sessions
/// are looked at anew, or what is too old now is deleted.
void carryOut(AppModel& model, std::string_view name);
void carryOut(AppModel& model, SettingsStore::Field<bool> SettingsStore::*field);

} // namespace SettingChoices

} // namespace velmoran
