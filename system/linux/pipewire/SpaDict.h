// The dictionaries in which PipeWire says what an object is. Free functions; any thread. A source
// that includes it is compiled without the warnings that C's casts and macros don't meet
// (CMakeLists.txt).
#pragma once

#include <charconv>
#include <optional>
#include <string_view>

#include <pipewire/pipewire.h>
#include <sys/types.h>

namespace velmoran {

/// Points into the dictionary; its data is null where that is missing or hasn't the key.
inline std::string_view textIn(const spa_dict* dict, const char* key) {
    const char* value = dict == nullptr ? nullptr : spa_dict_lookup(dict, key);
    return value == nullptr ? std::string_view() : std::string_view(value);
}

template <typename Number>
std::optional<Number> numberIn(const spa_dict* dict, const char* key) {
    const auto text = textIn(dict, key);
    const auto* end = text.data() + text.size();
    Number number = 0;
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end ? std::optional(number) : std::nullopt;
}

inline std::optional<pid_t> pidIn(const spa_dict* dict, const char* key) {
    const auto pid = numberIn<pid_t>(dict, key);
    return pid && *pid > 0 ? pid : std::nullopt;
}

} // namespace velmoran
