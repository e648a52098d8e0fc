#include "system/ProtectedPrograms.h"

#include "core/base/ProgramName.h"
#include "core/base/Wildcard.h"
#include "system/TextParsing.h"

#include <algorithm>
#include <array>

namespace velmoran {

namespace {

/// Folders that no user's program can write to, wherever a distribution keeps its programs.
bool isOfRootsFolders(std::string_view path) {
    constexpr std::array<std::string_view, 8> places{
        "/usr/", "/bin/", "/sbin/", "/lib/", "/lib64/", "/libexec/", "/nix/store/", "/gnu/store/"};
    constexpr std::array<std::string_view, 2> shared{"/usr/local/", "/usr/home/"};
    const auto starts = [&](std::string_view place) {
        return path.starts_with(place);
    };
    return std::any_of(places.begin(), places.end(), starts) &&
           std::none_of(shared.begin(), shared.end(), starts) &&
           path.find("/../") == std::string_view::npos;
}

/// Of a list with blanks between them.
std::vector<std::string_view> namesIn(std::string_view list) {
    std::vector<std::string_view> names;
    eachPiece(list, ' ', [&](std::string_view name) { names.push_back(name); });
    return names;
}

} // namespace

const std::vector<ProtectedPrograms>& protectedOnLinux() {
    static const std::vector<ProtectedPrograms> table = {
        {namesIn("Xorg Xorg.wrap X Xwayland Xvnc Xtigervnc Xephyr Xvfb xrdp xrdp-sesman "
                 "gnome-remote-desktop-daemon"),
         "The display server: every window of the session would be lost."},
        {namesIn("gnome-shell mutter plasmashell kwin_x11 kwin_wayland kwin_wayland_wrapper "
                 "cinnamon muffin budgie-wm budgie-panel gala io.elementary.wingpanel phosh phoc "
                 "cosmic-comp cosmic-panel marco metacity mate-panel xfwm4 xfce4-panel xfdesktop "
                 "lxpanel lxqt-panel pcmanfm-qt gnome-panel ukui-kwin* deepin-kwin* dde-shell"),
         "The compositor and shell of the desktop: on Wayland every window is lost with it."},
        {namesIn("openbox fluxbox icewm icewm-session jwm i3 bspwm dwm awesome xmonad-* qtile "
                 "enlightenment enlightenment_start herbstluftwm twm fvwm* wmaker sway river "
                 "hyprland Hyprland labwc wayfire weston niri cage hikari dwl miriway compiz picom "
                 "xcompmgr"),
         "The window manager: on Wayland, and where it ends the session, every window is lost."},
        {namesIn("gnome-session* gnome-flashback xfce4-session mate-session lxsession lxqt-session "
                 "cinnamon-session* budgie-session* ksmserver startplasma-* plasma_session "
                 "ksplashqml uwsm xinit startx xsettingsd xfsettingsd xfconfd gsd-* csd-* "
                 "mate-settings-daemon kded5 kded6 kglobalaccel5 kglobalacceld kactivitymanagerd "
                 "dconf-service"),
         "The session manager and its services: the user would be logged out, or the desktop "
         "would lose its settings and keys."},
        {namesIn("systemd systemd-executor init openrc* runit* runsv* s6-* dinit shepherd elogind "
                 "elogind-daemon systemd-* dbus-daemon dbus-broker dbus-broker-launch dbus-launch "
                 "dbus-run-session"),
         "The service manager and the message bus: the session's services stand on them."},
        {namesIn("pipewire pipewire-pulse pipewire-aes67 pipewire-avb wireplumber "
                 "pipewire-media-session pulseaudio jackd jackdbus rtkit-daemon"),
         "The sound server: it works for other apps, and all sound and every mute would be lost."},
        {namesIn("gdm gdm3 gdm-* sddm sddm-* lightdm lightdm-* lxdm lxdm-* xdm ly greetd login "
                 "agetty getty sshd sshd-session sshd-auth su sudo sudo-rs doas pkexec run0 "
                 "polkitd polkit-* *-polkit-agent lxpolkit mate-polkit accounts-daemon "
                 "gnome-screensaver* xscreensaver* light-locker i3lock swaylock "
                 "kscreenlocker_greet xsecurelock cinnamon-screensaver mate-screensaver"),
         "Logging in, locking and rights: the user would be logged out or locked out, or the "
         "screen would be unlocked."},
        {namesIn("gnome-keyring-daemon gcr-ssh-agent gcr-prompter kwalletd5 kwalletd6 ksecretd "
                 "ssh-agent gpg-agent scdaemon oo7-daemon"),
         "Holds the user's unlocked keys and passwords for other programs."},
        {namesIn("xdg-desktop-portal xdg-desktop-portal-* xdg-document-portal xdg-permission-store "
                 "flatpak-session-helper flatpak-portal gvfsd gvfsd-* gvfs-* at-spi-bus-launcher "
                 "at-spi2-registryd ibus-daemon ibus-* fcitx fcitx5 snapd snap-confine"),
         "Portals, files and input that other programs reach through it: they would break."},
        {namesIn("tmux screen SCREEN zellij dtach abduco mosh-server"),
         "A terminal multiplexer: all that runs in its terminals would be lost."},
    };
    return table;
}

bool hasProtectedName(std::string_view path) {
    const auto name = programName(path);
    for (const auto& row : protectedOnLinux()) {
        if (std::any_of(row.files.begin(), row.files.end(),
                        [&](std::string_view pattern) { return matchesWildcard(pattern, name); })) {
            return true;
        }
    }
    return false;
}

bool isProtected(const AppIdentity& app, Platform platform,
                 const std::optional<std::string>& ownBundleID) {
    if (platform == Platform::macOS) {
        return PanicController::isProtected(app, ownBundleID);
    }
    if (ownBundleID && app.bundleID == ownBundleID) {
        return true;
    }
    return app.path && app.path->starts_with('/') && hasProtectedName(*app.path) &&
           (app.teamID == "system" || isOfRootsFolders(*app.path));
}

} // namespace velmoran
