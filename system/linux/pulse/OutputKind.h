// What kind of output a sink of the sound server is: whether others hear it. Pure; any thread.
#pragma once

#include "core/records/SystemSnapshot.h"

#include <string>

namespace velmoran {

struct SinkTraits {
    /// Where the sound leaves the device, by the active port.
    enum class Port { none, headphones, digital, other };

    std::string name;       ///< as people see it
    std::string bus;        ///< device.bus: "pci", "usb", "bluetooth", …; empty if unknown
    std::string formFactor; ///< device.form_factor: "internal", "headset", …; empty if unknown
    std::string api;        ///< device.api: "alsa", "bluez5", …; empty if unknown
    Port port = Port::none;

    bool operator==(const SinkTraits&) const = default;
};

/// Everything by Bluetooth counts as headphones, also a loudspeaker. What isn't built in, or
/// leaves the computer digitally (HDMI, S/PDIF), is `other`, whatever its name. A built-in one is
/// headphones by its port or by its name, and the computer's own speakers otherwise.
OutputDeviceInfo::Kind outputKind(const SinkTraits& sink);

} // namespace velmoran
