// The settings by the names of their fields, as recordings spell them.
#pragma once

#include "app/model/SettingsStore.h"
#include "core/base/Json.h"

#include <string>

namespace velmoran {

/// Sets one field. Throws DecodingError, and changes nothing, for an unknown name or a value that
/// the field can't have. `trustRulesData` is a text, `floatingStopPlace` an array of two numbers,
/// `language` "en" or "de"; null stands for absent in these three.
void setField(SettingsStore& settings, const std::string& name, const Json& value);
/// The same checks without any settings to change.
void checkField(const std::string& name, const Json& value);

/// All fields in their order, absent ones left out.
Json allFields(const SettingsStore& settings);

} // namespace velmoran
