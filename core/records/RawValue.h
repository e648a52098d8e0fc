// Enumerations whose stored form is their case name: one table serves both directions.
#pragma once

#include "core/base/Json.h"

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace velmoran {

template <class Enum, std::size_t count>
using RawValueTable = std::array<std::pair<Enum, std::string_view>, count>;

template <class Enum, std::size_t count>
std::string_view rawValueIn(const RawValueTable<Enum, count>& table, Enum value) {
    for (const auto& [each, text] : table) {
        if (each == value) {
            return text;
        }
    }
    return {};
}

template <class Enum, std::size_t count>
std::optional<Enum> caseIn(const RawValueTable<Enum, count>& table, std::string_view text) {
    for (const auto& [each, name] : table) {
        if (name == text) {
            return each;
        }
    }
    return std::nullopt;
}

/// Throws DecodingError for a value that isn't a text or isn't in the table.
template <class Enum, std::size_t count>
Enum caseFromJson(const RawValueTable<Enum, count>& table, const Json& json) {
    if (!json.is_string()) {
        throw DecodingError("a text was expected");
    }
    const auto& text = json.get_ref<const std::string&>();
    if (const auto found = caseIn(table, text)) {
        return *found;
    }
    throw DecodingError("unknown name \"" + text + "\"");
}

} // namespace velmoran
