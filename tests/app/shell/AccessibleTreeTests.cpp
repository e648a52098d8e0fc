#include "AccessibleTree.h"
#include "WindowScene.h"

#include <QCheckBox>
#include <QPushButton>
#include <QVBoxLayout>
#include <gmock/gmock.h>

namespace velmoran {
namespace {

using testing::AccessibleTree;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::IsSupersetOf;
using testing::WindowScene;

struct AccessibleTreeTest : WindowScene {
    /// Nothing is wrong with that window, and these texts are in it.
    static void expectAll(const QWidget& window, const std::vector<std::string>& names) {
        const AccessibleTree tree(window);
        EXPECT_THAT(tree.faults(), IsEmpty());
        EXPECT_THAT(tree.names(), IsSupersetOf(names));
    }
};

// The walk itself must see what it is for.

struct TreeWalkTest : ::testing::Test {
    QWidget window;
    QVBoxLayout column{&window};

    TreeWalkTest() { window.setWindowTitle(QStringLiteral("Window")); }
    std::vector<std::string> faults() {
        window.show();
        QApplication::processEvents();
        return AccessibleTree(window).faults();
    }
};

TEST_F(TreeWalkTest, FindsNothingWrongWithANamedButton) {
    column.addWidget(new QPushButton(QStringLiteral("Stop")));
    EXPECT_THAT(faults(), IsEmpty());
}

TEST_F(TreeWalkTest, FindsAButtonWithoutAName) {
    column.addWidget(new QPushButton);
    EXPECT_THAT(faults(), ElementsAre(HasSubstr("has no name")));
}

TEST_F(TreeWalkTest, FindsASymbolWithoutAName) {
    column.addWidget(new SymbolButton(QStringLiteral("info.circle"), 16, 24, &window));
    EXPECT_THAT(faults(), ElementsAre(HasSubstr("has no name")));
}

TEST_F(TreeWalkTest, FindsWhatTakesTheKeyboardAndIsNothing) {
    auto* part = new QWidget;
    part->setFocusPolicy(Qt::StrongFocus);
    part->setAccessibleName(QStringLiteral("Part"));
    column.addWidget(part);
    EXPECT_THAT(faults(), Contains(HasSubstr("no role that fits")));
}

TEST_F(TreeWalkTest, FindsAListWithoutAValue) {
    auto* list = new QComboBox;
    list->addItem(QString());
    list->setAccessibleDescription(QStringLiteral("Language"));
    column.addWidget(list);
    EXPECT_THAT(faults(), Contains(HasSubstr("has no value")));
}

TEST_F(TreeWalkTest, FindsATextThatIsToldOtherwise) {
    auto* label = new QLabel(QStringLiteral("In use"));
    label->setAccessibleName(QStringLiteral("Camera: In use"));
    column.addWidget(label);
    EXPECT_THAT(faults(), IsEmpty()) << "more may be told";
    label->setAccessibleName(QStringLiteral("Off"));
    EXPECT_THAT(faults(), ElementsAre(HasSubstr("is told as")));
}

TEST_F(TreeWalkTest, FindsAWindowWithoutAName) {
    window.setWindowTitle({});
    column.addWidget(new QPushButton(QStringLiteral("Stop")));
    EXPECT_THAT(faults(), Contains(HasSubstr("the window")));
}

// Every window, with something to show.

TEST_F(AccessibleTreeTest, OfThePanel) {
    expectAll(panel(), {"Velmoran", "Camera", "Microphone", "Speaker", "In use",
                        "Stop camera and microphone", "Recent", "History", "Settings", "Quit"});
}

TEST_F(AccessibleTreeTest, OfTheMainWindow) {
    expectAll(open(WindowID::main), {"Velmoran", "Camera", "Stop camera and microphone"});
}

TEST_F(AccessibleTreeTest, OfTheDetails) {
    expectAll(details("Browser"),
              {"Browser", "Started", "Still on", "This app is connected to", "Technical details"});
}

TEST_F(AccessibleTreeTest, OfTheDetailsOfAPartOfTheSystem) {
    auto& window = details("Listener");
    expectAll(window, {"Listener", "Part of macOS", "Explains what this part of macOS does"});
    press(window, "Explains what this part of macOS does");
    expectAll(note(), {"Listener is part of macOS"});
}

TEST_F(AccessibleTreeTest, OfTheQuestionAboutTrust) {
    auto& window = details("Meet");
    press(window, "Trusted. Click to stop trusting.");
    expectAll(questionOf(window), {"Stop trusting Meet for the camera?", "Distrust", "Cancel"});
}

TEST_F(AccessibleTreeTest, OfTheHistory) {
    expectAll(history(Page::activity),
              {"History", "Activity", "Away watch", "Show the chart", "All", "Camera", "Microphone",
               "Speaker", "Time per app", "Today", "Last 7 days",
               "Explains what this part of macOS does", "Change in Settings"});
}

TEST_F(AccessibleTreeTest, OfTheHistorysChart) {
    expectAll(history(Page::chart), {"Back to the list", "Week", "Month", "90 days", "Day",
                                     "Camera and microphone time per day",
                                     "A name that is longer than any window would have any room "
                                     "to show it"});
}

TEST_F(AccessibleTreeTest, OfTheHistorysAwayReports) {
    expectAll(history(Page::away), {"No Away watch reports yet"});
}

TEST_F(AccessibleTreeTest, OfAnAwayReport) {
    expectAll(awayReport(), {"Away watch", "While you were away", "Open in History", "Done"});
}

TEST_F(AccessibleTreeTest, OfAHistoryThatIsEmpty) {
    tell({});
    delegate->model().deleteHistory();
    settle();
    expectAll(history(Page::activity), {"Nothing here", "No use in this period."});
}

TEST_F(AccessibleTreeTest, OfTheSettings) {
    auto& window = settingsWindow();
    expectAll(window,
              {"Settings", "Open at login", "Warning sound", "About quick stop", "Trusted apps",
               "Meet", "Another", "camera, microphone", "Distrust", "Always warn", "Remove",
               "macOS system processes", "Listener", "Delete all history…", "Check for updates"});
    press(window, "About quick stop");
    expectAll(note(), {"Two faster ways to stop"});
    note().close();
    press(window, "Delete all history…");
    expectAll(questionOf(window), {"Delete all history?", "Delete all history", "Cancel"});
}

TEST_F(AccessibleTreeTest, OfEachPageOfTheIntroduction) {
    const std::vector<std::string> titles = {"Know who's using your camera",
                                             "Quick warning. Full control.", "It never records you",
                                             "Everything stays on this Mac", "Velmoran lives here"};
    for (std::size_t page = 0; page < titles.size(); ++page) {
        expectAll(introduction(static_cast<int>(page)), {"Welcome to Velmoran", titles[page]});
    }
    expectAll(introduction(4), {"Step 5 of 5", "Open Velmoran when I log in", "Back", "Done"});
}

TEST_F(AccessibleTreeTest, OfTheQuestionAboutABrowser) {
    expectAll(browserQuestion(), {"Close Browser", "Cancel"});
}

TEST_F(AccessibleTreeTest, OfTheCards) {
    expectAll(cards(), {"Stop", "Close"});
}

TEST_F(AccessibleTreeTest, OfTheFloatingButton) {
    expectAll(floatingButton(), {});
    EXPECT_THAT(AccessibleTree(floatingButton()).controls(), ::testing::SizeIs(1));
}

} // namespace
} // namespace velmoran
