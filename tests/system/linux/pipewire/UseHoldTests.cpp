#include "system/linux/pipewire/UseHold.h"

#include <gtest/gtest.h>

namespace velmoran {
namespace {

AppRef appCalled(const std::string& name) {
    return {name, std::nullopt, "/bin/" + name};
}

GraphPicture::Process processCalled(std::uint32_t object, const std::string& name, bool hears,
                                    bool plays, pid_t pid = 7) {
    return {{.objectID = object,
             .pid = pid,
             .bundleID = {},
             .isRunningInput = hears,
             .isRunningOutput = plays},
            appCalled(name)};
}

GraphPicture::Camera camera(std::uint32_t object, std::vector<std::string> users) {
    GraphPicture::Camera entry{{object, "Front", !users.empty()}, {}};
    for (const auto& user : users) {
        entry.users.push_back({appCalled(user), 7});
    }
    return entry;
}

TEST(UseHold, ChangesNothingWhileItHoldsNothing) {
    UseHold hold;
    const GraphPicture live{{processCalled(1, "a", true, false)}, {}, {camera(2, {"a"})}};
    EXPECT_EQ(hold.merged(live), live);
    EXPECT_FALSE(hold.isHolding());
}

TEST(UseHold, KeepsUsesWhileNothingIsTold) {
    UseHold hold;
    const GraphPicture before{{processCalled(1, "a", true, true)}, {}, {camera(2, {"a"})}};
    hold.hold(before);
    EXPECT_EQ(hold.merged({}), before);
    EXPECT_EQ(hold.merged({}), before);
}

TEST(UseHold, HandsOverToTheSameAppUnderANewNumber) {
    UseHold hold;
    hold.hold({{processCalled(1, "a", true, false)}, {}, {}});
    const GraphPicture live{{processCalled(50, "a", true, false)}, {}, {}};
    EXPECT_EQ(hold.merged(live), live);
    EXPECT_EQ(hold.merged({}), GraphPicture()) << "from then on only what is told counts";
}

TEST(UseHold, HandsOverDeviceByDevice) {
    UseHold hold;
    hold.hold({{processCalled(1, "a", true, true)}, {}, {}});
    const auto shown = hold.merged({{processCalled(50, "a", false, true)}, {}, {}});
    ASSERT_EQ(shown.processes.size(), 2U);
    EXPECT_EQ(shown.processes[0], processCalled(1, "a", true, false));
}

TEST(UseHold, ShowsOthersBesideWhatItHolds) {
    UseHold hold;
    hold.hold({{processCalled(1, "a", true, false)}, {}, {}});
    const auto shown = hold.merged({{processCalled(50, "b", true, false)}, {}, {}});
    ASSERT_EQ(shown.processes.size(), 2U);
    EXPECT_EQ(shown.processes[0].app, appCalled("a"));
    EXPECT_EQ(shown.processes[1].app, appCalled("b"));
}

TEST(UseHold, DropsAProcessThatHasEnded) {
    UseHold hold;
    hold.hold({{processCalled(1, "a", true, false, 11), processCalled(2, "b", true, false, 12)},
               {},
               {{{3, "Front", true}, {{appCalled("a"), 11}}}}});
    EXPECT_EQ(hold.heldProcesses(), (std::set<pid_t>{11, 12}));
    hold.drop(11);
    EXPECT_EQ(hold.heldProcesses(), (std::set<pid_t>{12}));
    const auto shown = hold.merged({});
    EXPECT_EQ(shown.processes.size(), 1U);
    EXPECT_TRUE(shown.cameras.empty());
}

TEST(UseHold, KeepsWhatHasNoKnownProcessUntilItsTimeIsOver) {
    UseHold hold;
    hold.hold({{processCalled(1, "a", true, false, 0)}, {}, {}});
    EXPECT_TRUE(hold.heldProcesses().empty());
    hold.drop(0);
    EXPECT_EQ(hold.merged({}).processes.size(), 1U);
    hold.release();
    EXPECT_EQ(hold.merged({}), GraphPicture());
    EXPECT_FALSE(hold.isHolding());
}

TEST(UseHold, AddsWhatASecondBreakTakesAway) {
    UseHold hold;
    hold.hold({{processCalled(1, "a", true, false)}, {}, {}});
    hold.hold(hold.merged({{processCalled(50, "b", true, false)}, {}, {}}));
    EXPECT_EQ(hold.merged({}).processes.size(), 2U);
}

TEST(UseHold, JoinsACameraThatIsThereAgain) {
    UseHold hold;
    hold.hold({{}, {}, {camera(1, {"a"})}});
    const auto waiting = hold.merged({{}, {}, {camera(50, {})}});
    ASSERT_EQ(waiting.cameras.size(), 1U);
    EXPECT_EQ(waiting.cameras[0].device.objectID, 50U);
    EXPECT_TRUE(waiting.cameras[0].device.isRunningSomewhere);
    const auto back = hold.merged({{}, {}, {camera(50, {"a"})}});
    EXPECT_EQ(back, (GraphPicture{{}, {}, {camera(50, {"a"})}}));
    EXPECT_EQ(hold.merged({}), GraphPicture()) << "nothing is held any more";
}

} // namespace
} // namespace velmoran
