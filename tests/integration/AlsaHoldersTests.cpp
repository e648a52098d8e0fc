// Real opens and closes seen by real inotify; the sound card and what /proc says of it are files.
#include "support/FakeNaming.h"
#include "support/InotifyLimits.h"
#include "support/NodeUser.h"
#include "support/TemporaryDirectory.h"
#include "support/Waiting.h"
#include "system/linux/nodes/AlsaHolders.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <memory>

namespace velmoran {
namespace {

using support::NodeUser;
using support::waitUntil;

class AlsaHoldersTest : public ::testing::Test {
protected:
    AlsaHoldersTest() {
        capture_ = folder_.write("dev/snd/pcmC0D0c", "");
        playback_ = folder_.write("dev/snd/pcmC0D0p", "");
        folder_.write("dev/snd/controlC0", "");
        say(captureStatus, "closed\n");
        say(playbackStatus, "closed\n");
    }
    ~AlsaHoldersTest() override {
        loop_.runAndWait([this] { holders_.reset(); });
    }

    static constexpr const char* captureStatus = "pcm0c/sub0";
    static constexpr const char* playbackStatus = "pcm0p/sub0";

    void watch() {
        loop_.runAndWait([this] {
            holders_ = std::make_unique<AlsaHolders>(
                loop_, naming_, [this](pid_t pid) { return pid == server_; },
                AlsaHolders::Places{folder_.path("dev/snd"), folder_.path("proc")});
            holders_->onChange([this] { ++changes_; });
        });
    }
    void say(const std::string& substream, const std::string& status) {
        // In one step, as the kernel's own file is never half written.
        const auto file = "proc/asound/card0/" + substream + "/status";
        const auto next = folder_.write(file + ".next", status);
        std::filesystem::rename(next, folder_.path(file));
    }
    static std::string status(const std::string& state, pid_t thread) {
        return "state: " + state + "\nowner_pid   : " + std::to_string(thread) + '\n';
    }
    void addThread(pid_t thread, pid_t process) {
        folder_.write("proc/" + std::to_string(thread) + "/status",
                      "Name:\tarecord\nTgid:\t" + std::to_string(process) + "\nNgid:\t0\n");
    }
    std::vector<AudioProcess> processes() {
        std::vector<AudioProcess> result;
        loop_.runAndWait([&] { result = holders_->processes(); });
        return result;
    }
    bool records() {
        const auto all = processes();
        return all.size() == 1 && all[0].isRunningInput;
    }

    TemporaryDirectory folder_;
    std::string capture_;
    std::string playback_;
    testing::FakeNaming naming_;
    std::atomic<pid_t> server_ = 0;
    std::atomic<int> changes_ = 0;
    EventLoop loop_;
    std::unique_ptr<AlsaHolders> holders_;
};

TEST_F(AlsaHoldersTest, NamesTheProcessOfTheThreadThatRecords) {
    watch();
    NodeUser user(capture_);
    addThread(4712, 4711);
    say(captureStatus, status("RUNNING", 4712));
    ASSERT_TRUE(user.open());
    ASSERT_TRUE(waitUntil([this] { return records(); }));
    const auto process = processes()[0];
    EXPECT_EQ(process.pid, 4711);
    EXPECT_FALSE(process.isRunningOutput);
    EXPECT_EQ(naming_.pinned[process.objectID].path, "/bin/4711");
    say(captureStatus, "closed\n");
    ASSERT_TRUE(user.close());
    EXPECT_TRUE(waitUntil([this] { return processes().empty(); }));
    EXPECT_TRUE(naming_.pinned.empty());
}

TEST_F(AlsaHoldersTest, WaitsForTheSoundOfAnOpenNode) {
    watch();
    NodeUser user(capture_);
    addThread(4711, 4711);
    say(captureStatus, status("PREPARED", 4711));
    ASSERT_TRUE(user.open());
    ASSERT_TRUE(waitUntil([this] { return processes().size() == 1; }));
    EXPECT_FALSE(records());
    say(captureStatus, status("RUNNING", 4711));
    EXPECT_TRUE(waitUntil([this] { return records(); }));
    const auto id = processes()[0].objectID;
    say(captureStatus, status("PAUSED", 4711));
    EXPECT_TRUE(waitUntil([this] { return !records(); }));
    ASSERT_EQ(processes().size(), 1u);
    EXPECT_EQ(processes()[0].objectID, id);
}

TEST_F(AlsaHoldersTest, TellPlayingFromRecording) {
    watch();
    NodeUser user(playback_);
    addThread(4711, 4711);
    say(playbackStatus, status("RUNNING", 4711));
    ASSERT_TRUE(user.open());
    ASSERT_TRUE(waitUntil([this] { return processes().size() == 1; }));
    EXPECT_TRUE(processes()[0].isRunningOutput);
    EXPECT_FALSE(processes()[0].isRunningInput);
}

TEST_F(AlsaHoldersTest, LeaveTheSoundServersOwnHoldingToTheGraph) {
    server_ = 50;
    watch();
    addThread(50, 50);
    addThread(4711, 4711);
    say(captureStatus, status("RUNNING", 50));
    say(playbackStatus, status("RUNNING", 4711));
    NodeUser user(playback_);
    ASSERT_TRUE(user.open());
    ASSERT_TRUE(waitUntil([this] { return processes().size() == 1; }));
    EXPECT_EQ(processes()[0].pid, 4711);
    EXPECT_FALSE(processes()[0].isRunningInput);
}

TEST_F(AlsaHoldersTest, FindTheHolderOfADescriptorWhenTheThreadHasEnded) {
    watch();
    NodeUser user(capture_);
    folder_.link("proc/4711/fd/5", capture_);
    say(captureStatus, status("RUNNING", 9999));
    ASSERT_TRUE(user.open());
    ASSERT_TRUE(waitUntil([this] { return records(); }));
    EXPECT_EQ(processes()[0].pid, 4711);
}

TEST_F(AlsaHoldersTest, NameAnOwnerOutOfSightByNoName) {
    watch();
    NodeUser user(capture_);
    say(captureStatus, status("RUNNING", 0));
    ASSERT_TRUE(user.open());
    ASSERT_TRUE(waitUntil([this] { return records(); }));
    const auto process = processes()[0];
    EXPECT_EQ(process.pid, 0);
    EXPECT_EQ(naming_.pinned[process.objectID].name, "Unknown app");
}

TEST_F(AlsaHoldersTest, KnowWhoWasThereBefore) {
    addThread(4711, 4711);
    say(captureStatus, status("RUNNING", 4711));
    watch();
    EXPECT_TRUE(records());
}

TEST_F(AlsaHoldersTest, GiveANewProcessANewNumber) {
    watch();
    NodeUser user(capture_);
    std::uint32_t last = 0;
    for (const pid_t pid : {4711, 4712, 4711}) {
        addThread(pid, pid);
        say(captureStatus, status("RUNNING", pid));
        ASSERT_TRUE(user.open());
        ASSERT_TRUE(waitUntil([this] { return records(); }));
        EXPECT_GT(processes()[0].objectID, std::max(last, AlsaHolders::firstObjectID));
        last = processes()[0].objectID;
        say(captureStatus, "closed\n");
        ASSERT_TRUE(user.close());
        ASSERT_TRUE(waitUntil([this] { return processes().empty(); }));
    }
}

/// The same in a child process, whose limits are its own.
class AlsaHoldersWithoutWatches : public AlsaHoldersTest {
public:
    void TestBody() override {}

    /// The kernel tells of no open, so there is none.
    int recordsAll() {
        watch();
        addThread(4711, 4711);
        say(captureStatus, status("RUNNING", 4711));
        const bool hasBegun = waitUntil([this] { return records(); });
        say(captureStatus, "closed\n");
        return hasBegun && waitUntil([this] { return processes().empty(); }) ? 0 : 1;
    }
};

TEST(AlsaHolders, LookAgainAndAgainWhileTheKernelHasNoWatchLeft) {
    for (const auto* what : {"instances", "watches"}) {
        const auto wrong = support::askWithInotifyLimits([&] {
            support::limitInotify(what, 0);
            return AlsaHoldersWithoutWatches().recordsAll();
        });
        if (!wrong) {
            GTEST_SKIP() << "may not limit watches in a user namespace here";
        }
        EXPECT_EQ(wrong, 0) << what;
    }
}

TEST_F(AlsaHoldersTest, FindACardThatIsPluggedInLater) {
    std::filesystem::remove_all(folder_.path("dev"));
    watch();
    folder_.write("dev/snd/pcmC0D0c", "");
    addThread(4711, 4711);
    say(captureStatus, status("RUNNING", 4711));
    NodeUser user(capture_);
    ASSERT_TRUE(user.open());
    EXPECT_TRUE(waitUntil([this] { return records(); }));
}

} // namespace
} // namespace velmoran
