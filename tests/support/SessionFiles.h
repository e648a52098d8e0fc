// The files that a private session's servers read: no real device, no service of the person's own.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>

namespace velmoran::support::files {

/// A D-Bus daemon's configuration: a bus at `socket` that starts no service by itself.
[[nodiscard]] std::string bus(const std::filesystem::path& socket);
/// PipeWire: a null sink "virtual-speaker" as an output.
[[nodiscard]] std::string speaker();
/// WirePlumber 0.4 (Lua): no sound cards and no cameras; no Bluetooth.
[[nodiscard]] std::string noDevices();
[[nodiscard]] std::string noBluetooth();
/// WirePlumber 0.5: the same two as a profile.
[[nodiscard]] std::string headlessProfile();
/// A WAV file with a tone: 8 bits, 4 kHz, one channel.
[[nodiscard]] std::string tone(std::chrono::seconds length);

} // namespace velmoran::support::files
