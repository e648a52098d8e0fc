// Real processes, the real /proc and real inotify; only the cameras are plain files.
#include "support/FakeNaming.h"
#include "support/FolderEntries.h"
#include "support/NodeUser.h"
#include "support/Rights.h"
#include "support/TemporaryDirectory.h"
#include "support/Waiting.h"
#include "system/linux/nodes/V4l2Cameras.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>

namespace velmoran {
namespace {

using support::NodeUser;
using support::waitUntil;

class V4l2CamerasTest : public ::testing::Test {
protected:
    V4l2CamerasTest() {
        std::filesystem::create_directory(folder_.path("dev"));
        node_ = folder_.write("dev/video0", std::string(4096, 'x'));
        folder_.write("class/video0/name", "Stand-in: Stand-in\n");
    }
    ~V4l2CamerasTest() override {
        loop_.runAndWait([this] { cameras_.reset(); });
    }

    void watch(const std::string& procRoot = "/proc") {
        loop_.runAndWait([&] {
            V4l2Cameras::Places places;
            places.devices.deviceFolder = folder_.path("dev");
            places.devices.classFolder = folder_.path("class");
            places.devices.udev = false;
            places.procRoot = procRoot;
            cameras_ = std::make_unique<V4l2Cameras>(
                loop_, naming_, [this](pid_t pid) { return pid == server_; }, places);
            cameras_->onChange([this] { ++changes_; });
        });
    }
    std::vector<CameraUse> cameras() {
        std::vector<CameraUse> result;
        loop_.runAndWait([&] { result = cameras_->cameras(); });
        return result;
    }
    bool isOn(std::size_t index = 0) {
        const auto all = cameras();
        return all.size() > index && all[index].device.isRunningSomewhere;
    }
    /// As a person's own program, from which another can hide.
    void watchWithoutRights() {
        loop_.runAndWait([] { ASSERT_TRUE(support::giveUpRights()); });
        watch();
    }
    /// All that have happened by now: a turn of it that has begun may have missed them.
    void letTheLoopReadItsEvents() {
        for (int turn = 0; turn < 2; ++turn) {
            loop_.runAndWait([] {});
        }
    }
    bool hasApps(const std::vector<AttributedApp>& apps) {
        return waitUntil([&] { return cameras()[0].apps == apps; });
    }
    static AttributedApp nameOf(const NodeUser& user) {
        return "/bin/" + std::to_string(user.pid());
    }

    TemporaryDirectory folder_;
    std::string node_;
    testing::FakeNaming naming_;
    std::atomic<pid_t> server_ = 0;
    std::atomic<int> changes_ = 0;
    EventLoop loop_;
    std::unique_ptr<V4l2Cameras> cameras_;
};

TEST_F(V4l2CamerasTest, TellsWhoStreamsAndWhenThatEnds) {
    watch();
    ASSERT_EQ(cameras().size(), 1u);
    EXPECT_EQ(cameras()[0].device.name, "Stand-in");
    EXPECT_FALSE(isOn());
    NodeUser user(node_);
    ASSERT_TRUE(user.stream());
    ASSERT_TRUE(waitUntil([this] { return isOn(); }));
    EXPECT_EQ(cameras()[0].apps, std::vector{nameOf(user)});
    EXPECT_EQ(changes_, 1);
    ASSERT_TRUE(user.unmap());
    ASSERT_TRUE(user.close());
    ASSERT_TRUE(waitUntil([this] { return !isOn(); }));
    EXPECT_TRUE(cameras()[0].apps.empty());
    EXPECT_EQ(changes_, 2);
}

TEST_F(V4l2CamerasTest, SaysWhetherItMayLookAtAll) {
    const auto watchesAll = [this] {
        bool all = false;
        loop_.runAndWait([&] { all = cameras_->watchesAll(); });
        return all;
    };
    const auto allow = [this](std::filesystem::perms rights) {
        std::filesystem::permissions(node_, rights);
    };
    allow(std::filesystem::perms::none);
    watchWithoutRights();
    EXPECT_FALSE(watchesAll());
    allow(std::filesystem::perms::owner_read);
    EXPECT_TRUE(waitUntil(watchesAll));
    EXPECT_EQ(changes_, 1);
    allow(std::filesystem::perms::none);
    EXPECT_TRUE(waitUntil([&] { return !watchesAll(); }));
    std::filesystem::remove(node_);
    EXPECT_TRUE(waitUntil(watchesAll)) << "there is none to look at";
}

TEST_F(V4l2CamerasTest, CountsAMappingThatComesAfterTheOpen) {
    watch();
    NodeUser user(node_);
    ASSERT_TRUE(user.open());
    ASSERT_TRUE(user.map());
    ASSERT_TRUE(waitUntil([this] { return isOn(); }));
    EXPECT_EQ(cameras()[0].apps, std::vector{nameOf(user)});
}

TEST_F(V4l2CamerasTest, KeepsTheUseUntilTheLastUnmap) {
    watch();
    NodeUser user(node_);
    NodeUser other(node_);
    ASSERT_TRUE(user.stream());
    ASSERT_TRUE(waitUntil([this] { return isOn(); }));
    ASSERT_TRUE(user.close());
    ASSERT_TRUE(other.stream());
    ASSERT_TRUE(waitUntil([this] { return cameras()[0].apps.size() == 2; }));
    EXPECT_EQ(cameras()[0].apps, (std::vector{nameOf(user), nameOf(other)}));
    ASSERT_TRUE(user.unmap());
    ASSERT_TRUE(waitUntil([this] { return cameras()[0].apps.size() == 1; }));
    EXPECT_EQ(cameras()[0].apps, std::vector{nameOf(other)});
}

TEST_F(V4l2CamerasTest, CountsAnOpenWithoutAMappingAfterTheGrace) {
    watch();
    NodeUser user(node_);
    ASSERT_TRUE(user.open());
    ASSERT_TRUE(waitUntil([this] { return isOn(); }));
    EXPECT_EQ(cameras()[0].apps, std::vector{nameOf(user)});
}

TEST_F(V4l2CamerasTest, SaysNothingOfProgramsThatOnlyListCameras) {
    watch();
    NodeUser lister(node_);
    for (int time = 0; time < 100; ++time) {
        ASSERT_TRUE(lister.touch());
    }
    NodeUser user(node_);
    ASSERT_TRUE(user.stream());
    ASSERT_TRUE(waitUntil([this] { return isOn(); }));
    EXPECT_EQ(cameras()[0].apps, std::vector{nameOf(user)});
    EXPECT_EQ(changes_, 1);
}

TEST_F(V4l2CamerasTest, EndsTheUseOfAKilledProgram) {
    watch();
    NodeUser user(node_);
    ASSERT_TRUE(user.stream());
    ASSERT_TRUE(waitUntil([this] { return isOn(); }));
    user.end();
    EXPECT_TRUE(waitUntil([this] { return !isOn(); }));
}

TEST_F(V4l2CamerasTest, TellsTwoUsersInOrderOfOpening) {
    watch();
    NodeUser late(node_);
    NodeUser early(node_);
    ASSERT_TRUE(early.stream());
    ASSERT_TRUE(waitUntil([this] { return isOn(); }));
    ASSERT_TRUE(late.stream());
    ASSERT_TRUE(waitUntil([this] { return cameras()[0].apps.size() == 2; }));
    EXPECT_EQ(cameras()[0].apps, (std::vector{nameOf(early), nameOf(late)}));
}

TEST_F(V4l2CamerasTest, LeavesTheSoundServersOwnHoldingToTheGraph) {
    watch();
    NodeUser server(node_);
    server_ = server.pid();
    ASSERT_TRUE(server.stream());
    NodeUser user(node_);
    ASSERT_TRUE(user.stream());
    ASSERT_TRUE(waitUntil([this] { return isOn(); }));
    EXPECT_EQ(cameras()[0].apps, std::vector{nameOf(user)});
    user.end();
    EXPECT_TRUE(waitUntil([this] { return !isOn(); }));
}

const AttributedApp unnamed(AppRef::unidentifiedAs("unidentified:camera-1"));

TEST_F(V4l2CamerasTest, TellsOfAUserOutOfSightWithoutAName) {
    watch(folder_.path("empty-proc"));
    NodeUser user(node_);
    ASSERT_TRUE(user.stream());
    ASSERT_TRUE(waitUntil([this] { return isOn(); }));
    EXPECT_EQ(cameras()[0].apps, std::vector{unnamed});
    user.end();
    EXPECT_TRUE(waitUntil([this] { return !isOn(); }));
    EXPECT_EQ(changes_, 2);
}

TEST_F(V4l2CamerasTest, TellsOfAUserWhoHidesBesideOneInSight) {
    watchWithoutRights();
    NodeUser hidden(node_);
    ASSERT_TRUE(hidden.giveUpRights());
    ASSERT_TRUE(hidden.hide());
    NodeUser user(node_);
    ASSERT_TRUE(user.giveUpRights());
    ASSERT_TRUE(hidden.stream());
    ASSERT_TRUE(hasApps({unnamed}));
    ASSERT_TRUE(user.stream());
    ASSERT_TRUE(hasApps({nameOf(user), unnamed}));
    hidden.end();
    ASSERT_TRUE(hasApps({nameOf(user)}));
    NodeUser later(node_);
    ASSERT_TRUE(later.giveUpRights());
    ASSERT_TRUE(later.hide());
    ASSERT_TRUE(later.stream());
    ASSERT_TRUE(hasApps({nameOf(user), unnamed}));
    user.end();
    ASSERT_TRUE(hasApps({unnamed}));
    later.end();
    EXPECT_TRUE(waitUntil([this] { return !isOn(); }));
    EXPECT_EQ(changes_, 6);
}

TEST_F(V4l2CamerasTest, KeepsTheNameOfAUserWhoHidesWhileItIsOn) {
    watchWithoutRights();
    NodeUser early(node_);
    NodeUser late(node_);
    NodeUser other(node_);
    for (auto* user : {&early, &late, &other}) {
        ASSERT_TRUE(user->giveUpRights());
    }
    const auto first = nameOf(early);
    const auto second = nameOf(late);
    ASSERT_TRUE(early.stream());
    ASSERT_TRUE(hasApps({first}));
    ASSERT_TRUE(early.hide());
    ASSERT_TRUE(late.stream()); // looked at anew, everybody
    ASSERT_TRUE(hasApps({first, second}));
    ASSERT_TRUE(late.hide());
    ASSERT_TRUE(late.unmap());
    ASSERT_TRUE(late.close()); // its close explains itself
    ASSERT_TRUE(other.stream());
    ASSERT_TRUE(waitUntil([&] {
        const auto apps = cameras()[0].apps;
        return apps.size() == 2 && apps.back() == nameOf(other);
    }));
    early.end();
    ASSERT_TRUE(waitUntil([&] { return cameras()[0].apps.size() == 1; }));
    other.end();
    EXPECT_TRUE(waitUntil([this] { return !isOn(); }));
}

TEST_F(V4l2CamerasTest, CountsAnOpenWithoutAMappingThoughItsProcessHidesWithinTheGrace) {
    watchWithoutRights();
    NodeUser user(node_);
    ASSERT_TRUE(user.giveUpRights());
    ASSERT_TRUE(user.open());
    letTheLoopReadItsEvents();
    const auto name = nameOf(user);
    ASSERT_TRUE(user.hide());
    ASSERT_TRUE(hasApps({name}));
    user.end();
    EXPECT_TRUE(waitUntil([this] { return !isOn(); }));
}

TEST_F(V4l2CamerasTest, KeepsAUserOutOfSightWhenTheKernelLosesEvents) {
    int kept = 0;
    std::ifstream("/proc/sys/fs/inotify/max_queued_events") >> kept;
    ASSERT_GT(kept, 0);
    watchWithoutRights();
    NodeUser hidden(node_);
    ASSERT_TRUE(hidden.giveUpRights());
    ASSERT_TRUE(hidden.hide());
    ASSERT_TRUE(hidden.stream());
    ASSERT_TRUE(hasApps({unnamed}));
    NodeUser user(node_);
    ASSERT_TRUE(user.giveUpRights());
    // While the loop is busy, more happens than the kernel keeps, at last something lasting.
    loop_.runAndWait([&] {
        for (int time = 0; time <= kept / 2; ++time) {
            ASSERT_TRUE(user.touch());
        }
        ASSERT_TRUE(user.stream());
    });
    ASSERT_TRUE(hasApps({nameOf(user), unnamed}));
    user.end();
    ASSERT_TRUE(hasApps({unnamed}));
    hidden.end();
    EXPECT_TRUE(waitUntil([this] { return !isOn(); }));
    EXPECT_EQ(changes_, 4);
}

TEST_F(V4l2CamerasTest, FindsCamerasThatComeAndGo) {
    watch();
    const auto first = cameras()[0].device.objectID;
    const auto second = folder_.write("dev/video1", std::string(4096, 'x'));
    ASSERT_TRUE(waitUntil([this] { return cameras().size() == 2; }));
    EXPECT_NE(cameras()[1].device.objectID, first);
    NodeUser user(second);
    ASSERT_TRUE(user.stream());
    ASSERT_TRUE(waitUntil([this] { return isOn(1); }));
    std::filesystem::remove(second);
    ASSERT_TRUE(waitUntil([this] { return cameras().size() == 1; }));
    EXPECT_EQ(cameras()[0].device.objectID, first);
    EXPECT_FALSE(isOn());
}

TEST_F(V4l2CamerasTest, WatchesANodeThatWasMadeAnewUnderItsName) {
    watch();
    const auto id = cameras()[0].device.objectID;
    std::filesystem::remove(node_);
    ASSERT_TRUE(waitUntil([this] { return cameras().empty(); }));
    folder_.write("dev/video0", std::string(4096, 'x'));
    ASSERT_TRUE(waitUntil([this] { return cameras().size() == 1; }));
    EXPECT_EQ(cameras()[0].device.objectID, id);
    NodeUser user(node_);
    ASSERT_TRUE(user.stream());
    EXPECT_TRUE(waitUntil([this] { return isOn(); }));
}

TEST_F(V4l2CamerasTest, FindsADeviceFolderThatIsMadeLater) {
    std::filesystem::remove_all(folder_.path("dev"));
    watch();
    EXPECT_TRUE(cameras().empty());
    folder_.write("dev/video0", std::string(4096, 'x'));
    ASSERT_TRUE(waitUntil([this] { return cameras().size() == 1; }));
    NodeUser user(node_);
    ASSERT_TRUE(user.stream());
    EXPECT_TRUE(waitUntil([this] { return isOn(); }));
}

TEST_F(V4l2CamerasTest, KnowsWhoWasThereBeforeIt) {
    NodeUser user(node_);
    ASSERT_TRUE(user.open());
    watch();
    EXPECT_TRUE(isOn());
    EXPECT_EQ(cameras()[0].apps, std::vector{nameOf(user)});
}

TEST_F(V4l2CamerasTest, LeavesNothingBehindAfterHundredsOfUses) {
    watch();
    NodeUser user(node_);
    const auto use = [&](bool streams) {
        ASSERT_TRUE(streams ? user.stream() : user.open());
        if (streams) {
            ASSERT_TRUE(waitUntil([this] { return isOn(); }));
            ASSERT_TRUE(user.unmap());
        }
        ASSERT_TRUE(user.close());
        ASSERT_TRUE(waitUntil([this] { return !isOn(); }));
    };
    use(true);
    // On the loop's thread, which has descriptors of its own open while it looks for holders.
    const auto count = [this](const char* folder) {
        std::size_t entries = 0;
        loop_.runAndWait([&] { entries = support::entriesIn(folder); });
        return entries;
    };
    const auto descriptors = count("/proc/self/fd");
    const auto threads = count("/proc/self/task");
    for (int time = 0; time < 300; ++time) {
        use(time % 3 != 0);
        if (HasFatalFailure()) {
            return;
        }
    }
    EXPECT_EQ(count("/proc/self/fd"), descriptors);
    EXPECT_EQ(count("/proc/self/task"), threads);
}

} // namespace
} // namespace velmoran
