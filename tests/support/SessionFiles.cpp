#include "support/SessionFiles.h"

#include <cmath>
#include <cstdint>
#include <numbers>

namespace velmoran::support::files {

std::string bus(const std::filesystem::path& socket) {
    return R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path=)" +
           socket.string() + R"(</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";
}

std::string speaker() {
    return R"(context.objects = [
  { factory = adapter
    args = {
      factory.name = support.null-audio-sink
      node.name = "virtual-speaker"
      node.description = "Virtual Speaker"
      media.class = "Audio/Sink"
      audio.position = [ FL FR ]
      object.linger = true
    }
  }
]
)";
}

std::string noDevices() {
    return "alsa_monitor.enabled = false\n"
           "v4l2_monitor.enabled = false\n"
           "libcamera_monitor.enabled = false\n";
}

std::string noBluetooth() {
    return "bluez_monitor.enabled = false\n";
}

std::string headlessProfile() {
    return R"(wireplumber.profiles = {
  main = {
    hardware.audio = disabled
    hardware.bluetooth = disabled
    hardware.video-capture = disabled
  }
}
)";
}

std::string tone(std::chrono::seconds length) {
    constexpr std::uint32_t rate = 4000;
    const auto samples = static_cast<std::uint32_t>(length.count()) * rate;
    std::string file;
    file.reserve(samples + 44);
    const auto number = [&](std::uint32_t value, int bytes) {
        for (int i = 0; i < bytes; ++i) {
            file += static_cast<char>((value >> (8 * i)) & 0xFFU);
        }
    };
    file += "RIFF";
    number(36 + samples, 4);
    file += "WAVEfmt ";
    number(16, 4);
    number(1, 2);
    number(1, 2);
    number(rate, 4);
    number(rate, 4);
    number(1, 2);
    number(8, 2);
    file += "data";
    number(samples, 4);
    // One second over and over: the tone is a whole number of waves in it.
    std::string second;
    for (std::uint32_t i = 0; i < rate; ++i) {
        const double phase = 2.0 * std::numbers::pi * 440.0 * i / rate;
        second += static_cast<char>(static_cast<std::uint8_t>(128.0 + 60.0 * std::sin(phase)));
    }
    for (long i = 0; i < length.count(); ++i) {
        file += second;
    }
    return file;
}

} // namespace velmoran::support::files
