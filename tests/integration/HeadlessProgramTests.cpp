// A real program that goes on without its first thread: what it holds is found all the same.
#include "integration/ClosingScene.h"
#include "support/FakeNaming.h"
#include "support/OpenDescriptors.h"
#include "system/linux/clients/PeerSockets.h"
#include "system/linux/nodes/NodeHolders.h"
#include "system/linux/nodes/V4l2Cameras.h"

#include <gmock/gmock.h>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>

namespace velmoran {
namespace {

using ::testing::Contains;
using ::testing::Pair;

std::uint64_t inodeOf(int descriptor) {
    struct stat entry {};
    return ::fstat(descriptor, &entry) == 0 ? entry.st_ino : 0;
}

class HeadlessProgram : public Closing {
protected:
    ~HeadlessProgram() override {
        for (const int descriptor : {node_, ends_[0], ends_[1]}) {
            if (descriptor >= 0) {
                ::close(descriptor);
            }
        }
    }

    /// It holds a node and one end of a connection; nothing of it is mapped.
    pid_t startHeadless() {
        nodePath_ = folder.write("dev/video0", std::string(4096, 'x'));
        folder.write("class/video0/name", "Stand-in: Stand-in\n");
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends_), 0);
        ::fcntl(ends_[0], F_SETFD, FD_CLOEXEC);
        node_ = ::open(nodePath_.c_str(), O_RDWR); // passed on, as both are
        app_ = copyOf(clients + "/hard-to-end");
        client_ = start(app_, "headless");
        const auto pid = client_.program->pid();
        EXPECT_EQ(ProcFs().stat(pid)->state, 'Z');
        return pid;
    }

    int ends_[2] = {-1, -1};
    int node_ = -1;
    std::string nodePath_;
    std::string app_;
    Client client_;
};

TEST_F(HeadlessProgram, ShowsItsDescriptors) {
    const auto pid = startHeadless();
    EXPECT_THAT(support::openDescriptors(pid), Contains(Pair(node_, nodePath_)));
    EXPECT_EQ(ProcFs().sockets(pid), std::vector{inodeOf(ends_[1])});
    client_.program->end();
    EXPECT_TRUE(support::openDescriptors(pid).empty());
}

TEST_F(HeadlessProgram, IsSeenToHoldItsConnection) {
    const auto pid = startHeadless();
    const auto end = inodeOf(ends_[1]);
    ::close(std::exchange(ends_[1], -1));
    PeerSockets sockets;
    EXPECT_TRUE(sockets.isReadable(pid));
    EXPECT_EQ(sockets.holdersOf({end}).at(end), std::vector<pid_t>{pid});
    client_.program->end();
    EXPECT_FALSE(sockets.isReadable(pid));
    EXPECT_TRUE(sockets.holdersOf({end}).at(end).empty());
}

TEST_F(HeadlessProgram, IsFoundAsTheHolderOfANode) {
    const auto pid = startHeadless();
    const auto node = *deviceNodeAt(nodePath_);
    const NodeHolders holders("/proc", ::getpid());
    const NodeHolder expected{.pid = pid, .descriptors = {node_}, .maps = false};
    EXPECT_EQ(holders.of({node}).front(), std::vector{expected});
    EXPECT_TRUE(holders.stillHolds(expected, node));
    EXPECT_TRUE(holders.maps(pid, *deviceNodeAt(app_))) << "its own file";
    client_.program->end();
    EXPECT_TRUE(holders.of({node}).front().empty());
    EXPECT_FALSE(holders.stillHolds(expected, node));
}

TEST_F(HeadlessProgram, IsToldAsTheUserOfACamera) {
    const auto pid = startHeadless();
    ::close(std::exchange(node_, -1));
    testing::FakeNaming naming;
    EventLoop loop;
    std::unique_ptr<V4l2Cameras> cameras;
    loop.runAndWait([&] {
        V4l2Cameras::Places places;
        places.devices.deviceFolder = folder.path("dev");
        places.devices.classFolder = folder.path("class");
        places.devices.udev = false;
        cameras = std::make_unique<V4l2Cameras>(
            loop, naming, [](pid_t) { return false; }, places);
    });
    const auto users = [&] {
        std::vector<AttributedApp> apps;
        loop.runAndWait([&] {
            const auto all = cameras->cameras();
            apps = all.size() == 1 ? all[0].apps : apps;
        });
        return apps;
    };
    EXPECT_TRUE(waitUntil([&] { return !users().empty(); }));
    EXPECT_EQ(users(), std::vector<AttributedApp>{"/bin/" + std::to_string(pid)});
    client_.program->end();
    EXPECT_TRUE(waitUntil([&] { return users().empty(); }));
    loop.runAndWait([&] { cameras.reset(); });
}

} // namespace
} // namespace velmoran
