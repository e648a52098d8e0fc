#include "system/linux/apps/ServingPrograms.h"

#include "system/TextParsing.h"

namespace velmoran {

bool servesOthers(pid_t pid, const ProcFs& proc, const WriteProtection& protection) {
    constexpr auto programs =
        "pipewire pipewire-pulse pipewire-media-session pulseaudio wireplumber";
    const auto executable = proc.executable(pid);
    return executable && isListed(fileName(*executable), programs) &&
           protection.protects(*executable);
}

bool passesSoundOn(std::string_view program) {
    return isListed(fileName(program), "pipewire pipewire-pulse pw-loopback pw-cli");
}

} // namespace velmoran
