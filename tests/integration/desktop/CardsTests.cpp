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
    const auto before = focused();
    show();
    makeFullScreen(editor);
    clickTheCross();
    EXPECT_TRUE(gone());
    EXPECT_EQ(focused(), before);
}

TEST_F(CardsOnADesktop, StandAboveAWindowThatIsFullScreen) {
    const auto editor = startEditor("300x200+700+400");
    const auto before = focused();
    makeFullScreen(editor);
    // The second time too.
    for (int time = 0; time < 2; ++time) {
        show();
        EXPECT_EQ(placeOf(window()).topLeft(), QPoint(600 + 12 - 184, 26));
        EXPECT_EQ(focused(), before);
        clickTheCross();
        EXPECT_TRUE(gone());
        EXPECT_EQ(focused(), before);
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

TEST_F(CardsOnADesktop, KeepTheirNameForWhoeverListsWindows) {
    show();
    EXPECT_EQ(session.run({"xdotool", "getwindowname", std::to_string(window())}).output,
              "Velmoran\n");
}

} // namespace
} // namespace velmoran
