#include "app/shell/SingleInstance.h"
#include "core/base/Uuid.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace velmoran {
namespace {

bool soon(const std::function<bool()>& condition) {
    QElapsedTimer timer;
    timer.start();
    while (!condition() && timer.elapsed() < 20000) {
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
    }
    return condition();
}

struct SingleInstanceTest : ::testing::Test {
    const std::string name = "org.velmoran.Test-" + Uuid::random().text();
    bool holderIsVelmoran = true;
    std::string wish;

    std::unique_ptr<SingleInstance> start() {
        return std::make_unique<SingleInstance>(
            name, wish, [this](const PeerProgram&) { return holderIsVelmoran; });
    }
    /// One that may have to wait for the others, whose loop goes on meanwhile.
    std::unique_ptr<SingleInstance> startBeside() {
        std::unique_ptr<SingleInstance> other;
        std::atomic<bool> isDone = false;
        std::thread starting([&] {
            other = start();
            isDone = true;
        });
        EXPECT_TRUE(soon([&] { return isDone.load(); }));
        starting.join();
        return other;
    }
};

TEST_F(SingleInstanceTest, TheSecondStartTellsTheFirstToShowItself) {
    const auto first = start();
    int shows = 0;
    first->onShow([&](const std::string&) { ++shows; });
    ASSERT_EQ(first->role(), SingleInstance::Role::first);
    EXPECT_EQ(startBeside()->role(), SingleInstance::Role::second);
    EXPECT_TRUE(soon([&] { return shows > 0; }));
    shows = 0;
    const auto third = startBeside();
    EXPECT_EQ(third->role(), SingleInstance::Role::second);
    EXPECT_TRUE(third->obstacles().empty());
    EXPECT_TRUE(soon([&] { return shows > 0; }));
}

TEST_F(SingleInstanceTest, TheSecondStartSaysWhatItWishes) {
    const auto first = start();
    std::vector<std::string> wishes;
    first->onShow([&](const std::string& each) { wishes.push_back(each); });
    wish = "history";
    EXPECT_EQ(startBeside()->role(), SingleInstance::Role::second);
    ASSERT_TRUE(soon([&] { return !wishes.empty(); }));
    wish = std::string(SingleInstance::longestWish, 'x');
    EXPECT_EQ(startBeside()->role(), SingleInstance::Role::second);
    ASSERT_TRUE(soon([&] { return wishes.size() > 1; }));
    EXPECT_EQ(wishes, (std::vector<std::string>{"history", wish}));
}

/// Another program of the user's at the first one's door.
struct Visitor {
    int socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);

    explicit Visitor(const std::string& name) {
        const auto place = name + "-" + std::to_string(::getuid()) + "-" +
                           qgetenv("XDG_RUNTIME_DIR").toStdString();
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::memcpy(&address.sun_path[1], place.data(), place.size());
        EXPECT_EQ(
            ::connect(socket, reinterpret_cast<const sockaddr*>(&address),
                      static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + place.size())),
            0);
    }
    ~Visitor() { ::close(socket); }
    Visitor(const Visitor&) = delete;
    Visitor& operator=(const Visitor&) = delete;

    void say(const std::string& text) const {
        ::send(socket, text.data(), text.size(), MSG_NOSIGNAL);
    }
    bool isHungUpOn() const {
        char byte = 0;
        return ::recv(socket, &byte, 1, MSG_DONTWAIT) == 0 || errno == ECONNRESET;
    }
};

TEST_F(SingleInstanceTest, WhoOnlyLooksOrNeverEndsIsNoStart) {
    const auto first = start();
    int shows = 0;
    first->onShow([&](const std::string&) { ++shows; });
    std::vector<std::unique_ptr<Visitor>> visitors;
    for (std::size_t i = 0; i < SingleInstance::mostWishing; ++i) {
        visitors.push_back(std::make_unique<Visitor>(name));
        visitors.back()->say("half a wi");
    }
    visitors.push_back(std::make_unique<Visitor>(name));
    visitors.back()->say(std::string(100'000, 'x'));
    EXPECT_TRUE(soon([&] { return visitors.back()->isHungUpOn(); }));
    { const Visitor looks(name); }
    // The oldest make room for a real one.
    EXPECT_EQ(startBeside()->role(), SingleInstance::Role::second);
    EXPECT_TRUE(soon([&] { return shows > 0; }));
    EXPECT_EQ(shows, 1);
}

TEST_F(SingleInstanceTest, AStartAfterTheEndOfTheFirstIsTheFirst) {
    start();
    EXPECT_EQ(start()->role(), SingleInstance::Role::first);
}

TEST_F(SingleInstanceTest, OtherNamesAreOtherPrograms) {
    const auto first = start();
    const SingleInstance other(name + "x");
    EXPECT_EQ(other.role(), SingleInstance::Role::first);
}

TEST_F(SingleInstanceTest, AStartBeforeTheFirstIsReadyIsNotForgotten) {
    const auto first = start();
    std::atomic<bool> isSecond = false;
    std::thread starting([&] { isSecond = start()->role() == SingleInstance::Role::second; });
    int shows = 0;
    first->onShow([&](const std::string&) { ++shows; });
    EXPECT_TRUE(soon([&] { return shows > 0 && isSecond; }));
    starting.join();
}

TEST_F(SingleInstanceTest, AStrangerInItsPlaceKeepsNobodyFromStartingOnce) {
    const auto stranger = start();
    holderIsVelmoran = false;
    const auto first = start();
    EXPECT_EQ(first->role(), SingleInstance::Role::first);
    ASSERT_EQ(first->obstacles().size(), 1U);
    EXPECT_FALSE(first->obstacles()[0].isVelmoran);
    EXPECT_EQ(first->obstacles()[0].program.pid, ::getpid());
    EXPECT_EQ(first->obstacles()[0].program.path, programOf(::getpid()).path);

    // The next start goes past the stranger, too, and finds it.
    int asked = 0;
    std::atomic<int> role = -1;
    std::thread starting([&] {
        const SingleInstance second(name, {}, [&](const PeerProgram&) { return ++asked > 1; });
        role = static_cast<int>(second.role());
    });
    EXPECT_TRUE(soon([&] { return role >= 0; }));
    starting.join();
    EXPECT_EQ(role, static_cast<int>(SingleInstance::Role::second));
    EXPECT_EQ(asked, 2);
}

TEST_F(SingleInstanceTest, WhoeverTakesEveryPlaceKeepsNobodyFromRunning) {
    holderIsVelmoran = false;
    std::vector<std::unique_ptr<SingleInstance>> strangers;
    for (int i = 0; i < SingleInstance::places; ++i) {
        strangers.push_back(start());
        EXPECT_EQ(strangers.back()->role(), SingleInstance::Role::first);
    }
    const auto last = start();
    EXPECT_EQ(last->role(), SingleInstance::Role::alone);
    EXPECT_EQ(last->obstacles().size(), static_cast<std::size_t>(SingleInstance::places));
}

TEST_F(SingleInstanceTest, ManyThatDoNotAnswerHoldUpAStartNoLongerThanOne) {
    std::vector<std::unique_ptr<SingleInstance>> stopped;
    holderIsVelmoran = false;
    for (int i = 0; i + 1 < SingleInstance::places; ++i) {
        stopped.push_back(start());
    }
    holderIsVelmoran = true;
    QElapsedTimer timer;
    timer.start();
    const auto next = start();
    EXPECT_LT(timer.elapsed(), 2 * SingleInstance::patienceMilliseconds);
    EXPECT_EQ(next->role(), SingleInstance::Role::first);
    EXPECT_EQ(next->obstacles().size(), stopped.size());
}

TEST_F(SingleInstanceTest, OneThatAnswersIsFoundBehindOneThatDoesNot) {
    // Made in a thread without a loop, which answers nobody.
    const auto stopped = startBeside();
    ASSERT_EQ(stopped->role(), SingleInstance::Role::first);
    holderIsVelmoran = false;
    const auto running = start();
    ASSERT_EQ(running->role(), SingleInstance::Role::first);
    int shows = 0;
    running->onShow([&](const std::string&) { ++shows; });
    holderIsVelmoran = true;
    QElapsedTimer timer;
    timer.start();
    const auto next = startBeside();
    EXPECT_LT(timer.elapsed(), SingleInstance::patienceMilliseconds) << "it waited for the other";
    EXPECT_EQ(next->role(), SingleInstance::Role::second);
    EXPECT_TRUE(next->obstacles().empty());
    EXPECT_TRUE(soon([&] { return shows > 0; }));
}

TEST_F(SingleInstanceTest, OneThatEndsInsteadOfAnsweringLeavesItsPlace) {
    auto ending = start();
    // Asked as to who it is, it ends before it is asked for more.
    const SingleInstance next(name, {}, [&](const PeerProgram&) {
        ending.reset();
        return true;
    });
    EXPECT_EQ(next.role(), SingleInstance::Role::first);
    EXPECT_TRUE(next.obstacles().empty());
    // It is in the first place, where everybody looks.
    int asked = 0;
    std::atomic<int> role = -1;
    std::thread starting([&] {
        const SingleInstance third(name, {}, [&](const PeerProgram&) { return ++asked > 0; });
        role = static_cast<int>(third.role());
    });
    EXPECT_TRUE(soon([&] { return role >= 0; }));
    starting.join();
    EXPECT_EQ(role, static_cast<int>(SingleInstance::Role::second));
    EXPECT_EQ(asked, 1);
}

TEST_F(SingleInstanceTest, OneThatDoesNotAnswerKeepsNobodyFromRunning) {
    // Nobody lets its loop go on.
    const auto stopped = start();
    const auto next = start();
    EXPECT_EQ(next->role(), SingleInstance::Role::first);
    ASSERT_EQ(next->obstacles().size(), 1U);
    EXPECT_TRUE(next->obstacles()[0].isVelmoran);
}

} // namespace
} // namespace velmoran
