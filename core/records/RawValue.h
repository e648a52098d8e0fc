// Enumerations that are stored and exchanged by the names of their cases. One takes part by a
// function `caseNames(Enum)` beside it, which gives these names in the order of the cases.
#pragma once

#include "core/base/Json.h"

#include <algorithm>
#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

namespace velmoran {

template <class Enum>
concept NamedCases = std::is_enum_v<Enum> && requires(Enum value) { caseNames(value).size(); };

/// The case name.
template <NamedCases Enum>
std::string_view rawValue(Enum value) {
    const auto names = caseNames(value);
    const auto index = static_cast<std::size_t>(value);
    return index < names.size() ? names[index] : std::string_view();
}

/// Nothing for a text that is no case name.
template <NamedCases Enum>
std::optional<Enum> caseNamed(std::string_view text) {
    const auto names = caseNames(Enum());
    const auto found = std::find(names.begin(), names.end(), text);
    return found == names.end() ? std::nullopt
                                : std::optional(static_cast<Enum>(found - names.begin()));
}

template <NamedCases Enum>
void to_json(Json& json, Enum value) {
    json = std::string(rawValue(value));
}

/// Throws DecodingError for a value that isn't a text or is no case name.
template <NamedCases Enum>
void from_json(const Json& json, Enum& value) {
    if (!json.is_string()) {
        throw DecodingError("a text was expected");
    }
    const auto& text = json.get_ref<const std::string&>();
    const auto found = caseNamed<Enum>(text);
    if (!found) {
        throw DecodingError("unknown name \"" + text + "\"");
    }
    value = *found;
}

} // namespace velmoran
