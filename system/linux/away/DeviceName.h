// What people call a device that was plugged in, by what it says of itself and what udev's database
// knows of its numbers. Pure; any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace velmoran {

struct DeviceWords {
    std::string maker; ///< as the device says; empty for nothing, as all of these
    std::string model;
    std::string makerInDatabase;
    std::string modelInDatabase;
};

/// "SanDisk Ultra"; nothing if neither knows more than numbers. A device can say what it likes, so
/// the name is confined as a program's own is, to 80 columns.
std::optional<std::string> deviceName(const DeviceWords& words);

/// Any text confined like that; nothing if nobody would see anything of it.
std::optional<std::string> nameLine(const std::string& text);

/// "MY STICK" for "MY\x20STICK", as udev writes what isn't a letter, a digit or one of a few signs.
std::string unescaped(std::string_view text);

} // namespace velmoran
