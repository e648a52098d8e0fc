// Real servers that pass sound on themselves: who gets a microphone by that is told, and nobody
// else.
#include "support/GraphWatcher.h"
#include "tests/integration/ClientPrograms.h"
#include "tests/integration/SharedSound.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace velmoran::support {
namespace {

using ::testing::Contains;
using ::testing::Not;

class PipeWireRelays : public OwnSound {
protected:
    void load(std::vector<std::string> moduleAndArguments) {
        moduleAndArguments.insert(moduleAndArguments.begin(), {"pactl", "load-module"});
        const auto loaded = session.run(moduleAndArguments);
        ASSERT_TRUE(loaded.succeeded()) << loaded.errors << session.logs();
    }
    void loadSink(const std::string& name) { load({"module-null-sink", "sink_name=" + name}); }
    /// Whose ends say nothing of each other.
    void loadLoopback(const std::string& source, const std::string& sink) {
        load({"module-loopback", "source=" + source, "sink=" + sink, "latency_msec=20",
              "source_output_properties=node.link-group=in-" + sink,
              "sink_input_properties=node.link-group=out-" + sink});
    }
    ::testing::AssertionResult becomes(GraphWatcher& watcher, const std::string& name,
                                       bool hears = true) {
        if (waitUntil([&] { return watcher.hears(name) == hears; })) {
            return ::testing::AssertionSuccess();
        }
        return ::testing::AssertionFailure()
               << "last told: " << ::testing::PrintToString(watcher.now().microphone) << '\n'
               << session.logs();
    }
};

TEST_F(PipeWireRelays, TellsWhoRecordsTheSinkThatALoopbackPlaysAMicrophoneTo) {
    GraphWatcher watcher;
    loadSink("drain");
    session.start("listener", {pulseClient, "from", "drain.monitor"});
    loadLoopback("virtual-microphone", "drain");
    EXPECT_TRUE(becomes(watcher, "pulse-client"));
    EXPECT_TRUE(becomes(watcher, "pipewire"));
    session.stop("listener");
    EXPECT_TRUE(becomes(watcher, "pulse-client", false));
    EXPECT_TRUE(watcher.hears("pipewire")) << "as any loopback";
}

TEST_F(PipeWireRelays, TellNothingOfWhoRecordsMusicBesideThem) {
    GraphWatcher watcher;
    loadSink("music");
    loadSink("front");
    session.start("player", {"paplay", "--raw", "--device=front", "/dev/zero"});
    loadLoopback("front.monitor", "music");
    loadLoopback("virtual-microphone", "virtual-speaker");
    ASSERT_TRUE(becomes(watcher, "pipewire"));
    session.start("listener", {pulseClient, "from", "music.monitor"});
    session.start("mark", {graphClient});
    ASSERT_TRUE(becomes(watcher, "graph-client"));
    ASSERT_TRUE(waitUntil([&] {
        return session.run({"pw-link", "-l"}).output.find("music:monitor") != std::string::npos;
    }));
    session.stop("mark");
    ASSERT_TRUE(becomes(watcher, "graph-client", false));
    EXPECT_THAT(watcher.everHeard(), Not(Contains("pulse-client")));
}

} // namespace
} // namespace velmoran::support
