// Apps that run in sandboxes: flatpaks and snaps.
#include "system/linux/apps/LinuxAppNamesFixture.h"

namespace velmoran {
namespace {

class FlatpakTest : public LinuxAppNamesTest {
protected:
    /// Installs one and gives what /.flatpak-info would say inside.
    std::string install(const std::string& installation, const std::string& name) {
        const std::string app = installation + "/app/org.example.App/x86_64/stable/abc/files";
        world.program(app + "/bin/player", "player");
        world.program(app + "/share/tool.py", "tool");
        world.program("var/lib/flatpak/runtime/org.example.Platform/x/1/def/files/bin/python3",
                      "python");
        world.entryIn(installation + "/exports/share/applications", "org.example.App",
                      "Name=" + name +
                          "\nIcon=app-icon\nX-Flatpak=org.example.App\n"
                          "Exec=/usr/bin/flatpak run org.example.App");
        return "[Application]\nname=org.example.App\n[Instance]\napp-path=" + world.path(app) +
               "\nruntime-path=" +
               world.path("var/lib/flatpak/runtime/org.example.Platform/x/1/def/files") + "\n";
    }
    /// A sandbox with these files in it; gives what its /proc/PID/root leads to.
    std::string sandbox(const std::string& info) {
        // The files inside are those outside, as a bind mount makes them.
        world.link("app", world.path(files));
        world.link("runtime",
                   world.path("var/lib/flatpak/runtime/org.example.Platform/x/1/def/files"));
        const std::string root = "sandbox";
        const auto file = world.program(root + "/.flatpak-info", info);
        for (const char* mount : {"app", "runtime"}) {
            world.link(root + world.path(mount), world.path(mount));
        }
        return world.path(root);
    }

    std::string files = "var/lib/flatpak/app/org.example.App/x86_64/stable/abc/files";
};

TEST_F(FlatpakTest, IsNamedByItsInfoAndKnownByItsId) {
    const auto root = sandbox(install("var/lib/flatpak", "Example"));
    world.proc.add(10,
                   {.executable = world.path("app/bin/player"), .mounts = "mnt:[2]", .root = root});
    const auto expected =
        app("Example", "org.example.App", world.path("var/lib/flatpak/app/org.example.App"));
    EXPECT_EQ(identify(10), expected);
    EXPECT_EQ(names().iconName(expected), "app-icon");
}

TEST_F(FlatpakTest, CountsItsScriptsAndWhatItsProgramsStart) {
    const auto root = sandbox(install("var/lib/flatpak", "Example"));
    const auto python = world.path("runtime/bin/python3");
    world.proc.add(10, {.executable = python,
                        .arguments = {"python3", world.path("app/share/tool.py")},
                        .mounts = "mnt:[2]",
                        .root = root});
    world.proc.add(11, {.executable = python,
                        .arguments = {"python3", "-c", "x"},
                        .parent = 10,
                        .mounts = "mnt:[2]",
                        .root = root});
    EXPECT_EQ(identify(10).bundleID, "org.example.App");
    EXPECT_EQ(identify(11).bundleID, "org.example.App");
}

TEST_F(FlatpakTest, ASandboxThatOnlyPretendsGetsNoId) {
    const auto root = sandbox(install("var/lib/flatpak", "Example"));
    const auto evil = world.program("home/u/evil");
    // A program of its own, seen under its own path or under one of the app's.
    world.proc.add(10, {.executable = evil, .mounts = "mnt:[3]", .root = root});
    world.proc.add(11,
                   {.executable = world.path("app/bin/evil"), .mounts = "mnt:[3]", .root = root});
    // The runtime's interpreter with nothing of the app's.
    world.proc.add(12, {.executable = world.path("runtime/bin/python3"),
                        .arguments = {"python3", evil},
                        .mounts = "mnt:[3]",
                        .root = root});
    EXPECT_EQ(identify(10), outside("evil", "~", evil));
    EXPECT_EQ(identify(11), unknown(11));
    EXPECT_NE(identify(12).bundleID, "org.example.App");
}

TEST_F(FlatpakTest, AnInfoThatPointsIntoTheUsersFolderGetsNoId) {
    const auto evil = world.program("home/u/app/org.example.App/files/bin/player", "evil");
    install("var/lib/flatpak", "Example");
    files = "home/u/app/org.example.App/files";
    const auto root =
        sandbox("[Application]\nname=org.example.App\n[Instance]\napp-path=" + world.path(files) +
                "\nruntime-path=/\n");
    world.proc.add(10,
                   {.executable = world.path("app/bin/player"), .mounts = "mnt:[3]", .root = root});
    EXPECT_NE(identify(10).bundleID, "org.example.App");
}

TEST_F(FlatpakTest, OfTheUsersInstallationIsKnownByItsFolder) {
    files = "home/u/.local/share/flatpak/app/org.example.App/x86_64/stable/abc/files";
    const auto root = sandbox(install("home/u/.local/share/flatpak", "Example"));
    world.proc.add(10,
                   {.executable = world.path("app/bin/player"), .mounts = "mnt:[2]", .root = root});
    const auto expected = outside("Example", "~/.local/share/flatpak",
                                  world.path("home/u/.local/share/flatpak/app/org.example.App"));
    EXPECT_EQ(identify(10), expected);
    EXPECT_EQ(names().iconName(expected), "app-icon");
}

TEST_F(FlatpakTest, OfTheUsersInstallationHasNeitherTheNameNorThePictureOfOneOfRoots) {
    install("var/lib/flatpak", "Example");
    files = "home/u/.local/share/flatpak/app/org.example.App/x86_64/stable/abc/files";
    const auto root = sandbox(install("home/u/.local/share/flatpak", "Example"));
    world.proc.add(10,
                   {.executable = world.path("app/bin/player"), .mounts = "mnt:[2]", .root = root});
    const auto expected = outside("org.example.App", "~/.local/share/flatpak",
                                  world.path("home/u/.local/share/flatpak/app/org.example.App"));
    EXPECT_EQ(identify(10), expected);
    EXPECT_FALSE(names().iconName(expected));
}

TEST_F(LinuxAppNamesTest, KnowsASnapByItsFolder) {
    const auto mail = world.program("snap/mail/12/usr/lib/mail/mail");
    world.entryIn("var/lib/snapd/desktop/applications", "mail_mail",
                  "Name=Mail\nX-SnapInstanceName=mail\nExec=env X=y /snap/bin/mail %u\n"
                  "Icon=mail-icon");
    world.entryIn("var/lib/snapd/desktop/applications", "mail_compose",
                  "Name=Compose\nX-SnapInstanceName=mail\nExec=/snap/bin/mail.compose");
    const auto tool = world.program("snap/tool/3/bin/tool");
    world.proc.add(10, {.executable = mail,
                        .cgroup = "0::/app.slice/snap.mail.mail-"
                                  "0a1b2c3d-1111-2222-3333-444455556666.scope\n",
                        .mounts = "mnt:[2]"});
    world.proc.add(11, {.executable = tool,
                        .cgroup = "0::/app.slice/snap.mail.mail-7.scope\n",
                        .mounts = "mnt:[2]"});
    const auto snap = app("Mail", "mail_mail", world.path("snap/mail"));
    EXPECT_EQ(identify(10), snap);
    EXPECT_EQ(names().iconName(snap), "mail-icon");
    EXPECT_EQ(identify(11), file("tool", world.path("snap/tool")));
}

} // namespace
} // namespace velmoran
