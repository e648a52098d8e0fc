// Reading of JSON that people write by hand: a wrong type is an error in words that name the key,
// and nothing is converted. All throw DecodingError.
#pragma once

#include "core/base/Json.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

namespace velmoran::strict {

[[noreturn]] inline void fail(std::string_view what, const char* expected) {
    throw DecodingError("\"" + std::string(what) + "\" is not " + expected);
}

inline const Json& object(const Json& json, std::string_view what) {
    if (!json.is_object()) {
        fail(what, "an object");
    }
    return json;
}

inline const Json& array(const Json& json, std::string_view what) {
    if (!json.is_array()) {
        fail(what, "an array");
    }
    return json;
}

inline std::string text(const Json& json, const std::string& what) {
    if (!json.is_string()) {
        fail(what, "a text");
    }
    return json.get<std::string>();
}

inline bool boolean(const Json& json, const std::string& what) {
    if (!json.is_boolean()) {
        fail(what, "true or false");
    }
    return json.get<bool>();
}

/// A finite number.
inline double number(const Json& json, const std::string& what) {
    if (!json.is_number() || !std::isfinite(json.get<double>())) {
        fail(what, "a number");
    }
    return json.get<double>();
}

/// A whole number; 3.0 is one.
inline std::int64_t integer(const Json& json, const std::string& what, std::int64_t least,
                            std::int64_t greatest) {
    const auto value = number(json, what);
    if (value != std::floor(value)) {
        fail(what, "a whole number");
    }
    if (value < static_cast<double>(least) || value > static_cast<double>(greatest)) {
        throw DecodingError("\"" + what + "\" is not between " + std::to_string(least) + " and " +
                            std::to_string(greatest));
    }
    return static_cast<std::int64_t>(value);
}

/// An object that has no other keys than these.
inline void onlyKeys(const Json& json, const std::string& what,
                     std::initializer_list<std::string_view> keys) {
    for (const auto& item : object(json, what).items()) {
        if (std::find(keys.begin(), keys.end(), item.key()) == keys.end()) {
            throw DecodingError("unknown key \"" + item.key() + "\" in \"" + what + "\"");
        }
    }
}

/// What stands under a key that must be there.
inline const Json& member(const Json& json, std::string_view what, const char* key) {
    const auto found = object(json, what).find(key);
    if (found == json.end()) {
        throw DecodingError("\"" + std::string(what) + "\" has no \"" + key + "\"");
    }
    return *found;
}

} // namespace velmoran::strict
