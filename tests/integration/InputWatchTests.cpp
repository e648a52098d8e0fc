// Keyboard and mouse of a real X server, and of the kernel's devices as umockdev plays them.
#include "integration/UnderUmockdev.h"
#include "support/PrivateSession.h"
#include "support/Waiting.h"
#include "support/XServer.h"
#include "system/linux/away/InputTimes.h"
#include "system/linux/away/InputWatch.h"
#include "system/linux/away/XInputEvents.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <linux/input.h>
#include <unistd.h>
#include <xcb/xcb.h>

namespace velmoran {
namespace {

using support::underUmockdev;
using support::waitUntil;

struct SetClock final : Clock {
    std::atomic<double> seconds = 1000;
    Timestamp now() const override { return {seconds}; }
};

/// Without the keyboards of the machine on which this runs.
InputWatch::Places placesOf(const std::string& display, bool isWayland = false) {
    return {.display = display, .isWayland = isWayland, .seat = "seat-of-nobody"};
}

std::size_t entriesOf(const char* folder) {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder), {}));
}

class InputWatchOnX : public ::testing::Test {
protected:
    InputWatchOnX() {
        session_.need({"xdotool"});
        session_.startDisplay();
    }

    std::string display() { return session_.environment()["DISPLAY"]; }
    std::unique_ptr<InputWatch> watch() {
        return std::make_unique<InputWatch>(loop_, placesOf(display()), clock_);
    }
    bool press(const std::string& key) { return session_.run({"xdotool", "key", key}).succeeded(); }
    bool move() {
        return session_.run({"xdotool", "mousemove_relative", "--", "3", "-2"}).succeeded();
    }
    bool click(const std::string& button) {
        return session_.run({"xdotool", "click", button}).succeeded();
    }
    bool isKeyboardHeld() {
        const support::XServer server(display());
        auto* x = server.connection();
        const auto cookie = xcb_grab_keyboard(x, 0, server.root(), XCB_CURRENT_TIME,
                                              XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        auto* reply = xcb_grab_keyboard_reply(x, cookie, nullptr);
        const bool isHeld = reply && reply->status == XCB_GRAB_STATUS_ALREADY_GRABBED;
        std::free(reply); // NOLINT: xcb's replies are malloc's
        return isHeld;
    }

    support::PrivateSession session_;
    SetClock clock_;
    EventLoop loop_;
};

TEST_F(InputWatchOnX, TellsKeysMotionAndButtonsApart) {
    const auto watch = this->watch();
    EXPECT_TRUE(watch->tellsInput());
    const auto handle = watch->listen();
    EXPECT_TRUE(watch->tellsInput());
    EXPECT_FALSE(watch->sinceLast(InputEvent::keyDown));
    ASSERT_TRUE(press("a"));
    EXPECT_TRUE(waitUntil([&] { return watch->sinceLast(InputEvent::keyDown) == 0.0; }));
    EXPECT_FALSE(watch->sinceLast(InputEvent::mouseMoved));
    EXPECT_FALSE(watch->sinceLast(InputEvent::leftMouseDown));

    clock_.seconds = 1003;
    ASSERT_TRUE(move());
    EXPECT_TRUE(waitUntil([&] { return watch->sinceLast(InputEvent::mouseMoved) == 0.0; }));
    EXPECT_EQ(watch->sinceLast(InputEvent::keyDown), 3.0);
    EXPECT_FALSE(watch->sinceLast(InputEvent::leftMouseDown));

    // Which of them it was isn't known, the wheel is one of them.
    for (const auto* button : {"1", "3", "5"}) {
        clock_.seconds = clock_.seconds + 1;
        const auto heard = [&] {
            return watch->sinceLast(InputEvent::leftMouseDown) == 0.0;
        };
        // Within its rest after a press the watch hears none.
        EXPECT_TRUE(waitUntil([&] { return click(button) && heard(); })) << button;
        EXPECT_EQ(watch->sinceLast(InputEvent::scrollWheel), 0.0);
    }
    EXPECT_GT(watch->sinceLast(InputEvent::keyDown), 5.0);
}

TEST_F(InputWatchOnX, HearsWhileAScreenLockerHoldsTheKeyboard) {
    session_.need({"i3lock"});
    const auto watch = this->watch();
    const auto handle = watch->listen();
    session_.start("locker", {"i3lock", "--nofork", "--color", "336699"});
    ASSERT_TRUE(waitUntil([&] { return isKeyboardHeld(); })) << session_.logs();
    EXPECT_FALSE(watch->sinceLast(InputEvent::keyDown));
    EXPECT_FALSE(watch->sinceLast(InputEvent::mouseMoved));
    ASSERT_TRUE(press("x"));
    EXPECT_TRUE(waitUntil([&] { return watch->sinceLast(InputEvent::keyDown) == 0.0; }));
    ASSERT_TRUE(move());
    EXPECT_TRUE(waitUntil([&] { return watch->sinceLast(InputEvent::mouseMoved) == 0.0; }));
    ASSERT_TRUE(click("1"));
    EXPECT_TRUE(waitUntil(
        [&] { return click("1") && watch->sinceLast(InputEvent::leftMouseDown) == 0.0; }));
    EXPECT_TRUE(isKeyboardHeld());
}

TEST_F(InputWatchOnX, GoesOnHearingAfterARest) {
    const auto watch = this->watch();
    const auto handle = watch->listen();
    for (int round = 0; round < 3; ++round) {
        clock_.seconds = clock_.seconds + 10;
        EXPECT_TRUE(
            waitUntil([&] { return press("a") && watch->sinceLast(InputEvent::keyDown) == 0.0; }));
        EXPECT_TRUE(
            waitUntil([&] { return move() && watch->sinceLast(InputEvent::mouseMoved) == 0.0; }));
    }
}

TEST_F(InputWatchOnX, LeavesTheSameBytesForOtherKeys) {
    const auto leftBy = [this](const std::vector<std::string>& keys) {
        InputTimes times;
        std::string output;
        std::atomic<int> heard = 0;
        std::unique_ptr<XInputEvents> events;
        loop_.runAndWait([&] {
            events = std::make_unique<XInputEvents>(
                loop_, XInputConnection::to(display()),
                XInputEvents::Receiver{.used =
                                           [&](InputUse use) {
                                               times.note(use, {static_cast<double>(heard)});
                                               output += std::to_string(static_cast<int>(use));
                                               ++heard;
                                           },
                                       .lost =
                                           [] {
                                           }});
        });
        for (int count = 0; const auto& key : keys) {
            ++count;
            EXPECT_TRUE(waitUntil([&] {
                return heard >= count || !press(key) ||
                       waitUntil([&] { return heard >= count; }, support::Bound{50});
            }));
        }
        loop_.runAndWait([&] { events.reset(); });
        EXPECT_EQ(heard, static_cast<int>(keys.size()));
        std::string bytes(sizeof times, '\0');
        std::memcpy(bytes.data(), static_cast<const void*>(&times), sizeof times);
        return bytes + output;
    };
    const auto word = leftBy({"s", "e", "c", "r", "e", "t"});
    EXPECT_EQ(word, leftBy({"1", "F7", "Return", "space", "Left", "z"}));
    EXPECT_NE(word, leftBy({"s", "e", "c", "r", "e"}));
}

TEST_F(InputWatchOnX, BeginsAndEndsWithTheHandle) {
    const auto threads = entriesOf("/proc/self/task");
    const auto watch = this->watch();
    EXPECT_TRUE(watch->tellsInput());
    const auto descriptors = entriesOf("/proc/self/fd");
    EXPECT_FALSE(watch->sinceLast(InputEvent::keyDown));
    {
        auto handle = watch->listen();
        auto second = watch->listen();
        EXPECT_GT(entriesOf("/proc/self/fd"), descriptors);
        ASSERT_TRUE(press("a"));
        EXPECT_TRUE(waitUntil([&] { return watch->sinceLast(InputEvent::keyDown) == 0.0; }));
        handle.reset();
        EXPECT_TRUE(watch->sinceLast(InputEvent::keyDown));
    }
    EXPECT_FALSE(watch->sinceLast(InputEvent::keyDown));
    EXPECT_EQ(entriesOf("/proc/self/fd"), descriptors);
    EXPECT_TRUE(waitUntil([&] { return entriesOf("/proc/self/task") == threads; }));
    ASSERT_TRUE(press("b"));
    const auto again = watch->listen();
    EXPECT_FALSE(watch->sinceLast(InputEvent::keyDown)) << "heard before it was asked to";
}

TEST_F(InputWatchOnX, HearsAgainWhenTheServerIsBack) {
    const auto watch = this->watch();
    const auto handle = watch->listen();
    session_.stop("window manager");
    session_.stop("display");
    EXPECT_TRUE(waitUntil([&] { return !watch->tellsInput(); }));
    session_.start("display",
                   {"Xvfb", display(), "-screen", "0", "800x600x24", "-nolisten", "tcp"});
    EXPECT_TRUE(waitUntil([&] { return watch->tellsInput(); })) << session_.logs();
    EXPECT_TRUE(waitUntil([&] { return press("a") && watch->sinceLast(InputEvent::keyDown); }));
}

TEST_F(InputWatchOnX, WaitsForNoServerThatIsSilent) {
    const auto watch = this->watch();
    session_.child("display")->signal(SIGSTOP);
    EXPECT_FALSE(watch->tellsInput());
    {
        const auto handle = watch->listen();
        EXPECT_FALSE(watch->sinceLast(InputEvent::keyDown));
        session_.child("display")->signal(SIGCONT);
        EXPECT_TRUE(waitUntil([&] { return watch->tellsInput(); }));
        EXPECT_TRUE(waitUntil([&] { return press("a") && watch->sinceLast(InputEvent::keyDown); }));
    }
    EXPECT_TRUE(watch->tellsInput());
}

TEST_F(InputWatchOnX, DoesNotTakeAWaylandDesktopsServerForTheDesktop) {
    InputWatch watch(loop_, placesOf(display(), true), clock_);
    EXPECT_FALSE(watch.tellsInput());
    const auto handle = watch.listen();
    ASSERT_TRUE(press("a"));
    EXPECT_FALSE(watch.sinceLast(InputEvent::keyDown));
}

TEST(InputWatchWithoutX, TellsNothingWhereThereIsNeitherServerNorDevice) {
    underUmockdev([](UMockdevTestbed*) {
        EventLoop loop;
        for (const auto* display : {"", ":987", "nonsense"}) {
            InputWatch watch(loop, {.display = display});
            EXPECT_FALSE(watch.tellsInput()) << display;
            const auto handle = watch.listen();
            EXPECT_FALSE(watch.tellsInput()) << display;
            EXPECT_FALSE(watch.sinceLast(InputEvent::keyDown));
        }
    });
}

class InputWatchOnDevices : public ::testing::Test {
protected:
    /// `kinds` as udev names them, "ID_INPUT_KEYBOARD".
    static std::string add(UMockdevTestbed* testbed, int number,
                           const std::vector<std::string>& kinds, const std::string& more = {}) {
        const auto name = "event" + std::to_string(number);
        const auto path = "/devices/platform/input" + std::to_string(number) + '/' + name;
        std::string text =
            "P: " + path + "\nN: input/" + name + "\nE: SUBSYSTEM=input\nE: DEVNAME=/dev/input/" +
            name + "\nE: ID_INPUT=1\nA: dev=13:" + std::to_string(64 + number) + '\n' + more;
        for (const auto& kind : kinds) {
            text += "E: " + kind + "=1\n";
        }
        EXPECT_TRUE(umockdev_testbed_add_from_string(testbed, (text + "\n").c_str(), nullptr));
        return "/sys" + path;
    }
    static void send(UMockdevTestbed* testbed, int number, int type, int code, int value) {
        const auto node = "/dev/input/event" + std::to_string(number);
        const int device = umockdev_testbed_get_dev_fd(testbed, node.c_str());
        input_event event{};
        event.type = static_cast<std::uint16_t>(type);
        event.code = static_cast<std::uint16_t>(code);
        event.value = value;
        ASSERT_EQ(::write(device, &event, sizeof event), static_cast<ssize_t>(sizeof event));
    }

    SetClock clock_;
    EventLoop loop_;
};

TEST_F(InputWatchOnDevices, TellsByWhatADeviceIs) {
    underUmockdev([this](UMockdevTestbed* testbed) {
        add(testbed, 3, {"ID_INPUT_KEYBOARD", "ID_INPUT_KEY"});
        add(testbed, 4, {"ID_INPUT_MOUSE"});
        add(testbed, 5, {"ID_INPUT_KEY"}); // a power button
        InputWatch watch(loop_, {}, clock_);
        EXPECT_TRUE(watch.tellsInput());
        const auto handle = watch.listen();
        send(testbed, 5, EV_KEY, KEY_POWER, 1);
        send(testbed, 3, EV_KEY, KEY_L, 0);
        send(testbed, 3, EV_MSC, MSC_SCAN, 38);
        send(testbed, 4, EV_REL, REL_X, 2);
        EXPECT_TRUE(waitUntil([&] { return watch.sinceLast(InputEvent::mouseMoved) == 0.0; }));
        EXPECT_FALSE(watch.sinceLast(InputEvent::keyDown));
        EXPECT_FALSE(watch.sinceLast(InputEvent::leftMouseDown));
        clock_.seconds = 1002;
        send(testbed, 3, EV_KEY, KEY_A, 1);
        EXPECT_TRUE(waitUntil([&] { return watch.sinceLast(InputEvent::keyDown) == 0.0; }));
        EXPECT_EQ(watch.sinceLast(InputEvent::mouseMoved), 2.0);
        send(testbed, 4, EV_KEY, BTN_LEFT, 1);
        EXPECT_TRUE(waitUntil([&] { return watch.sinceLast(InputEvent::leftMouseDown) == 0.0; }));
    });
}

TEST_F(InputWatchOnDevices, HearsThoseThatComeLater) {
    underUmockdev([this](UMockdevTestbed* testbed) {
        add(testbed, 4, {"ID_INPUT_TOUCHPAD"});
        InputWatch watch(loop_, {}, clock_);
        const auto handle = watch.listen();
        const auto keyboard = add(testbed, 7, {"ID_INPUT_KEYBOARD"});
        umockdev_testbed_uevent(testbed, keyboard.c_str(), "add");
        send(testbed, 7, EV_KEY, KEY_A, 1);
        EXPECT_TRUE(waitUntil([&] { return watch.sinceLast(InputEvent::keyDown) == 0.0; }));
    });
}

TEST_F(InputWatchOnDevices, AreThoseOfThisSeat) {
    underUmockdev([this](UMockdevTestbed* testbed) {
        add(testbed, 3, {"ID_INPUT_KEYBOARD"}, "E: ID_SEAT=seat1\n");
        add(testbed, 4, {"ID_INPUT_MOUSE"});
        InputWatch here(loop_, {}, clock_);
        InputWatch there(loop_, {.display = {}, .isWayland = false, .seat = "seat1"}, clock_);
        InputWatch nowhere(loop_, {.display = {}, .isWayland = false, .seat = "seat2"}, clock_);
        EXPECT_FALSE(nowhere.tellsInput());
        const auto handle = here.listen();
        const auto other = there.listen();
        send(testbed, 3, EV_KEY, KEY_A, 1);
        EXPECT_TRUE(waitUntil([&] { return there.sinceLast(InputEvent::keyDown) == 0.0; }));
        send(testbed, 4, EV_REL, REL_Y, 1);
        EXPECT_TRUE(waitUntil([&] { return here.sinceLast(InputEvent::mouseMoved) == 0.0; }));
        EXPECT_FALSE(here.sinceLast(InputEvent::keyDown));
        EXPECT_FALSE(there.sinceLast(InputEvent::mouseMoved));
    });
}

TEST_F(InputWatchOnDevices, TellsNothingOfThoseThatMayNotBeRead) {
    underUmockdev([this](UMockdevTestbed* testbed) {
        add(testbed, 3, {"ID_INPUT_KEYBOARD"});
        add(testbed, 4, {"ID_INPUT_MOUSE"});
        gchar* root = umockdev_testbed_get_root_dir(testbed);
        const std::string node = std::string(root) + "/dev/input/event3";
        g_free(root);
        InputWatch watch(loop_, {}, clock_);
        EXPECT_TRUE(watch.tellsInput());
        // A link that leads nowhere can't be read by anybody, root among them.
        std::filesystem::remove(node);
        EXPECT_FALSE(watch.tellsInput());
        const auto handle = watch.listen();
        EXPECT_FALSE(watch.sinceLast(InputEvent::keyDown));
    });
}

} // namespace
} // namespace velmoran
