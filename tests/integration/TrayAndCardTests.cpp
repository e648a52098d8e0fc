// The tray icon, the panel and the cards as a window manager, a tray and a mouse see them. What is
// told comes from a recording, so that no sound server is needed.
#include "support/FocusedWindow.h"
#include "support/PrivateSession.h"
#include "support/XServer.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <string>

namespace velmoran {
namespace {

using support::PrivateSession;
using support::waitUntil;

struct Place {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

class Desktop : public ::testing::Test {
protected:
    Desktop() {
        session_.startDisplay();
        display_ = std::make_unique<support::XServer>(session_.environment()["DISPLAY"]);
        std::ofstream(session_.file("recording.jsonl"))
            << "{\"at\": 0, \"snapshot\": {}}\n"
               "{\"at\": 0.5, \"snapshot\": {\"microphoneOn\": true, \"microphoneApps\": "
               "[{\"name\": \"Zoom\", \"path\": \"/opt/zoom\"}]}}\n"
               "{\"at\": 600, \"wait\": true}\n";
    }

    void startTray(const std::string& edge) {
        session_.start("tray", {"trayer", "--edge", edge, "--align", "right", "--width", "20",
                                "--height", "32"});
        ASSERT_TRUE(waitUntil([&] { return display_->hasTray(); })) << session_.logs();
    }

    void startVelmoran() {
        session_.start("velmoran", {VELMORAN, "--demo", session_.file("recording.jsonl").string()});
    }

    /// And the panel, and windows.
    std::vector<std::uint32_t> cards() {
        auto windows = display_->visibleWindows("velmoran");
        std::erase_if(windows, [&](std::uint32_t window) { return display_->isEmbedded(window); });
        return windows;
    }

    [[nodiscard]] bool cardComes() {
        return waitUntil([&] { return cards().size() == 1; });
    }

    /// Waits until two looks at it give the same, since a window manager moves what it is handed.
    Place placeOf(std::uint32_t window) {
        Place place;
        EXPECT_TRUE(waitUntil([&] {
            const auto before = place;
            std::map<std::string, int> numbers;
            std::istringstream lines(
                session_.run({"xdotool", "getwindowgeometry", "--shell", std::to_string(window)})
                    .output);
            for (std::string line; std::getline(lines, line);) {
                const auto equals = line.find('=');
                numbers[line.substr(0, equals)] = std::atoi(line.c_str() + equals + 1);
            }
            place = {numbers["X"], numbers["Y"], numbers["WIDTH"], numbers["HEIGHT"]};
            return place.width > 0 && place.x == before.x && place.y == before.y;
        }));
        return place;
    }

    void playNothing() {
        std::ofstream(session_.file("recording.jsonl"))
            << "{\"at\": 0, \"snapshot\": {}}\n{\"at\": 600, \"wait\": true}\n";
    }

    bool isListed(std::uint32_t window) {
        auto listed = session_.run({"xprop", "-root", "_NET_CLIENT_LIST"}).output;
        std::ranges::replace(listed, '\n', ',');
        EXPECT_NE(listed.find("window id"), std::string::npos) << listed;
        std::ostringstream id;
        id << std::hex << "0x" << window;
        return listed.find(id.str() + ",") != std::string::npos;
    }

    std::string focused() { return session_.run({"xdotool", "getwindowfocus"}).output; }

    void click(int x, int y) {
        EXPECT_TRUE(
            session_
                .run({"xdotool", "mousemove", std::to_string(x), std::to_string(y), "click", "1"})
                .succeeded());
    }

    PrivateSession session_;
    std::unique_ptr<support::XServer> display_;
};

TEST_F(Desktop, ACardLeavesTheFocusWhereItIsAndAnswersTheFirstClick) {
    startTray("top");
    ASSERT_NE(support::startFocusedWindow(session_), 0U) << session_.logs();
    const auto before = focused();

    startVelmoran();
    ASSERT_TRUE(cardComes()) << session_.logs();
    EXPECT_EQ(focused(), before);
    const auto card = placeOf(cards().front());
    EXPECT_EQ(card.width, 368);
    // The cross: 8 from the card's edges, which are 12 inside the window's, and 20 wide.
    click(card.x + card.width - 12 - 8 - 10, card.y + 12 + 8 + 10);
    EXPECT_TRUE(waitUntil([&] { return cards().empty(); }));
    EXPECT_EQ(focused(), before);
    EXPECT_EQ(session_.child("velmoran")->stop(), 0) << session_.logs();
}

TEST_F(Desktop, NoTaskbarListsACard) {
    startTray("top");
    startVelmoran();
    ASSERT_TRUE(cardComes()) << session_.logs();
    EXPECT_FALSE(isListed(cards().front()));
}

TEST_F(Desktop, NoTaskbarListsThePanelEitherTime) {
    startTray("top");
    playNothing();
    startVelmoran();
    ASSERT_TRUE(waitUntil([&] { return display_->dockedIcons().size() == 1; })) << session_.logs();
    const auto icon = placeOf(display_->dockedIcons().front());
    for (int time = 0; time < 2; ++time) {
        click(icon.x + icon.width / 2, icon.y + icon.height / 2);
        ASSERT_TRUE(cardComes()) << session_.logs();
        EXPECT_FALSE(isListed(cards().front()));
        click(icon.x + icon.width / 2, icon.y + icon.height / 2);
        ASSERT_TRUE(waitUntil([&] { return cards().empty(); }));
    }
}

TEST_F(Desktop, TheCardStandsUnderATrayAtTheTop) {
    startTray("top");
    startVelmoran();
    ASSERT_TRUE(cardComes()) << session_.logs();
    const auto card = placeOf(cards().front());
    const auto icon = placeOf(display_->dockedIcons().front());
    EXPECT_EQ(card.y, icon.y + icon.height + 2);
    EXPECT_EQ(card.x + card.width, 1280 - 4);
}

TEST_F(Desktop, TheCardStandsAboveATrayAtTheBottom) {
    startTray("bottom");
    startVelmoran();
    ASSERT_TRUE(cardComes()) << session_.logs();
    const auto card = placeOf(cards().front());
    const auto icon = placeOf(display_->dockedIcons().front());
    EXPECT_EQ(card.y + card.height, icon.y - 2);
    EXPECT_EQ(card.x + card.width, 1280 - 4);
}

TEST_F(Desktop, AClickOnTheIconShowsThePanelUnderItAndASecondOneClosesIt) {
    startTray("top");
    playNothing();
    startVelmoran();
    ASSERT_TRUE(waitUntil([&] { return display_->dockedIcons().size() == 1; })) << session_.logs();
    const auto icon = placeOf(display_->dockedIcons().front());
    for (int time = 0; time < 3; ++time) {
        click(icon.x + icon.width / 2, icon.y + icon.height / 2);
        ASSERT_TRUE(cardComes()) << session_.logs();
        const auto panel = placeOf(cards().front());
        EXPECT_EQ(panel.y, icon.y + icon.height + 2);
        EXPECT_EQ(panel.x + panel.width, 1280 - 4);
        click(icon.x + icon.width / 2, icon.y + icon.height / 2);
        EXPECT_TRUE(waitUntil([&] { return cards().empty(); }));
    }
}

TEST_F(Desktop, ThePanelTakesTheKeyboardAndGivesItBack) {
    startTray("bottom");
    playNothing();
    ASSERT_NE(support::startFocusedWindow(session_), 0U) << session_.logs();
    const auto before = focused();
    startVelmoran();
    ASSERT_TRUE(waitUntil([&] { return display_->dockedIcons().size() == 1; })) << session_.logs();
    const auto icon = placeOf(display_->dockedIcons().front());
    click(icon.x + icon.width / 2, icon.y + icon.height / 2);
    ASSERT_TRUE(cardComes()) << session_.logs();
    const auto panel = placeOf(cards().front());
    EXPECT_EQ(panel.y + panel.height, icon.y - 2);
    ASSERT_TRUE(session_.run({"xdotool", "key", "Escape"}).succeeded());
    EXPECT_TRUE(waitUntil([&] { return cards().empty(); }));
    EXPECT_EQ(focused(), before);
    click(icon.x + icon.width / 2, icon.y + icon.height / 2);
    ASSERT_TRUE(cardComes()) << session_.logs();
    click(640, 20);
    EXPECT_TRUE(waitUntil([&] { return cards().empty(); }));
    EXPECT_EQ(focused(), before);
}

TEST_F(Desktop, ASecondStartLetsTheFirstShowItself) {
    startTray("top");
    session_.start("velmoran", {VELMORAN, "--login-start"});
    ASSERT_TRUE(waitUntil([&] { return display_->dockedIcons().size() == 1; })) << session_.logs();
    EXPECT_EQ(session_.run({VELMORAN, "--login-start"}).status, 0);
    EXPECT_TRUE(cards().empty());
    const auto second = session_.run({VELMORAN});
    EXPECT_EQ(second.status, 0) << second.errors;
    EXPECT_TRUE(cardComes()) << session_.logs();
    EXPECT_TRUE(isListed(cards().front())) << "it is a window";
    EXPECT_EQ(session_.run({VELMORAN, "--show", "history"}).status, 0);
    EXPECT_TRUE(waitUntil([&] { return cards().size() == 2; })) << session_.logs();
    EXPECT_EQ(session_.run({VELMORAN, "--show", "settings"}).status, 0);
    EXPECT_TRUE(waitUntil([&] { return cards().size() == 3; })) << session_.logs();
    EXPECT_EQ(display_->dockedIcons().size(), 1U);
}

TEST_F(Desktop, RunsOnWhenItsLastWindowIsClosed) {
    startTray("top");
    auto& program = session_.start("velmoran", {VELMORAN});
    ASSERT_TRUE(waitUntil([&] { return display_->dockedIcons().size() == 1; })) << session_.logs();
    ASSERT_TRUE(cardComes()) << session_.logs();
    const auto window = std::to_string(cards().front());
    ASSERT_TRUE(session_.run({"xdotool", "windowactivate", "--sync", window}).succeeded());
    ASSERT_TRUE(session_.run({"xdotool", "key", "ctrl+w"}).succeeded());
    EXPECT_TRUE(waitUntil([&] { return cards().empty(); })) << session_.logs();
    EXPECT_EQ(session_.run({VELMORAN, "--show", "history"}).status, 0) << "it answers";
    EXPECT_TRUE(cardComes()) << session_.logs();
    EXPECT_TRUE(program.running());
}

TEST_F(Desktop, WithoutATrayItSaysSoAndShowsCardsAtTheTopRight) {
    startVelmoran();
    ASSERT_TRUE(cardComes()) << session_.logs();
    const auto card = placeOf(cards().front());
    EXPECT_EQ(card.x + card.width, 1280 - 4);
    EXPECT_EQ(card.y, 2);
    EXPECT_TRUE(waitUntil([&] {
        return session_.logs().find("there is no tray on this desktop") != std::string::npos;
    })) << session_.logs();
    EXPECT_TRUE(session_.child("velmoran")->running());
}

TEST_F(Desktop, TheCardIsLaidOutAnewWhenTheScreenOrItsBarsChange) {
    startVelmoran();
    ASSERT_TRUE(cardComes()) << session_.logs();
    const auto stands = [&](int right, int top) {
        return waitUntil([&] {
            const auto card = placeOf(cards().front());
            return card.x + card.width == right - 4 && card.y == top + 2;
        });
    };
    const auto screen = [&](std::vector<std::string> does) {
        does.insert(does.begin(), "xrandr");
        const auto finished = session_.run(does);
        ASSERT_TRUE(finished.succeeded()) << finished.errors;
    };
    EXPECT_TRUE(stands(1280, 0));
    screen(
        {"--newmode", "small", "60", "1024", "1025", "1026", "1027", "600", "601", "602", "603"});
    screen({"--addmode", "screen", "small"});
    screen({"--output", "screen", "--mode", "small"});
    EXPECT_TRUE(stands(1024, 0)) << session_.logs();
    // As a bar at the top and one at the right would.
    session_.start("bars", {"xprop", "-root", "-f", "_NET_WORKAREA", "32c", "-set", "_NET_WORKAREA",
                            "0, 40, 980, 560"});
    EXPECT_TRUE(stands(980, 40)) << session_.logs();
    screen({"--output", "screen", "--mode", "1280x800"});
    EXPECT_TRUE(stands(1280, 0)) << session_.logs();
}

/// A tray of the new kind, played on the session bus: a watcher to which items announce themselves.
class NotifierDesktop : public Desktop {
protected:
    NotifierDesktop() { session_.startBus(); }

    void startWatcher() {
        session_.start("watcher",
                       {"/usr/bin/python3", "-m", "dbusmock", "--session", service, path, service});
        ASSERT_TRUE(waitUntil([&] {
            return session_.run({"gdbus", "introspect", "--session", "-d", service, "-o", path})
                .succeeded();
        })) << session_.logs();
        mock({"AddMethod", "", "RegisterStatusNotifierItem", "s", "", ""});
    }

    /// A bar comes that shows items.
    void startBar() {
        mock({"AddProperty", service, "IsStatusNotifierHostRegistered", "<true>"});
        mock({"EmitSignal", service, "StatusNotifierHostRegistered", "", "@av []"});
    }

    void mock(std::vector<std::string> call) {
        std::vector<std::string> arguments{"gdbus", "call", "--session", "-d",
                                           service, "-o",   path,        "-m"};
        call.front() = "org.freedesktop.DBus.Mock." + call.front();
        arguments.insert(arguments.end(), call.begin(), call.end());
        const auto finished = session_.run(arguments);
        ASSERT_TRUE(finished.succeeded()) << finished.errors;
    }

    [[nodiscard]] bool itemIsRegistered() {
        return session_.child("watcher")->output().find("RegisterStatusNotifierItem") !=
               std::string::npos;
    }

    /// The name under which the item has announced itself.
    std::string registeredItem() {
        const auto log = session_.child("watcher")->output();
        const auto call = log.find("RegisterStatusNotifierItem");
        const auto begin = log.find('"', call);
        return begin == std::string::npos
                   ? std::string()
                   : log.substr(begin + 1, log.find('"', begin + 1) - begin - 1);
    }

    const std::string service = "org.kde.StatusNotifierWatcher";
    const std::string path = "/StatusNotifierWatcher";
};

TEST_F(NotifierDesktop, TheIconGoesToATrayOfTheNewKind) {
    startWatcher();
    startBar();
    startVelmoran();
    EXPECT_TRUE(waitUntil([&] { return itemIsRegistered(); })) << session_.logs();
}

TEST_F(NotifierDesktop, TheIconGoesToABarThatComesAfterTheProgram) {
    startVelmoran();
    ASSERT_TRUE(cardComes()) << session_.logs();
    startWatcher();
    EXPECT_FALSE(itemIsRegistered());
    startBar();
    EXPECT_TRUE(waitUntil([&] { return itemIsRegistered(); })) << session_.logs();
    EXPECT_EQ(session_.logs().find("there is no tray"), std::string::npos);
}

TEST_F(NotifierDesktop, ThePanelStandsWhereTheIconWasClickedIfABarCanBeThere) {
    playNothing();
    startWatcher();
    startBar();
    startVelmoran();
    ASSERT_TRUE(waitUntil([&] { return itemIsRegistered(); })) << session_.logs();
    const auto press = [&](int x, int y) {
        ASSERT_TRUE(session_.run({"xdotool", "mousemove", std::to_string(x), std::to_string(y)})
                        .succeeded());
        // As a bar says it, without its knowing where.
        const auto finished = session_.run({"gdbus", "call", "--session", "-d", registeredItem(),
                                            "-o", "/StatusNotifierItem", "-m",
                                            "org.kde.StatusNotifierItem.Activate", "0", "0"});
        ASSERT_TRUE(finished.succeeded()) << finished.errors;
    };
    const auto panelAfter = [&](int x, int y) {
        press(x, y);
        EXPECT_TRUE(cardComes()) << session_.logs();
        const auto card = placeOf(cards().front());
        press(x, y);
        EXPECT_TRUE(waitUntil([&] { return cards().empty(); }));
        return card;
    };
    const auto low = panelAfter(200, 790);
    EXPECT_EQ(low.x, 200 - low.width / 2);
    EXPECT_EQ(low.y + low.height, 790 - 2);
    const auto middle = panelAfter(640, 400);
    EXPECT_EQ(middle.x + middle.width, 1280 - 4);
    EXPECT_EQ(middle.y, 2);
}

} // namespace
} // namespace velmoran
