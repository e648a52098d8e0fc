#include "core/sessions/SystemProcess.h"
#include "core/sessions/SystemProcessLinux.h"

#include <gtest/gtest.h>
#include <set>

namespace velmoran {
namespace {

using Role = SystemProcess::Role;

TEST(SystemProcess, KnowsTheSixOfMacOSInTheirOrder) {
    const std::vector<SystemProcess> expected = {
        {"com.apple.systemsoundserverd", Role::playsSounds,
         "Plays the Mac's alert and system sounds."},
        {"com.apple.afplay", Role::playsSounds,
         "Apple's small sound player. Other apps and scripts start it to play a sound."},
        {"com.apple.avconferenced", Role::worksForOtherApps,
         "Runs the sound and video of FaceTime calls. It stops when the call ends."},
        {"com.apple.replayd", Role::worksForOtherApps,
         "Records the screen, with microphone, on behalf of another app."},
        {"com.apple.corespeechd", Role::listensForSystem,
         "Listens for “Hey Siri” and voice commands, and runs dictation. It often turns the "
         "microphone on for a second or two."},
        {"com.apple.historicalaudiod", Role::listensForSystem,
         "A part of the Mac's sound system that works with Siri's listening. Apple does not "
         "document more about it."},
    };
    EXPECT_EQ(SystemProcess::macOS(), expected);
    for (const auto& process : expected) {
        EXPECT_EQ(SystemProcess::known(process.signingID), process);
    }
}

TEST(SystemProcess, GivesNothingForAnyOtherIdentifier) {
    for (const auto* other : {"", "com.apple.Safari", "com.apple.afplay2", "COM.APPLE.AFPLAY",
                              "linux.", "linux.firefox", "pavucontrol"}) {
        EXPECT_EQ(SystemProcess::known(other), std::nullopt) << other;
    }
}

TEST(SystemProcess, HasOneRowPerIdentifierAndAnExplanationForEach) {
    std::set<std::string> seen;
    for (const auto* table : {&SystemProcess::macOS(), &SystemProcess::onLinux()}) {
        for (const auto& process : *table) {
            EXPECT_TRUE(seen.insert(process.signingID).second) << process.signingID;
            EXPECT_TRUE(process.explanation.ends_with(".")) << process.signingID;
        }
    }
}

TEST(SystemProcess, DoesNotSpeakOfTheMacOnLinux) {
    for (const auto& process : SystemProcess::onLinux()) {
        EXPECT_TRUE(process.signingID.starts_with("linux.")) << process.signingID;
        for (const auto* word : {"Mac", "Apple", "Dock", "menu bar"}) {
            EXPECT_EQ(process.explanation.find(word), std::string::npos) << process.explanation;
        }
    }
}

TEST(LinuxSystemProgram, BelongsToARowOfTheTableAndEachRowHasOne) {
    std::set<std::string> withProgram;
    std::set<std::string_view> paths;
    for (const auto& program : linuxSystemPrograms()) {
        EXPECT_NE(SystemProcess::known(program.signingID), std::nullopt) << program.signingID;
        withProgram.insert(std::string(program.signingID));
        for (const auto path : program.paths) {
            EXPECT_TRUE(path.starts_with("/usr/")) << path;
            EXPECT_TRUE(paths.insert(path).second) << path;
        }
    }
    for (const auto& process : SystemProcess::onLinux()) {
        EXPECT_TRUE(withProgram.contains(process.signingID)) << process.signingID;
    }
}

struct Place {
    const char* path;
    const char* signingID;
    Role role;
};

class LinuxSystemProgramAt : public testing::TestWithParam<Place> {};

TEST_P(LinuxSystemProgramAt, HasItsIdentifierAndRole) {
    const auto [path, signingID, role] = GetParam();
    ASSERT_EQ(linuxSystemIdentifier(path), signingID) << path;
    EXPECT_EQ(SystemProcess::known(signingID)->role, role) << path;
}

INSTANTIATE_TEST_SUITE_P(
    AllKinds, LinuxSystemProgramAt,
    testing::Values(
        Place{"/usr/bin/pavucontrol", "linux.pavucontrol", Role::listensForSystem},
        Place{"/usr/bin/pwvucontrol", "linux.pwvucontrol", Role::listensForSystem},
        Place{"/usr/bin/gnome-control-center", "linux.gnome-control-center",
              Role::listensForSystem},
        Place{"/usr/bin/plasmashell", "linux.plasmashell", Role::listensForSystem},
        Place{"/usr/bin/kmix", "linux.kmix", Role::listensForSystem},
        Place{"/usr/bin/systemsettings", "linux.systemsettings", Role::listensForSystem},
        Place{"/usr/bin/mate-volume-control", "linux.mate-volume-control", Role::listensForSystem},
        Place{"/usr/libexec/mate-volume-control-applet", "linux.mate-volume-applet",
              Role::listensForSystem},
        Place{"/usr/bin/pasystray", "linux.pasystray", Role::listensForSystem},
        Place{"/usr/bin/cinnamon", "linux.cinnamon", Role::listensForSystem},
        Place{"/usr/bin/pipewire", "linux.pipewire", Role::worksForOtherApps},
        Place{"/usr/bin/pipewire-pulse", "linux.pipewire-pulse", Role::worksForOtherApps},
        Place{"/usr/bin/pulseaudio", "linux.pulseaudio", Role::worksForOtherApps},
        Place{"/usr/bin/wireplumber", "linux.wireplumber", Role::worksForOtherApps},
        Place{"/usr/bin/pipewire-media-session", "linux.pipewire-media-session",
              Role::worksForOtherApps},
        Place{"/usr/libexec/xdg-desktop-portal", "linux.xdg-desktop-portal",
              Role::worksForOtherApps},
        Place{"/usr/libexec/xdg-desktop-portal-gnome", "linux.xdg-desktop-portal",
              Role::worksForOtherApps},
        Place{"/usr/lib/aarch64-linux-gnu/libexec/xdg-desktop-portal-kde",
              "linux.xdg-desktop-portal", Role::worksForOtherApps},
        Place{"/usr/bin/gnome-shell", "linux.gnome-shell", Role::worksForOtherApps},
        Place{"/usr/bin/mutter", "linux.mutter", Role::worksForOtherApps},
        Place{"/usr/bin/kwin_wayland", "linux.kwin", Role::worksForOtherApps},
        Place{"/usr/bin/kwin_x11", "linux.kwin", Role::worksForOtherApps},
        Place{"/usr/bin/canberra-gtk-play", "linux.canberra", Role::playsSounds},
        Place{"/usr/bin/speech-dispatcher", "linux.speech-dispatcher", Role::playsSounds},
        Place{"/usr/lib/speech-dispatcher-modules/sd_espeak-ng", "linux.speech-dispatcher",
              Role::playsSounds}));

TEST(LinuxSystemProgram, IsNoProgramOfTheSameNameElsewhere) {
    for (const auto* path :
         {"", "pavucontrol", "/home/ann/pavucontrol", "/usr/local/bin/pavucontrol",
          "/usr/bin/pavucontrol ", "/usr/bin/pavucontrol2", "/usr/bin/firefox",
          "/usr/lib/x86_64-linux-gnu/xfce4/panel/wrapper-2.0",
          "/usr/lib/speech-dispatcher-modules/sd_", "/usr/lib/speech-dispatcher-modules/sd_a/b",
          "/usr/libexec/xdg-desktop-portal-/evil"}) {
        EXPECT_EQ(linuxSystemIdentifier(path), std::nullopt) << path;
    }
}

} // namespace
} // namespace velmoran
