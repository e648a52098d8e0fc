// A real PulseAudio daemon with a null microphone and speaker, and real clients of it.
#include "support/FakeNaming.h"
#include "support/PrivateSession.h"
#include "support/Waiting.h"
#include "system/linux/clients/PeerSockets.h"
#include "system/linux/kernel/EventLoop.h"
#include "system/linux/pulse/PulseSources.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>

namespace velmoran {
namespace {

using support::PrivateSession;
using support::waitUntil;

class PulseSourcesTest : public ::testing::Test {
protected:
    PulseSourcesTest() {
        startServer();
        pulse_ = std::make_unique<PulseContext>("unix:" + socket());
        loop_.runAndWait([this] {
            sources_ = std::make_unique<PulseSources>(*pulse_, loop_, facts_, naming_, socket());
            sources_->onChange([this] { ++changes_; });
        });
    }
    ~PulseSourcesTest() override {
        loop_.runAndWait([this] { sources_.reset(); });
    }

    std::string socket() const { return session_.runtimeFolder() / "pulse/native"; }
    void startServer() { session_.startPulseAudio({"module-null-source source_name=mic"}); }
    support::ChildProcess& record(const std::string& name, const std::string& source) {
        return session_.start(name, {"parecord", "--raw", "-d", source, "/dev/null"});
    }
    std::vector<AudioProcess> processes() {
        std::vector<AudioProcess> result;
        loop_.runAndWait([&] { result = sources_->processes(); });
        return result;
    }
    std::optional<AudioProcess> processOf(pid_t pid) {
        for (const auto& process : processes()) {
            if (process.pid == pid) {
                return process;
            }
        }
        return std::nullopt;
    }
    /// What is pinned now, by object id.
    decltype(testing::FakeNaming::pinned) pinned() {
        decltype(testing::FakeNaming::pinned) result;
        loop_.runAndWait([&] { result = naming_.pinned; });
        return result;
    }
    bool records(pid_t pid) {
        const auto process = processOf(pid);
        return process && process->isRunningInput;
    }

    PrivateSession session_;
    testing::FakeNaming naming_;
    PeerSockets facts_;
    std::atomic<int> changes_ = 0;
    EventLoop loop_;
    std::unique_ptr<PulseContext> pulse_;
    std::unique_ptr<PulseSources> sources_;
};

TEST_F(PulseSourcesTest, TellWhoRecordsAndWhenThatEnds) {
    auto& recorder = record("recorder", "mic");
    const auto pid = recorder.pid();
    ASSERT_TRUE(waitUntil([&] { return records(pid); })) << session_.logs();
    const auto process = *processOf(pid);
    EXPECT_FALSE(process.isRunningOutput);
    EXPECT_EQ(pinned()[process.objectID].path, "/bin/" + std::to_string(pid));
    recorder.stop();
    EXPECT_TRUE(waitUntil([&] { return processes().empty(); }));
    EXPECT_TRUE(pinned().empty());
}

TEST_F(PulseSourcesTest, TakeARecordingOfWhatIsPlayedForNoMicrophone) {
    auto& recorder = record("recorder", "speaker.monitor");
    const auto pid = recorder.pid();
    ASSERT_TRUE(waitUntil([&] { return processOf(pid).has_value(); }));
    auto& other = record("other", "mic");
    const auto otherPid = other.pid();
    ASSERT_TRUE(waitUntil([&] { return records(otherPid); }));
    EXPECT_FALSE(records(pid));
}

TEST_F(PulseSourcesTest, FollowAMicrophoneAtSecondHand) {
    auto& recorder = record("recorder", "speaker.monitor");
    const auto pid = recorder.pid();
    ASSERT_TRUE(waitUntil([&] { return processOf(pid).has_value(); }));
    EXPECT_FALSE(records(pid));
    ASSERT_TRUE(
        session_.run({"pactl", "load-module", "module-loopback", "source=mic", "sink=speaker"})
            .succeeded());
    EXPECT_TRUE(waitUntil([&] { return records(pid); }));
}

TEST_F(PulseSourcesTest, TellWhoPlays) {
    auto& player = session_.start("player", {"pacat", "--raw", "-d", "speaker", "/dev/zero"});
    const auto pid = player.pid();
    ASSERT_TRUE(waitUntil([&] {
        const auto process = processOf(pid);
        return process && process->isRunningOutput;
    }));
    EXPECT_FALSE(records(pid));
}

TEST_F(PulseSourcesTest, BelieveTheKernelAndNotTheClient) {
    session_.environment()["PULSE_PROP"] = "application.process.id=1 application.name=System";
    auto& liar = record("liar", "mic");
    const auto pid = liar.pid();
    EXPECT_TRUE(waitUntil([&] { return records(pid); }));
    EXPECT_FALSE(processOf(1));
}

TEST_F(PulseSourcesTest, TellTwoRecordersApartWhenOneStealsTheOthersNumber) {
    auto& honest = record("honest", "mic");
    const auto honestPid = honest.pid();
    ASSERT_TRUE(waitUntil([&] { return records(honestPid); }));
    session_.environment()["PULSE_PROP"] = "application.process.id=" + std::to_string(honestPid);
    auto& thief = record("thief", "mic");
    const auto thiefPid = thief.pid();
    EXPECT_TRUE(waitUntil([&] { return records(thiefPid); }));
    EXPECT_TRUE(records(honestPid));
}

TEST_F(PulseSourcesTest, ListTheDevices) {
    const auto devices = [this] {
        std::vector<AudioDeviceInfo> result;
        loop_.runAndWait([&] { result = sources_->devices(); });
        return result;
    };
    ASSERT_TRUE(waitUntil([&] { return devices().size() == 2; }));
    EXPECT_EQ(devices()[0].name, "Null Input");
    EXPECT_TRUE(devices()[0].hasInput);
    EXPECT_FALSE(devices()[0].hasOutput);
    EXPECT_FALSE(devices()[0].isRunningSomewhere);
    EXPECT_EQ(devices()[1].name, "Null Output");
    EXPECT_TRUE(devices()[1].hasOutput);
    EXPECT_NE(devices()[0].objectID, devices()[1].objectID);
    record("recorder", "mic");
    EXPECT_TRUE(waitUntil([&] { return devices()[0].isRunningSomewhere; }));
}

TEST_F(PulseSourcesTest, FindTheServerAgain) {
    auto& recorder = record("recorder", "mic");
    const auto pid = recorder.pid();
    ASSERT_TRUE(waitUntil([&] { return records(pid); }));
    session_.stop("pulse");
    ASSERT_TRUE(waitUntil([&] { return processes().empty(); }));
    session_.stop("recorder");
    startServer();
    auto& next = record("recorder", "mic");
    const auto nextPid = next.pid();
    EXPECT_TRUE(waitUntil([&] { return records(nextPid); }));
}

TEST_F(PulseSourcesTest, LeaveNobodyBehindAfterManyShortClients) {
    for (int time = 0; time < 100; ++time) {
        session_.run({"pactl", "list", "short", "sources"});
    }
    auto& recorder = record("recorder", "mic");
    const auto pid = recorder.pid();
    ASSERT_TRUE(waitUntil([&] { return records(pid); }));
    recorder.stop();
    EXPECT_TRUE(waitUntil([&] { return processes().empty(); }));
    EXPECT_TRUE(pinned().empty());
}

TEST_F(PulseSourcesTest, KeepTheUsesWhenAnotherClientEndsTheConnection) {
    const auto pid = record("recorder", "mic").pid();
    ASSERT_TRUE(waitUntil([&] { return records(pid); })) << session_.logs();
    const auto before = *processOf(pid);
    std::atomic<int> losses = 0;
    std::atomic<int> gaps = 0;
    loop_.runAndWait([&] {
        sources_->onSightTaken([&] { ++losses; });
        sources_->onChange([&] {
            for (const auto& process : sources_->processes()) {
                if (process == before) {
                    return;
                }
            }
            ++gaps;
        });
    });
    PulseContext other("unix:" + socket());
    for (int times = 1; times <= 3; ++times) {
        ASSERT_TRUE(waitUntil([&] {
            std::uint32_t own = PA_INVALID_INDEX;
            pulse_->use([&](pa_context* context) {
                own = context != nullptr ? pa_context_get_index(context) : PA_INVALID_INDEX;
            });
            return own != PA_INVALID_INDEX &&
                   other.perform(
                       [own](pa_context* context, pa_context_success_cb_t done, void* data) {
                           return pa_context_kill_client(context, own, done, data);
                       },
                       1.0);
        })) << session_.logs();
        EXPECT_TRUE(waitUntil([&] { return losses == times; })) << losses;
    }
    const auto second = record("second", "mic").pid();
    EXPECT_TRUE(waitUntil([&] { return records(second); })) << session_.logs();
    EXPECT_EQ(gaps, 0);
    session_.stop("recorder");
    EXPECT_TRUE(waitUntil([&] { return !processOf(pid); }));
    session_.stop("pulse");
    EXPECT_TRUE(waitUntil([&] { return processes().empty(); }));
    EXPECT_EQ(losses, 3);
    loop_.runAndWait([&] {
        sources_->onSightTaken(nullptr);
        sources_->onChange(nullptr);
    });
}

} // namespace
} // namespace velmoran
