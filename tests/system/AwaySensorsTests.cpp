#include "system/AwaySensors.h"

#include "system/scripted/ScriptedTime.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace velmoran {
namespace {

using Signal = AwaySignal::Kind;
using Texts = std::vector<std::string>;

/// What a machine says at one tick, as a recording has it.
struct Readings {
    std::map<InputEvent, Seconds> sinceLast;
    std::optional<bool> lidClosed;
    std::optional<int> angle;
    std::optional<bool> onACPower;
};

class RecordedReadings final : public AwayReadings {
public:
    Readings now;
    bool hasHinge = false;
    int openHinges = 0;
    std::vector<InputEvent> asked;
    std::set<int> listeners;
    std::function<void(const AwaySignal&)> announce; ///< stays, as a late announcement does

    std::optional<Seconds> sinceLast(InputEvent event) override {
        asked.push_back(event);
        const auto found = now.sinceLast.find(event);
        return found == now.sinceLast.end() ? std::nullopt : std::optional(found->second);
    }
    std::optional<bool> isLidClosed() override { return now.lidClosed; }
    std::optional<bool> isOnACPower() override { return now.onACPower; }
    std::unique_ptr<LidAngle> openLidAngle() override {
        return hasHinge ? std::make_unique<Hinge>(*this) : nullptr;
    }
    Subscription listen(std::function<void(const AwaySignal&)> announced) override {
        announce = std::move(announced);
        listeners.insert(++handles_);
        return Subscription([this, handle = handles_] { listeners.erase(handle); });
    }

private:
    class Hinge final : public LidAngle {
    public:
        explicit Hinge(RecordedReadings& readings) : readings_(readings) { ++readings_.openHinges; }
        Hinge(const Hinge&) = delete;
        Hinge& operator=(const Hinge&) = delete;
        ~Hinge() override { --readings_.openHinges; }
        std::optional<int> read() override { return readings_.now.angle; }

    private:
        RecordedReadings& readings_;
    };

    int handles_ = 0;
};

std::string textOf(const AwaySignal& signal) {
    std::string text(rawValue(signal.kind));
    if (signal.kind == Signal::lidMoved) {
        text += " " + std::to_string(signal.from) + " " + std::to_string(signal.to);
    } else if (signal.kind == Signal::devicePluggedIn) {
        text += signal.name ? " " + *signal.name : ", whatever it is";
    }
    return text;
}

struct AwaySensorsTest : ::testing::Test {
    ScriptedTime time;
    RecordedReadings readings;
    AwaySensors sensors{readings, time};
    Texts signals;

    void start() {
        sensors.start([this](const AwaySignal& signal) { signals.push_back(textOf(signal)); });
    }
    /// What one tick with these readings sends.
    Texts tick(const Readings& now) {
        readings.now = now;
        readings.asked.clear();
        signals.clear();
        time.advanceBy(AwaySensors::interval);
        return signals;
    }
    Texts tickAt(int angle, std::optional<bool> lidClosed = {}) {
        return tick({.sinceLast = {}, .lidClosed = lidClosed, .angle = angle, .onACPower = {}});
    }
    Texts tickWithLid(std::optional<bool> closed) {
        return tick({.sinceLast = {}, .lidClosed = closed, .angle = {}, .onACPower = {}});
    }
    Texts tickOnPower(std::optional<bool> onACPower) {
        return tick({.sinceLast = {}, .lidClosed = {}, .angle = {}, .onACPower = onACPower});
    }
    Texts tickWith(std::map<InputEvent, Seconds> sinceLast) {
        return tick(
            {.sinceLast = std::move(sinceLast), .lidClosed = {}, .angle = {}, .onACPower = {}});
    }
};

// MARK: - Keyboard and mouse

TEST_F(AwaySensorsTest, TellsTheKeyboardBeforeTheMouse) {
    start();
    EXPECT_EQ(tickWith({{InputEvent::mouseMoved, 0.1}, {InputEvent::keyDown, 0.5}}),
              (Texts{"keyboardUsed", "mouseUsed"}));
}

TEST_F(AwaySensorsTest, TellsTheMouseOnceHoweverItWasUsed) {
    start();
    EXPECT_EQ(tickWith({{InputEvent::mouseMoved, 0.1},
                        {InputEvent::leftMouseDown, 0.1},
                        {InputEvent::rightMouseDown, 0.1},
                        {InputEvent::scrollWheel, 0.1}}),
              Texts{"mouseUsed"});
    EXPECT_EQ(readings.asked, (std::vector{InputEvent::keyDown, InputEvent::mouseMoved}));
    for (const auto event : {InputEvent::mouseMoved, InputEvent::leftMouseDown,
                             InputEvent::rightMouseDown, InputEvent::scrollWheel}) {
        EXPECT_EQ(tickWith({{event, 1.0}}), Texts{"mouseUsed"});
    }
    EXPECT_EQ(readings.asked,
              (std::vector{InputEvent::keyDown, InputEvent::mouseMoved, InputEvent::leftMouseDown,
                           InputEvent::rightMouseDown, InputEvent::scrollWheel}));
}

TEST_F(AwaySensorsTest, TakesWhatWasUsedJustNowForUsed) {
    start();
    EXPECT_EQ(tickWith({{InputEvent::keyDown, 1.19}}), Texts{"keyboardUsed"});
    EXPECT_EQ(tickWith({{InputEvent::keyDown, 1.2}, {InputEvent::mouseMoved, 1.2}}), Texts{});
    EXPECT_EQ(tickWith({{InputEvent::keyDown, 0}}), Texts{"keyboardUsed"});
    EXPECT_EQ(tickWith({}), Texts{});
}

TEST_F(AwaySensorsTest, TellsSteadyUseAtEachTick) {
    start();
    readings.now.sinceLast = {{InputEvent::keyDown, 0.2}};
    time.advanceBy(3.5);
    EXPECT_EQ(signals, (Texts{"keyboardUsed", "keyboardUsed", "keyboardUsed"}));
}

// MARK: - The lid

TEST_F(AwaySensorsTest, TellsALidThatIsOpenedAndClosed) {
    readings.now.lidClosed = false;
    start();
    EXPECT_EQ(tickWithLid(false), Texts{});
    EXPECT_EQ(tickWithLid(true), Texts{"lidClosed"});
    EXPECT_EQ(tickWithLid(true), Texts{});
    EXPECT_EQ(tickWithLid({}), Texts{});
    EXPECT_EQ(tickWithLid(true), Texts{}) << "it is still what it was";
    EXPECT_EQ(tickWithLid(false), Texts{"lidOpened"});
}

TEST_F(AwaySensorsTest, TakesTheFirstLidThatCanBeReadForAChangeUnlessItWasReadAtTheStart) {
    readings.now.lidClosed = true;
    start();
    EXPECT_EQ(tickWithLid(true), Texts{});
    sensors.stop();
    readings.now.lidClosed = {};
    start();
    EXPECT_EQ(tickWithLid({}), Texts{});
    EXPECT_EQ(tickWithLid(true), Texts{"lidClosed"});
}

TEST_F(AwaySensorsTest, FeedsNoAngleUntilTheLidHasSettled) {
    readings.hasHinge = true;
    readings.now = {.sinceLast = {}, .lidClosed = false, .angle = 90, .onACPower = {}};
    start();
    EXPECT_EQ(tickAt(10, true), Texts{"lidClosed"});
    // Each of these would be a move, were it fed.
    EXPECT_EQ(tickAt(60, true), Texts{});
    EXPECT_EQ(tickAt(60, true), Texts{});
    EXPECT_EQ(tickAt(30, true), Texts{});
    EXPECT_EQ(tickAt(30, true), Texts{});
    // The fifth after it.
    EXPECT_EQ(tickAt(50, true), Texts{});
    EXPECT_EQ(tickAt(50, true), Texts{"lidMoved 30 50"});
}

TEST_F(AwaySensorsTest, SettlesByAnglesThatCanBeRead) {
    readings.hasHinge = true;
    readings.now = {.sinceLast = {}, .lidClosed = true, .angle = 0, .onACPower = {}};
    start();
    EXPECT_EQ(tickAt(20, false), Texts{"lidOpened"});
    EXPECT_EQ(tickWithLid(false), Texts{}); // no angle
    for (const int angle : {40, 60, 80, 100}) {
        EXPECT_EQ(tickAt(angle, false), Texts{}) << angle;
    }
    EXPECT_EQ(tickAt(50, false), Texts{});
    EXPECT_EQ(tickAt(50, false), Texts{"lidMoved 100 50"});
}

TEST_F(AwaySensorsTest, TellsALidThatIsMovedFromWhereItRestedAtTheStart) {
    readings.hasHinge = true;
    readings.now.angle = 90;
    start();
    EXPECT_EQ(tickAt(47), Texts{});
    EXPECT_EQ(tickAt(46), Texts{"lidMoved 90 46"});
    sensors.stop();
    readings.now.angle = 120;
    start();
    EXPECT_EQ(tickAt(120), Texts{});
    EXPECT_EQ(tickAt(120), Texts{}) << "it was moved while nobody looked";
}

TEST_F(AwaySensorsTest, TakesTheFirstAngleThatCanBeReadForTheRest) {
    readings.hasHinge = true;
    start();
    EXPECT_EQ(tickAt(70), Texts{});
    EXPECT_EQ(tickAt(90), Texts{});
    EXPECT_EQ(tickAt(90), Texts{"lidMoved 70 90"});
}

TEST_F(AwaySensorsTest, OfAMachineWithoutASensorTellNoMove) {
    readings.now.angle = 90;
    start();
    EXPECT_EQ(tickAt(47), Texts{});
    EXPECT_EQ(tickAt(47), Texts{});
}

TEST_F(AwaySensorsTest, ForgetASettlingWithTheirStop) {
    readings.hasHinge = true;
    readings.now = {.sinceLast = {}, .lidClosed = false, .angle = 90, .onACPower = {}};
    start();
    EXPECT_EQ(tickAt(90, true), Texts{"lidClosed"});
    start();
    EXPECT_EQ(tickAt(50, true), Texts{});
    EXPECT_EQ(tickAt(50, true), Texts{"lidMoved 90 50"});
}

// MARK: - Power

TEST_F(AwaySensorsTest, TellsThePowerCable) {
    readings.now.onACPower = true;
    start();
    EXPECT_EQ(tickOnPower(true), Texts{});
    EXPECT_EQ(tickOnPower(false), Texts{"powerRemoved"});
    EXPECT_EQ(tickOnPower(false), Texts{});
    EXPECT_EQ(tickOnPower(true), Texts{"powerConnected"});
}

TEST_F(AwaySensorsTest, TellsThePowerOnceMoreAfterItCouldNotBeRead) {
    readings.now.onACPower = true;
    start();
    EXPECT_EQ(tickOnPower({}), Texts{});
    EXPECT_EQ(tickOnPower(true), Texts{"powerConnected"});
    EXPECT_EQ(tickOnPower(true), Texts{});
}

// MARK: - What is announced, and the order of all

TEST_F(AwaySensorsTest, PassOnWhatIsAnnounced) {
    start();
    const auto announce = [this](Signal kind, std::optional<std::string> name = {}) {
        readings.announce({.kind = kind, .from = 0, .to = 0, .name = std::move(name)});
    };
    // From another thread, as a machine may.
    std::thread([&] {
        announce(Signal::wentToSleep);
        announce(Signal::wokeUp);
        announce(Signal::devicePluggedIn, "SanDisk Ultra");
        announce(Signal::devicePluggedIn);
    }).join();
    EXPECT_EQ(signals, Texts{}) << "only on the main thread";
    time.runPosted();
    EXPECT_EQ(signals, (Texts{"wentToSleep", "wokeUp", "devicePluggedIn SanDisk Ultra",
                              "devicePluggedIn, whatever it is"}));
}

TEST_F(AwaySensorsTest, TellsATickInOrder) {
    readings.hasHinge = true;
    readings.now = {.sinceLast = {}, .lidClosed = false, .angle = 90, .onACPower = true};
    start();
    tickAt(45, false);
    EXPECT_EQ(tick({.sinceLast = {{InputEvent::keyDown, 0}, {InputEvent::scrollWheel, 0}},
                    .lidClosed = false,
                    .angle = 45,
                    .onACPower = false}),
              (Texts{"keyboardUsed", "mouseUsed", "lidMoved 90 45", "powerRemoved"}));
    EXPECT_EQ(tick({.sinceLast = {{InputEvent::keyDown, 0}},
                    .lidClosed = true,
                    .angle = 3,
                    .onACPower = true}),
              (Texts{"keyboardUsed", "lidClosed", "powerConnected"}));
}

// MARK: - Starting and stopping

TEST_F(AwaySensorsTest, CostNothingUnlessTheyRun) {
    readings.hasHinge = true;
    EXPECT_EQ(time.nextDue(), std::nullopt);
    EXPECT_TRUE(readings.listeners.empty());
    EXPECT_EQ(readings.openHinges, 0);
    start();
    EXPECT_EQ(time.nextDue(), 1.0);
    EXPECT_EQ(readings.listeners.size(), 1U);
    EXPECT_EQ(readings.openHinges, 1);
    sensors.stop();
    EXPECT_EQ(time.nextDue(), std::nullopt);
    EXPECT_TRUE(readings.listeners.empty());
    EXPECT_EQ(readings.openHinges, 0);
    sensors.stop();
    EXPECT_EQ(tickWith({{InputEvent::keyDown, 0}}), Texts{});
    EXPECT_TRUE(readings.asked.empty());
}

TEST_F(AwaySensorsTest, BeginAnewIfTheyAreStartedTwice) {
    start();
    Texts others;
    sensors.start([&](const AwaySignal& signal) { others.push_back(textOf(signal)); });
    EXPECT_EQ(readings.listeners.size(), 1U);
    EXPECT_EQ(tickWith({{InputEvent::keyDown, 0}}), Texts{});
    EXPECT_EQ(others, Texts{"keyboardUsed"});
}

TEST_F(AwaySensorsTest, DropAnAnnouncementThatComesAfterTheirStop) {
    start();
    const auto late = readings.announce;
    late({.kind = Signal::wokeUp, .from = 0, .to = 0, .name = {}});
    sensors.stop();
    start();
    time.runPosted();
    EXPECT_EQ(signals, Texts{}) << "it was for an earlier watch";
    readings.announce({.kind = Signal::wokeUp, .from = 0, .to = 0, .name = {}});
    time.runPosted();
    EXPECT_EQ(signals, Texts{"wokeUp"});
}

TEST_F(AwaySensorsTest, MayBeStoppedByWhoeverHearsThem) {
    readings.now.onACPower = true;
    int heard = 0;
    sensors.start([&](const AwaySignal&) {
        ++heard;
        sensors.stop();
    });
    tick({.sinceLast = {{InputEvent::keyDown, 0}, {InputEvent::mouseMoved, 0}},
          .lidClosed = {},
          .angle = {},
          .onACPower = false});
    EXPECT_EQ(heard, 1);
}

TEST(AwaySensors, ThatAreGoneHearNothing) {
    ScriptedTime time;
    RecordedReadings readings;
    int heard = 0;
    {
        AwaySensors sensors(readings, time);
        sensors.start([&](const AwaySignal&) { ++heard; });
        readings.announce({.kind = Signal::wokeUp, .from = 0, .to = 0, .name = {}});
    }
    readings.now.sinceLast = {{InputEvent::keyDown, 0}};
    time.advanceBy(5);
    EXPECT_EQ(heard, 0);
    EXPECT_TRUE(readings.listeners.empty());
}

} // namespace
} // namespace velmoran
