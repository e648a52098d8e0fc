// The lid, the power source and sleep as a played logind and UPower have them, on a bus of the
// test's own.
#include "integration/MockedServices.h"
#include "support/TemporaryDirectory.h"
#include "system/linux/away/LidAndPower.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace velmoran {
namespace {

using support::MockedServices;
using support::waitUntil;
using Told = AwaySignal::Kind;

constexpr Seconds aDay = 24 * 60 * 60;

class LidAndPowerTest : public ::testing::Test {
protected:
    LidAndPowerTest() { folder_.write("inputs/input0/capabilities/sw", "1\n"); }

    void listen() {
        handle_ = readings_.listen([this](const AwaySignal& signal) {
            const std::lock_guard guard(mutex_);
            told_.push_back(signal.kind);
        });
    }
    bool awaitTold(const std::vector<Told>& kinds) {
        return waitUntil([&] {
            const std::lock_guard guard(mutex_);
            return told_ == kinds;
        });
    }
    /// As the kernel's folder has a battery that supplies the machine.
    void unplugInTheKernel() const {
        folder_.write("supplies/BAT0/type", "Battery\n");
        folder_.write("supplies/BAT0/status", "Discharging\n");
    }
    /// Connections to the system bus.
    std::size_t connections() {
        char** names = nullptr;
        std::size_t count = 0;
        sd_bus_list_names(services_.bus(MockedServices::Where::system), &names, nullptr);
        for (char** name = names; name != nullptr && *name != nullptr; ++name) {
            count += **name == ':' ? 1U : 0U;
            std::free(*name);
        }
        std::free(names);
        return count;
    }

    support::PrivateSession session_;
    MockedServices services_{session_};
    TemporaryDirectory folder_;
    EventLoop loop_;
    BusKeeper bus_{loop_, session_.environment().at("DBUS_SYSTEM_BUS_ADDRESS")};
    LidAndPower::Folders folders_{folder_.path("supplies"), folder_.path("inputs")};
    LidAndPower readings_{loop_, bus_, folders_, 0}; ///< asks anew each time
    std::mutex mutex_;
    std::vector<Told> told_;
    Subscription handle_;
};

TEST_F(LidAndPowerTest, AreKnownWithTheFirstQuestion) {
    services_.startLogind();
    services_.startUPower();
    services_.setLid(true);
    services_.setOnBattery(true);
    EXPECT_EQ(readings_.isLidClosed(), true);
    EXPECT_EQ(readings_.isOnACPower(), false);
}

TEST_F(LidAndPowerTest, FollowLidAndCable) {
    services_.startLogind();
    services_.startUPower();
    EXPECT_EQ(readings_.isLidClosed(), false);
    EXPECT_EQ(readings_.isOnACPower(), true);
    listen();
    services_.setLid(true);
    EXPECT_TRUE(waitUntil([&] { return readings_.isLidClosed() == true; }));
    services_.setOnBattery(true);
    EXPECT_TRUE(waitUntil([&] { return readings_.isOnACPower() == false; }));
    services_.setLid(false);
    services_.setOnBattery(false);
    EXPECT_TRUE(waitUntil([&] { return readings_.isLidClosed() == false; }));
    EXPECT_TRUE(waitUntil([&] { return readings_.isOnACPower() == true; }));
}

TEST_F(LidAndPowerTest, AskNoMoreThanTheyMust) {
    services_.startLogind();
    LidAndPower readings(loop_, bus_, folders_, aDay);
    const auto heard = readings.listen([](const AwaySignal&) {});
    EXPECT_EQ(readings.isOnACPower(), std::nullopt);
    services_.setLid(true);
    unplugInTheKernel();
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(readings.isLidClosed(), false);
        ASSERT_EQ(readings.isOnACPower(), std::nullopt);
    }
    EXPECT_EQ(services_.questionsForLid(), 1);
}

TEST_F(LidAndPowerTest, AskAnewWhenTheAnswerIsOld) {
    services_.startLogind();
    constexpr Seconds fresh = 0.2;
    const auto begun = std::chrono::steady_clock::now();
    LidAndPower readings(loop_, bus_, folders_, fresh);
    const auto heard = readings.listen([](const AwaySignal&) {});
    EXPECT_EQ(readings.isLidClosed(), false);
    EXPECT_EQ(readings.isOnACPower(), std::nullopt);
    services_.setLid(true);
    unplugInTheKernel();
    EXPECT_TRUE(waitUntil([&] { return readings.isLidClosed() == true; }));
    EXPECT_TRUE(waitUntil([&] { return readings.isOnACPower() == false; }));
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begun;
    EXPECT_LE(services_.questionsForLid(), 1 + taken.count() / fresh);
}

TEST_F(LidAndPowerTest, AskNoMoreOnceLogindAnnounces) {
    services_.startLogind();
    listen();
    ASSERT_EQ(readings_.isLidClosed(), false);
    services_.announceLid(true);
    EXPECT_TRUE(waitUntil([&] { return readings_.isLidClosed() == true; }));
    const int most = services_.questionsForLid() + 1; // which was under way
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(readings_.isLidClosed(), true);
    }
    services_.announceLid(false);
    EXPECT_TRUE(waitUntil([&] { return readings_.isLidClosed() == false; }));
    EXPECT_LE(services_.questionsForLid(), most);
    services_.stop(MockedServices::logind);
    services_.startLogind(); // an older one
    services_.setLid(true);
    EXPECT_TRUE(waitUntil([&] { return readings_.isLidClosed() == true; }));
}

TEST_F(LidAndPowerTest, AskForNoLidThatIsNotThere) {
    folder_.write("inputs/input0/capabilities/sw", "0\n");
    services_.startLogind();
    listen();
    for (int i = 0; i < 100; ++i) {
        ASSERT_EQ(readings_.isLidClosed(), false);
    }
    EXPECT_EQ(services_.questionsForLid(), 1);
}

TEST_F(LidAndPowerTest, AskAtOnceAfterSleepAndWhenUPowerTellsOfTheLid) {
    services_.startLogind();
    services_.startUPower();
    LidAndPower readings(loop_, bus_, folders_, aDay);
    const auto heard = readings.listen([](const AwaySignal&) {});
    ASSERT_EQ(readings.isLidClosed(), false);
    services_.setLid(true);
    services_.prepareForSleep(true);
    EXPECT_TRUE(waitUntil([&] { return readings.isLidClosed() == true; }));
    services_.setLid(false);
    services_.setProperty(MockedServices::upower, MockedServices::power, MockedServices::upower,
                          "LidIsClosed", true);
    EXPECT_TRUE(waitUntil([&] { return readings.isLidClosed() == false; }));
    // One more where UPower's first word was late.
    EXPECT_LE(services_.questionsForLid(), 4);
}

TEST_F(LidAndPowerTest, TellSleepAndWakingUpOnceEach) {
    services_.startLogind();
    listen();
    ASSERT_EQ(readings_.isLidClosed(), false); // so all is in place
    services_.prepareForSleep(true);
    services_.prepareForSleep(true);
    ASSERT_TRUE(awaitTold({Told::wentToSleep}));
    services_.prepareForSleep(false);
    services_.prepareForSleep(false);
    services_.prepareForSleep(true);
    EXPECT_TRUE(awaitTold({Told::wentToSleep, Told::wokeUp, Told::wentToSleep}));
}

// The lock comes in the middle of it, where a laptop locks itself as it goes to sleep.
TEST_F(LidAndPowerTest, TellOfASleepThatHasBegunAlready) {
    services_.startLogind();
    services_.setProperty(MockedServices::logind, MockedServices::manager,
                          "org.freedesktop.login1.Manager", "PreparingForSleep", true);
    ASSERT_EQ(readings_.isLidClosed(), false);
    listen();
    ASSERT_TRUE(awaitTold({Told::wentToSleep}));
    services_.prepareForSleep(false);
    EXPECT_TRUE(awaitTold({Told::wentToSleep, Told::wokeUp}));
}

TEST_F(LidAndPowerTest, TellOfASleepOfWhichLogindDoesNot) {
    std::atomic<Seconds> asleep = 100;
    LidAndPower readings(loop_, bus_, folders_, 0, [&] { return asleep.load(); });
    services_.startLogind();
    const auto heard = readings.listen([this](const AwaySignal& signal) {
        const std::lock_guard guard(mutex_);
        told_.push_back(signal.kind);
    });
    ASSERT_EQ(readings.isLidClosed(), false);
    asleep = 3700;
    ASSERT_EQ(readings.isLidClosed(), false);
    const std::vector<Told> once = {Told::wentToSleep, Told::wokeUp};
    ASSERT_TRUE(awaitTold(once));
    asleep = 3700.5; // no sleep is that short
    ASSERT_EQ(readings.isLidClosed(), false);
    // One that it has told of isn't told a second time.
    services_.prepareForSleep(true);
    ASSERT_TRUE(awaitTold({Told::wentToSleep, Told::wokeUp, Told::wentToSleep}));
    asleep = 5000;
    ASSERT_EQ(readings.isLidClosed(), false);
    services_.prepareForSleep(false);
    ASSERT_TRUE(awaitTold({Told::wentToSleep, Told::wokeUp, Told::wentToSleep, Told::wokeUp}));
    asleep = 6000;
    services_.stop(MockedServices::logind);
    (void)readings.isLidClosed();
    EXPECT_TRUE(awaitTold({Told::wentToSleep, Told::wokeUp, Told::wentToSleep, Told::wokeUp,
                           Told::wentToSleep, Told::wokeUp}));
}

TEST_F(LidAndPowerTest, AreTheKernelsWithoutServices) {
    EXPECT_EQ(readings_.isLidClosed(), std::nullopt);
    EXPECT_EQ(readings_.isOnACPower(), std::nullopt);
    unplugInTheKernel();
    EXPECT_EQ(readings_.isOnACPower(), false);
    services_.startUPower();
    EXPECT_TRUE(waitUntil([&] { return readings_.isOnACPower() == true; }))
        << "once UPower is there it has the word";
    services_.stop(MockedServices::upower);
    EXPECT_TRUE(waitUntil([&] { return readings_.isOnACPower() == false; }));
}

TEST_F(LidAndPowerTest, AreTheKernelsWithoutABus) {
    session_.stop("system bus");
    unplugInTheKernel();
    EXPECT_EQ(readings_.isLidClosed(), std::nullopt);
    EXPECT_EQ(readings_.isOnACPower(), false);
}

TEST_F(LidAndPowerTest, TheLidIsUPowersWhereLogindHasNone) {
    services_.startLogind(false);
    services_.startUPower();
    EXPECT_EQ(readings_.isLidClosed(), false);
    services_.setProperty(MockedServices::upower, MockedServices::power, MockedServices::upower,
                          "LidIsClosed", true);
    EXPECT_TRUE(waitUntil([&] { return readings_.isLidClosed() == true; }));
}

TEST_F(LidAndPowerTest, ValuesOfAnotherTypeAreNone) {
    services_.startLogind(false);
    services_.startUPower();
    services_.addProperty(MockedServices::logind, MockedServices::manager,
                          "org.freedesktop.login1.Manager", "LidClosed", std::string("yes"));
    for (const char* name : {"LidIsClosed", "LidIsPresent", "OnBattery"}) {
        services_.setProperty(MockedServices::upower, MockedServices::power, MockedServices::upower,
                              name, 1);
    }
    unplugInTheKernel();
    EXPECT_EQ(readings_.isLidClosed(), std::nullopt);
    EXPECT_EQ(readings_.isOnACPower(), false);
    listen();
    services_.emit(MockedServices::Where::system, MockedServices::logind, MockedServices::manager,
                   "org.freedesktop.login1.Manager", "PrepareForSleep", std::string("true"));
    services_.prepareForSleep(true);
    EXPECT_TRUE(awaitTold({Told::wentToSleep}));
}

// Not the moment's, but no wait without end either, and none at each reading.
TEST_F(LidAndPowerTest, AreTheLastKnownWhileLogindHangs) {
    services_.startLogind();
    services_.setLid(true);
    listen();
    ASSERT_EQ(readings_.isLidClosed(), true);
    session_.child(MockedServices::logind)->signal(SIGSTOP);
    for (int i = 0; i < 1000; ++i) { // at 0.05 s each it would take as long as the patience
        ASSERT_EQ(readings_.isLidClosed(), true);
    }
    session_.child(MockedServices::logind)->signal(SIGCONT);
    services_.setLid(false);
    EXPECT_TRUE(waitUntil([&] { return readings_.isLidClosed() == false; }));
}

TEST_F(LidAndPowerTest, AreReadAgainWhenTheBusIsBack) {
    services_.startLogind();
    services_.startUPower();
    listen();
    ASSERT_EQ(readings_.isLidClosed(), false);
    services_.stop(MockedServices::logind);
    services_.stop(MockedServices::upower);
    session_.stop("system bus");
    EXPECT_TRUE(waitUntil([&] { return readings_.isLidClosed() == std::nullopt; }));
    session_.startSystemBus();
    services_.reconnect();
    services_.startLogind();
    services_.startUPower();
    services_.setLid(true);
    services_.setOnBattery(true);
    EXPECT_TRUE(waitUntil([&] { return readings_.isLidClosed() == true; }));
    EXPECT_TRUE(waitUntil([&] { return readings_.isOnACPower() == false; }));
    services_.prepareForSleep(true);
    EXPECT_TRUE(awaitTold({Told::wentToSleep}));
}

TEST_F(LidAndPowerTest, LeaveTheBusWithTheHandle) {
    services_.startLogind();
    const auto before = connections();
    EXPECT_EQ(readings_.isLidClosed(), false);
    listen();
    EXPECT_EQ(connections(), before + 1);
    handle_.reset();
    EXPECT_TRUE(waitUntil([&] { return connections() == before; }));
    listen();
    EXPECT_EQ(readings_.isLidClosed(), false);
    EXPECT_EQ(connections(), before + 1);
}

} // namespace
} // namespace velmoran
