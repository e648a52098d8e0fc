// The whole road with real programs: a client begins to use a device, and the running program says
// who it was, shows it in its icon, and keeps it in the history with its end.
#include "integration/RunningModel.h"
#include "support/Rights.h"
#include "support/ShownName.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <string>
#include <unistd.h>
#include <vector>

namespace velmoran {
namespace {

class Road : public RunningModel {
protected:
    Road() { session_.addMicrophone(); }

    /// One use from its start to its end, with everything that has to be told of it.
    void checkUse(const std::vector<std::string>& command, const std::string& appName,
                  Device device, const std::string& title) {
        start();
        ASSERT_EQ(model_->statusIconState(), StatusIconState::idle);
        session_.start("client", command);
        ASSERT_TRUE(becomes([&] { return card(title) != nullptr; })) << report();
        EXPECT_EQ(model_->statusIconState(), StatusIconState::inUse);
        std::vector<std::string> buttons;
        for (const auto& button : card(title)->buttons) {
            buttons.push_back(button.title);
        }
        EXPECT_EQ(buttons, (std::vector<std::string>{"Stop", "Trust this app"}));
        ASSERT_EQ(model_->openSessions.get().size(), 1U) << report();
        auto rows = stored();
        ASSERT_EQ(rows.size(), 1U);
        EXPECT_EQ(rows[0].app.name, appName);
        EXPECT_EQ(rows[0].device, device);
        EXPECT_EQ(rows[0].warningLevel, WarningLevel::standard);
        EXPECT_FALSE(rows[0].end.has_value());

        session_.stop("client");
        ASSERT_TRUE(becomes([&] { return model_->openSessions.get().empty(); })) << report();
        EXPECT_EQ(model_->statusIconState(), StatusIconState::idle);
        rows = stored();
        ASSERT_EQ(rows.size(), 1U);
        EXPECT_EQ(rows[0].outcome, SessionOutcome::endedNormally);
        ASSERT_TRUE(rows[0].end.has_value());
        EXPECT_GT(*rows[0].end, rows[0].start);

        // Trusted, the same program is quiet the next time, and stands in the history all the same.
        ASSERT_TRUE(press(title, "Trust this app"));
        ASSERT_EQ(card(title), nullptr);
        session_.start("client", command);
        ASSERT_TRUE(becomes([&] { return stored().size() == 2; })) << report();
        EXPECT_EQ(stored()[0].warningLevel, WarningLevel::quiet);
        EXPECT_EQ(card(title), nullptr);
        EXPECT_EQ(model_->statusIconState(), StatusIconState::inUse);
        session_.stop("client");
        ASSERT_TRUE(becomes([&] { return model_->openSessions.get().empty(); })) << report();
        EXPECT_TRUE(model_->notices.items().empty());
        quit();
    }
};

TEST_F(Road, TellsOfANativeRecorder) {
    checkUse({"pw-record", session_.file("native.wav")}, "pw-record", Device::microphone,
             "pw-record turned on the microphone");
}

TEST_F(Road, TellsOfAPulseRecorder) {
    checkUse({"parecord", "--raw", session_.file("pulse.raw")}, "parecord", Device::microphone,
             "parecord turned on the microphone");
}

TEST_F(Road, TellsOfACameraOfTheSoundServer) {
    session_.needGStreamer();
    session_.addCamera();
    checkUse({"gst-launch-1.0", "-q", "pipewiresrc", "target-object=virtual-camera", "!",
              "video/x-raw", "!", "fakesink"},
             "gst-launch-1.0", Device::camera, "gst-launch-1.0 turned on the camera");
}

TEST_F(Road, TellsOfACameraThatIsOpenedDirectly) {
    const auto name = support::shownName(HOLD_NODE);
    checkUse({HOLD_NODE, addNode()}, name, Device::camera, name + " turned on the camera");
}

TEST_F(Road, TellsOfAHiddenUserOfACameraBesideANamedOneUnderNobodysName) {
    const std::string unknownCard = "Unknown app turned on the camera";
    const auto name = support::shownName(HOLD_NODE);
    const auto namedCard = name + " turned on the camera";
    const auto node = addNode();
    const auto hidden = support::withoutRights({HOLD_NODE, "--hide", node});
    const auto named = support::withoutRights({HOLD_NODE, node});
    using Names = std::vector<std::string>;
    const auto openApps = [&] {
        Names names;
        for (const auto& session : model_->openSessions.get()) {
            names.push_back(session.app.name);
        }
        return names;
    };
    const support::RightsLaidDown person;
    ASSERT_TRUE(person.isDone());
    start();

    session_.start("hidden", hidden);
    ASSERT_TRUE(becomes([&] { return card(unknownCard) != nullptr; })) << report();
    EXPECT_TRUE(card(unknownCard)->isStrong);
    session_.start("named", named);
    ASSERT_TRUE(becomes([&] { return card(namedCard) != nullptr; })) << report();
    ASSERT_NE(card(unknownCard), nullptr) << report();
    EXPECT_EQ(openApps(), (Names{"Unknown app", name}));
    session_.stop("hidden");
    ASSERT_TRUE(becomes([&] { return openApps() == Names{name}; })) << report();

    // The other way round, and beside a trusted one.
    ASSERT_TRUE(press(namedCard, "Trust this app"));
    ASSERT_EQ(card(namedCard), nullptr);
    model_->notices.dismiss(card(unknownCard)->id);
    ASSERT_EQ(card(unknownCard), nullptr);
    session_.start("hidden", hidden);
    ASSERT_TRUE(becomes([&] { return card(unknownCard) != nullptr; })) << report();
    EXPECT_EQ(openApps(), (Names{name, "Unknown app"}));
    session_.stop("named");
    ASSERT_TRUE(becomes([&] { return openApps() == Names{"Unknown app"}; })) << report();
    session_.start("named", named);
    ASSERT_TRUE(becomes([&] { return openApps() == Names{"Unknown app", name}; })) << report();
    EXPECT_NE(card(unknownCard), nullptr) << report();
    EXPECT_EQ(card(namedCard), nullptr) << report();
    EXPECT_EQ(model_->statusIconState(), StatusIconState::alert);
    // One after the other: the kernel tells two closes as one that nobody has read between.
    session_.stop("hidden");
    ASSERT_TRUE(becomes([&] { return openApps() == Names{name}; })) << report();
    session_.stop("named");
    ASSERT_TRUE(becomes([&] { return model_->openSessions.get().empty(); })) << report();

    auto rows = stored();
    std::sort(rows.begin(), rows.end(),
              [](const auto& one, const auto& other) { return one.start < other.start; });
    Names names;
    for (const auto& row : rows) {
        names.push_back(row.app.name);
        EXPECT_EQ(row.outcome, SessionOutcome::endedNormally);
    }
    EXPECT_EQ(names, (Names{"Unknown app", name, "Unknown app", name}));
    quit();
}

TEST_F(Road, FindsAServerAgainThatCameBackAndTellsNothingTwice) {
    const auto node = addNode();
    start();
    session_.start("camera", {HOLD_NODE, node});
    session_.start("before", {"pw-record", session_.file("before.wav")});
    ASSERT_TRUE(becomes([&] { return model_->openSessions.get().size() == 2; })) << report();

    for (const char* part : {"before", "virtual-microphone", "pulse", "wireplumber", "pipewire"}) {
        session_.stop(part);
    }
    ASSERT_TRUE(becomes([&] { return model_->openSessions.get().size() == 1; })) << report();
    session_.startPipeWire();
    session_.startWirePlumber();
    session_.startPulse();
    session_.addMicrophone();
    session_.start("after", {"parecord", "--raw", session_.file("after.raw")});
    EXPECT_TRUE(becomes([&] { return card("parecord turned on the microphone") != nullptr; }))
        << report();
    // The camera was on all along: one row, still open.
    int cameras = 0;
    for (const auto& row : stored()) {
        cameras += row.device == Device::camera ? 1 : 0;
    }
    EXPECT_EQ(cameras, 1);
    EXPECT_EQ(model_->sessions(Device::camera).size(), 1U);
    quit();
}

// What the process holds, so that a client that comes and goes can be seen to leave nothing.
std::set<std::string> entries(const char* folder) {
    std::set<std::string> result;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        result.insert(entry.path().filename());
    }
    return result;
}

std::string childrenFile() {
    return "/proc/self/task/" + std::to_string(getpid()) + "/children";
}

TEST_F(Road, LeavesNoDescriptorNoThreadAndNoProcessBehindAClient) {
    start();
    const auto use = [&] {
        const auto before = model_->historySessions.get().size();
        session_.start("client", {"parecord", "--raw", "/dev/null"});
        ASSERT_TRUE(becomes([&] { return model_->historySessions.get().size() > before; }))
            << report();
        session_.stop("client");
        ASSERT_TRUE(becomes([&] { return model_->openSessions.get().empty(); })) << report();
    };
    // The first use makes what is kept for all others.
    use();
    const auto descriptors = entries("/proc/self/fd").size();
    const auto threads = entries("/proc/self/task").size();
    const auto children = support::readFile(childrenFile());
    const char* wish = getenv("VELMORAN_ROAD_CLIENTS"); // NOLINT(concurrency-mt-unsafe)
    const int clients = wish ? std::atoi(wish) : 40;    // NOLINT(cert-err34-c)
    ASSERT_GT(clients, 0);
    for (int i = 0; i < clients && !HasFatalFailure(); ++i) {
        use();
    }
    // What is closed late, as a pidfd of a process that has just ended, closes in the end.
    EXPECT_TRUE(becomes([&] { return entries("/proc/self/fd").size() <= descriptors; }))
        << entries("/proc/self/fd").size() << " descriptors, were " << descriptors;
    EXPECT_TRUE(becomes([&] { return entries("/proc/self/task").size() <= threads; }))
        << entries("/proc/self/task").size() << " threads, were " << threads;
    EXPECT_EQ(support::readFile(childrenFile()), children) << "ids of child processes";
    quit();
}

} // namespace
} // namespace velmoran
