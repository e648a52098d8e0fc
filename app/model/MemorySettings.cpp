#include "app/model/MemorySettings.h"

#include <limits>
#include <utility>

namespace velmoran {

namespace {

std::optional<bool> asBoolean(const Json& json) {
    return json.is_boolean() ? std::optional(json.get<bool>()) : std::nullopt;
}

std::optional<std::int64_t> asInteger(const Json& json) {
    if (!json.is_number_integer() ||
        (json.is_number_unsigned() &&
         json.get<std::uint64_t>() > std::numeric_limits<std::int64_t>::max())) {
        return std::nullopt;
    }
    return json.get<std::int64_t>();
}

} // namespace

const Json* MemorySettings::find(const std::string& key) const {
    const auto found = written_.find(key);
    return found == written_.end() ? nullptr : std::get_if<Json>(&found->second);
}

std::optional<bool> MemorySettings::boolean(const std::string& key) const {
    if (const auto* written = find(key)) {
        if (const auto value = asBoolean(*written)) {
            return value;
        }
    }
    const auto found = registered_.find(key);
    return found == registered_.end() ? std::nullopt : asBoolean(found->second);
}

std::optional<std::int64_t> MemorySettings::integer(const std::string& key) const {
    if (const auto* written = find(key)) {
        if (const auto value = asInteger(*written)) {
            return value;
        }
    }
    const auto found = registered_.find(key);
    return found == registered_.end() ? std::nullopt : asInteger(found->second);
}

std::optional<std::vector<double>> MemorySettings::numbers(const std::string& key) const {
    const auto* written = find(key);
    if (!written || !written->is_array()) {
        return std::nullopt;
    }
    std::vector<double> result;
    for (const auto& each : *written) {
        if (!each.is_number()) {
            return std::nullopt;
        }
        result.push_back(each.get<double>());
    }
    return result;
}

std::optional<std::string> MemorySettings::bytes(const std::string& key) const {
    const auto found = written_.find(key);
    if (found == written_.end()) {
        return std::nullopt;
    }
    const auto* value = std::get_if<Bytes>(&found->second);
    return value ? std::optional(value->value) : std::nullopt;
}

std::optional<std::vector<std::string>> MemorySettings::texts(const std::string& key) const {
    const auto* written = find(key);
    if (!written || !written->is_array()) {
        return std::nullopt;
    }
    std::vector<std::string> result;
    for (const auto& each : *written) {
        if (!each.is_string()) {
            return std::nullopt;
        }
        result.push_back(each.get<std::string>());
    }
    return result;
}

void MemorySettings::registerBoolean(const std::string& key, bool value) {
    registered_[key] = value;
}

void MemorySettings::registerInteger(const std::string& key, std::int64_t value) {
    registered_[key] = value;
}

void MemorySettings::setBoolean(const std::string& key, bool value) {
    written_[key] = Json(value);
}

void MemorySettings::setInteger(const std::string& key, std::int64_t value) {
    written_[key] = Json(value);
}

void MemorySettings::setNumbers(const std::string& key, const std::vector<double>& value) {
    written_[key] = Json(value);
}

void MemorySettings::setBytes(const std::string& key, const std::string& value) {
    written_[key] = Bytes{value};
}

void MemorySettings::setTexts(const std::string& key, const std::vector<std::string>& value) {
    written_[key] = Json(value);
}

void MemorySettings::remove(const std::string& key) {
    written_.erase(key);
}

void MemorySettings::setAny(const std::string& key, Json value) {
    written_[key] = std::move(value);
}

} // namespace velmoran
