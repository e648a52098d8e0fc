// The dictionaries in which PipeWire says what an object is, and the library's headers fit for our
// warnings. Those are C: casts and unnamed parts that our warnings are not meant for, also where
// their macros stand in our code. So the warnings stay off after this header, which comes after all
// others of ours, until the source that includes it says "pop". Free functions; any thread.
#pragma once

#include <charconv>
#include <optional>
#include <string_view>

#include <sys/types.h>

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpedantic"
#pragma GCC diagnostic ignored "-Wold-style-cast"
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wcast-qual"
#pragma GCC diagnostic ignored "-Wmissing-field-initializers"
#include <pipewire/pipewire.h>

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
