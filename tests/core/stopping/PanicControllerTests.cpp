#include "core/stopping/PanicController.h"

#include <deque>
#include <gtest/gtest.h>

namespace velmoran {
namespace {

struct FakeMuter final : MicrophoneMuting {
    MuteOutcome outcome{1, {}};
    int asked = 0;
    std::vector<std::string>* log = nullptr;

    void mute(std::function<void(const MuteOutcome&)> done) override {
        ++asked;
        log->push_back("mute");
        done(outcome);
    }
};

/// Answers when the test says so, so that two closings at once would show.
struct FakeCloser final : AppClosing {
    std::set<std::string> refuses;
    std::vector<std::string>* log = nullptr;
    std::deque<std::function<void()>> waiting;

    void close(const AppIdentity& app, std::function<void(bool)> done) override {
        log->push_back("close " + app.id);
        EXPECT_TRUE(waiting.empty()) << "one after the other";
        waiting.push_back([done, gone = !refuses.contains(app.id)] { done(gone); });
    }

    void answerAll() {
        while (!waiting.empty()) {
            const auto answer = waiting.front();
            waiting.pop_front();
            answer();
        }
    }
};

AppIdentity appAt(const std::string& name, std::optional<std::string> path = {}) {
    return {.id = name, .name = name, .bundleID = {}, .path = std::move(path), .teamID = {}};
}

UsageSession session(const AppIdentity& user, Device device) {
    UsageSession made;
    made.id = Uuid::random();
    made.app = user;
    made.device = device;
    return made;
}

struct PanicControllerTest : ::testing::Test {
    std::vector<std::string> log;
    FakeMuter muter;
    FakeCloser closer;
    PanicController panic{muter, closer, [](const AppIdentity& each) {
                              return PanicController::isProtected(each, "org.velmoran.Velmoran");
                          }};

    PanicControllerTest() {
        muter.log = &log;
        closer.log = &log;
    }

    StopResult stopAll(const std::vector<UsageSession>& open) {
        std::optional<StopResult> result;
        panic.stopAll(open, [&](const StopResult& answer) { result = answer; });
        closer.answerAll();
        EXPECT_TRUE(result);
        return result.value_or(StopResult{});
    }

    StopResult stop(const AppIdentity& each, const std::vector<UsageSession>& open) {
        std::optional<StopResult> result;
        panic.stop({each}, open, [&](const StopResult& answer) { result = answer; });
        closer.answerAll();
        EXPECT_TRUE(result);
        return result.value_or(StopResult{});
    }
};

using Log = std::vector<std::string>;

TEST_F(PanicControllerTest, MutesEvenWhenNothingIsOpen) {
    const auto result = stopAll({});
    EXPECT_EQ(result.microphoneMuted, true);
    EXPECT_TRUE(result.everythingStopped());
    EXPECT_EQ(result.headline(), "Microphone muted. No app was using the camera or microphone.");
    EXPECT_EQ(result.detail(),
              "The microphone stays muted until you unmute it in the Microphone row of the panel.");
}

TEST_F(PanicControllerTest, MutesFirstAndThenClosesOneAfterTheOther) {
    stopAll({session(appAt("B"), Device::camera), session(appAt("A"), Device::microphone),
             session(appAt("B"), Device::microphone)});
    EXPECT_EQ(log, (Log{"mute", "close B", "close A"}));
}

TEST_F(PanicControllerTest, LeavesTheMicrophoneAloneForACameraOnlyApp) {
    const auto open = std::vector{session(appAt("Zoom"), Device::camera)};
    const auto result = stop(appAt("Zoom"), open);
    EXPECT_EQ(result.microphoneMuted, std::nullopt);
    EXPECT_EQ(muter.asked, 0);
    EXPECT_EQ(result.headline(), "Zoom was closed.");
    EXPECT_EQ(result.detail(), std::nullopt);
    EXPECT_EQ(result.stoppedSessionIDs, std::set<Uuid>{open.front().id});
    EXPECT_TRUE(result.everythingStopped());
}

TEST_F(PanicControllerTest, FindsNothingToCloseForAnAppWithoutSessions) {
    const auto result = stop(appAt("Zoom"), {session(appAt("Other"), Device::microphone)});
    EXPECT_EQ(result.headline(), "Nothing needed to be closed.");
    EXPECT_EQ(log, Log{});
}

TEST_F(PanicControllerTest, ClosesAnAppWithTwoSessionsOnce) {
    const auto open = std::vector{session(appAt("Zoom"), Device::camera),
                                  session(appAt("Zoom"), Device::microphone)};
    const auto result = stopAll(open);
    EXPECT_EQ(log, (Log{"mute", "close Zoom"}));
    EXPECT_EQ(result.stoppedSessionIDs, (std::set<Uuid>{open[0].id, open[1].id}));
    EXPECT_EQ(result.headline(), "Microphone muted. Zoom was closed.");
}

TEST_F(PanicControllerTest, NeverClosesForTheSpeaker) {
    EXPECT_TRUE(stopAll({session(appAt("Player"), Device::speaker)}).closed.empty());
    EXPECT_TRUE(stop(appAt("Player"), {session(appAt("Player"), Device::speaker)}).closed.empty());
    EXPECT_EQ(log, Log{"mute"});
}

TEST_F(PanicControllerTest, SaysWhatNobodyCanBeClosedFor) {
    const AppIdentity hidden{.id = "unidentified:12",
                             .name = "Unknown app",
                             .bundleID = {},
                             .path = {},
                             .teamID = {},
                             .unidentified = true};
    for (const auto& nobody : {AppIdentity::unknown(), hidden}) {
        const auto result =
            stopAll({session(nobody, Device::camera), session(nobody, Device::microphone)});
        EXPECT_EQ(result.unknownOn, (std::vector{Device::camera, Device::microphone}));
        EXPECT_EQ(result.headline(), "Microphone muted.");
        EXPECT_EQ(result.detail(), "We couldn't tell which app is using the camera and microphone, "
                                   "so there was nothing to close.");
        EXPECT_FALSE(result.everythingStopped());
    }
}

TEST_F(PanicControllerTest, ClosesAnAppThatIsCalledAsWhoCannotBeNamed) {
    const auto odd = appAt("unidentified:12");
    auto hidden = odd;
    hidden.unidentified = true;
    const auto hiddens = session(hidden, Device::camera);
    const auto odds = session(odd, Device::camera);
    const auto result = stopAll({hiddens, odds});
    EXPECT_EQ(result.closed, std::vector{odd});
    EXPECT_EQ(result.unknownOn, std::vector{Device::camera});
    EXPECT_EQ(result.stoppedSessionIDs, std::set{odds.id});
    EXPECT_TRUE(stop(hidden, {hiddens, odds}).closed.empty());
}

TEST_F(PanicControllerTest, LeavesTheSystemsOwnAppsAlone) {
    const auto open = std::vector{
        session(appAt("Siri", "/System/Library/CoreServices/Siri.app"), Device::microphone)};
    const auto result = stopAll(open);
    EXPECT_EQ(log, Log{"mute"});
    EXPECT_TRUE(result.stoppedSessionIDs.empty());
    EXPECT_EQ(result.detail(), "Siri is part of macOS, so Velmoran didn't close it.");
}

TEST_F(PanicControllerTest, ReportsAnAppThatRefuses) {
    closer.refuses = {"Zoom"};
    muter.outcome = {0, {}};
    const auto result = stopAll({session(appAt("Zoom"), Device::camera)});
    EXPECT_EQ(result.headline(), "Nothing could be stopped.");
    EXPECT_EQ(result.detail(),
              "The microphone couldn't be muted. Turn the input volume down in System Settings > "
              "Sound. Zoom didn't close and may still be using the camera or microphone. Quit it "
              "from the Dock, or try again.");
    EXPECT_TRUE(result.stoppedSessionIDs.empty());
    EXPECT_FALSE(result.everythingStopped());
}

TEST_F(PanicControllerTest, NamesAMicrophoneThatCannotBeMutedOnlyBesideOneThatCould) {
    muter.outcome = {1, {"Old Mic"}};
    const auto one = stopAll({});
    EXPECT_EQ(one.microphoneMuted, true);
    EXPECT_EQ(one.detail(),
              "The microphone stays muted until you unmute it in the Microphone row of the panel. "
              "Old Mic can't be muted from this Mac.");
    muter.outcome = {0, {"Old Mic"}};
    const auto none = stopAll({});
    EXPECT_EQ(none.headline(), "No app was using the camera or microphone.");
    EXPECT_EQ(none.detail(), "The microphone couldn't be muted. Turn the input volume down in "
                             "System Settings > Sound.");
}

TEST(StopResultWords, SayWhatGoesOn) {
    StopResult result;
    result.microphoneMuted = true;
    result.stillInUse = {Device::camera, Device::microphone};
    EXPECT_EQ(result.headline(), "Microphone muted.");
    EXPECT_EQ(result.detail(), "The camera is still in use. The microphone is still in use.");
    EXPECT_FALSE(result.everythingStopped());
    result.microphoneMuted.reset();
    EXPECT_EQ(result.headline(), "Nothing could be stopped.");
    result.notClosed = {appAt("Mule")};
    result.unmutableMicrophones = {"Old Mic"};
    result.microphoneMuted = true;
    EXPECT_TRUE(result.detail()->ends_with("or try again. The camera is still in use. The "
                                           "microphone is still in use. Old Mic can't be muted "
                                           "from this Mac."));
}

TEST_F(PanicControllerTest, ListsSeveralClosedApps) {
    const auto result =
        stopAll({session(appAt("A"), Device::camera), session(appAt("B"), Device::camera)});
    EXPECT_EQ(result.headline(), "Microphone muted. A and B were closed.");
}

TEST(PanicControllerProtection, KnowsItselfAndTheSystemsFolders) {
    AppIdentity self = appAt("Velmoran", "/home/me/velmoran");
    self.bundleID = "org.velmoran.Velmoran";
    EXPECT_TRUE(PanicController::isProtected(self, "org.velmoran.Velmoran"));
    EXPECT_FALSE(PanicController::isProtected(self, std::nullopt));
    for (const auto* path :
         {"/System/Library/x", "/usr/bin/x", "/sbin/x", "/bin/x", "/Library/Apple/x"}) {
        EXPECT_TRUE(PanicController::isProtected(appAt("x", path), std::nullopt)) << path;
    }
    for (const auto* path : {"/Applications/x", "/System/x", "/usrx", "/opt/bin/x"}) {
        EXPECT_FALSE(PanicController::isProtected(appAt("x", path), std::nullopt)) << path;
    }
    EXPECT_FALSE(PanicController::isProtected(appAt("x"), std::nullopt));
}

} // namespace
} // namespace velmoran
