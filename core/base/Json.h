// The JSON type of the whole program, and strict reading of records from it.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>

namespace velmoran {

/// Keeps the order of keys, so that a record is written in the order of its fields.
using Json = nlohmann::ordered_json;

/// A text that isn't the record it should be: a missing key, a wrong type or an unknown name.
/// Reading a whole record fails with this; there are no partial results. Errors of the JSON
/// library itself (nlohmann::json::exception) are turned into it by `decode`.
class DecodingError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The value under a key that must be there.
template <class T>
T required(const Json& object, const char* key) {
    if (!object.is_object()) {
        throw DecodingError("not an object");
    }
    const auto found = object.find(key);
    if (found == object.end()) {
        throw DecodingError(std::string("missing key \"") + key + "\"");
    }
    return found->template get<T>();
}

/// The value under a key that may be missing or null.
template <class T>
std::optional<T> ifPresent(const Json& object, const char* key) {
    if (!object.is_object()) {
        throw DecodingError("not an object");
    }
    const auto found = object.find(key);
    if (found == object.end() || found->is_null()) {
        return std::nullopt;
    }
    return found->template get<T>();
}

template <class T>
void writeIfPresent(Json& object, const char* key, const std::optional<T>& value) {
    if (value) {
        object[key] = *value;
    }
}

/// Parses UTF-8 text and reads a T from it; throws DecodingError and nothing else.
template <class T>
T decode(std::string_view text) {
    try {
        return Json::parse(text).template get<T>();
    } catch (const nlohmann::json::exception& error) {
        throw DecodingError(error.what());
    }
}

/// The compact text of a value. Text that isn't UTF-8 is written with replacement characters, so
/// that a name from outside can't make a record unwritable.
template <class T>
std::string encode(const T& value) {
    return Json(value).dump(-1, ' ', false, Json::error_handler_t::replace);
}

} // namespace velmoran
