// Tools that are one file with links of other names.
#include "system/linux/apps/StartedLink.h"

#include "system/linux/apps/LinuxAppNamesFixture.h"

namespace velmoran {
namespace {

class StartedLinkTest : public LinuxAppNamesTest {
protected:
    StartedLinkTest() {
        tool = world.program("usr/bin/aplay");
        world.link("usr/bin/arecord", "aplay");
    }
    std::string nameOf(const std::string& executable, std::vector<std::string> arguments) {
        world.proc.add(10, {.executable = executable, .arguments = std::move(arguments)});
        return identify(10).name;
    }

    std::string tool;
};

TEST_F(StartedLinkTest, NamesAToolByTheLinkThatItWasStartedBy) {
    world.proc.add(10, {.executable = tool, .arguments = {"arecord", "-f", "cd"}});
    EXPECT_EQ(identify(10), file("arecord", tool)) << "its id stays the file";
    EXPECT_EQ(nameOf(tool, {world.path("usr/bin/arecord")}), "arecord");
    EXPECT_EQ(nameOf(tool, {"aplay"}), "aplay");
    EXPECT_EQ(nameOf(tool, {}), "aplay");
}

TEST_F(StartedLinkTest, FollowsLinksOfRootsThroughOthers) {
    world.link("usr/share/alternatives/recorder", world.path("usr/bin/arecord"));
    world.link("usr/bin/recorder", world.path("usr/share/alternatives/recorder"));
    EXPECT_EQ(nameOf(tool, {"recorder"}), "recorder");
}

TEST_F(StartedLinkTest, BelievesNoWordThatIsNoLinkOfRootsToIt) {
    world.program("usr/bin/meeting");
    world.link("home/u/bin/dictation", tool);
    world.link("usr/bin/through-home", world.path("home/u/bin/dictation"));
    for (const std::string word : {"meeting", "dictation", "through-home", "nothing", "", ".", "..",
                                   "/", "-arecord", "./arecord", "x/arecord"}) {
        EXPECT_EQ(nameOf(tool, {word}), "aplay") << word;
    }
    EXPECT_EQ(nameOf(tool, {world.path("home/u/bin/dictation")}), "aplay");
}

TEST_F(StartedLinkTest, GivesNoNameOfRootsToWhatIsNot) {
    const auto own = world.program("home/u/bin/own");
    world.link("usr/bin/to-own", own);
    EXPECT_EQ(nameOf(own, {"arecord"}), "own (~/bin)");
    EXPECT_EQ(nameOf(own, {"to-own"}), "own (~/bin)");
}

TEST_F(StartedLinkTest, NamesAScriptByItsLinkAndAnEntryBeforeBoth) {
    const auto python = world.program("usr/bin/python3.11");
    const auto script = world.program("usr/share/tool/main.py", "#!/usr/bin/python3\n");
    const auto link = world.link("usr/bin/tool", script);
    EXPECT_EQ(nameOf(python, {"/usr/bin/python3", link}), "tool");
    world.entry("tool", "Name=Good Tool\nExec=tool");
    EXPECT_EQ(nameOf(python, {"/usr/bin/python3", link}), "Good Tool");
}

} // namespace
} // namespace velmoran
