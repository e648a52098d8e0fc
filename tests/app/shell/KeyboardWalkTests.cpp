#include "AccessibleTree.h"
#include "KeyboardWalk.h"
#include "WindowScene.h"

#include <QPushButton>
#include <gmock/gmock.h>

namespace velmoran {
namespace {

using testing::AccessibleTree;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing::KeyboardWalk;
using testing::WindowScene;

struct KeyboardWalkTest : WindowScene {
    /// Walks all of a window's controls, and gives what is met on the way.
    static std::vector<std::string> walked(QWidget& window) {
        if (!window.isActiveWindow()) {
            window.activateWindow();
            QApplication::processEvents();
        }
        const auto controls = AccessibleTree(window).controls();
        const KeyboardWalk walk(window, {controls.begin(), controls.end()});
        EXPECT_THAT(walk.faults(), IsEmpty());
        return walk.names();
    }
};

// The walk itself must see what it is for.

struct WalkItselfTest : ::testing::Test {
    QWidget window;
    QPushButton* one = add("One", 0);
    QPushButton* two = add("Two", 40);

    QPushButton* add(const char* name, int y) {
        auto* button = new QPushButton(QLatin1String(name), &window);
        button->setGeometry(20, 20 + y, 120, 30);
        button->setFocusPolicy(Qt::StrongFocus);
        return button;
    }
    KeyboardWalk walk() {
        window.resize(200, 200);
        window.show();
        window.activateWindow();
        QApplication::processEvents();
        return {window, {one, two}};
    }
};

TEST_F(WalkItselfTest, FindsNothingWrongWithTwoButtons) {
    const auto walked = walk();
    EXPECT_THAT(walked.faults(), IsEmpty());
    EXPECT_THAT(walked.names(), ElementsAre("One", "Two"));
}

TEST_F(WalkItselfTest, FindsAButtonThatIsNotReached) {
    two->setFocusPolicy(Qt::ClickFocus);
    EXPECT_THAT(walk().faults(), Contains("\"Two\" isn't reached"));
}

TEST_F(WalkItselfTest, FindsAnOrderThatNobodyReads) {
    auto* above = add("Above", -10);
    above->setGeometry(20, 0, 120, 12);
    QWidget::setTabOrder(one, above);
    QWidget::setTabOrder(above, two);
    EXPECT_THAT(walk().faults(), Contains(HasSubstr("which stands behind it")));
}

TEST_F(WalkItselfTest, FindsAFocusThatIsNotSeen) {
    struct Blind final : QPushButton {
        using QPushButton::QPushButton;
        void paintEvent(QPaintEvent*) override {}
    };
    auto* blind = new Blind(QStringLiteral("Blind"), &window);
    blind->setGeometry(20, 120, 120, 30);
    EXPECT_THAT(walk().faults(), ElementsAre("\"Blind\" doesn't show that it has the keyboard"));
}

TEST_F(WalkItselfTest, FindsAControlThatKeepsTheKeyboard) {
    struct Greedy final : QPushButton {
        using QPushButton::QPushButton;
        bool focusNextPrevChild(bool) override { return true; }
    };
    auto* greedy = new Greedy(QStringLiteral("Greedy"), &window);
    greedy->setGeometry(20, 120, 120, 30);
    EXPECT_THAT(walk().faults(), Contains("\"Greedy\" comes again before all others have"));
}

// Every window, with something to show.

TEST_F(KeyboardWalkTest, ThroughThePanel) {
    const auto names = walked(panel());
    EXPECT_THAT(names, Contains("Stop camera and microphone"));
    EXPECT_EQ(names.back(), "Quit");
}

TEST_F(KeyboardWalkTest, ThroughTheMainWindow) {
    EXPECT_EQ(walked(open(WindowID::main)).back(), "Quit");
}

TEST_F(KeyboardWalkTest, ThroughTheDetails) {
    EXPECT_THAT(walked(details("Browser")),
                ElementsAre("Not trusted. Click to trust.",
                            "Does not always warn. Click to turn on.", "This app is connected to",
                            ::testing::_, "Technical details"));
}

TEST_F(KeyboardWalkTest, ThroughTheDetailsOfAPartOfTheSystem) {
    const auto names = walked(details("Listener"));
    EXPECT_EQ(names.front(), "Explains what this part of macOS does");
}

TEST_F(KeyboardWalkTest, ThroughTheQuestionAboutTrust) {
    auto& window = details("Meet");
    press(window, "Trusted. Click to stop trusting.");
    EXPECT_THAT(walked(questionOf(window)), ::testing::UnorderedElementsAre("Distrust", "Cancel"));
}

TEST_F(KeyboardWalkTest, ThroughTheHistory) {
    EXPECT_THAT(walked(history(Page::activity)),
                ElementsAre("Activity", "Show the chart", "All", "App", "Days", "Activity",
                            "Last 7 days", "Time per app", "Change in Settings"));
}

TEST_F(KeyboardWalkTest, ThroughTheHistorysChart) {
    EXPECT_THAT(walked(history(Page::chart)),
                ElementsAre("Activity", "Back to the list", "Week",
                            "Camera and microphone time per day", "Change in Settings"));
}

TEST_F(KeyboardWalkTest, ThroughTheHistorysAwayReports) {
    EXPECT_THAT(walked(history(Page::away)), ElementsAre("Away watch", "Change in Settings"));
}

TEST_F(KeyboardWalkTest, ThroughAnAwayReport) {
    EXPECT_THAT(walked(awayReport()), ElementsAre("Away watch", "Open in History", "Done"));
}

TEST_F(KeyboardWalkTest, ThroughTheSettings) {
    auto names = walked(settingsWindow());
    EXPECT_EQ(names.front(), "Open at login");
    EXPECT_THAT(names, ::testing::IsSupersetOf({"Strong warnings always stay until you act.",
                                                "About quick stop", "Distrust", "Remove",
                                                "Delete all history…"}));
}

TEST_F(KeyboardWalkTest, ThroughTheQuestionBeforeTheHistoryGoes) {
    auto& window = settingsWindow();
    press(window, "Delete all history…");
    EXPECT_THAT(walked(questionOf(window)),
                ::testing::UnorderedElementsAre("Delete all history", "Cancel"));
}

TEST_F(KeyboardWalkTest, ThroughEachPageOfTheIntroduction) {
    EXPECT_THAT(walked(introduction(0)), ElementsAre("Continue"));
    for (int page = 1; page < 4; ++page) {
        EXPECT_THAT(walked(introduction(page)), ElementsAre("Back", "Continue"));
    }
    EXPECT_THAT(walked(introduction(4)),
                ElementsAre("Open Velmoran when I log in", "Back", "Done"));
}

TEST_F(KeyboardWalkTest, ThroughTheQuestionAboutABrowser) {
    const auto names = walked(browserQuestion());
    EXPECT_EQ(names.front(), "Close Browser");
    EXPECT_EQ(names.back(), "Cancel");
}

TEST_F(KeyboardWalkTest, ThroughTheCards) {
    EXPECT_THAT(walked(cards()), ::testing::IsSupersetOf({"Stop", "Close"}));
}

// The floating button never takes the keyboard: the shortcut, the panel and the menu do what it
// does.
TEST_F(KeyboardWalkTest, PassesTheFloatingButtonBy) {
    for (const auto* each : floatingButton().findChildren<QWidget*>()) {
        EXPECT_EQ(each->focusPolicy(), Qt::NoFocus);
    }
    EXPECT_TRUE(floatingButton().windowFlags().testFlag(Qt::WindowDoesNotAcceptFocus));
}

} // namespace
} // namespace velmoran
