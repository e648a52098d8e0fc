#include "system/linux/bus/BusValues.h"

#include <cstring>

namespace velmoran {

namespace {

bool isNext(sd_bus_message* message, char type, const char* contents) {
    return sd_bus_message_is_empty(message) == 0 &&
           sd_bus_message_verify_type(message, type, contents) > 0;
}

/// The dictionary at which the message stands.
BusProperties readDictionary(sd_bus_message* message) {
    BusProperties properties;
    if (!isNext(message, 'a', "{sv}") ||
        sd_bus_message_enter_container(message, 'a', "{sv}") <= 0) {
        return {};
    }
    while (sd_bus_message_enter_container(message, 'e', "sv") > 0) {
        const char* name = nullptr;
        const char* type = nullptr;
        if (sd_bus_message_read(message, "s", &name) <= 0 ||
            sd_bus_message_peek_type(message, nullptr, &type) <= 0) {
            return {};
        }
        if (std::strcmp(type, "b") == 0) {
            int value = 0;
            sd_bus_message_read(message, "v", "b", &value);
            properties[name] = value != 0;
        } else if (std::strcmp(type, "s") == 0) {
            const char* value = nullptr;
            sd_bus_message_read(message, "v", "s", &value);
            properties[name] = std::string(value == nullptr ? "" : value);
        } else {
            sd_bus_message_skip(message, "v");
        }
        sd_bus_message_exit_container(message);
    }
    return properties;
}

} // namespace

BusProperties readProperties(sd_bus_message* answer) {
    return sd_bus_message_is_method_error(answer, nullptr) != 0 ? BusProperties{}
                                                                : readDictionary(answer);
}

BusProperties readChanged(sd_bus_message* signal, const std::string& interface) {
    const char* of = nullptr;
    if (!isNext(signal, 's', nullptr) || sd_bus_message_read(signal, "s", &of) <= 0 ||
        interface != of) {
        return {};
    }
    return readDictionary(signal);
}

std::optional<bool> readTruth(sd_bus_message* answer) {
    int value = 0;
    if (sd_bus_message_is_method_error(answer, nullptr) != 0 || !isNext(answer, 'v', "b") ||
        sd_bus_message_read(answer, "v", "b", &value) <= 0) {
        return std::nullopt;
    }
    return value != 0;
}

std::optional<bool> readPlainTruth(sd_bus_message* message) {
    int value = 0;
    if (sd_bus_message_is_method_error(message, nullptr) != 0 || !isNext(message, 'b', nullptr) ||
        sd_bus_message_read(message, "b", &value) <= 0) {
        return std::nullopt;
    }
    return value != 0;
}

std::optional<std::string> readObjectPath(sd_bus_message* answer) {
    const char* path = nullptr;
    if (sd_bus_message_is_method_error(answer, nullptr) != 0 || !isNext(answer, 'o', nullptr) ||
        sd_bus_message_read(answer, "o", &path) <= 0) {
        return std::nullopt;
    }
    return path;
}

std::optional<bool> truthOf(const BusProperties& properties, const std::string& name) {
    const auto found = properties.find(name);
    const bool* value = found == properties.end() ? nullptr : std::get_if<bool>(&found->second);
    return value == nullptr ? std::nullopt : std::optional(*value);
}

std::string textOf(const BusProperties& properties, const std::string& name) {
    const auto found = properties.find(name);
    const auto* value =
        found == properties.end() ? nullptr : std::get_if<std::string>(&found->second);
    return value == nullptr ? std::string() : *value;
}

} // namespace velmoran
