#include "system/linux/clients/PeerSockets.h"

#include "support/TemporaryDirectory.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstring>
#include <gtest/gtest.h>
#include <thread>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velmoran {
namespace {

std::uint64_t inodeOf(int descriptor) {
    struct stat entry {};
    EXPECT_EQ(::fstat(descriptor, &entry), 0);
    return entry.st_ino;
}

// A listener in a folder of its own with one connection, all in this process.
struct ConnectedPair {
    TemporaryDirectory folder;
    std::string path = folder.path("native");
    int listener = -1;
    int client = -1;
    int accepted = -1;

    ConnectedPair() {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
        const auto* general = reinterpret_cast<const sockaddr*>(&address);
        listener = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        EXPECT_EQ(::bind(listener, general, sizeof address), 0);
        EXPECT_EQ(::listen(listener, 4), 0);
        client = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        EXPECT_EQ(::connect(client, general, sizeof address), 0);
        accepted = ::accept(listener, nullptr, nullptr);
    }
    ~ConnectedPair() {
        ::close(accepted);
        ::close(client);
        ::close(listener);
    }
};

TEST(PeerSockets, FindsBothEndsOfAConnectionByTheListenersName) {
    const ConnectedPair pair;
    PeerSockets sockets;
    const auto all = sockets.pairs();
    const SocketPair expected{pair.path, inodeOf(pair.accepted), inodeOf(pair.client)};
    EXPECT_EQ(std::count(all.begin(), all.end(), expected), 1);
    const auto named = std::count_if(all.begin(), all.end(),
                                     [&](const auto& one) { return one.name == pair.path; });
    EXPECT_EQ(named, 1) << "the listener itself is no connection";
}

TEST(PeerSockets, FindsWhoHoldsASocket) {
    const ConnectedPair pair;
    PeerSockets sockets;
    const auto end = inodeOf(pair.client);
    const auto own = sockets.socketsOf(::getpid());
    EXPECT_NE(std::find(own.begin(), own.end(), end), own.end());
    const auto holders = sockets.holdersOf({end, 4});
    EXPECT_EQ(holders.at(end), (std::vector<pid_t>{::getpid()}));
    EXPECT_TRUE(holders.at(4).empty());
    EXPECT_TRUE(sockets.holdersOf({}).empty());
}

TEST(PeerSockets, TellsWhatWasOpenedFromWhatAProgramWasStartedWith) {
    const ConnectedPair pair;
    PeerSockets sockets;
    EXPECT_TRUE(sockets.openedItself(::getpid(), inodeOf(pair.client)));
    ASSERT_EQ(::fcntl(pair.client, F_SETFD, 0), 0);
    EXPECT_FALSE(sockets.openedItself(::getpid(), inodeOf(pair.client)));
    const int copy = ::fcntl(pair.client, F_DUPFD_CLOEXEC, 3);
    EXPECT_TRUE(sockets.openedItself(::getpid(), inodeOf(pair.client)));
    ::close(copy);
    EXPECT_FALSE(sockets.openedItself(::getpid(), 4));
    EXPECT_FALSE(sockets.openedItself(-1, inodeOf(pair.client)));
}

TEST(PeerSockets, KnowsAProcessWhoseEnvironmentSpeaksForIt) {
    using namespace std::string_literals;
    for (const char* variable :
         {"PULSE_PROP=media.role=music application.process.id=1",
          "PULSE_PROP_application.process.id=1", "PIPEWIRE_PROPS={ application.process.id = 1 }",
          "PIPEWIRE_CONFIG_DIR=/tmp"}) {
        EXPECT_TRUE(namesAnotherProcess("HOME=/\0"s + variable)) << variable;
    }
    for (const auto& others : {""s, "A=PULSE_PROP=application.process.id=1"s,
                               "PULSE_PROP=media.role=music\0PIPEWIRE_RUNTIME_DIR=/run\0"s}) {
        EXPECT_FALSE(namesAnotherProcess(others)) << others;
    }
    PeerSockets sockets;
    EXPECT_FALSE(sockets.speaksForItself(-1));
}

TEST(PeerSockets, KnowsWhoWaits) {
    PeerSockets sockets;
    EXPECT_FALSE(sockets.isAsleep(::getpid())) << "it asks";
    EXPECT_FALSE(sockets.isAsleep(-1));
    const auto child = ::fork();
    if (child == 0) {
        for (;;) {
            ::pause();
        }
    }
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!sockets.isAsleep(child) && std::chrono::steady_clock::now() < end) {
        std::this_thread::yield();
    }
    EXPECT_TRUE(sockets.isAsleep(child));
    ::kill(child, SIGSTOP);
    ::waitpid(child, nullptr, WUNTRACED);
    EXPECT_FALSE(sockets.isAsleep(child));
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
}

TEST(PeerSockets, TakesNoProgramOfAnotherNameForTheSoundServer) {
    PeerSockets sockets;
    EXPECT_FALSE(sockets.isSoundServer(::getpid()));
    EXPECT_FALSE(sockets.isSoundServer(-1));
    EXPECT_TRUE(sockets.isReadable(::getpid()));
    EXPECT_EQ(sockets.innerPid(::getpid()), ::getpid());
}

TEST(PeerSockets, ReadsTheTextOfASocketsLink) {
    EXPECT_EQ(socketInode("socket:[4711]"), 4711U);
    for (const char* text : {"", "socket:[]", "socket:[47", "socket:47]", "pipe:[47]",
                             "socket:[47x]", "socket:[-1]", "socket:[99999999999999999999]"}) {
        EXPECT_EQ(socketInode(text), std::nullopt) << text;
    }
}

TEST(PeerSockets, ReadsTheInnermostProcessId) {
    EXPECT_EQ(parseInnerPid("Name:\tx\nNSpid:\t4711\t3\nNSpgid:\t1\n"), 3);
    EXPECT_EQ(parseInnerPid("Name:\tx\nNSpid:\t4711"), 4711);
    EXPECT_EQ(parseInnerPid("Name:\tNSpid:\t1\n"), std::nullopt);
    EXPECT_EQ(parseInnerPid("Name:\tx\nNSpid:\t\n"), std::nullopt);
    EXPECT_EQ(parseInnerPid(""), std::nullopt);
}

} // namespace
} // namespace velmoran
