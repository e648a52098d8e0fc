// What people are told an app is called, by programs that would like to be told as another.
#include "system/linux/apps/LinuxAppNamesFixture.h"

namespace velmoran {
namespace {

class ShownNamesTest : public LinuxAppNamesTest {
protected:
    /// As it is told while it runs.
    std::string nameOf(const std::string& executable) {
        world.proc.add(10, {.executable = executable});
        return identify(10).name;
    }
};

TEST_F(ShownNamesTest, CarriesTheFolderOfWhatIsNotRoots) {
    EXPECT_EQ(nameOf(world.program("home/u/bin/PulseAudio Volume Control")),
              "PulseAudio Volume Control (~/bin)");
    EXPECT_EQ(nameOf(world.program("home/u/bin/Unknown app")), "Unknown app (~/bin)");
    EXPECT_EQ(nameOf(world.program("home/u/recorder")), "recorder (~)");
    EXPECT_EQ(nameOf(world.program("usr/bin/recorder")), "recorder");
    EXPECT_EQ(nameOf("/opt/recorder"), "recorder (/opt)");
    EXPECT_EQ(nameOf("/recorder"), "recorder (/)");
    const auto script = world.program("home/u/scripts/dictate.py", "#!");
    world.proc.add(
        11, {.executable = world.program("usr/bin/python3"), .arguments = {"python3", script}});
    EXPECT_EQ(identify(11), outside("dictate.py", "~/scripts", script));
    EXPECT_EQ(identify(11).id(), script);
}

TEST_F(ShownNamesTest, KnowsTheHomeFromAFolderThatIsCalledAlike) {
    const auto name = nameOf(world.path("home/u2/x"));
    EXPECT_TRUE(name.starts_with("x (/") && name.ends_with("/home/u2)")) << name;
}

TEST_F(ShownNamesTest, OfWhatAnybodyMayWriteIsNoNameOfRoots) {
    const auto tool = world.program("usr/share/tool/tool");
    EXPECT_EQ(nameOf(tool), "tool");
    std::filesystem::permissions(tool, std::filesystem::perms(0777));
    EXPECT_TRUE(nameOf(tool).ends_with(')')) << nameOf(tool);
    std::filesystem::permissions(tool, std::filesystem::perms(0755));
    std::filesystem::permissions(world.path("usr/share/tool"), std::filesystem::perms(0777));
    EXPECT_TRUE(nameOf(tool).ends_with(')')) << nameOf(tool);
}

TEST_F(ShownNamesTest, BelievesNoEntryThatLooksLikeSomethingOfRoots) {
    world.program("usr/bin/arecord");
    const auto cam = world.program("usr/lib/cam/cam");
    world.entry("org.example.Cam", "Name=Big Camera\nName[de]=Große Kamera\nExec=" + cam);
    const auto evil = world.program("home/u/bin/evil");
    for (const std::string name : {
             "Big Camera",
             "BIG  CAMERA",
             "Bıg Camera",
             "B\u0456g C\u0430mera",
             "Ｂｉｇ Ｃａｍｅｒａ",
             "Big\u200bCamera\u202c",
             "Bi\u0323g Came\u0301ra",
             "ʙig ᴄamera",
             "Big Carnera",
             // A program of root's without an entry.
             "arecord",
             "\u0430record",
             "aRECORD",
             // The system's own, also where they aren't installed.
             "pavucontrol",
             "pavuc\u043entrol",
             "PipeWire",
             // Ours.
             "Velmoran",
             "Ve1moran",
             "Unknown app",
             "Unbekannte App",
             "unknown\u00a0\u0430pp",
         }) {
        world.userEntry("evil", "Name=" + name + "\nExec=" + evil + "\nIcon=cam");
        const auto app = outside("evil", "~/bin", evil);
        world.proc.add(10, {.executable = evil});
        EXPECT_EQ(identify(10), app) << name;
        EXPECT_FALSE(names().iconName(app)) << name;
    }
    world.userEntry("evil", "Name=Dictation\nExec=" + evil + "\nIcon=cam");
    EXPECT_EQ(identify(10), outside("Dictation", "~/bin", evil));
    EXPECT_EQ(names().iconName(outside("Dictation", "~/bin", evil)), "cam");
}

TEST_F(ShownNamesTest, FollowsWhatRootInstallsAndRemoves) {
    const auto app = world.program("home/u/bin/app");
    world.userEntry("app", "Name=Meet\nExec=" + app);
    EXPECT_EQ(nameOf(app), "Meet (~/bin)");
    world.program("usr/bin/meet");
    world.touch("usr/bin");
    EXPECT_EQ(nameOf(app), "app (~/bin)");
    std::filesystem::remove(world.path("usr/bin/meet"));
    world.touch("usr/bin");
    EXPECT_EQ(nameOf(app), "Meet (~/bin)");
    world.entry("meet", "Name=Meet\nExec=/nowhere/meet");
    EXPECT_EQ(nameOf(app), "app (~/bin)");
}

TEST_F(ShownNamesTest, NothingInANamePassesForItsFolder) {
    // A folder of its own making, blanks that push the true one out of sight, marks that turn it.
    EXPECT_EQ(nameOf(world.program("home/u/bin/Firefox (∕usr∕lib∕firefox)")),
              "Firefox [∕usr∕lib∕firefox] (~/bin)");
    const std::string blanks(60, ' ');
    EXPECT_EQ(nameOf(world.program("home/u/bin/Firefox" + blanks + "x")), "Firefox x (~/bin)");
    EXPECT_EQ(nameOf(world.program("home/u/bin/Firefox\u202e\u2067")), "Firefox (~/bin)");
    EXPECT_EQ(nameOf(world.program("home/u/bin/\u200b")), "\uFFFD (~/bin)");
    const auto longName = nameOf(world.program("home/u/bin/Firefox" + std::string(200, '_')));
    EXPECT_TRUE(longName.ends_with(" (~/bin)")) << longName;
    EXPECT_LT(longName.size(), 60U) << longName;
    const auto deep = nameOf(world.program("home/u/a/" + std::string(200, 'b') + "/c (d/x"));
    EXPECT_TRUE(deep.starts_with("x (~/a/bbb") && deep.ends_with("bbbb/c [d)")) << deep;
    // Nor in the name of an entry, in which there may be anything.
    const auto evil = world.program("home/u/bin/evil");
    world.userEntry("evil", "Name=Firefox (/usr/bin)\\n\\nx\nExec=" + evil);
    EXPECT_EQ(nameOf(evil), "Firefox [/usr/bin] x (~/bin)");
}

TEST_F(ShownNamesTest, SaysThatAFileIsDeleted) {
    const auto path = world.path("home/u/bin/evil");
    EXPECT_EQ(nameOf(path + " (deleted)"), "evil (~/bin, deleted)");
    // Another is there by now; root's own stays root's.
    world.program("home/u/bin/evil");
    EXPECT_EQ(nameOf(path + " (deleted)"), "evil (~/bin, deleted)");
    EXPECT_EQ(nameOf(world.program("usr/bin/tool") + " (deleted)"), "tool");
    world.userEntry("evil", "Name=Dictation\nExec=" + path);
    EXPECT_EQ(nameOf(path + " (deleted)"), "Dictation (~/bin, deleted)");
    // One that only says so.
    EXPECT_EQ(nameOf(world.program("home/u/bin/evil (deleted)")), "evil [deleted] (~/bin)");
}

TEST_F(ShownNamesTest, SaysThatAProgramIsInMemory) {
    world.program("usr/bin/pavucontrol");
    EXPECT_EQ(nameOf("/memfd:x/../../usr/bin/pavucontrol (deleted)"),
              "memfd:x/../../usr/bin/pavucontrol (in memory, not a file)");
    EXPECT_EQ(nameOf("/memfd: (deleted)"), "memfd: (in memory, not a file)");
    // It is no interpreter whose word for its script would count.
    const auto script = world.program("home/u/scripts/dictate.py", "#!");
    world.proc.add(10,
                   {.executable = "/memfd:x/python3 (deleted)", .arguments = {"python3", script}});
    EXPECT_EQ(identify(10).name, "memfd:x/python3 (in memory, not a file)");
    EXPECT_EQ(identify(10).path, "/memfd:x/python3");
}

TEST_F(ShownNamesTest, NamesWhatTheLoaderRuns) {
    const auto loader = world.program("usr/lib/x/ld-linux-x86-64.so.2");
    const auto own = world.program("home/u/bin/recorder");
    const auto roots = world.program("usr/bin/arecord");
    const auto nameOfLoading = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "ld.so");
        world.proc.add(10, {.executable = loader,
                            .arguments = arguments,
                            .maps = {FakeProc::mapped(loader), FakeProc::mapped(own)}});
        return identify(10);
    };
    EXPECT_EQ(nameOfLoading({own}), outside("recorder", "~/bin", own));
    EXPECT_EQ(nameOfLoading({"--library-path", "/a/b", "--argv0", "/c/d", own, roots}),
              outside("recorder", "~/bin", own));
    // Its arguments are its own word, and make nothing of root's of it.
    EXPECT_EQ(nameOfLoading({roots}), file("ld-linux-x86-64.so.2", loader));
    EXPECT_EQ(nameOfLoading({"recorder"}), file("ld-linux-x86-64.so.2", loader));
    EXPECT_EQ(nameOfLoading({}), file("ld-linux-x86-64.so.2", loader));
}

TEST_F(ShownNamesTest, NamesNothingByTheLoadersWordThatItDoesNotRun) {
    const auto loader = world.program("usr/lib/x/ld-linux-x86-64.so.2");
    const auto library = world.program("usr/lib/x/libc.so.6");
    const auto claimed = world.program("home/u/apps/meeting");
    const auto other = world.program("home/u/bin/evil");
    const auto nameWith = [&](std::vector<std::string> maps) {
        maps.insert(maps.begin(), FakeProc::mapped(loader));
        world.proc.add(
            10, {.executable = loader, .arguments = {"ld.so", claimed}, .maps = std::move(maps)});
        return identify(10);
    };
    const auto its = FakeProc::mapped(claimed);
    const std::string kernels = "7ffd1000-7ffd2000 r-xp 00000000 00:00 0    [vdso]";
    EXPECT_EQ(nameWith({its, FakeProc::mapped(library), FakeProc::mapped(other, "r--p"), kernels}),
              outside("meeting", "~/apps", claimed));

    const auto unnamed = file("ld-linux-x86-64.so.2", loader);
    EXPECT_EQ(nameWith({}), unnamed);
    EXPECT_EQ(nameWith({FakeProc::mapped(other)}), unnamed);
    EXPECT_EQ(nameWith({its, FakeProc::mapped(other)}), unnamed) << "it may be the other";
    EXPECT_EQ(nameWith({FakeProc::mapped(claimed, "r--p")}), unnamed) << "as anybody may read it";
    EXPECT_EQ(nameWith({its, "7f2c-7f2d r-xp 00000000 00:00 0 "}), unnamed) << "code of no file";
    EXPECT_EQ(nameWith({its, "7f2c-7f2d r-xp 00000000 00:00 0    [heap]"}), unnamed);
    EXPECT_EQ(nameWith({"7f2c-7f2d r-xp 00000000 00:2f 4711    " + claimed}), unnamed)
        << "another file under its path";
    EXPECT_EQ(nameWith({its, "7f2c-7f2d r-xp 00000000 00:2f 4711    " + library}), unnamed);
    EXPECT_EQ(nameWith({its, "no line of the kernel's"}), unnamed);
}

TEST_F(ShownNamesTest, BelievesNoLoaderOfTheUsers) {
    const auto loader = world.program("home/u/bin/ld-x.so");
    const auto claimed = world.program("home/u/apps/meeting");
    world.proc.add(10, {.executable = loader,
                        .arguments = {"ld-x.so", claimed},
                        .maps = {FakeProc::mapped(loader), FakeProc::mapped(claimed)}});
    EXPECT_EQ(identify(10), outside("ld-x.so", "~/bin", loader));
}

} // namespace
} // namespace velmoran
