// The properties of the running program on the bus, and how they are written. Main thread.
#pragma once

#include "app/bus/ProgramStatus.h"

#include <string>
#include <systemd/sd-bus.h>
#include <vector>

namespace velmoran::bus {

/// The description of the object for any client, as D-Bus has it.
extern const char* const introspection;
/// The same for an object above it, whose only child is `child`.
std::string introspectionOfParent(const std::string& child);

/// "CameraOn" and so on, in the order of the description.
std::vector<std::string> properties();
/// Adds the value as a variant. Negative if it can't be added.
int appendProperty(sd_bus_message* message, const std::string& property,
                   const ProgramStatus& status);
/// Adds these with their names, as a{sv}.
void appendProperties(sd_bus_message* message, const std::vector<std::string>& properties,
                      const ProgramStatus& status);
/// Those whose values differ.
std::vector<std::string> changedProperties(const ProgramStatus& before, const ProgramStatus& now);

/// A text as D-Bus takes it: what isn't UTF-8 replaced, and cut at a zero.
std::string busText(const std::string& text);

} // namespace velmoran::bus
