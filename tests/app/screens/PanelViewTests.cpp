#include "app/screens/PanelView.h"

#include "ScreenFixture.h"
#include "app/controls/ControlInput.h"
#include "core/text/Localizer.h"

#include <QKeyEvent>
#include <QScrollArea>
#include <QScrollBar>
#include <gmock/gmock.h>

namespace velmoran {
namespace {

using ::testing::AllOf;
using testing::appRef;
using ::testing::Contains;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;

struct PanelViewTest : testing::ScreenFixture {
    std::unique_ptr<PanelView> panel;

    void open() {
        panel = std::make_unique<PanelView>(context());
        panel->show();
        part("stop")->setFocus();
        settle();
    }

    void TearDown() override { panel.reset(); }

    std::vector<std::string> names() const { return ScreenFixture::names(*panel); }
    QAbstractButton* button(const std::string& name) const {
        return ScreenFixture::button(*panel, name);
    }
    void press(const std::string& name) const { ScreenFixture::press(*panel, name); }

    QWidget* part(const char* name) const {
        return panel->findChild<QWidget*>(QLatin1String(name));
    }

    static AppRef named(const std::string& name, const std::string& id) {
        return {.name = name, .bundleID = id + name, .path = std::nullopt};
    }

    static SystemSnapshot cameraAndMicrophone(const AppRef& app) {
        auto reading = camera({app});
        reading.microphoneOn = true;
        reading.microphoneApps = {app};
        return reading;
    }
};

TEST_F(PanelViewTest, SaysThatNothingIsOn) {
    launchWatching();
    open();
    const auto said = names();
    EXPECT_THAT(said, AllOf(Contains("Camera"), Contains("Microphone"), Contains("Speaker"),
                            Contains("No output device"), Contains("Recent"),
                            Contains("Nothing has used the camera, microphone or speaker yet.")));
    EXPECT_EQ(std::ranges::count(said, "Not in use"), 2);
    EXPECT_EQ(panel->width(), 320);
}

TEST_F(PanelViewTest, SaysWhoUsesWhatAndForHowLongAsTheClockTicks) {
    launchWatching();
    receive(cameraAndMicrophone(appRef("zoom")));
    open();
    EXPECT_THAT(names(), AllOf(Contains("zoom · 0 s"), Contains("In use")));
    time.advanceBy(59);
    EXPECT_THAT(names(), Contains("zoom · 59 s"));
    time.advanceBy(1);
    EXPECT_THAT(names(), AllOf(Contains("zoom · 1 min"), Not(Contains("zoom · 59 s"))));
    receive({});
    EXPECT_EQ(std::ranges::count(names(), "Not in use"), 2);
}

TEST_F(PanelViewTest, KeepsItsSizeWhileItTicks) {
    launchWatching();
    receive(cameraAndMicrophone(appRef("zoom")));
    open();
    const auto size = panel->size();
    EXPECT_EQ(size, panel->sizeHint());
    const auto* line = button("zoom · 0 s");
    ASSERT_NE(line, nullptr);
    for (const double by : {9, 1, 50, 3600}) {
        time.advanceBy(by);
        settle();
        EXPECT_EQ(panel->size(), size);
    }
    EXPECT_EQ(button("zoom · 1 h 01 min"), line) << "it is still the same line";
}

TEST_F(PanelViewTest, CostsNothingWhileItIsHidden) {
    launchWatching();
    const auto due = time.nextDue();
    open();
    EXPECT_LT(*time.nextDue(), time.elapsed() + 1.001);
    panel->hide();
    EXPECT_EQ(time.nextDue(), due);
    receive(cameraAndMicrophone(appRef("zoom")));
    EXPECT_THAT(names(), Not(Contains("zoom · 0 s")));
    panel->show();
    EXPECT_THAT(names(), Contains("zoom · 0 s"));
}

TEST_F(PanelViewTest, IsAsHighAsItHasToBeWhenItIsAskedForBeforeItIsShown) {
    launchWatching();
    open();
    panel->hide();
    const auto before = panel->sizeHint().height();
    receive(cameraAndMicrophone(appRef("zoom")));
    panel->refresh();
    EXPECT_GT(panel->sizeHint().height(), before);
    const auto hint = panel->sizeHint();
    panel->show();
    EXPECT_EQ(panel->size(), hint);
}

TEST_F(PanelViewTest, ListsRecentLinesFirstWhenItIsShown) {
    launchWatching();
    receive(cameraAndMicrophone(appRef("zoom")));
    panel = std::make_unique<PanelView>(context());
    const auto hint = panel->sizeHint();
    EXPECT_EQ(part("recent")->findChildren<QAbstractButton*>().size(), 0);
    panel->show();
    EXPECT_EQ(part("recent")->findChildren<QAbstractButton*>().size(), 1);
    settle();
    EXPECT_EQ(panel->size(), hint);
}

TEST_F(PanelViewTest, RecentLinesFollowTheDesktopsFont) {
    launchWatching();
    receive(camera({appRef("zoom")}));
    open();
    const auto* row = part("recent")->findChild<QAbstractButton*>();
    ASSERT_NE(row, nullptr);
    EXPECT_EQ(row->height(), 28);
    const auto usual = QApplication::font();
    auto larger = usual;
    larger.setPointSizeF(3 * usual.pointSizeF());
    QApplication::setFont(larger);
    settle();
    settle(); // the list follows its lines
    EXPECT_EQ(row->height(), row->findChild<LineLabel*>()->sizeHint().height() + 4);
    EXPECT_GT(row->height(), 40);
    QApplication::setFont(usual);
    settle();
    settle();
    EXPECT_EQ(row->height(), 28);
}

TEST_F(PanelViewTest, ItsSymbolsHaveTheColourOfTheirDeviceOnlyWhileItIsInUse) {
    launchWatching();
    model->settings.monitorSpeakerUse.set(true);
    open();
    const auto symbol = [this](const char* row) {
        const auto* label = part(row)->findChild<SymbolLabel*>();
        return std::pair(label->symbol().toStdString(), label->ink());
    };
    using Shown = std::pair<std::string, Ink>;
    const auto expect = [&](const Shown& camera, const Shown& microphone, const Shown& speaker) {
        EXPECT_EQ(symbol("camera"), camera);
        EXPECT_EQ(symbol("microphone"), microphone);
        EXPECT_EQ(symbol("speaker"), speaker);
    };
    expect({"video.fill", Ink::secondary}, {"mic.fill", Ink::secondary},
           {"speaker.wave.2.fill", Ink::secondary});
    auto on = cameraAndMicrophone(appRef("zoom"));
    on.speakerOn = true;
    on.speakerApps = {appRef("zoom")};
    receive(on);
    expect({"video.fill", Ink::camera}, {"mic.fill", Ink::microphone},
           {"speaker.wave.2.fill", Ink::text});
    model->settings.microphoneMuted.set(true);
    on.output.emplace();
    on.output->isMuted = true;
    receive(on);
    expect({"video.fill", Ink::camera}, {"mic.slash.fill", Ink::microphone},
           {"speaker.slash.fill", Ink::text});
    SystemSnapshot off;
    off.output = on.output;
    receive(off);
    expect({"video.fill", Ink::secondary}, {"mic.slash.fill", Ink::secondary},
           {"speaker.slash.fill", Ink::secondary});
}

TEST_F(PanelViewTest, APressOnAUseShowsItsDetails) {
    launchWatching();
    receive(cameraAndMicrophone(appRef("zoom")));
    open();
    EXPECT_EQ(button("zoom · 0 s")->toolTip(), QStringLiteral("Show details"));
    press("zoom · 0 s");
    ASSERT_THAT(detailsShown, SizeIs(1));
    EXPECT_EQ(detailsShown.front().app().name, "zoom");
    EXPECT_THAT(detailsShown.front().devices, ElementsAre(Device::camera, Device::microphone));
}

TEST_F(PanelViewTest, APressOnAUseWithoutARowDoesNothing) {
    historyFails = true;
    launchWatching();
    receive(camera({appRef("zoom")}));
    open();
    press("zoom · 0 s");
    EXPECT_THAT(detailsShown, SizeIs(0));
    EXPECT_THAT(names(), Contains(StartsWith("History can't be saved right now.")));
}

TEST_F(PanelViewTest, APressOnARecentLineShowsItsDetails) {
    launchWatching();
    receive(camera({appRef("zoom")}));
    time.advanceBy(12);
    receive({});
    open();
    const auto line = "zoom · Camera · " + words().shortTime(time.now()) + " · 12 s";
    ASSERT_NE(button(line), nullptr);
    EXPECT_EQ(QAccessible::queryAccessibleInterface(button(line))->role(), QAccessible::Button);
    press(line);
    ASSERT_THAT(detailsShown, SizeIs(1));
    EXPECT_EQ(detailsShown.front().app().name, "zoom");
}

TEST_F(PanelViewTest, ARecentLineNamesItsDevicesAndAStop) {
    launchWatching();
    receive(cameraAndMicrophone(appRef("zoom")));
    model->stopEverything();
    time.advanceBy(3);
    receive({});
    open();
    const auto said = names();
    EXPECT_EQ(std::ranges::count(said, "Stopped by you"), 1);
    EXPECT_GE(std::ranges::count(said, "Camera"), 2) << "in the row and in the line";
    EXPECT_GE(std::ranges::count(said, "Microphone"), 2);
}

TEST_F(PanelViewTest, ColumnsStandExactlyUnderOneAnother) {
    launchWatching();
    receive(cameraAndMicrophone(appRef("a name that is far too long for any line of that width")));
    time.advanceBy(4000);
    receive({});
    receive(camera({appRef("zoom")}));
    model->stopEverything();
    time.advanceBy(3);
    receive({});
    open();
    const auto rows = part("recent")->findChildren<QAbstractButton*>();
    ASSERT_EQ(rows.size(), 2);
    const auto labels = [](const QWidget* row) {
        std::vector<int> places;
        for (const auto* each :
             row->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly)) {
            places.push_back(each->x());
            places.push_back(each->width());
        }
        return places;
    };
    EXPECT_EQ(labels(rows[0]), labels(rows[1]));
    EXPECT_EQ(part("recent")->width(), 304);
}

TEST_F(PanelViewTest, TheListsHeightIsAlwaysTheSame) {
    launchWatching();
    open();
    const auto empty = panel->height();
    for (int use = 0; use < 30; ++use) {
        receive(camera({appRef("app" + std::to_string(use))}));
        time.advanceBy(10);
        receive({});
    }
    settle();
    EXPECT_EQ(panel->height(), empty);
    EXPECT_EQ(part("recent")->findChildren<QAbstractButton*>().size(), 20);
}

TEST_F(PanelViewTest, StopsAndCantBePressedTwice) {
    launchWatching();
    receive(camera({appRef("zoom")}));
    machine.script.closeSeconds["org.example.zoom"] = 2;
    open();
    auto* stop = button("Stop camera and microphone");
    ASSERT_NE(stop, nullptr);
    EXPECT_TRUE(stop->isEnabled());
    stop->click();
    EXPECT_TRUE(*model->isStopping);
    EXPECT_FALSE(stop->isEnabled());
    int stops = 0;
    const auto counting = model->onStopEnded.subscribe([&](const auto&) { ++stops; });
    stop->click();
    time.advanceBy(10);
    EXPECT_EQ(stops, 1);
    EXPECT_TRUE(stop->isEnabled());
}

TEST_F(PanelViewTest, ASecondPressOnTheKeyThatStopsDoesNothing) {
    launchWatching();
    receive(camera({appRef("zoom")}));
    machine.script.closeSeconds["org.example.zoom"] = 2;
    open();
    QWidget* const stop = part("stop");
    for (const int key : {Qt::Key_Return, Qt::Key_Space}) {
        ASSERT_EQ(panel->focusWidget(), stop);
        testing::press(*panel->focusWidget(), key);
        ASSERT_TRUE(*model->isStopping);
        settle();
        testing::press(*panel->focusWidget(), key);
        settle();
        EXPECT_THAT(detailsShown, SizeIs(0));
        EXPECT_EQ(historyShown + settingsShown + quits, 0);
        time.advanceBy(10);
        ASSERT_FALSE(*model->isStopping);
        EXPECT_EQ(panel->focusWidget(), stop) << "it is given back";
        receive({});
        receive(camera({appRef("zoom")}));
    }
}

TEST_F(PanelViewTest, AFocusThatHasGoneOnStaysWhereItIsAfterAStop) {
    launchWatching();
    receive(camera({appRef("zoom")}));
    machine.script.closeSeconds["org.example.zoom"] = 2;
    open();
    testing::press(*part("stop"), Qt::Key_Return);
    ASSERT_TRUE(*model->isStopping);
    part("history")->setFocus();
    time.advanceBy(10);
    ASSERT_FALSE(*model->isStopping);
    EXPECT_EQ(panel->focusWidget(), part("history"));
}

TEST_F(PanelViewTest, ASecondPressOnTheKeyThatUnmutesDoesNothing) {
    launchWatching();
    model->stopEverything();
    time.advanceBy(5);
    receive(cameraAndMicrophone(appRef("zoom")));
    open();
    for (const int key : {Qt::Key_Return, Qt::Key_Space}) {
        model->settings.microphoneMuted.set(true);
        settle();
        auto* unmute = button("Unmute microphone");
        ASSERT_NE(unmute, nullptr);
        unmute->setFocus();
        testing::press(*unmute, key);
        ASSERT_FALSE(*model->settings.microphoneMuted);
        settle();
        testing::press(*panel->focusWidget(), key);
        settle();
        EXPECT_THAT(detailsShown, SizeIs(0));
        EXPECT_FALSE(*model->isStopping);
        EXPECT_EQ(panel->focusWidget(), part("microphone"));
    }
}

TEST_F(PanelViewTest, OffersToUnmuteAfterAStopAlsoWhileNothingIsOn) {
    launchWatching();
    model->stopEverything();
    time.advanceBy(5);
    open();
    EXPECT_THAT(names(), Contains("Muted by Velmoran after a stop"));
    EXPECT_EQ(std::ranges::count(names(), "Not in use"), 1) << "the camera's";
    ASSERT_NE(button("Unmute microphone"), nullptr);
    EXPECT_EQ(button("Unmute microphone")->text(), QStringLiteral("Unmute"));
    EXPECT_EQ(button("Unmute microphone")->toolTip(), QStringLiteral("Unmute microphone"));
    press("Unmute microphone");
    EXPECT_FALSE(*model->settings.microphoneMuted);
    EXPECT_THAT(names(), Not(Contains("Muted by Velmoran after a stop")));
    EXPECT_EQ(std::ranges::count(names(), "Not in use"), 2);
    EXPECT_EQ(button("Unmute microphone"), nullptr);
}

TEST_F(PanelViewTest, SaysWhatIsWrong) {
    launch();
    SystemSnapshot reading;
    reading.unwatched = {Device::camera};
    receive(reading);
    open();
    EXPECT_THAT(names(), AllOf(Contains("Not watched"),
                               Contains("The camera isn't being watched: the system doesn't let "
                                        "Velmoran look at it.")));
    const auto height = panel->height();
    receive({});
    EXPECT_THAT(names(), Not(Contains("Not watched")));
    EXPECT_LT(panel->height(), height);
}

TEST_F(PanelViewTest, ItsLinksLeadOn) {
    launchWatching();
    open();
    press("History");
    press("Settings");
    press("Quit");
    EXPECT_EQ(historyShown, 1);
    EXPECT_EQ(settingsShown, 1);
    EXPECT_EQ(quits, 1);
}

TEST_F(PanelViewTest, IsWalkedByKeyboardFromTopToBottom) {
    launchWatching();
    open();
    receive(cameraAndMicrophone(appRef("zoom")));
    settle();
    std::vector<std::string> walked;
    auto* at = button("zoom · 0 s");
    const QWidget* const first = at;
    QWidget* next = at;
    do {
        if (next->focusPolicy() & Qt::TabFocus && next->isVisibleTo(panel.get()) &&
            next->isEnabled()) {
            walked.push_back(
                QAccessible::queryAccessibleInterface(next)->text(QAccessible::Name).toStdString());
        }
        next = next->nextInFocusChain();
    } while (next != first);
    EXPECT_THAT(walked, ElementsAre("zoom · 0 s", "zoom · 0 s", "Stop camera and microphone",
                                    "zoom · Camera · Microphone · Now · 0 s", "History", "Settings",
                                    "Quit"));
}

TEST_F(PanelViewTest, TheLineThatTheKeyboardComesToIsInSight) {
    launchWatching();
    for (int use = 0; use < 20; ++use) {
        receive(camera({appRef("app" + std::to_string(use))}));
        time.advanceBy(10);
        receive({});
    }
    open();
    panel->activateWindow();
    auto* history = part("history");
    history->setFocus();
    testing::press(*history, Qt::Key_Backtab, Qt::ShiftModifier);
    settle();
    const auto* line = panel->focusWidget();
    auto* list = part("recent")->findChild<QScrollArea*>();
    ASSERT_TRUE(list->isAncestorOf(line));
    const auto* viewport = list->viewport();
    EXPECT_TRUE(viewport->rect().contains(QRect(line->mapTo(viewport, QPoint(0, 0)), line->size())))
        << "the last one";
    // Under the mouse that presses it a line stays where it is.
    const int place = list->verticalScrollBar()->value();
    EXPECT_GT(place, 0);
    part("recent")->findChild<QAbstractButton*>()->setFocus(Qt::MouseFocusReason);
    EXPECT_EQ(list->verticalScrollBar()->value(), place);
}

TEST_F(PanelViewTest, AUseThatStaysKeepsTheFocusAndIsNotReadOutEachSecond) {
    launchWatching();
    receive(camera({appRef("meet"), appRef("zoom")}));
    open();
    panel->activateWindow();
    auto* line = button("zoom · 0 s");
    ASSERT_NE(line, nullptr);
    line->setFocus();
    ASSERT_TRUE(line->hasFocus());
    receive(camera({appRef("zoom")}));
    time.advanceBy(5);
    settle();
    EXPECT_TRUE(line->hasFocus());
    EXPECT_EQ(line->accessibleName(), QStringLiteral("zoom · 0 s"));
    button("Stop camera and microphone")->setFocus();
    time.advanceBy(1);
    EXPECT_EQ(line->accessibleName(), QStringLiteral("zoom · 6 s"));
}

TEST_F(PanelViewTest, NoNameCanWidenItOrWriteALine) {
    launchWatching();
    model->settings.monitorSpeakerUse.set(true);
    const std::string names[] = {"",
                                 std::string(10000, 'm'),
                                 "<b>bold</b>",
                                 "\xE2\x80\xAE"
                                 "evil",
                                 "two\nlines",
                                 "bad \xFF\xFE bytes"};
    const std::string shown[] = {"",
                                 std::string(10000, 'm'),
                                 "<b>bold</b>",
                                 "evil",
                                 "two lines",
                                 "bad \xEF\xBF\xBD\xEF\xBF\xBD bytes"};
    const auto allOf = [](const auto& each) {
        SystemSnapshot reading;
        reading.cameraOn = reading.microphoneOn = reading.speakerOn = true;
        for (const auto& name : each) {
            reading.cameraApps.push_back(named(name, "x"));
            reading.microphoneApps.push_back(named(name, "x"));
            reading.speakerApps.push_back(named(name, "y"));
        }
        return reading;
    };
    receive(allOf(std::vector<std::string>{"a", "b", "c", "d", "e",
                                           "a name that is too long for the line of the speaker, "
                                           "and for the two lines that follow it there, so that "
                                           "it can't be higher with any other name"}));
    open();
    const auto usual = panel->height();
    receive(allOf(names));
    settle();
    EXPECT_EQ(panel->width(), 320);
    EXPECT_EQ(panel->height(), usual);
    for (const char* row : {"camera", "microphone"}) {
        std::vector<std::string> said;
        for (const auto* use : part(row)->findChildren<QAbstractButton*>()) {
            if (const auto* name = use->findChild<LineLabel*>()) {
                said.push_back(name->text().toStdString());
            }
        }
        EXPECT_THAT(said, ::testing::UnorderedElementsAreArray(shown));
    }
    for (const auto* each : panel->findChildren<QWidget*>()) {
        if (each->isVisibleTo(panel.get())) {
            const auto left = each->mapTo(panel.get(), QPoint()).x();
            EXPECT_GE(left, 0);
            EXPECT_LE(left + each->width(), 320) << each->metaObject()->className();
        }
    }
}

} // namespace
} // namespace velmoran
