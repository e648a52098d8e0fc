#include "app/screens/HistoryFixture.h"
#include "core/text/Localizer.h"

#include <QAbstractItemView>
#include <QScrollBar>
#include <algorithm>

namespace velmoran {
namespace {

using testing::day;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using testing::HistoryFixture;
using testing::hour;
using ::testing::IsEmpty;
using testing::sessionOf;
using ::testing::SizeIs;

struct HistoryScreenTest : HistoryFixture {
    std::string at(Seconds ago) const { return words().shortTime(time.now() - ago); }
    bool saysNothingHere() const { return part("nothingHere")->isVisible(); }
    /// As a use that is going on right now.
    void turnOn(const std::string& app) {
        receive(camera({testing::appRef(app)}));
        settle();
    }
};

TEST_F(HistoryScreenTest, ShowsTheLastSevenDaysByDay) {
    keep(past("Call", Device::camera, 600));
    keep(past("Song", Device::speaker, day));
    keep(past("Old", Device::camera, 8 * day));
    open();
    EXPECT_THAT(rows(), ElementsAre("Today", at(600) + ", Call, camera, 1 min", "Yesterday",
                                    at(day) + ", Song, speaker, 1 min"));
    auto* list = access(&screen->rows().list());
    EXPECT_EQ(list->role(), QAccessible::List);
    EXPECT_EQ(nameOf(list), "Activity");
    EXPECT_EQ(list->child(0)->role(), QAccessible::Heading);
    EXPECT_EQ(list->child(1)->role(), QAccessible::ListItem);
}

TEST_F(HistoryScreenTest, IsNarrowedByDeviceAppAndDays) {
    keep(past("Call", Device::camera, 600));
    keep(past("Call", Device::microphone, 2 * hour));
    keep(past("Memo", Device::microphone, day));
    keep(past("Old", Device::microphone, 20 * day));
    open();
    button(part("deviceFilter"), "Microphone")->click();
    EXPECT_THAT(rows(), SizeIs(4));
    EXPECT_EQ(screen->filter().device, Device::microphone);
    auto* apps = part<QComboBox>("appFilter");
    ASSERT_EQ(apps->count(), 4);
    EXPECT_EQ(apps->itemText(0), "All apps");
    EXPECT_EQ(apps->itemText(1), "Call");
    EXPECT_EQ(apps->itemText(2), "Memo");
    choose("appFilter", 3);
    EXPECT_TRUE(saysNothingHere());
    choose("daysFilter", 2);
    EXPECT_FALSE(saysNothingHere());
    EXPECT_THAT(rows(), SizeIs(2));
    choose("appFilter", 0);
    choose("daysFilter", 0);
    EXPECT_THAT(rows(), ElementsAre("Today", at(2 * hour) + ", Call, mic, 1 min"));
}

TEST_F(HistoryScreenTest, LeavesOutWhatTheSettingsHideForAsLongAsTheyDo) {
    keep(past("Call", Device::camera, 600));
    keep(pastListening(2 * hour));
    launch();
    model->settings.ignoreSystemListening.set(true);
    open();
    auto* apps = part<QComboBox>("appFilter");
    EXPECT_THAT(rows(), ElementsAre("Today", at(600) + ", Call, camera, 1 min"));
    EXPECT_EQ(apps->count(), 2);
    EXPECT_EQ(apps->findText("Siri"), -1);
    EXPECT_THAT(namesIn(part("totalsRows")), ElementsAre("Call, 1 min"));
    model->settings.ignoreSystemListening.set(false);
    settle();
    EXPECT_THAT(rows(), ElementsAre("Today", at(600) + ", Call, camera, 1 min",
                                    at(2 * hour) + ", Siri, mic, 1 min"));
    EXPECT_EQ(apps->count(), 3);
    EXPECT_EQ(apps->findText("Siri"), 2);
    EXPECT_THAT(namesIn(part("totalsRows")), ElementsAre("Call, 1 min", "Siri, 1 min"));
}

TEST_F(HistoryScreenTest, KeepsTheFiguresOfTheSideWhereFiltersMatchNothing) {
    keep(past("Call", Device::camera, 600));
    keep(past("Memo", Device::microphone, day));
    open();
    EXPECT_THAT(namesIn(part("totalsRows")), ElementsAre("Call, 1 min", "Memo, 1 min"));
    choose("appFilter", 2);
    choose("daysFilter", 0);
    EXPECT_TRUE(saysNothingHere());
    EXPECT_THAT(namesIn(part("totalsRows")), ElementsAre("Call, 1 min", "Memo, 1 min"));
}

TEST_F(HistoryScreenTest, SaysThatThereWasNoUseInThePeriodOfTheSide) {
    keep(past("Call", Device::camera, day));
    open();
    button(part("deviceFilter"), "Camera")->click();
    button(part("period"), "Today")->click();
    EXPECT_THAT(namesIn(part("totalsRows")), IsEmpty());
    EXPECT_EQ(screen->totals().content().device, "Camera");
    bool isSaid = false;
    for (const auto* label : part("totals")->findChildren<QLabel*>()) {
        isSaid = isSaid || (label->isVisible() && label->text() == "No use in this period.");
    }
    EXPECT_TRUE(isSaid);
    // The list has a period of its own.
    EXPECT_THAT(rows(), SizeIs(2));
}

TEST_F(HistoryScreenTest, SaysAtOnceThatThereWasNoUseWhereThereIsNoHistory) {
    launchWatching();
    open();
    const auto isSaid = [&] {
        return std::ranges::any_of(all<QLabel>(part("totals")), [](const QLabel* label) {
            return label->isVisible() && label->text() == "No use in this period.";
        });
    };
    auto* list = part("totalsRows");
    EXPECT_TRUE(isSaid());
    EXPECT_EQ(list->focusPolicy(), Qt::NoFocus);
    turnOn("Call");
    time.advanceBy(HistoryScreen::tick);
    settle();
    EXPECT_THAT(namesIn(list), SizeIs(1));
    EXPECT_FALSE(isSaid());
    EXPECT_EQ(list->focusPolicy(), Qt::StrongFocus);
}

TEST_F(HistoryScreenTest, OpensTheDetailsOfARowByClickEnterAndPress) {
    keep(past("Call", Device::camera, 600));
    keep(past("Memo", Device::microphone, 2 * hour));
    open();
    auto& list = screen->rows().list();
    click(list.viewport(), list.frameOf(1).center());
    ASSERT_THAT(details, SizeIs(1));
    EXPECT_EQ(details[0].app().name, "Call");
    EXPECT_EQ(list.current(), 1);

    press(&list, Qt::Key_Down);
    press(&list, Qt::Key_Return);
    ASSERT_THAT(details, SizeIs(2));
    EXPECT_EQ(details[1].app().name, "Memo");

    auto* action = access(&list)->child(1)->actionInterface();
    ASSERT_NE(action, nullptr);
    action->doAction(QAccessibleActionInterface::pressAction());
    ASSERT_THAT(details, SizeIs(3));
    EXPECT_EQ(details[2].app().name, "Call");
    // A heading is nothing to press.
    EXPECT_EQ(access(&list)->child(0)->actionInterface(), nullptr);
    click(list.viewport(), list.frameOf(0).center());
    EXPECT_THAT(details, SizeIs(3));
}

TEST_F(HistoryScreenTest, IsWalkedByKeysPastTheHeadings) {
    for (int index = 0; index < 60; ++index) {
        keep(past("App", Device::camera, 600 + index * 2 * hour));
    }
    open();
    auto& list = screen->rows().list();
    press(&list, Qt::Key_Down);
    EXPECT_EQ(list.current(), 1);
    press(&list, Qt::Key_End);
    EXPECT_EQ(list.current(), list.count() - 1);
    EXPECT_TRUE(list.viewport()->rect().contains(list.frameOf(list.count() - 1)));
    int headings = 0;
    while (list.current() != 1) {
        const auto before = *list.current();
        press(&list, Qt::Key_Up);
        ASSERT_LT(*list.current(), before);
        ASSERT_FALSE(list.isHeading(*list.current()));
        headings += before - *list.current() - 1;
    }
    EXPECT_EQ(headings, static_cast<int>(screen->rows().content().sections.size()) - 1);
    press(&list, Qt::Key_PageDown);
    press(&list, Qt::Key_PageUp);
    press(&list, Qt::Key_Home);
    EXPECT_EQ(list.current(), 1);
    EXPECT_EQ(list.verticalScrollBar()->value(), 0);
}

TEST_F(HistoryScreenTest, ShowsWhatIsStillOnAndMovesOnWithItsTicks) {
    launchWatching();
    open();
    EXPECT_TRUE(saysNothingHere());
    turnOn("Call");
    // What began after the last tick lies outside the period until the next one.
    time.advanceBy(HistoryScreen::tick);
    settle();
    ASSERT_THAT(rows(), SizeIs(2));
    EXPECT_THAT(rows()[1], HasSubstr("Call, camera, Warned, Still on"));
    EXPECT_EQ(screen->rows().content().now, time.now());
    choose("daysFilter", 3);
    receive({});
    settle();
    EXPECT_THAT(rows()[1], HasSubstr("Call, camera, Warned, 30 s"));
}

TEST_F(HistoryScreenTest, CostsNothingWhileItIsHidden) {
    launch();
    const auto due = time.nextDue();
    open();
    EXPECT_LE(*time.nextDue(), time.elapsed() + HistoryScreen::tick);
    screen->hide();
    time.advanceBy(1);
    EXPECT_EQ(time.nextDue(), due);
    keep(past("Call", Device::camera, 600));
    turnOn("Memo");
    EXPECT_THAT(rows(), IsEmpty());
    screen->show();
    QApplication::processEvents();
    EXPECT_FALSE(rows().empty());
}

TEST_F(HistoryScreenTest, FollowsAHistoryThatIsDeletedWhileItIsOpen) {
    keep(past("Call", Device::camera, 600));
    keep(past("Memo", Device::microphone, day));
    open();
    auto& list = screen->rows().list();
    press(&list, Qt::Key_End);
    auto* row = access(&list)->child(3);
    ASSERT_TRUE(row->isValid());
    choose("appFilter", 2);
    model->deleteHistory();
    settle();
    EXPECT_TRUE(saysNothingHere());
    EXPECT_THAT(namesIn(&list), IsEmpty());
    EXPECT_THAT(namesIn(part("totalsRows")), IsEmpty());
    EXPECT_EQ(list.current(), std::nullopt);
    press(&list, Qt::Key_Return);
    press(&list, Qt::Key_Down);
    EXPECT_THAT(details, IsEmpty());
    // The filter holds, and can be taken back.
    auto* apps = part<QComboBox>("appFilter");
    EXPECT_EQ(apps->currentText(), "Memo");
    choose("appFilter", 0);
    EXPECT_EQ(screen->filter().appID, std::nullopt);
}

TEST_F(HistoryScreenTest, LosesTheRowsThatAShorterRetentionDeletes) {
    keep(past("Call", Device::camera, 600));
    keep(past("Old", Device::microphone, 60 * day));
    open();
    choose("daysFilter", 3);
    ASSERT_THAT(rows(), SizeIs(4));
    auto& list = screen->rows().list();
    press(&list, Qt::Key_End);
    model->settings.retentionDays.set(30);
    model->pruneHistory();
    settle();
    EXPECT_THAT(rows(), SizeIs(2));
    EXPECT_EQ(list.current(), std::nullopt);
    EXPECT_THAT(part<QLabel>("historyFooter")->text().toStdString(),
                HasSubstr("Kept for 30 days."));
}

TEST_F(HistoryScreenTest, KeepsTheChosenRowAndThePlaceWhenARowComes) {
    for (int index = 0; index < 60; ++index) {
        keep(past("App" + std::to_string(index), Device::camera, 600 + index * hour));
    }
    launchWatching();
    open();
    auto& list = screen->rows().list();
    press(&list, Qt::Key_End);
    const auto name = nameOf(access(&list)->child(*list.current()));
    const auto frame = list.frameOf(*list.current());
    turnOn("Newcomer");
    time.advanceBy(HistoryScreen::tick);
    settle();
    ASSERT_THAT(rows()[1], HasSubstr("Newcomer"));
    EXPECT_EQ(nameOf(access(&list)->child(*list.current())), name);
    EXPECT_EQ(list.frameOf(*list.current()), frame);
}

TEST_F(HistoryScreenTest, KeepsThePlaceUnderAHeadingWhenARowComes) {
    for (int index = 0; index < 60; ++index) {
        keep(past("App" + std::to_string(index), Device::camera, 600 + index * 2 * hour));
    }
    launchWatching();
    open();
    auto& list = screen->rows().list();
    const auto heading = [&] {
        const auto& section = screen->rows().content().sections[1];
        return list.frameOf(static_cast<int>(section.first) + 1);
    };
    list.verticalScrollBar()->setValue(heading().top() + 10);
    ASSERT_EQ(heading().top(), -10);
    turnOn("Newcomer");
    time.advanceBy(HistoryScreen::tick);
    settle();
    ASSERT_THAT(rows()[1], HasSubstr("Newcomer"));
    EXPECT_EQ(heading().top(), -10);
}

TEST_F(HistoryScreenTest, ExplainsAPartOfTheSystemByItsPathNotByItsName) {
    machine.script.platform = Platform::linux;
    machine.script.signingIDs["/usr/bin/pipewire"] = "linux.pipewire";
    for (const auto* path : {"/home/someone/pipewire", "/usr/bin/pipewire"}) {
        auto use = past("Mixer", Device::microphone, 600);
        use.app.path = path;
        keep(use);
        time.advanceBy(60);
    }
    open();
    auto& list = screen->rows().list();
    const auto explained = [&](int row) {
        const auto frame = list.frameOf(row);
        for (int x = 0; x < frame.width(); ++x) {
            const QPoint place(x, frame.center().y());
            if (list.source().help(row, frame, place) == "Explains what this part of macOS does") {
                click(list.viewport(), place);
                const auto notes = list.findChildren<QWidget*>("systemProcessNote");
                return notes.isEmpty() ? "no note" : nameOf(access(notes.first()));
            }
        }
        return std::string();
    };
    EXPECT_EQ(explained(2), "");
    EXPECT_EQ(explained(1), "Mixer is part of macOS");
}

TEST_F(HistoryScreenTest, ExplainsAPartOfTheSystemByTheKeyboard) {
    settings.setBoolean("ignoreSystemListening", false);
    machine.script.signingIDs["/System/corespeechd"] = "com.apple.corespeechd";
    auto use = past("Listener", Device::microphone, 600);
    use.app.path = "/System/corespeechd";
    keep(use);
    time.advanceBy(60);
    keep(past("Call", Device::camera, 600));
    open();
    screen->activateWindow();
    QApplication::processEvents();
    for (auto* list : {&screen->rows().list(), dynamic_cast<ItemList*>(part("totalsRows"))}) {
        list->setFocus(Qt::TabFocusReason);
        press(list, Qt::Key_Home);
        ASSERT_THAT(nameOf(access(list)->focusChild()), HasSubstr("Call"));
        press(list, Qt::Key_Right);
        EXPECT_FALSE(list->isOnPart()) << "there is nothing to explain";
        press(list, Qt::Key_Down);
        auto* row = access(list)->focusChild();
        ASSERT_THAT(nameOf(row), HasSubstr("Listener"));
        EXPECT_EQ(row->childCount(), 1);
        press(list, Qt::Key_Right);
        auto* info = access(list)->focusChild();
        EXPECT_EQ(info, row->child(0));
        EXPECT_EQ(nameOf(info), "Explains what this part of macOS does");
        EXPECT_EQ(info->role(), QAccessible::Button);
        EXPECT_TRUE(info->state().focused);
        EXPECT_FALSE(row->state().focused);
        press(list, Qt::Key_Left);
        EXPECT_EQ(access(list)->focusChild(), row);
        press(list, Qt::Key_Tab);
        EXPECT_TRUE(list->isOnPart());
        for (const bool byKey : {true, false}) {
            if (byKey) {
                press(list, Qt::Key_Return);
            } else {
                info->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
            }
            auto* note = QApplication::activePopupWidget();
            ASSERT_TRUE(note);
            EXPECT_EQ(note->window()->focusWidget(), note) << "so that it is read out";
            EXPECT_EQ(nameOf(access(note)), "Listener is part of macOS");
            EXPECT_THAT(access(note)->text(QAccessible::Description).toStdString(),
                        AllOf(HasSubstr("Listens for"), HasSubstr("Velmoran checked")));
            press(note, Qt::Key_Escape);
            EXPECT_FALSE(QApplication::activePopupWidget());
            EXPECT_TRUE(list->isOnPart()) << "back where it was asked for";
        }
        EXPECT_THAT(details, IsEmpty());
    }
}

TEST_F(HistoryScreenTest, FillsTheMenuOfAppsWhenItIsClosed) {
    keep(past("Call", Device::camera, 600));
    launchWatching();
    open();
    auto* apps = part<QComboBox>("appFilter");
    apps->showPopup();
    ASSERT_TRUE(apps->view()->isVisible());
    receive(camera({testing::appRef("Also")}));
    time.runPosted();
    ASSERT_TRUE(apps->view()->isVisible());
    ASSERT_EQ(apps->count(), 2);
    apps->hidePopup();
    choose("appFilter", 1);
    settle();
    EXPECT_EQ(apps->count(), 3);
    EXPECT_EQ(apps->currentText(), "Call");
    EXPECT_EQ(screen->filter().appID, testing::appNamed("Call").id);
}

TEST_F(HistoryScreenTest, KeepsItsAccessibleRowsWhileNoneComesOrGoes) {
    keep(past("Call", Device::camera, 600));
    keep(past("Memo", Device::microphone, 2 * hour));
    launchWatching();
    open();
    const auto id = [&] {
        return QAccessible::uniqueId(access(&screen->rows().list())->child(1));
    };
    const auto before = id();
    time.advanceBy(HistoryScreen::tick);
    settle();
    EXPECT_NE(QAccessible::accessibleInterface(before), nullptr);
    EXPECT_EQ(id(), before);
    turnOn("Newcomer");
    time.advanceBy(HistoryScreen::tick);
    settle();
    EXPECT_EQ(QAccessible::accessibleInterface(before), nullptr);
}

TEST_F(HistoryScreenTest, ShowsNamesAsTheyAreAndUnharmed) {
    const std::vector<std::string> names = {"",
                                            std::string(10000, 'x'),
                                            "<b>Bold</b>",
                                            "line\nfeed",
                                            "\u202Eturned",
                                            "\u05E9\u05DC\u05D5\u05DD",
                                            "bell\a",
                                            "bad\xFF\xFE"};
    Seconds ago = 600;
    for (const auto& name : names) {
        auto session = past("App", Device::camera, ago += 60);
        session.app = testing::appNamed(std::to_string(ago));
        session.app.name = name;
        keep(session);
    }
    open();
    const auto shown = rows();
    ASSERT_THAT(shown, SizeIs(names.size() + 1));
    EXPECT_THAT(shown[3], HasSubstr("<b>Bold</b>"));
    EXPECT_THAT(shown[4], HasSubstr("line feed"));
    EXPECT_THAT(shown[5], ::testing::Not(HasSubstr("\u202E")));
    EXPECT_LT(shown[2].size(), 1000U);
    for (const auto& name : shown) {
        EXPECT_EQ(name.find_first_of("\n\a"), std::string::npos) << name;
    }
    EXPECT_FALSE(screen->grab().isNull());
    for (const auto* picker : {"appFilter", "daysFilter"}) {
        EXPECT_LE(part<QComboBox>(picker)->width(), 110);
    }
}

TEST_F(HistoryScreenTest, HasTheSizesThatItIsGiven) {
    open();
    EXPECT_EQ(screen->size(), QSize(720, 460));
    EXPECT_EQ(part("tabs")->width(), 240);
    EXPECT_LE(part("deviceFilter")->width(), 220);
    EXPECT_EQ(part("totals")->width(), 210);
    EXPECT_EQ(part("chartButton")->size(), QSize(30, 30));
}

TEST_F(HistoryScreenTest, SaysUnderTheListWhatIsKeptAndLeftOut) {
    open();
    auto* footer = part<QLabel>("historyFooter");
    model->settings.hideSystemSounds.set(false);
    model->settings.ignoreSystemListening.set(false);
    EXPECT_EQ(footer->text(), "Stored only on this Mac. Kept for 90 days.");
    model->settings.hideSystemSounds.set(true);
    EXPECT_THAT(footer->text().toStdString(), HasSubstr("System sounds are hidden."));
    model->settings.ignoreSystemListening.set(true);
    EXPECT_THAT(footer->text().toStdString(), HasSubstr("own listening is ignored."));
    part<QAbstractButton>("changeInSettings")->click();
    EXPECT_EQ(settingsShown, 1);
}

TEST_F(HistoryScreenTest, HasAnEmptyListOfReportsAndNoChartThere) {
    open();
    EXPECT_TRUE(part("chartButton")->isVisible());
    button(part("tabs"), "Away watch")->click();
    EXPECT_TRUE(part("awayReports")->isVisible());
    EXPECT_FALSE(part("chartButton")->isVisible());
    EXPECT_TRUE(part("historyFooter")->isVisible());
    button(part("tabs"), "Activity")->click();
    EXPECT_TRUE(part("chartButton")->isVisible());
    EXPECT_FALSE(part("awayReports")->isVisible());
}

} // namespace
} // namespace velmoran
