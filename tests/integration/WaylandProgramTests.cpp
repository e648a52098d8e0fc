// The program on a Wayland desktop, from its choice of what cards stand on to that desktop's end.
#include "support/PrivateSession.h"
#include "support/SessionFiles.h"
#include "support/Sway.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace velmoran {
namespace {

using support::waitUntil;

class WaylandProgram : public ::testing::Test {
protected:
    void startVelmoran(const std::string& how = "--login-start") {
        std::filesystem::create_directories(session_.file("dev"));
        session_.start("velmoran",
                       {VELMORAN, how, "--device-folder", session_.file("dev").string()});
        ASSERT_TRUE(waitUntil([&] { return answers(); })) << session_.logs();
    }
    bool answers() { return session_.run({VELMORANCTL, "status"}).succeeded(); }
    std::string arguments() {
        return support::readFile("/proc/" + std::to_string(session_.child("velmoran")->pid()) +
                                 "/cmdline");
    }
    /// A file of that name is part of the running program.
    bool hasLoaded(const std::string& name) {
        const auto maps = "/proc/" + std::to_string(session_.child("velmoran")->pid()) + "/maps";
        return support::readFile(maps).find(name) != std::string::npos;
    }
    std::string told() { return session_.child("velmoran")->errors(); }

    support::PrivateSession session_;
};

TEST_F(WaylandProgram, StandsOnLayersWithoutLoadingWhatItDoesNotDrawWith) {
    session_.startSound();
    support::startSway(session_);
    startVelmoran();
    EXPECT_TRUE(hasLoaded("libqwayland"));
    // The door to the graphics libraries is part of Qt; what lies behind it takes the memory.
    EXPECT_FALSE(hasLoaded("libEGL_"));
    EXPECT_FALSE(hasLoaded("LLVM"));
    EXPECT_EQ(told().find("buffer integration"), std::string::npos) << told();
}

TEST_F(WaylandProgram, LeavesAnXServerAloneWhereThereAreLayers) {
    session_.startSound();
    support::startSway(session_, support::SwayWith::x);
    startVelmoran();
    EXPECT_TRUE(hasLoaded("libqwayland"));
    EXPECT_FALSE(hasLoaded("libqxcb"));
}

TEST_F(WaylandProgram, StandsOnXWhereItsDesktopDoesBetterByThat) {
    session_.startSound();
    support::startSway(session_, support::SwayWith::x);
    session_.environment()["XDG_CURRENT_DESKTOP"] = "GNOME";
    startVelmoran();
    EXPECT_TRUE(hasLoaded("libqxcb"));
    EXPECT_FALSE(hasLoaded("libqwayland"));
}

TEST_F(WaylandProgram, TellsByTheDesktopWhenItsCompositorHasDied) {
    session_.startSound();
    session_.addMicrophone();
    support::startSway(session_);
    session_.start("notifications", {"/usr/bin/python3", FAKE_NOTIFICATIONS, "plain"});
    startVelmoran();
    session_.stop("sway");
    ASSERT_TRUE(waitUntil([&] {
        return told().find("notices are told by the desktop's notifications here") !=
               std::string::npos;
    })) << session_.logs();
    EXPECT_NE(told().find("the display has gone"), std::string::npos);
    ASSERT_TRUE(waitUntil([&] { return answers(); })) << session_.logs();
    session_.start("recorder", {"pw-record", session_.file("recording.wav")});
    EXPECT_TRUE(waitUntil([&] {
        return session_.child("notifications")->output().find("turned on the microphone") !=
               std::string::npos;
    })) << session_.logs();
    // A compositor that is there again has it back.
    support::startSway(session_);
    EXPECT_TRUE(waitUntil([&] { return hasLoaded("libqwayland") && answers(); }))
        << session_.logs();
}

TEST_F(WaylandProgram, KeepsAwayForAWhileFromADisplayThatGoesAgainAtOnce) {
    session_.startSound();
    support::startSway(session_);
    startVelmoran("--display-lost");
    ASSERT_TRUE(hasLoaded("libqwayland"));
    session_.stop("sway");
    EXPECT_TRUE(waitUntil([&] {
        return arguments().find("display-lost-again") != std::string::npos;
    })) << session_.logs();
}

TEST_F(WaylandProgram, ASecondStartBringsItBackToADisplay) {
    session_.startSound();
    support::startSway(session_);
    startVelmoran("--display-lost-again");
    ASSERT_FALSE(hasLoaded("libqwayland"));
    EXPECT_TRUE(session_.run({VELMORAN, "--show", "history"}).succeeded());
    EXPECT_TRUE(waitUntil([&] { return hasLoaded("libqwayland") && answers(); }))
        << session_.logs();
    EXPECT_NE(arguments().find("--show=history"), std::string::npos);
}

TEST_F(WaylandProgram, EndsWithTheLoginOfWhichTheCompositorWasAPart) {
    session_.startSound();
    support::startSway(session_);
    startVelmoran();
    session_.stop("sway");
    ASSERT_TRUE(waitUntil([&] {
        return told().find("the display has gone") != std::string::npos && answers();
    })) << session_.logs();
    session_.stop("bus");
    EXPECT_TRUE(waitUntil([&] { return !session_.child("velmoran")->running(); }));
}

} // namespace
} // namespace velmoran
