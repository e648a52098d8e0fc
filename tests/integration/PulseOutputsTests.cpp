// Outputs of a real sound server: null sinks that say of themselves what real cards say.
#include "support/FolderEntries.h"
#include "support/GraphWatcher.h"
#include "support/NullSinks.h"
#include "support/PrivateSession.h"
#include "support/Waiting.h"
#include "system/linux/kernel/EventLoop.h"
#include "system/linux/pulse/PulseOutputs.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <iterator>

namespace velmoran {
namespace {

using support::PrivateSession;
using support::waitUntil;
using Kind = OutputDeviceInfo::Kind;

class PulseOutputsTest : public ::testing::Test {
protected:
    std::string address() const {
        return "unix:" + (session_.runtimeFolder() / "pulse/native").string();
    }
    void run(const std::vector<std::string>& arguments) {
        const auto finished = session_.run(arguments);
        EXPECT_TRUE(finished.succeeded()) << finished.errors;
    }
    void choose(const std::string& name) { run({"pactl", "set-default-sink", name}); }
    /// With the session manager's word for it, as PipeWire's server can forget to tell of a choice.
    void choose(PulseOutputs& outputs, const std::string& name) {
        choose(name);
        outputs.preferDefault(name);
    }
    /// Waits until the current output has that name.
    ::testing::AssertionResult becomes(PulseOutputs& outputs, const std::string& name) {
        const auto isIt = [&] {
            const auto current = outputs.current();
            return current && current->name == name;
        };
        if (waitUntil(isIt)) {
            return ::testing::AssertionSuccess();
        }
        const auto current = outputs.current();
        return ::testing::AssertionFailure()
               << "the output is " << (current ? current->name : "none") << ", the server says "
               << session_.run({"pactl", "get-default-sink"}).output
               << session_.run({"pactl", "list", "short", "sinks"}).output;
    }

    PrivateSession session_;
    support::NullSinks sinks_{session_};
    EventLoop loop_;
};

TEST_F(PulseOutputsTest, TellTheDefaultOutputAndFollowIt) {
    session_.startPulseAudio();
    PulseContext pulse(address());
    PulseOutputs outputs(pulse, loop_);
    std::atomic<int> changes = 0;
    loop_.runAndWait([&] { outputs.onChange([&] { ++changes; }); });
    ASSERT_TRUE(waitUntil([&] { return outputs.current().has_value(); }));
    const auto first = outputs.current()->objectID;
    EXPECT_TRUE(outputs.exists(first));
    EXPECT_FALSE(outputs.exists(first + 1000));

    sinks_.add("speakers", "Laptop Speakers", "device.bus=pci device.form_factor=internal");
    choose("speakers");
    ASSERT_TRUE(becomes(outputs, "Laptop Speakers"));
    EXPECT_EQ(outputs.current()->kind, Kind::builtInSpeakers);
    const auto speakers = outputs.current()->objectID;
    EXPECT_NE(speakers, first);
    EXPECT_TRUE(outputs.exists(first));

    sinks_.add("buds", "Loudspeaker by Bluetooth", "device.bus=bluetooth");
    choose("buds");
    ASSERT_TRUE(becomes(outputs, "Loudspeaker by Bluetooth"));
    EXPECT_EQ(outputs.current()->kind, Kind::headphones);

    sinks_.add("usb", "USB Headphones", "device.bus=usb");
    choose("usb");
    ASSERT_TRUE(becomes(outputs, "USB Headphones"));
    EXPECT_EQ(outputs.current()->kind, Kind::other);

    sinks_.add("jack", "Built-in Headphones", "device.bus=pci");
    choose("jack");
    ASSERT_TRUE(becomes(outputs, "Built-in Headphones"));
    EXPECT_EQ(outputs.current()->kind, Kind::headphones);

    choose("speakers");
    ASSERT_TRUE(becomes(outputs, "Laptop Speakers"));
    EXPECT_EQ(outputs.current()->objectID, speakers);
    EXPECT_GE(changes, 5);
}

TEST_F(PulseOutputsTest, TellVolumeAndMute) {
    session_.startSound();
    session_.enter();
    const support::GraphWatcher graph;
    PulseContext pulse(address());
    PulseOutputs outputs(pulse, loop_);
    sinks_.add("speakers", "Laptop Speakers", "device.bus=pci");
    choose(outputs, "speakers");
    ASSERT_TRUE(becomes(outputs, "Laptop Speakers"));
    run({"pactl", "set-sink-volume", "speakers", "50%"});
    EXPECT_TRUE(waitUntil([&] {
        return std::abs(outputs.current()->volume.value_or(0) - 0.5F) < 0.001F;
    })) << outputs.current()->volume.value_or(-1);
    run({"pactl", "set-sink-volume", "speakers", "140%"});
    EXPECT_TRUE(waitUntil([&] { return outputs.current()->volume == 1.0F; }));
    run({"pactl", "set-sink-mute", "speakers", "1"});
    EXPECT_TRUE(waitUntil([&] { return outputs.current()->isMuted; }));
    run({"pactl", "set-sink-mute", "speakers", "0"});
    EXPECT_TRUE(waitUntil([&] { return !outputs.current()->isMuted; }));
}

TEST_F(PulseOutputsTest, AreMutedAndUnmutedForReal) {
    session_.startSound();
    session_.enter();
    const support::GraphWatcher graph;
    PulseContext pulse(address());
    PulseOutputs outputs(pulse, loop_);
    sinks_.add("speakers", "Laptop Speakers", "device.bus=pci");
    choose(outputs, "speakers");
    ASSERT_TRUE(becomes(outputs, "Laptop Speakers"));
    const auto id = outputs.current()->objectID;
    ASSERT_TRUE(outputs.setMuted(true, id));
    EXPECT_EQ(session_.run({"pactl", "get-sink-mute", "speakers"}).output, "Mute: yes\n");
    EXPECT_TRUE(waitUntil([&] { return outputs.current()->isMuted; }));
    ASSERT_TRUE(outputs.setMuted(false, id));
    EXPECT_EQ(session_.run({"pactl", "get-sink-mute", "speakers"}).output, "Mute: no\n");
}

// The session manager can be the first to know that an output is lost: it must not look for an
// instant as if that output had been left for another one.
TEST_F(PulseOutputsTest, AreNotLeftBeforeTheyAreKnownToBeLost) {
    session_.startSound();
    PulseContext pulse(address());
    PulseOutputs outputs(pulse, loop_);
    sinks_.add("speakers", "Laptop Speakers", "device.bus=pci device.form_factor=internal");
    sinks_.add("buds", "Buds", "device.bus=bluetooth");
    choose(outputs, "buds");
    ASSERT_TRUE(becomes(outputs, "Buds"));
    const auto buds = outputs.current()->objectID;
    std::atomic<bool> wasLeft = false;
    loop_.runAndWait([&] {
        outputs.onChange([&] {
            const auto current = outputs.current();
            wasLeft = wasLeft || (current && current->objectID != buds && outputs.exists(buds));
        });
    });
    outputs.preferDefault("speakers");
    EXPECT_EQ(outputs.current()->name, "Buds");
    sinks_.remove("buds");
    ASSERT_TRUE(becomes(outputs, "Laptop Speakers"));
    EXPECT_FALSE(outputs.exists(buds));
    loop_.runAndWait([] {});
    EXPECT_FALSE(wasLeft);
}

TEST_F(PulseOutputsTest, FollowTheSessionManagerWhereTheServerKeepsItsChoice) {
    // PulseAudio's own server, as it never forgets to tell of the choice that is gone back to.
    session_.startPulseAudio();
    PulseContext pulse(address());
    PulseOutputs outputs(pulse, loop_);
    sinks_.add("speakers", "Laptop Speakers", "device.bus=pci device.form_factor=internal");
    sinks_.add("buds", "Buds", "device.bus=bluetooth");
    choose("buds");
    ASSERT_TRUE(becomes(outputs, "Buds"));
    const auto buds = outputs.current()->objectID;
    outputs.preferDefault("speakers");
    ASSERT_TRUE(becomes(outputs, "Laptop Speakers"));
    EXPECT_TRUE(outputs.exists(buds));
    outputs.preferDefault("");
    EXPECT_TRUE(becomes(outputs, "Buds"));
}

TEST_F(PulseOutputsTest, CanNotBeMutedWhenTheyAreGone) {
    session_.startSound();
    PulseContext pulse(address());
    PulseOutputs outputs(pulse, loop_);
    sinks_.add("speakers", "Laptop Speakers", "device.bus=pci");
    choose(outputs, "speakers");
    ASSERT_TRUE(becomes(outputs, "Laptop Speakers"));
    const auto id = outputs.current()->objectID;
    sinks_.remove("speakers");
    ASSERT_TRUE(waitUntil([&] { return !outputs.exists(id); }));
    EXPECT_FALSE(outputs.setMuted(true, id));
    EXPECT_FALSE(outputs.setMuted(true, 0));
}

TEST_F(PulseOutputsTest, AnswerAtOnceWhenTheServerSaysNothing) {
    session_.startSound();
    PulseContext pulse(address());
    PulseOutputs outputs(pulse, loop_);
    ASSERT_TRUE(waitUntil([&] { return outputs.current().has_value(); }));
    const auto id = outputs.current()->objectID;
    session_.child("pulse")->signal(SIGSTOP);
    EXPECT_TRUE(outputs.current());
    EXPECT_FALSE(outputs.setMuted(true, id));
    session_.child("pulse")->signal(SIGCONT);
    EXPECT_TRUE(waitUntil([&] { return outputs.setMuted(false, id); }));
}

TEST_F(PulseOutputsTest, AreFoundAgainWhenTheServerComesBack) {
    PulseContext pulse(address());
    PulseOutputs outputs(pulse, loop_);
    EXPECT_FALSE(outputs.current());
    session_.startSound();
    ASSERT_TRUE(waitUntil([&] { return outputs.current().has_value(); }));
    const auto id = outputs.current()->objectID;
    session_.stop("pulse");
    ASSERT_TRUE(waitUntil([&] { return !outputs.current(); }));
    EXPECT_FALSE(outputs.exists(id));
    EXPECT_FALSE(outputs.setMuted(true, id));
    session_.startPulse();
    EXPECT_TRUE(waitUntil([&] { return outputs.current().has_value(); }));
    EXPECT_EQ(outputs.current()->objectID, id);
}

TEST_F(PulseOutputsTest, LeaveNothingBehind) {
    session_.startSound();
    const auto round = [&] {
        PulseContext pulse(address());
        PulseOutputs outputs(pulse, loop_);
        ASSERT_TRUE(waitUntil([&] { return outputs.current().has_value(); }));
    };
    round();
    const auto descriptors = support::entriesIn("/proc/self/fd");
    const auto threads = support::entriesIn("/proc/self/task");
    for (int time = 0; time < 20; ++time) {
        round();
    }
    EXPECT_EQ(support::entriesIn("/proc/self/fd"), descriptors);
    EXPECT_EQ(support::entriesIn("/proc/self/task"), threads);
}

} // namespace
} // namespace velmoran
