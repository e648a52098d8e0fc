// The cards under a window manager and a mouse.
#include "app/shell/cards/NoticePanelController.h"
#include "integration/desktop/Desktop.h"
#include "support/AccessibleButton.h"

#include <gmock/gmock.h>

namespace velmoran {
namespace {

struct CardsOnADesktop : DesktopFixture {
    QtEventLoop loop;
    NoticeCenter notices{loop};
    NoticePanelController controller{notices, [] { return QRect(600, 0, 24, 24); }, AppPicture()};

    void SetUp() override { hand({"mousemove", "20", "780"}); }

    void show() {
        NoticeItem card;
        card.id = Uuid::random();
        card.title = "Zoom turned on the camera";
        card.timeText = "Just now";
        notices.show(card);
        ASSERT_TRUE(eventually([&] { return isViewable(window()); }));
    }

    std::uint32_t window() const {
        return static_cast<std::uint32_t>(controller.panel().internalWinId());
    }

    void clickTheCross() {
        moveTo(support::centerOf(*support::buttonNamed(controller.panel(), "Close")));
        hand({"click", "1"});
    }

    [[nodiscard]] bool gone() {
        return eventually([&] { return notices.items().empty() && !isViewable(window()); });
    }
};

TEST_F(CardsOnADesktop, StandAboveAWindowThatBecomesFullScreen) {
    const auto editor = startEditor("300x200+700+400");
    const auto focusBefore = focused();
    show();
    makeFullScreen(editor);
    clickTheCross();
    EXPECT_TRUE(gone());
    EXPECT_EQ(focused(), focusBefore);
}

TEST_F(CardsOnADesktop, StandAboveAWindowThatIsFullScreen) {
    const auto editor = startEditor("300x200+700+400");
    const auto focusBefore = focused();
    makeFullScreen(editor);
    // The second time too.
    for (int time = 0; time < 2; ++time) {
        show();
        EXPECT_EQ(placeOf(window()).topLeft(), QPoint(600 + 12 - 184, 26));
        EXPECT_EQ(focused(), focusBefore);
        clickTheCross();
        EXPECT_TRUE(gone());
        EXPECT_EQ(focused(), focusBefore);
    }
}

TEST_F(CardsOnADesktop, StandOnEveryDesktop) {
    // A window manager that has just begun loses a request at times, so it is asked until it does
    // it.
    const auto goTo = [&](const std::string& desktop) {
        return eventually([&] {
            hand({"set_desktop", desktop});
            return session.run({"xdotool", "get_desktop"}).output == desktop + "\n";
        });
    };
    show();
    ASSERT_TRUE(goTo("1"));
    EXPECT_TRUE(isViewable(window()));
    clickTheCross();
    EXPECT_TRUE(gone());
    show();
    ASSERT_TRUE(goTo("0"));
    EXPECT_TRUE(isViewable(window()));
}

struct CardsWithTheKeyboard : CardsOnADesktop {
    int presses = 0;
    std::string focusBefore;

    void SetUp() override {
        CardsOnADesktop::SetUp();
        startEditor();
        focusBefore = focused();
    }
    void showWithButton(const std::string& title = "Zoom turned on the camera") {
        NoticeItem card;
        card.id = Uuid::random();
        card.title = title;
        card.timeText = "Just now";
        card.buttons.push_back({.title = "Stop", .action = [this] {
                                    ++presses;
                                }});
        notices.show(card);
        ASSERT_TRUE(eventually([&] { return isViewable(window()); }));
        ASSERT_EQ(focused(), focusBefore) << "by itself it takes nothing";
    }
    void takeKeyboard() {
        controller.takeKeyboard();
        ASSERT_TRUE(eventually([&] {
            return focused() == std::to_string(window()) + "\n" && hasFocus("Stop");
        })) << focused();
    }
    [[nodiscard]] bool hasFocus(const std::string& button) const {
        const auto* found = support::buttonNamed(controller.panel(), button);
        return found && found->hasFocus();
    }
    [[nodiscard]] bool isBack() {
        return eventually([&] { return focused() == focusBefore; });
    }
};

TEST_F(CardsWithTheKeyboard, ArePressedAndLeftByIt) {
    showWithButton();
    takeKeyboard();
    hand({"key", "Return"});
    EXPECT_TRUE(eventually([&] { return presses == 1; }));
    hand({"key", "Tab"});
    EXPECT_TRUE(eventually([&] { return hasFocus("Close"); }));
    hand({"key", "Escape"});
    EXPECT_TRUE(isBack()) << focused();
    EXPECT_EQ(notices.items().size(), 1U) << "it stays";
    // And again.
    takeKeyboard();
    hand({"key", "Tab", "space"});
    EXPECT_TRUE(gone());
    EXPECT_TRUE(isBack()) << focused();
}

TEST_F(CardsWithTheKeyboard, KeepItWhileOthersComeAndLoseItWithAClickElsewhere) {
    showWithButton("Zoom turned on the camera");
    takeKeyboard();
    NoticeItem next;
    next.id = Uuid::random();
    next.title = "Teams turned on the microphone";
    next.timeText = "Just now";
    notices.show(next);
    EXPECT_TRUE(eventually([&] {
        const auto* button = controller.panel().focusWidget();
        return button && button->hasFocus() &&
               button->parentWidget()->accessibleName() == "Teams turned on the microphone";
    }));
    EXPECT_EQ(focused(), std::to_string(window()) + "\n");
    hand({"mousemove", "200", "350", "click", "1"});
    EXPECT_TRUE(isBack()) << focused();
    NoticeItem last;
    last.id = Uuid::random();
    last.title = "Discord turned on the microphone";
    last.timeText = "Just now";
    notices.show(last);
    drainEvents();
    EXPECT_EQ(focused(), focusBefore) << "it takes nothing again";
}

TEST_F(CardsOnADesktop, KeepTheirNameForWhoeverListsWindows) {
    show();
    EXPECT_EQ(session.run({"xdotool", "getwindowname", std::to_string(window())}).output,
              "Velmoran\n");
}

} // namespace
} // namespace velmoran
