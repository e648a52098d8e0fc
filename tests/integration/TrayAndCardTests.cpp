// The panel and the cards at the tray icon as a window manager, a tray and a mouse see them.
#include "integration/TrayDesktop.h"
#include "support/FocusedWindow.h"

#include <string>

namespace velmoran {
namespace {

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

} // namespace
} // namespace velmoran
