#include "system/linux/apps/ServingPrograms.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace velmoran {

bool servesOthers(pid_t pid, const ProcFs& proc, const WriteProtection& protection) {
    constexpr std::array<std::string_view, 5> programs{
        "pipewire", "pipewire-pulse", "pipewire-media-session", "pulseaudio", "wireplumber"};
    const auto executable = proc.executable(pid);
    if (!executable) {
        return false;
    }
    const auto name = std::string_view(*executable).substr(executable->rfind('/') + 1);
    return std::find(programs.begin(), programs.end(), name) != programs.end() &&
           protection.protects(*executable);
}

} // namespace velmoran
