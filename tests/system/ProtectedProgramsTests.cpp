#include "system/ProtectedPrograms.h"

#include <gtest/gtest.h>

#include <set>

namespace velmoran {
namespace {

AppIdentity program(const std::string& path, std::optional<std::string> teamID = std::nullopt,
                    std::optional<std::string> bundleID = std::nullopt) {
    return {.id = bundleID.value_or(path),
            .name = "x",
            .bundleID = bundleID,
            .path = path,
            .teamID = std::move(teamID)};
}

bool isProtectedOnLinux(const AppIdentity& app) {
    return isProtected(app, Platform::linux, "org.velmoran.Velmoran");
}

TEST(ProtectedPrograms, AreThoseThatASessionStandsOn) {
    for (const std::string path : {"/usr/lib/xorg/Xorg",
                                   "/usr/bin/Xwayland",
                                   "/usr/bin/gnome-shell",
                                   "/usr/bin/plasmashell",
                                   "/usr/bin/kwin_wayland",
                                   "/usr/bin/kwin_x11",
                                   "/usr/bin/cinnamon",
                                   "/usr/bin/xfwm4",
                                   "/usr/bin/openbox",
                                   "/usr/bin/sway",
                                   "/usr/bin/xfce4-session",
                                   "/usr/libexec/gnome-session-binary",
                                   "/usr/bin/startplasma-wayland",
                                   "/usr/libexec/gsd-media-keys",
                                   "/usr/lib/systemd/systemd",
                                   "/lib/systemd/systemd-logind",
                                   "/usr/bin/dbus-daemon",
                                   "/usr/bin/dbus-broker",
                                   "/usr/bin/pipewire",
                                   "/usr/bin/pipewire-pulse",
                                   "/usr/bin/wireplumber",
                                   "/usr/bin/pulseaudio",
                                   "/usr/bin/pipewire-media-session",
                                   "/usr/sbin/gdm3",
                                   "/usr/bin/sddm",
                                   "/usr/sbin/sshd",
                                   "/bin/login",
                                   "/usr/bin/sudo",
                                   "/usr/bin/su",
                                   "/usr/lib/polkit-1/polkitd",
                                   "/usr/bin/ssh-agent",
                                   "/usr/bin/gnome-keyring-daemon",
                                   "/usr/libexec/xdg-desktop-portal",
                                   "/usr/libexec/xdg-desktop-portal-gtk",
                                   "/usr/libexec/gvfsd",
                                   "/usr/libexec/gvfsd-fuse",
                                   "/usr/bin/tmux",
                                   "/usr/bin/screen",
                                   "/nix/store/abc-pipewire-1.0/bin/pipewire"}) {
        EXPECT_TRUE(isProtectedOnLinux(program(path))) << path;
        EXPECT_TRUE(isProtectedOnLinux(program(path, "system", "org.example.App"))) << path;
    }
}

TEST(ProtectedPrograms, AreThoseThatAStoreHasWrapped) {
    for (const std::string path : {"/nix/store/abc-gnome-shell-46.2/bin/.gnome-shell-wrapped",
                                   "/nix/store/abc-kwin-6.1/bin/.kwin_wayland-wrapped",
                                   "/nix/store/abc-plasma-workspace-6/bin/.plasmashell-wrapped_",
                                   "/nix/store/abc-gsd-46/libexec/..gsd-power-wrapped-wrapped",
                                   "/gnu/store/abc-gnome-shell-46.2/bin/.gnome-shell-real"}) {
        EXPECT_TRUE(isProtectedOnLinux(program(path))) << path;
    }
    for (const std::string path :
         {"/home/u/bin/.gnome-shell-wrapped", "/tmp/nix/store/x/.gnome-shell-wrapped",
          "/usr/bin/.gnome-shell-wrapped", "/nix/store/abc-x/bin/.recorder-wrapped",
          "/nix/store/abc-x/bin/.gnome-shell-real", "/nix/store/../../home/u/.sway-wrapped",
          "/gnu/store/abc-x/bin/.gnome-shell-wrapped"}) {
        EXPECT_FALSE(isProtectedOnLinux(program(path))) << path;
    }
}

TEST(ProtectedPrograms, AreNoOthersOfRoots) {
    for (const std::string path :
         {"/usr/bin/firefox", "/usr/bin/pw-record", "/usr/bin/parecord", "/usr/bin/arecord",
          "/usr/lib/firefox/firefox", "/usr/bin/obs", "/usr/bin/python3.11", "/usr/bin/bash",
          "/usr/bin/Xorg.old.recorder", "/usr/bin/gvfsd-", "/usr/bin/mysway", "/usr/bin/swaymsg",
          "/usr/bin/pavucontrol", "/usr/bin/Xorg/recorder"}) {
        EXPECT_FALSE(isProtectedOnLinux(program(path, "system"))) << path;
    }
}

TEST(ProtectedPrograms, NobodyBecomesOneByAName) {
    for (const std::string path :
         {"/home/u/bin/Xorg", "/tmp/pipewire", "/usr/local/bin/sway", "/opt/x/systemd",
          "/home/u/usr/bin/Xorg", "/usr/../home/u/Xorg", "usr/bin/Xorg", "/var/tmp/sudo"}) {
        EXPECT_FALSE(isProtectedOnLinux(program(path))) << path;
    }
    EXPECT_FALSE(isProtectedOnLinux(program("/snap/x/1/bin/Xorg", "snap")));
    EXPECT_FALSE(isProtectedOnLinux(program("/var/lib/flatpak/app/Xorg", "flatpak:system")));
    // Where root alone can write, whatever folder that is, a name is believed.
    EXPECT_TRUE(isProtectedOnLinux(program("/usr/local/bin/sway", "system")));
    EXPECT_TRUE(isProtectedOnLinux(program("/opt/x/Xorg", "system")));
}

TEST(ProtectedPrograms, HaveNoUseForAnIdThatSaysSo) {
    auto app = program("/home/u/recorder");
    app.bundleID = "org.gnome.Shell";
    app.name = "gnome-shell";
    EXPECT_FALSE(isProtectedOnLinux(app));
    app.path.reset();
    EXPECT_FALSE(isProtectedOnLinux(app));
}

TEST(ProtectedPrograms, AreThisProgramItself) {
    EXPECT_TRUE(isProtectedOnLinux(program("/x", std::nullopt, "org.velmoran.Velmoran")));
    EXPECT_FALSE(isProtected(program("/x", std::nullopt, "org.velmoran.Velmoran"), Platform::linux,
                             std::nullopt));
    EXPECT_FALSE(isProtected(program("/x"), Platform::linux, std::nullopt));
}

TEST(ProtectedPrograms, OfAMacAreItsFolders) {
    EXPECT_TRUE(isProtected(program("/usr/bin/afplay"), Platform::macOS, std::nullopt));
    EXPECT_FALSE(isProtected(program("/opt/x/Xorg", "system"), Platform::macOS, std::nullopt));
}

TEST(ProtectedPrograms, StandInOneRowEachWithAReason) {
    std::set<std::string_view> seen;
    for (const auto& row : protectedOnLinux()) {
        EXPECT_TRUE(row.reason.ends_with('.')) << row.reason;
        EXPECT_FALSE(row.files.empty());
        for (const auto& file : row.files) {
            EXPECT_TRUE(seen.insert(file).second) << file;
            EXPECT_EQ(file.find('/'), std::string_view::npos) << file;
            EXPECT_NE(file, "*");
        }
    }
}

} // namespace
} // namespace velmoran
