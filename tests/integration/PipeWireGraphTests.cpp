// Real servers, real recorders: who is told to use the microphone, the speaker and the cameras, and
// under whose name.
#include "support/FolderEntries.h"
#include "support/GraphWatcher.h"
#include "support/Rights.h"
#include "tests/integration/ClientPrograms.h"
#include "tests/integration/SharedSound.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <thread>

#include <unistd.h>

namespace velmoran::support {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsSubsetOf;
using ::testing::UnorderedElementsAre;

const std::string connectionGiver = CLIENT_PROGRAMS "/connection-giver";
const std::string metadataClient = CLIENT_PROGRAMS "/metadata-client";
const std::string unknown = "Unknown app";

std::vector<std::string> pulseRecorder() {
    return {"parecord", "--raw", "--latency-msec=20", "/dev/null"};
}

/// What the cases do, whosever the session.
template <class Session>
class GraphScene : public Session {
protected:
    using Session::session;

    ::testing::AssertionResult becomes(GraphWatcher& watcher, const std::string& name,
                                       bool hears = true) {
        if (waitUntil([&] { return watcher.hears(name) == hears; })) {
            return ::testing::AssertionSuccess();
        }
        return ::testing::AssertionFailure()
               << "last told: " << ::testing::PrintToString(watcher.now().microphone) << '\n'
               << session.logs();
    }
    // What comes after it has come after all that went before: an own recorder, seen to start.
    void passTime(GraphWatcher& watcher) {
        auto& mark = session.start("mark", {graphClient});
        ASSERT_TRUE(becomes(watcher, "graph-client"));
        mark.stop();
        ASSERT_TRUE(becomes(watcher, "graph-client", false));
    }
};

using PipeWireGraphWithServers = GraphScene<SharedSound>;
/// Of cases that change the servers' choices, or can be skipped.
using PipeWireGraphAlone = GraphScene<OwnSound>;

TEST_F(PipeWireGraphAlone, KnowsTheDefaultOutputAlsoWhenTheServerForgetsToTell) {
    GraphWatcher watcher;
    std::mutex mutex;
    std::vector<std::string> defaults;
    Subscription following;
    watcher.loop().runAndWait([&] {
        following = watcher.graph().onDefaultOutput([&](const std::string& name) {
            const std::lock_guard lock(mutex);
            defaults.push_back(name);
        });
    });
    const auto isDefault = [&](const std::string& name) {
        return waitUntil([&] {
            const std::lock_guard lock(mutex);
            return !defaults.empty() && defaults.back() == name;
        });
    };
    ASSERT_TRUE(isDefault("virtual-speaker")) << session.logs();
    for (const char* name : {"one", "other", "third"}) {
        const auto chosen = session.run({metadataClient, name});
        ASSERT_TRUE(chosen.succeeded()) << chosen.errors;
        EXPECT_TRUE(isDefault(name)) << session.logs();
    }
    ASSERT_TRUE(session.run({"pw-metadata", "-d", "0", "default.audio.sink"}).succeeded());
    EXPECT_TRUE(isDefault("")) << session.logs();
    watcher.loop().runAndWait([&] { following.reset(); });
}

TEST_F(PipeWireGraphWithServers, NamesANativeAndAPulseRecorderByTheirExecutables) {
    GraphWatcher watcher;
    EXPECT_TRUE(watcher.connects());
    EXPECT_THAT(watcher.now().microphone, IsEmpty());
    auto& native = session.start("native", {"pw-record", session.file("a.wav")});
    EXPECT_TRUE(becomes(watcher, "pw-cat"));
    auto& pulse = session.start("pulse recorder", pulseRecorder());
    EXPECT_TRUE(becomes(watcher, "pacat"));
    native.stop();
    pulse.stop();
    EXPECT_TRUE(becomes(watcher, "pw-cat", false));
    EXPECT_TRUE(becomes(watcher, "pacat", false));
    EXPECT_THAT(watcher.everHeard(), UnorderedElementsAre("pw-cat", "pacat"));
}

TEST_F(PipeWireGraphWithServers, FindsAtItsStartWhatIsGoingOn) {
    {
        GraphWatcher first;
        session.start("native", {"pw-record", session.file("a.wav")});
        session.start("pulse recorder", pulseRecorder());
        ASSERT_TRUE(becomes(first, "pw-cat"));
        ASSERT_TRUE(becomes(first, "pacat"));
    }
    GraphWatcher watcher;
    EXPECT_THAT(watcher.history().front().microphone, UnorderedElementsAre("pw-cat", "pacat"));
}

TEST_F(PipeWireGraphWithServers, TellsThePlayerOfASound) {
    GraphWatcher watcher;
    auto& player = session.start("player", {"paplay", "--raw", "/dev/zero"});
    EXPECT_TRUE(waitUntil([&] {
        return watcher.now().speaker == std::vector<std::string>{"pacat"};
    })) << session.logs();
    player.stop();
    EXPECT_TRUE(waitUntil([&] { return watcher.now().speaker.empty(); }));
    EXPECT_THAT(watcher.everHeard(), IsEmpty());
}

TEST_F(PipeWireGraphWithServers, TellsNothingOfAStreamThatIsCorked) {
    // The server runs such a stream for a moment first; how long is up to the machine.
    PipeWireTimes times;
    times.confirmation = 0.5;
    GraphWatcher watcher(times);
    auto& recorder = session.start("pulse recorder", {pulseClient, "corked"});
    ASSERT_TRUE(waitUntil([&] {
        return session.run({"pactl", "list", "source-outputs"}).output.find("Corked: yes") !=
               std::string::npos;
    }));
    passTime(watcher);
    EXPECT_FALSE(watcher.everHeard().contains("pulse-client"));
    recorder.signal(SIGUSR2);
    EXPECT_TRUE(becomes(watcher, "pulse-client"));
    recorder.signal(SIGUSR1);
    EXPECT_TRUE(becomes(watcher, "pulse-client", false));
    watcher.forget();
    passTime(watcher);
    EXPECT_FALSE(watcher.everHeard().contains("pulse-client"));
    recorder.signal(SIGUSR2);
    EXPECT_TRUE(becomes(watcher, "pulse-client"));
}

TEST_F(PipeWireGraphWithServers, TellsNothingOfTheMonitorOfASink) {
    GraphWatcher watcher;
    session.start("listener", {"parecord", "--raw", "--latency-msec=20",
                               "--device=virtual-speaker.monitor", "/dev/null"});
    ASSERT_TRUE(
        waitUntil([&] { return session.graph().find("\"parecord\"") != std::string::npos; }));
    passTime(watcher);
    EXPECT_THAT(watcher.everHeard(), ElementsAre("graph-client"));
    EXPECT_THAT(watcher.everPlayed(), IsEmpty());
}

TEST_F(PipeWireGraphWithServers, IsNotDeceivedByAFalseProcessId) {
    GraphWatcher watcher;
    session.environment()["PULSE_PROP"] =
        "application.process.id=1 application.process.binary=firefox application.name=Firefox "
        "application.id=org.mozilla.firefox client.api=x";
    session.start("pulse liar", pulseRecorder());
    EXPECT_TRUE(becomes(watcher, "pacat"));
    session.start("native liar", {graphClient, "--prop", "application.process.id=1", "--prop",
                                  "pipewire.sec.pid=1", "--prop", "application.name=Firefox",
                                  "--prop", "application.id=org.mozilla.firefox"});
    EXPECT_TRUE(becomes(watcher, "graph-client"));
    EXPECT_THAT(watcher.everHeard(), UnorderedElementsAre("pacat", "graph-client"));
}

TEST_F(PipeWireGraphWithServers, IsNotDeceivedByTheProcessIdOfAnotherClient) {
    GraphWatcher watcher;
    auto& honest = session.start("honest", {"pactl", "subscribe"});
    ASSERT_TRUE(waitUntil([&] {
        return session.graph().find("\"application.process.binary\": \"pactl\"") !=
               std::string::npos;
    }));
    session.environment()["PULSE_PROP"] = "application.process.id=" + std::to_string(honest.pid());
    session.start("first liar", pulseRecorder());
    EXPECT_TRUE(becomes(watcher, "pacat"));
    session.start("second liar", pulseRecorder());
    EXPECT_TRUE(waitUntil([&] { return watcher.now().microphone.size() == 2; }));
    EXPECT_THAT(watcher.everHeard(), ElementsAre("pacat"));
}

TEST_F(PipeWireGraphWithServers, NamesNoLiarFalselyThatWasThereBefore) {
    auto& honest = session.start("honest", {"pactl", "subscribe"});
    ASSERT_TRUE(waitUntil([&] {
        return session.graph().find("\"application.process.binary\": \"pactl\"") !=
               std::string::npos;
    }));
    {
        GraphWatcher first;
        session.environment()["PULSE_PROP"] =
            "application.process.id=" + std::to_string(honest.pid());
        session.start("first liar", pulseRecorder());
        ASSERT_TRUE(becomes(first, "pacat"));
        session.start("second liar", pulseRecorder());
        ASSERT_TRUE(waitUntil([&] { return first.now().microphone.size() == 2; }));
    }
    GraphWatcher watcher;
    EXPECT_EQ(watcher.now().microphone.size(), 2U);
    for (const auto& name : watcher.everHeard()) {
        EXPECT_TRUE(name == "pacat" || name == unknown) << name;
    }
}

TEST_F(PipeWireGraphWithServers, TellsAFilterWithoutAClassThatIsLinkedByHand) {
    GraphWatcher watcher;
    session.start("filter", {graphClient, "--filter", "quiet-filter"});
    ASSERT_TRUE(waitUntil([&] {
        return session.run({"pw-link", "virtual-microphone:capture_MONO", "quiet-filter:in"})
            .succeeded();
    })) << session.run({"pw-link", "-o"}).output;
    EXPECT_TRUE(becomes(watcher, "graph-client"));
    ASSERT_TRUE(session.run({"pw-link", "-d", "virtual-microphone:capture_MONO", "quiet-filter:in"})
                    .succeeded());
    EXPECT_TRUE(becomes(watcher, "graph-client", false));
}

TEST_F(PipeWireGraphWithServers, TellsWhoeverTapsAnotherAppsStream) {
    GraphWatcher watcher;
    session.start("native", {"pw-record", "--channels", "1", session.file("a.wav")});
    ASSERT_TRUE(becomes(watcher, "pw-cat"));
    session.start("tap", {graphClient, "--filter", "tap"});
    ASSERT_TRUE(waitUntil([&] {
        return session.run({"pw-link", "pw-record:monitor_MONO", "tap:in"}).succeeded();
    })) << session.run({"pw-link", "-o"}).output;
    EXPECT_TRUE(becomes(watcher, "graph-client"));
    session.stop("native");
    EXPECT_TRUE(becomes(watcher, "graph-client", false));
}

TEST_F(PipeWireGraphWithServers, TellsWhoeverListensToALoopback) {
    GraphWatcher watcher;
    session.start("loopback",
                  {"pw-loopback", "--capture-props",
                   "{ node.target=virtual-microphone node.name=loop-in }", "--playback-props",
                   "{ media.class=Audio/Source node.name=loop-source }"});
    ASSERT_TRUE(
        waitUntil([&] { return session.graph().find("\"loop-source\"") != std::string::npos; }));
    session.start("listener",
                  {"parecord", "--raw", "--latency-msec=20", "--device=loop-source", "/dev/null"});
    EXPECT_TRUE(becomes(watcher, "pacat"));
}

TEST_F(PipeWireGraphWithServers, NamesNoGiverOfAConnectionThatAnotherUses) {
    for (const char* how : {"close", "keep"}) {
        GraphWatcher watcher;
        session.start("giver", {connectionGiver, how, graphClient, "--fd"});
        ASSERT_TRUE(waitUntil([&] { return !watcher.now().microphone.empty(); })) << session.logs();
        // Where both hold it nobody can say who reads.
        const auto expected = std::string(how) == "close" ? "graph-client" : unknown;
        EXPECT_THAT(watcher.everHeard(), ElementsAre(expected)) << how;
        session.stop("giver");
        ASSERT_TRUE(waitUntil([&] { return watcher.now().microphone.empty(); }));
    }
}

TEST_F(PipeWireGraphWithServers, NamesNoGiverThatWasThereBefore) {
    for (const char* how : {"close", "keep"}) {
        {
            GraphWatcher first;
            session.start("giver", {connectionGiver, how, graphClient, "--fd"});
            ASSERT_TRUE(waitUntil([&] { return !first.now().microphone.empty(); }));
        }
        GraphWatcher watcher;
        const auto expected = std::string(how) == "close" ? "graph-client" : unknown;
        EXPECT_THAT(watcher.everHeard(), ElementsAre(expected)) << how;
        session.stop("giver");
        ASSERT_TRUE(waitUntil([&] { return watcher.now().microphone.empty(); }));
    }
}

TEST_F(PipeWireGraphWithServers, NamesARecorderThatLivesForMoments) {
    GraphWatcher watcher;
    // Killed as soon as it is told, and without waiting for that.
    for (const auto& command :
         {std::vector<std::string>{"pw-record", session.file("a.wav")}, pulseRecorder()}) {
        const std::string name = command.front() == "pw-record" ? "pw-cat" : "pacat";
        auto& recorder = session.start("short", command);
        ASSERT_TRUE(becomes(watcher, name));
        recorder.signal(SIGKILL);
        ASSERT_TRUE(becomes(watcher, name, false));
        auto& shorter = session.start("shorter", command);
        std::this_thread::sleep_for(std::chrono::milliseconds(40)); // the life that is tested
        shorter.signal(SIGKILL);
        passTime(watcher);
        session.stop("short");
        session.stop("shorter");
    }
    // On a busy machine the short ones can be gone before anybody could look at them.
    EXPECT_THAT(watcher.everHeard(),
                IsSubsetOf(std::vector<std::string>{"pw-cat", "pacat", "graph-client", unknown}));
}

TEST_F(PipeWireGraphWithServers, TellsAPulseRecorderThatIsGoneBeforeItCounts) {
    PipeWireTimes times;
    times.confirmation = 5;
    times.brief = 1; // how long its end takes is up to the machine
    GraphWatcher watcher(times);
    // On a busy machine its begin and its end can be heard of in one.
    EXPECT_TRUE(waitUntil([&] {
        session.run({pulseClient, "brief"});
        return watcher.everHeard().contains("pulse-client");
    }));
    EXPECT_TRUE(becomes(watcher, "pulse-client", false));
    // Or it is gone before anybody could look at it.
    EXPECT_THAT(watcher.everHeard(), IsSubsetOf(std::vector<std::string>{"pulse-client", unknown}));
}

TEST_F(PipeWireGraphWithServers, CannotNameAProcessThatForbidsToBeLookedAt) {
    GraphWatcher watcher;
    // As root that thread may look at everything; a person's own program may not.
    watcher.loop().runAndWait([] { ASSERT_TRUE(giveUpRights()); });
    session.start("hidden", withoutRights({graphClient, "--hide"}));
    EXPECT_TRUE(becomes(watcher, unknown));
    EXPECT_THAT(watcher.everHeard(), ElementsAre(unknown));
    session.start("native", withoutRights({"pw-record", session.file("a.wav")}));
    EXPECT_TRUE(becomes(watcher, "pw-cat"));
}

// A new sound server with all that belongs to it, as a restart of the session's services gives.
class PipeWireGraphWithRestarts : public GraphScene<OwnSound> {
protected:
    void stopServers(std::vector<std::string> first) {
        first.insert(first.end(),
                     {"pipewire", "wireplumber", "pulse", "virtual-microphone", "bus"});
        for (const auto& name : first) {
            session.stop(name);
        }
    }
    void startServers() {
        session.startSound();
        session.addMicrophone();
    }

    void restartUnderARecorder(const std::vector<std::string>& first) {
        GraphWatcher watcher({.absence = 20, .settling = 20});
        session.start("survivor", {graphClient, "--reconnect"});
        ASSERT_TRUE(becomes(watcher, "graph-client"));
        const auto numbers = [&] {
            std::vector<std::uint32_t> found;
            watcher.loop().runAndWait([&] {
                for (const auto& process : watcher.graph().processes()) {
                    found.push_back(process.objectID);
                }
            });
            return found;
        };
        const auto before = numbers();
        watcher.forget();
        stopServers(first);
        ASSERT_TRUE(waitUntil([&] { return !watcher.connects(); }));
        EXPECT_TRUE(watcher.hears("graph-client")) << "it stays on the record";
        startServers();
        ASSERT_TRUE(waitUntil([&] { return watcher.connects(); }));
        // What is told now is what the new server tells: a client of its own, and nobody beside it.
        ASSERT_TRUE(waitUntil([&] {
            const auto now = numbers();
            return now.size() == 1 && now != before;
        })) << session.logs();
        for (const auto& picture : watcher.history()) {
            EXPECT_THAT(picture.microphone, ElementsAre("graph-client"));
        }
        session.stop("survivor");
        EXPECT_TRUE(becomes(watcher, "graph-client", false));
        session.start("native", {"pw-record", session.file("a.wav")});
        EXPECT_TRUE(becomes(watcher, "pw-cat"));
    }
};

TEST_F(PipeWireGraphWithRestarts, TellsNothingNewOfARecorderThatComesBackByItself) {
    restartUnderARecorder({});
}

TEST_F(PipeWireGraphWithRestarts, TellsNothingNewWhenTheSessionManagerGoesFirst) {
    restartUnderARecorder({"wireplumber", "pulse"});
}

TEST_F(PipeWireGraphWithRestarts, EndsTheUseOfARecorderThatDiesWithTheServer) {
    GraphWatcher watcher({.absence = 1000, .settling = 1000});
    session.start("native", {"pw-record", session.file("a.wav")});
    ASSERT_TRUE(becomes(watcher, "pw-cat"));
    session.child("pipewire")->signal(SIGKILL);
    ASSERT_TRUE(waitUntil([&] { return !watcher.connects(); }));
    session.child("native")->signal(SIGKILL);
    EXPECT_TRUE(becomes(watcher, "pw-cat", false));
}

TEST_F(PipeWireGraphWithRestarts, EndsWhatDoesNotComeBackInTime) {
    GraphWatcher watcher({.absence = 0.3, .settling = 0.3});
    // It lives on, but gives up its stream.
    session.start("native",
                  {"sh", "-c", "pw-record \"$1\"; exec sleep 1000", "sh", session.file("a.wav")});
    ASSERT_TRUE(becomes(watcher, "pw-cat"));
    session.start("survivor", {graphClient, "--reconnect"});
    ASSERT_TRUE(becomes(watcher, "graph-client"));
    stopServers({});
    EXPECT_TRUE(waitUntil([&] { return watcher.now().microphone.empty(); }));
    startServers();
    EXPECT_TRUE(becomes(watcher, "graph-client"));
}

TEST_F(PipeWireGraphWithRestarts, KeepsUsesUntilANewSessionManagerHasSettled) {
    GraphWatcher watcher({.absence = 20, .settling = 0.2});
    session.start("native", {"pw-record", session.file("a.wav")});
    session.start("pulse recorder", {pulseClient});
    ASSERT_TRUE(becomes(watcher, "pw-cat"));
    ASSERT_TRUE(becomes(watcher, "pulse-client"));
    watcher.forget();
    session.stop("wireplumber"); // and with it the links that it has made
    ASSERT_TRUE(waitUntil([&] {
        return session.run({"pw-link", "-l"}).output.find("virtual-microphone") ==
               std::string::npos;
    }));
    for (const auto& picture : watcher.history()) {
        EXPECT_THAT(picture.microphone, UnorderedElementsAre("pw-cat", "pulse-client"));
    }
    // WirePlumber 0.4 links no stream that was there before it, so they record no more.
    session.startWirePlumber();
    const auto isLinkedAgain = [&] {
        return session.run({"pw-link", "-l"}).output.find("virtual-microphone") !=
               std::string::npos;
    };
    EXPECT_TRUE(waitUntil([&] { return watcher.now().microphone.empty() || isLinkedAgain(); }));
}

TEST_F(PipeWireGraphWithRestarts, FindsAServerThatWasNotThereAtFirst) {
    stopServers({});
    std::filesystem::remove(session.runtimeFolder() / "pipewire-0");
    GraphWatcher watcher;
    EXPECT_FALSE(watcher.connects());
    startServers();
    EXPECT_TRUE(waitUntil([&] { return watcher.connects(); }));
    session.start("native", {"pw-record", session.file("a.wav")});
    EXPECT_TRUE(becomes(watcher, "pw-cat"));
}

TEST_F(PipeWireGraphWithServers, LeavesNothingBehindAfterHundredsOfClients) {
    { const GraphWatcher first; } // what a process starts once and for all
    const auto before = entriesIn("/proc/self/fd");
    const auto threadsBefore = entriesIn("/proc/self/task");
    {
        GraphWatcher watcher;
        std::size_t descriptors = 0;
        std::size_t threads = 0;
        for (int turn = 0; turn < 200; ++turn) {
            auto& recorder = session.start("recorder", {graphClient});
            ASSERT_TRUE(becomes(watcher, "graph-client"));
            recorder.signal(SIGKILL);
            ASSERT_TRUE(becomes(watcher, "graph-client", false));
            session.stop("recorder");
            if (turn == 10) {
                descriptors = entriesIn("/proc/self/fd");
                threads = entriesIn("/proc/self/task");
            }
        }
        EXPECT_EQ(entriesIn("/proc/self/fd"), descriptors);
        EXPECT_EQ(entriesIn("/proc/self/task"), threads);
        std::size_t pins = 0;
        watcher.loop().runAndWait([&] { pins = watcher.naming().pinned.size(); });
        EXPECT_EQ(pins, 0U);
    }
    EXPECT_EQ(entriesIn("/proc/self/fd"), before);
    EXPECT_EQ(entriesIn("/proc/self/task"), threadsBefore);
}

TEST_F(PipeWireGraphAlone, TellsWhoSeesACamera) {
    session.needGStreamer();
    session.addCamera();
    GraphWatcher watcher;
    ASSERT_TRUE(waitUntil([&] {
        std::vector<CameraUse> cameras;
        watcher.loop().runAndWait([&] { cameras = watcher.graph().cameras(); });
        return cameras.size() == 1 && cameras[0].device.name == "Virtual Camera" &&
               !cameras[0].device.isRunningSomewhere;
    }));
    auto& viewer = session.start("viewer", {"gst-launch-1.0", "-q", "pipewiresrc",
                                            "target-object=virtual-camera", "!", "video/x-raw", "!",
                                            "fakesink"});
    const auto program = ProcFs().executable(viewer.pid());
    ASSERT_TRUE(waitUntil([&] { return watcher.now().cameras.size() == 1; })) << session.logs();
    EXPECT_THAT(std::filesystem::path(watcher.now().cameras[0]).filename().string(),
                ::testing::StartsWith("gst-launch"));
    viewer.stop();
    EXPECT_TRUE(waitUntil([&] { return watcher.now().cameras.empty(); }));
}

} // namespace
} // namespace velmoran::support
