#include "core/sessions/SystemProcessLinux.h"

#include "core/base/Wildcard.h"
#include "core/sessions/SystemProcess.h"
#include "core/text/Localizer.h"

#include <algorithm>

namespace velmoran {

const std::vector<SystemProcess>& SystemProcess::onLinux() {
    static const std::vector<SystemProcess> table = [] {
        const auto settings =
            words().text("The sound settings. They listen to show how loud the microphone is.");
        const auto applet = words().text(
            "The desktop's volume control. It listens to show how loud the microphone is.");
        const auto server = words().text("Carries sound and pictures between apps and devices.");
        const auto manager =
            words().text("Decides which app is connected to which microphone, speaker or camera.");
        const auto portal =
            words().text("Hands camera, microphone and screen to apps that asked for them.");
        const auto desktop =
            words().text("Draws the desktop, and records the screen on behalf of another app.");
        const auto sounds = words().text("Plays the desktop's alert and event sounds.");
        const auto speech = words().text("Reads texts aloud for other apps.");
        return std::vector<SystemProcess>{
            {"linux.pavucontrol", Role::listensForSystem, settings},
            {"linux.pavucontrol-qt", Role::listensForSystem, settings},
            {"linux.pwvucontrol", Role::listensForSystem, settings},
            {"linux.gnome-control-center", Role::listensForSystem, settings},
            {"linux.systemsettings", Role::listensForSystem, settings},
            {"linux.cinnamon-settings", Role::listensForSystem, settings},
            {"linux.mate-volume-control", Role::listensForSystem, settings},
            {"linux.plasmashell", Role::listensForSystem, applet},
            {"linux.kmix", Role::listensForSystem, applet},
            {"linux.mate-volume-applet", Role::listensForSystem, applet},
            {"linux.pasystray", Role::listensForSystem, applet},
            {"linux.cinnamon", Role::listensForSystem, applet},
            {"linux.pipewire", Role::worksForOtherApps, server},
            {"linux.pipewire-pulse", Role::worksForOtherApps, server},
            {"linux.pulseaudio", Role::worksForOtherApps, server},
            {"linux.wireplumber", Role::worksForOtherApps, manager},
            {"linux.pipewire-media-session", Role::worksForOtherApps, manager},
            {"linux.xdg-desktop-portal", Role::worksForOtherApps, portal},
            {"linux.gnome-shell", Role::worksForOtherApps, desktop},
            {"linux.mutter", Role::worksForOtherApps, desktop},
            {"linux.kwin", Role::worksForOtherApps, desktop},
            {"linux.canberra", Role::playsSounds, sounds},
            {"linux.speech-dispatcher", Role::playsSounds, speech},
        };
    }();
    return table;
}

const std::vector<LinuxSystemProgram>& linuxSystemPrograms() {
    static const std::vector<LinuxSystemProgram> table = {
        {{"/usr/bin/pavucontrol"}, "linux.pavucontrol"},
        {{"/usr/bin/pavucontrol-qt"}, "linux.pavucontrol-qt"},
        {{"/usr/bin/pwvucontrol"}, "linux.pwvucontrol"},
        {{"/usr/bin/gnome-control-center"}, "linux.gnome-control-center"},
        {{"/usr/bin/systemsettings", "/usr/bin/systemsettings5", "/usr/bin/kcmshell5",
          "/usr/bin/kcmshell6"},
         "linux.systemsettings"},
        // A script: its interpreter says nothing about what it is.
        {{"/usr/share/cinnamon/cinnamon-settings/cinnamon-settings.py"}, "linux.cinnamon-settings"},
        {{"/usr/bin/mate-volume-control"}, "linux.mate-volume-control"},
        {{"/usr/bin/plasmashell"}, "linux.plasmashell"},
        {{"/usr/bin/kmix"}, "linux.kmix"},
        {{"/usr/bin/mate-volume-control-status-icon", "/usr/libexec/mate-volume-control-applet"},
         "linux.mate-volume-applet"},
        {{"/usr/bin/pasystray"}, "linux.pasystray"},
        {{"/usr/bin/cinnamon"}, "linux.cinnamon"},
        {{"/usr/bin/pipewire"}, "linux.pipewire"},
        {{"/usr/bin/pipewire-pulse"}, "linux.pipewire-pulse"},
        {{"/usr/bin/pulseaudio"}, "linux.pulseaudio"},
        {{"/usr/bin/wireplumber"}, "linux.wireplumber"},
        {{"/usr/bin/pipewire-media-session"}, "linux.pipewire-media-session"},
        {{"/usr/libexec/xdg-desktop-portal", "/usr/libexec/xdg-desktop-portal-*",
          "/usr/lib/xdg-desktop-portal", "/usr/lib/xdg-desktop-portal-*",
          "/usr/lib/*/libexec/xdg-desktop-portal-kde", "/usr/lib/*/xdg-desktop-portal-kde"},
         "linux.xdg-desktop-portal"},
        {{"/usr/bin/gnome-shell"}, "linux.gnome-shell"},
        {{"/usr/bin/mutter"}, "linux.mutter"},
        {{"/usr/bin/kwin_wayland", "/usr/bin/kwin_x11"}, "linux.kwin"},
        {{"/usr/bin/canberra-gtk-play"}, "linux.canberra"},
        {{"/usr/bin/speech-dispatcher", "/usr/lib/speech-dispatcher-modules/sd_*",
          "/usr/libexec/speech-dispatcher-modules/sd_*"},
         "linux.speech-dispatcher"},
    };
    return table;
}

std::optional<std::string_view> linuxSystemIdentifier(std::string_view path) {
    for (const auto& program : linuxSystemPrograms()) {
        if (std::any_of(program.paths.begin(), program.paths.end(),
                        [&](std::string_view pattern) { return matchesWildcard(pattern, path); })) {
            return program.signingID;
        }
    }
    return std::nullopt;
}

} // namespace velmoran
