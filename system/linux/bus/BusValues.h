// What is read out of a message of others: whatever they send, of another type or none, is nothing.
// Any thread that has the message.
#pragma once

#include "system/bus/BusHandles.h"

#include <map>
#include <optional>
#include <string>
#include <variant>

namespace velmoran {

inline constexpr const char* propertiesInterface = "org.freedesktop.DBus.Properties";

/// Properties of these two types alone.
using BusProperties = std::map<std::string, std::variant<bool, std::string>>;

/// The answer of org.freedesktop.DBus.Properties.GetAll; empty if it is another.
BusProperties readProperties(sd_bus_message* answer);
/// The signal PropertiesChanged, if it is of that interface.
BusProperties readChanged(sd_bus_message* signal, const std::string& interface);
/// The answer of org.freedesktop.DBus.Properties.Get.
std::optional<bool> readTruth(sd_bus_message* answer);
/// The only argument of a signal or an answer.
std::optional<bool> readPlainTruth(sd_bus_message* message);
std::optional<std::string> readObjectPath(sd_bus_message* answer);

std::optional<bool> truthOf(const BusProperties& properties, const std::string& name);
/// Empty without one.
std::string textOf(const BusProperties& properties, const std::string& name);

} // namespace velmoran
