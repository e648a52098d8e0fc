#include "app/shell/AppDelegate.h"
#include "app/shell/shortcut/PortalShortcut.h"
#include "app/shell/shortcut/StopShortcut.h"
#include "integration/desktop/Desktop.h"

#include <QAbstractNativeEventFilter>
#include <algorithm>
#include <csignal>
#include <gmock/gmock.h>
#include <xcb/xcb.h>

namespace velmoran {
namespace {

constexpr const char* keys = "ctrl+alt+super+period";
constexpr std::uint16_t held = XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1 | XCB_MOD_MASK_4;
constexpr std::uint8_t periodKey = 60; ///< on the server's usual keyboard
constexpr std::uint8_t dvorakPeriodKey = 26;

/// Another program that takes keys for itself.
class OtherProgram {
public:
    explicit OtherProgram(const std::string& display) : server_(display) {}

    [[nodiscard]] bool grab(std::uint16_t modifiers, std::uint8_t key = periodKey) {
        auto* x = server_.connection();
        auto* error =
            xcb_request_check(x, xcb_grab_key_checked(x, 0, server_.root(), modifiers, key,
                                                      XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC));
        const bool done = error == nullptr;
        std::free(error);
        return done;
    }

private:
    support::XServer server_;
};

struct KeyCounter : QAbstractNativeEventFilter {
    int presses = 0;

    KeyCounter() { QCoreApplication::instance()->installNativeEventFilter(this); }
    ~KeyCounter() override { QCoreApplication::instance()->removeNativeEventFilter(this); }
    bool nativeEventFilter(const QByteArray&, void* message, qintptr*) override {
        const auto* event = static_cast<const xcb_generic_event_t*>(message);
        presses += (event->response_type & 0x7F) == XCB_KEY_PRESS;
        return false;
    }
};

struct ShortcutOnX11 : DesktopFixture {
    StopShortcut shortcut;
    int presses = 0;

    bool switchOn() {
        return shortcut.set(true, [this] { ++presses; });
    }
    void press() {
        hand({"key", keys});
        drainEvents();
    }
    bool comes(int count) {
        return eventually([&] { return presses == count; });
    }
};

TEST_F(ShortcutOnX11, AKeyPressInAnotherProgramRunsTheAction) {
    startEditor();
    ASSERT_TRUE(switchOn());
    hand({"key", keys});
    EXPECT_TRUE(comes(1));
    hand({"key", keys});
    EXPECT_TRUE(comes(2));
}

TEST_F(ShortcutOnX11, FewerKeysAreNotIt) {
    ASSERT_TRUE(switchOn());
    hand({"key", "ctrl+alt+period", "key", "alt+super+period", "key", "ctrl+super+period"});
    press();
    EXPECT_TRUE(comes(1));
}

TEST_F(ShortcutOnX11, WorksWithCapsAndNumLock) {
    ASSERT_TRUE(switchOn());
    for (int state = 0; state < 4; ++state) {
        hand({"key", "Num_Lock"});
        if (state == 2) {
            hand({"key", "Caps_Lock"});
        }
        hand({"key", keys});
        EXPECT_TRUE(comes(state + 1)) << state;
    }
    hand({"key", "Caps_Lock"});
}

TEST_F(ShortcutOnX11, SwitchedOffItDoesNothingAndFreesTheKeys) {
    ASSERT_TRUE(switchOn());
    EXPECT_TRUE(shortcut.set(false, [] {}));
    KeyCounter counter;
    press();
    EXPECT_EQ(counter.presses, 0);
    EXPECT_EQ(presses, 0);
    OtherProgram other(session.environment()["DISPLAY"]);
    EXPECT_TRUE(other.grab(held));
}

TEST_F(ShortcutOnX11, SwitchedOnAgainItRunsOnceForEachPress) {
    ASSERT_TRUE(switchOn());
    ASSERT_TRUE(switchOn());
    EXPECT_TRUE(shortcut.set(false, [] {}));
    ASSERT_TRUE(switchOn());
    press();
    EXPECT_TRUE(comes(1));
    press();
    EXPECT_TRUE(comes(2));
}

TEST_F(ShortcutOnX11, TheLastActionIsTheOneThatRuns) {
    int others = 0;
    ASSERT_TRUE(shortcut.set(true, [&] { ++others; }));
    ASSERT_TRUE(switchOn());
    press();
    EXPECT_TRUE(comes(1));
    EXPECT_EQ(others, 0);
}

TEST_F(ShortcutOnX11, AKeyThatIsHeldIsOnePress) {
    ASSERT_TRUE(switchOn());
    KeyCounter counter;
    hand({"keydown", "ctrl", "keydown", "alt", "keydown", "super", "keydown", "period"});
    EXPECT_TRUE(eventually([&] { return counter.presses >= 4; }));
    hand({"keyup", "period", "keyup", "super", "keyup", "alt", "keyup", "ctrl"});
    drainEvents();
    EXPECT_EQ(presses, 1);
    press();
    EXPECT_TRUE(comes(2));
}

TEST_F(ShortcutOnX11, IsRefusedWhereAnotherProgramHasTheKeys) {
    OtherProgram other(session.environment()["DISPLAY"]);
    ASSERT_TRUE(other.grab(held));
    EXPECT_FALSE(switchOn());
    press();
    EXPECT_EQ(presses, 0);
}

TEST_F(ShortcutOnX11, OneOfTheFourStatesRefusedLeavesNoneTaken) {
    OtherProgram other(session.environment()["DISPLAY"]);
    ASSERT_TRUE(other.grab(held | XCB_MOD_MASK_LOCK));
    EXPECT_FALSE(switchOn());
    OtherProgram third(session.environment()["DISPLAY"]);
    EXPECT_TRUE(third.grab(held));
    EXPECT_TRUE(third.grab(held | XCB_MOD_MASK_2));
    EXPECT_TRUE(third.grab(held | XCB_MOD_MASK_2 | XCB_MOD_MASK_LOCK));
    press();
    EXPECT_EQ(presses, 0);
}

TEST_F(ShortcutOnX11, TheActionMaySwitchItOff) {
    ASSERT_TRUE(shortcut.set(true, [&] {
        ++presses;
        shortcut.set(false, nullptr);
    }));
    press();
    EXPECT_TRUE(comes(1));
    press();
    EXPECT_EQ(presses, 1);
}

struct ShortcutOnAnotherKeyboard : ShortcutOnX11 {
    void layout(const std::string& variant) {
        ASSERT_TRUE(session.run({"setxkbmap", "us", "-variant", variant}).succeeded());
    }
    void TearDown() override { layout(""); }
};

TEST_F(ShortcutOnAnotherKeyboard, FollowsTheDotToItsNewKey) {
    ASSERT_TRUE(switchOn());
    layout("dvorak");
    // The old key is free as soon as the new one is taken.
    OtherProgram other(session.environment()["DISPLAY"]);
    ASSERT_TRUE(eventually([&] { return other.grab(held, periodKey); }));
    hand({"key", "ctrl+alt+super+" + std::to_string(dvorakPeriodKey)});
    EXPECT_TRUE(comes(1));
}

TEST_F(ShortcutOnAnotherKeyboard, TellsWhenTheNewKeyIsAnotherPrograms) {
    OtherProgram other(session.environment()["DISPLAY"]);
    ASSERT_TRUE(other.grab(held, dvorakPeriodKey));
    int lost = 0;
    shortcut.onLost = [&] {
        ++lost;
    };
    ASSERT_TRUE(switchOn());
    layout("dvorak");
    EXPECT_TRUE(eventually([&] { return lost == 1; }));
}

/// The whole program, on a scripted machine.
struct ProgramWithShortcut : testing::ModelFixture {
    support::PrivateSession& session = desktopSession();
    QtEventLoop loop;
    std::unique_ptr<AppDelegate> delegate;

    void start(std::function<bool()> refusesShortcut = {}) {
        settings.setBoolean("stopShortcutOn", true);
        delegate = std::make_unique<AppDelegate>(
            ModelSurroundings{machine, loop, loop, settings,
                              [this] {
                                  return store;
                              }},
            AppPicture(), AppDelegate::Outside{.refusesShortcut = std::move(refusesShortcut)});
        delegate->didFinishLaunching({.isUnasked = true});
    }
};

TEST_F(ProgramWithShortcut, StopsByARealKeyPress) {
    start();
    ASSERT_FALSE(*delegate->model().stopShortcutUnavailable);
    delegate->model().receive({});
    delegate->model().receive(microphone({testing::appRef("Zoom")}));
    ASSERT_TRUE(session.run({"xdotool", "key", keys}).succeeded());
    EXPECT_TRUE(eventually([&] {
        const auto& items = delegate->model().notices.items();
        return !items.empty() && items.back().title == "Microphone muted. Zoom was closed.";
    }));
    EXPECT_TRUE(*delegate->model().settings.microphoneMuted);
}

TEST_F(ProgramWithShortcut, IsToldThatTheKeysAreTaken) {
    auto other = std::make_unique<OtherProgram>(session.environment()["DISPLAY"]);
    ASSERT_TRUE(other->grab(held));
    start();
    EXPECT_TRUE(*delegate->model().stopShortcutUnavailable);
    other.reset();
    // Nothing is tried again by itself, only by the next choice.
    EXPECT_TRUE(*delegate->model().stopShortcutUnavailable);
    delegate->model().settings.stopShortcutOn.set(false);
    EXPECT_FALSE(*delegate->model().stopShortcutUnavailable);
    EXPECT_TRUE(eventually([&] {
        delegate->model().settings.stopShortcutOn.set(false);
        delegate->model().settings.stopShortcutOn.set(true);
        return !*delegate->model().stopShortcutUnavailable;
    }));
}

TEST_F(ProgramWithShortcut, LeavesTheKeysWhereThePlayedMachineRefusesThem) {
    start([] { return true; });
    EXPECT_TRUE(*delegate->model().stopShortcutUnavailable);
    EXPECT_TRUE(OtherProgram(session.environment()["DISPLAY"]).grab(held));
    delegate->model().settings.stopShortcutOn.set(false);
    EXPECT_FALSE(*delegate->model().stopShortcutUnavailable);
}

struct ShortcutOnWayland : DesktopFixture {
    StopShortcut shortcut{true};
    int presses = 0;
    int lost = 0;

    static void SetUpTestSuite() { desktopSession().need({"xdotool", "xev", "gdbus"}); }

    ShortcutOnWayland() {
        shortcut.onLost = [this] {
            ++lost;
        };
    }

    bool switchOn() {
        return shortcut.set(true, [this] { ++presses; });
    }
    void startPortal(const std::string& manner) {
        session.start("portal", {"/usr/bin/python3", FAKE_PORTAL, manner});
        ASSERT_TRUE(eventually([&] { return said("ready"); })) << session.logs();
    }
    bool said(const std::string& what) {
        return session.child("portal")->output().find(what) != std::string::npos;
    }
    std::string sessionPath() {
        const auto output = session.child("portal")->output();
        const auto start = output.find("session ") + 8;
        return output.substr(start, output.find('\n', start) - start);
    }
    void press(const std::string& path, const std::string& name) { ask("Press", {path, name}); }
    void ask(const std::string& method, const std::vector<std::string>& arguments) {
        std::vector<std::string> command{"gdbus",
                                         "call",
                                         "--session",
                                         "-d",
                                         "org.freedesktop.portal.Desktop",
                                         "-o",
                                         "/org/freedesktop/portal/desktop",
                                         "-m",
                                         "org.velmoran.FakePortal." + method};
        command.insert(command.end(), arguments.begin(), arguments.end());
        const auto finished = session.run(command);
        ASSERT_TRUE(finished.succeeded()) << finished.errors;
    }
};

TEST_F(ShortcutOnWayland, WithoutAPortalThereIsNone) {
    EXPECT_TRUE(switchOn());
    EXPECT_TRUE(eventually([&] { return lost == 1; }));
}

TEST_F(ShortcutOnWayland, WithoutABusThereIsNone) {
    const auto before = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere/bus");
    EXPECT_FALSE(switchOn());
    qputenv("DBUS_SESSION_BUS_ADDRESS", before);
}

/// Where a server is frozen.
struct ShortcutOnWaylandThatHangs : ShortcutOnWayland {};

TEST_F(ShortcutOnWaylandThatHangs, WaitsForNobodyWhereTheBusOrThePortalHangs) {
    startPortal("grant");
    session.child("bus")->signal(SIGSTOP);
    session.child("portal")->signal(SIGSTOP);
    // Nothing comes from either before this thread lets it.
    ASSERT_TRUE(switchOn());
    ASSERT_TRUE(shortcut.set(false, nullptr));
    ASSERT_TRUE(switchOn());
    session.child("bus")->signal(SIGCONT);
    EXPECT_FALSE(said("session "));
    session.child("portal")->signal(SIGCONT);
    EXPECT_TRUE(eventually([&] { return said("bind "); })) << session.logs();
    EXPECT_EQ(lost, 0);
}

TEST_F(ShortcutOnWayland, ThePortalIsAskedAndItsKeysRunTheAction) {
    startPortal("grant");
    ASSERT_TRUE(switchOn());
    ASSERT_TRUE(eventually([&] {
        return said("bind stop CTRL+ALT+LOGO+period Stop camera and microphone\n");
    })) << session.logs();
    press(sessionPath(), "another");
    press(sessionPath() + "x", "stop");
    press(sessionPath(), "stop");
    EXPECT_TRUE(eventually([&] { return presses == 1; }));
    EXPECT_EQ(lost, 0);
    EXPECT_TRUE(shortcut.set(false, nullptr));
    EXPECT_TRUE(eventually([&] { return said("close\n"); }));
}

TEST_F(ShortcutOnWayland, ASessionThatIsOnlyJustAskedForIsClosedToo) {
    for (const char* manner : {"no-response", "silent"}) {
        startPortal(manner);
        ASSERT_TRUE(switchOn());
        ASSERT_TRUE(eventually([&] { return said("session "); })) << manner;
        EXPECT_TRUE(shortcut.set(false, nullptr));
        EXPECT_TRUE(eventually([&] { return said("close\n"); })) << manner << session.logs();
        session.stop("portal");
    }
    EXPECT_EQ(lost, 0);
}

TEST_F(ShortcutOnWayland, ASessionWhoseShortcutIsRefusedIsClosed) {
    startPortal("no-shortcut");
    ASSERT_TRUE(switchOn());
    ASSERT_TRUE(eventually([&] { return lost == 1; }));
    EXPECT_TRUE(eventually([&] { return said("close\n"); })) << session.logs();
}

TEST_F(ShortcutOnWayland, NoAnswerInTimeIsARefusal) {
    for (const char* manner : {"no-response", "silent"}) {
        startPortal(manner);
        int refused = 0;
        PortalShortcut portal([] {}, [&] { ++refused; }, std::chrono::milliseconds(200));
        ASSERT_TRUE(portal.ask());
        EXPECT_TRUE(eventually([&] { return refused == 1; })) << manner;
        session.stop("portal");
    }
}

TEST_F(ShortcutOnWayland, ThePortalMayWithdrawIt) {
    startPortal("grant");
    ASSERT_TRUE(switchOn());
    ASSERT_TRUE(eventually([&] { return said("bind "); }));
    ask("Withdraw", {sessionPath()});
    EXPECT_TRUE(eventually([&] { return lost == 1; }));
}

TEST_F(ShortcutOnWayland, NobodyButThePortalPressesIt) {
    startPortal("grant");
    ASSERT_TRUE(switchOn());
    ASSERT_TRUE(eventually([&] { return said("bind "); }));
    const auto path = sessionPath();
    // The program's own name on the bus stands in the path: …/session/1_23/token.
    auto own = path.substr(0, path.rfind('/'));
    own = ":" + own.substr(own.rfind('/') + 1);
    std::replace(own.begin(), own.end(), '_', '.');
    const auto finished =
        session.run({"gdbus", "emit", "--session", "--dest", own, "--object-path",
                     "/org/freedesktop/portal/desktop", "--signal",
                     "org.freedesktop.portal.GlobalShortcuts.Activated",
                     "objectpath '" + path + "'", "'stop'", "uint64 1", "@a{sv} {}"});
    ASSERT_TRUE(finished.succeeded()) << finished.errors;
    press(path, "stop");
    ASSERT_TRUE(eventually([&] { return presses > 0; }));
    EXPECT_EQ(presses, 1);
}

TEST_F(ShortcutOnWayland, ThePressMaySwitchItOff) {
    startPortal("grant");
    ASSERT_TRUE(shortcut.set(true, [&] {
        ++presses;
        shortcut.set(false, nullptr);
    }));
    ASSERT_TRUE(eventually([&] { return said("bind "); }));
    press(sessionPath(), "stop");
    EXPECT_TRUE(eventually([&] { return presses == 1 && said("close\n"); }));
}

TEST_F(ShortcutOnWayland, ARefusalComesLater) {
    for (const char* manner : {"error", "no-session", "no-shortcut"}) {
        startPortal(manner);
        lost = 0;
        EXPECT_TRUE(switchOn()) << manner;
        EXPECT_TRUE(eventually([&] { return lost == 1; })) << manner << session.logs();
        session.stop("portal");
    }
}

TEST_F(ShortcutOnWayland, APortalThatGoesAwayTakesTheShortcutWithIt) {
    startPortal("grant");
    ASSERT_TRUE(switchOn());
    ASSERT_TRUE(eventually([&] { return said("bind "); }));
    session.stop("portal");
    EXPECT_TRUE(eventually([&] { return lost == 1; }));
}

/// Switches the shortcut off when the word of its loss has been sent and hasn't arrived.
struct SwitchesOffJustBefore : QObject {
    StopShortcut& shortcut;
    bool done = false;

    explicit SwitchesOffJustBefore(StopShortcut& given) : shortcut(given) {
        shortcut.installEventFilter(this);
    }
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::MetaCall && !done) {
            done = shortcut.set(false, nullptr);
        }
        return false;
    }
};

TEST_F(ShortcutOnWayland, WhatIsOffIsNotLostAnyMore) {
    SwitchesOffJustBefore before(shortcut);
    startPortal("grant");
    ASSERT_TRUE(switchOn());
    ASSERT_TRUE(eventually([&] { return said("bind "); }));
    session.stop("portal");
    ASSERT_TRUE(eventually([&] { return before.done; }));
    EXPECT_EQ(lost, 0);
}

} // namespace
} // namespace velmoran
