// Real servers, real clients that pause their stream: what pauses for a moment is one use.
#include "support/GraphWatcher.h"
#include "tests/integration/ClientPrograms.h"
#include "tests/integration/SharedSound.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>

namespace velmoran::support {
namespace {

using ::testing::ElementsAre;
using ::testing::SizeIs;
using Names = std::vector<std::string>;

/// What the cases do, whosever the session.
template <class Session>
class PauseScene : public Session {
protected:
    using Session::session;

    // Patience beyond the end of any test: an end that is told all the same had none.
    static constexpr Seconds endless = 1000;

    /// How often there was nothing and then something.
    static int begins(GraphWatcher& watcher, Names GraphWatcher::Picture::*kind) {
        int count = 0;
        bool isGoingOn = false;
        for (const auto& picture : watcher.history()) {
            const bool isNow = !(picture.*kind).empty();
            count += isNow && !isGoingOn ? 1 : 0;
            isGoingOn = isNow;
        }
        return count;
    }
    static bool becomesEmpty(GraphWatcher& watcher, Names GraphWatcher::Picture::*kind) {
        return waitUntil([&] { return (watcher.now().*kind).empty(); });
    }
    static std::vector<std::uint32_t> objects(GraphWatcher& watcher) {
        std::vector<std::uint32_t> ids;
        watcher.loop().runAndWait([&] {
            for (const auto& process : watcher.graph().processes()) {
                ids.push_back(process.objectID);
            }
        });
        return ids;
    }
    ::testing::AssertionResult says(ChildProcess& client, const std::string& word) {
        if (waitUntil([&] { return client.output().find(word) != std::string::npos; })) {
            return ::testing::AssertionSuccess();
        }
        return ::testing::AssertionFailure() << session.logs();
    }
    /// What comes after it has come after all that went before: an own player, seen to start.
    void passTime(GraphWatcher& watcher) {
        session.start("mark", {"paplay", "--raw", "/dev/zero"});
        ASSERT_TRUE(waitUntil([&] { return !watcher.now().speaker.empty(); })) << session.logs();
        session.stop("mark");
        ASSERT_TRUE(becomesEmpty(watcher, &GraphWatcher::Picture::speaker));
    }

    ::testing::AssertionResult begin(GraphWatcher& watcher, Names GraphWatcher::Picture::*kind) {
        if (waitUntil([&] { return !(watcher.now().*kind).empty(); })) {
            return ::testing::AssertionSuccess();
        }
        return ::testing::AssertionFailure() << session.logs();
    }
    void pauseAndGoOn(GraphWatcher& watcher, ChildProcess& client) {
        client.signal(SIGUSR1);
        passTime(watcher);
        client.signal(SIGUSR2);
        passTime(watcher);
    }

    static constexpr auto microphone = &GraphWatcher::Picture::microphone;
    static constexpr auto cameras = &GraphWatcher::Picture::cameras;
};

using PipeWirePauses = PauseScene<SharedSound>;
/// Of cases that end a server, or can be skipped.
using PipeWirePausesAlone = PauseScene<OwnSound>;

TEST_F(PipeWirePauses, AreNoneOfAStreamOrAFilterThatGoesOn) {
    GraphWatcher watcher({.pause = endless});
    for (const bool isFilter : {false, true}) {
        watcher.forget();
        Names command{graphClient};
        if (isFilter) {
            command.insert(command.end(), {"--filter", "quiet-filter"});
        }
        auto& client = session.start("client", command);
        if (isFilter) {
            ASSERT_TRUE(waitUntil([&] {
                return session
                    .run({"pw-link", "virtual-microphone:capture_MONO", "quiet-filter:in"})
                    .succeeded();
            }));
        }
        ASSERT_TRUE(begin(watcher, microphone));
        const auto before = objects(watcher);
        EXPECT_THAT(before, SizeIs(1));
        pauseAndGoOn(watcher, client);
        EXPECT_EQ(objects(watcher), before);
        EXPECT_THAT(watcher.now().microphone, ElementsAre("graph-client"));
        client.signal(SIGKILL);
        EXPECT_TRUE(becomesEmpty(watcher, microphone)) << "no patience with what is gone";
        EXPECT_EQ(begins(watcher, microphone), 1);
        session.stop("client");
    }
}

TEST_F(PipeWirePauses, AreNoneOfTheUserOfACamera) {
    session.addCamera();
    GraphWatcher watcher({.pause = endless});
    auto& client = session.start(
        "client", {graphClient, "--camera", "--prop", "target.object=virtual-camera"});
    ASSERT_TRUE(begin(watcher, cameras));
    pauseAndGoOn(watcher, client);
    EXPECT_THAT(watcher.now().cameras, SizeIs(1));
    client.signal(SIGKILL);
    EXPECT_TRUE(becomesEmpty(watcher, cameras));
    EXPECT_EQ(begins(watcher, cameras), 1);
}

TEST_F(PipeWirePausesAlone, AreNoneOfWhatGStreamerDoesWhileItStarts) {
    session.needGStreamer();
    session.addCamera();
    GraphWatcher watcher({.pause = endless});
    const auto use = [&](const std::string& device, const std::string& type,
                         Names GraphWatcher::Picture::*kind) {
        auto& client = session.start("client", {"gst-launch-1.0", "-v", "pipewiresrc",
                                                "target-object=" + device, "!", type, "!",
                                                "fakesink", "silent=false"});
        ASSERT_TRUE(says(client, "chain")); // data flows
        passTime(watcher);
        EXPECT_FALSE((watcher.now().*kind).empty());
        session.stop("client");
        EXPECT_TRUE(becomesEmpty(watcher, kind)) << session.logs();
    };
    for (int turn = 1; turn <= 5; ++turn) {
        use("virtual-microphone", "audio/x-raw", microphone);
        EXPECT_EQ(begins(watcher, microphone), turn);
    }
    use("virtual-camera", "video/x-raw", cameras);
    EXPECT_EQ(begins(watcher, cameras), 1);
}

TEST_F(PipeWirePauses, EndAUseWhenTheyLast) {
    GraphWatcher watcher;
    auto& client = session.start("client", {graphClient});
    ASSERT_TRUE(begin(watcher, microphone));
    client.signal(SIGUSR1);
    EXPECT_TRUE(becomesEmpty(watcher, microphone)) << session.logs();
    EXPECT_EQ(begins(watcher, microphone), 1);
    passTime(watcher);
    EXPECT_THAT(watcher.now().microphone, ElementsAre());
}

TEST_F(PipeWirePauses, EndTheUseOfAPulseClientAtOnce) {
    GraphWatcher watcher({.confirmation = 0.02, .pause = endless});
    auto& client = session.start("client", {pulseClient});
    ASSERT_TRUE(waitUntil([&] { return watcher.hears("pulse-client"); })) << session.logs();
    client.signal(SIGUSR1);
    EXPECT_TRUE(becomesEmpty(watcher, microphone));
    client.signal(SIGUSR2);
    EXPECT_TRUE(waitUntil([&] { return watcher.hears("pulse-client"); })) << session.logs();
}

TEST_F(PipeWirePausesAlone, AreOverWhenTheServerHasGone) {
    GraphWatcher watcher({.absence = 0.3, .settling = 0.3, .pause = endless});
    auto& client = session.start("client", {graphClient});
    ASSERT_TRUE(begin(watcher, microphone));
    client.signal(SIGUSR1);
    passTime(watcher);
    ASSERT_TRUE(watcher.hears("graph-client"));
    session.child("pipewire")->signal(SIGKILL);
    ASSERT_TRUE(waitUntil([&] { return !watcher.connects(); }));
    EXPECT_TRUE(becomesEmpty(watcher, microphone));
}

} // namespace
} // namespace velmoran::support
