// Programs in images that are mounted anew at each start. That a real one is found is tried in
// RealProcessNames.
#include "system/linux/apps/MountedImage.h"

#include "support/MountLine.h"
#include "system/linux/apps/LinuxAppNamesFixture.h"
#include "system/linux/apps/ProcessFinder.h"
#include "system/linux/apps/ProcessMatcher.h"

#include <sys/sysmacros.h>

namespace velmoran {
namespace {

class MountedImageTest : public LinuxAppNamesTest {
protected:
    MountedImageTest() {
        mount({"mount_1"});
        std::filesystem::permissions(world.path("tmp"), std::filesystem::perms(0777));
    }

    /// Images of that name are mounted at these folders, the first of them holding the program.
    void mount(const std::vector<std::string>& folders, const std::string& source = "Meet.AppImage",
               const std::string& user = "1000") {
        std::string table = support::mountLine(0x801, "/", "/");
        for (const auto& folder : folders) {
            table += support::mountLine(device(), "/", world.path("tmp/" + folder),
                                        "fuse." + source, source, "ro,user_id=" + user);
        }
        world.proc.mount(table);
    }
    /// All that the test lays out lies in one file system.
    dev_t device() const { return fileNumber(world.path("")).value_or(FileNumber()).device; }
    std::string connection() const {
        return "fuse_connection:\t" + std::to_string(minor(device())) + '\n';
    }
    void serve(pid_t pid, const std::string& program, const std::string& opened,
               const std::string& info = "flags:\t02\n") {
        world.proc.add(pid, {.executable = program,
                             .arguments = {program},
                             .descriptors = {{.link = "/dev/null", .info = ""},
                                             {.link = "/dev/fuse", .info = info},
                                             {.link = opened, .info = ""}}});
    }

    std::string image = world.program("home/u/Apps/Meet.AppImage");
    std::string program = world.program("tmp/mount_1/usr/bin/meet");
};

TEST_F(MountedImageTest, IsOneAppWhereverItIsMounted) {
    serve(10, image, image);
    world.proc.add(11, {.executable = program});
    EXPECT_EQ(identify(11), outside("Meet.AppImage", "~/Apps", image));
    mount({"mount_2"});
    world.proc.add(12, {.executable = world.program("tmp/mount_2/usr/bin/meet")});
    EXPECT_EQ(identify(12).id(), image);
    EXPECT_EQ(identify(10).id(), image) << "who serves it";
}

TEST_F(MountedImageTest, HasTheNameAndPictureOfTheUsersEntryForIt) {
    serve(10, image, image);
    world.userEntry("meet", "Name=Meetings\nIcon=meet\nExec=" + image + " %U");
    world.proc.add(11, {.executable = program});
    const auto app = outside("Meetings", "~/Apps", image);
    EXPECT_EQ(identify(11), app);
    EXPECT_EQ(names().iconName(app), "meet");
}

TEST_F(MountedImageTest, CountsItsInterpretersAndScripts) {
    serve(10, image, image);
    const auto shell = world.program("usr/bin/bash");
    const auto script = world.program("tmp/mount_1/AppRun", "#!/bin/bash\n");
    world.proc.add(11, {.executable = shell, .arguments = {"bash", script}});
    EXPECT_EQ(identify(11).id(), image);
    const auto python = world.program("tmp/mount_1/usr/bin/python3");
    world.proc.add(12, {.executable = python, .arguments = {"python3", "-c", "x"}});
    EXPECT_EQ(identify(12).id(), image);
}

TEST_F(MountedImageTest, TakesTheKernelsWordForWhoServesIt) {
    const auto thief = world.program("home/u/thief/Meet.AppImage");
    mount({"mount_1", "mount_2"});
    serve(10, image, image, "fuse_connection:\t999999\n");
    serve(20, thief, thief, connection());
    world.proc.add(11, {.executable = program});
    EXPECT_EQ(identify(11), outside("Meet.AppImage", "~/thief", thief));
    serve(20, thief, thief, "fuse_connection:\t999998\n");
    EXPECT_EQ(identify(11).path, program) << "neither of them does";
    serve(10, image, image, connection());
    ASSERT_EQ(identify(11).path, image);
    world.proc.add(10, {.executable = image,
                        .arguments = {image},
                        .descriptors = {{.link = "/dev/fuse", .info = connection()},
                                        {.link = "/dev/fuse", .info = "fuse_connection:\t7\n"},
                                        {.link = image, .info = ""}}});
    EXPECT_EQ(identify(11).path, program) << "it was handed the door of another's";
}

TEST_F(MountedImageTest, GuessesNothingWhereTheKernelDoesNotTell) {
    serve(10, image, image);
    world.proc.add(11, {.executable = program});
    ASSERT_EQ(identify(11).path, image);
    mount({"mount_1", "mount_2"});
    EXPECT_EQ(identify(11).path, program) << "one of the mounts is somebody else's";
    const auto thief = world.program("home/u/thief/Meet.AppImage");
    serve(20, thief, thief);
    EXPECT_EQ(identify(11).path, program) << "which of them is whose?";
}

TEST_F(MountedImageTest, BelievesNoMountThatOnlyBearsTheName) {
    world.proc.add(11, {.executable = program});
    const auto isNobodys = [&](const std::string& why) {
        EXPECT_EQ(identify(11).path, program) << why;
    };
    isNobodys("nobody serves it");
    world.proc.add(10, {.executable = image, .descriptors = {{.link = image, .info = ""}}});
    isNobodys("the image runs, and serves nothing");
    serve(10, image, world.path("home/u/thief/Other.AppImage"));
    isNobodys("it serves another file than its own");
    serve(10, image, image);
    mount({"mount_1"}, "Other.AppImage");
    isNobodys("another name");
    mount({"mount_1"}, "Meet.AppImage", "1001");
    isNobodys("another user has mounted it");
    world.proc.mount(support::mountLine(device(), "/", world.path("tmp/mount_1"), "ext4",
                                        "Meet.AppImage", "user_id=1000"));
    isNobodys("no file system of a user's");
    world.proc.mount(support::mountLine(device() + 1, "/", world.path("tmp/mount_1"),
                                        "fuse.Meet.AppImage", "Meet.AppImage", "user_id=1000"));
    isNobodys("hidden by what is mounted above it");
    mount({"mount_1"});
    EXPECT_EQ(identify(11).path, image) << "all of that would have had to be otherwise";
}

TEST_F(MountedImageTest, LeavesAloneWhatIsRoots) {
    const auto tool = world.program("usr/bin/tool");
    world.proc.mount(support::mountLine(device(), "/", world.path("usr"), "fuse.Meet.AppImage",
                                        "Meet.AppImage", "user_id=1000"));
    serve(10, image, image);
    world.proc.add(11, {.executable = tool});
    EXPECT_EQ(identify(11), file("tool", tool));
}

TEST_F(MountedImageTest, IsStoppedByItsProcessesAndNotByWhoServesThem) {
    serve(10, image, image);
    world.proc.add(11, {.executable = program});
    const auto shell = world.program("usr/bin/bash");
    const auto script = world.program("tmp/mount_1/AppRun", "#!/bin/bash\n");
    world.proc.add(12, {.executable = shell, .arguments = {"bash", script}});
    world.proc.add(13, {.executable = world.program("home/u/bin/other")});
    identify(11);
    const AppIdentity app{.id = image, .name = "x", .bundleID = {}, .path = {}, .teamID = {}};
    const auto proc = world.proc.fs();
    ProcessMatcher matcher(names(), proc, app);
    EXPECT_EQ(matcher.match(11), ProcessMatcher::Answer::ofApp);
    EXPECT_EQ(matcher.match(12), ProcessMatcher::Answer::ofApp);
    EXPECT_EQ(matcher.match(13), ProcessMatcher::Answer::other);
    EXPECT_EQ(matcher.match(10), ProcessMatcher::Answer::other) << "it ends by itself";
    // One that was seen to use something is no mere server.
    identify(10);
    ProcessMatcher again(names(), proc, app);
    EXPECT_EQ(again.match(10), ProcessMatcher::Answer::ofApp);
}

} // namespace
} // namespace velmoran
