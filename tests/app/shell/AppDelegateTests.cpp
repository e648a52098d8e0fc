#include "app/model/ModelFixture.h"
#include "app/shell/AppDelegate.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QCoreApplication>
#include <gmock/gmock.h>

namespace velmoran {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

SystemSnapshot microphoneUsedBy(const std::string& name) {
    return testing::ModelFixture::microphone({testing::appRef(name)});
}

/// Somebody has gone through the introduction.
struct Introduced : testing::ModelFixture {
    Introduced() { settings.setBoolean("onboardingDone", true); }
};

struct Delegate : Introduced {
    /// Whether the status item was there when the model opened its history.
    std::optional<bool> startedUnderTheItem;
    AppDelegate delegate{ModelSurroundings{machine, time, time, settings,
                                           [this] {
                                               startedUnderTheItem =
                                                   delegate.statusItem() != nullptr;
                                               return store;
                                           }},
                         AppPicture(), AppDelegate::Outside{}};

    std::vector<std::string> openWindows() {
        std::vector<std::string> open;
        for (const auto id : {WindowID::main, WindowID::onboarding, WindowID::history,
                              WindowID::settings, WindowID::details, WindowID::awayReport}) {
            const auto* window = delegate.screens().windows().window(id);
            if (window && window->isVisible()) {
                open.emplace_back(id);
            }
        }
        return open;
    }
    std::string title(std::string_view id) {
        return delegate.screens().windows().window(id)->windowTitle().toStdString();
    }
    void choose(const std::string& entry) {
        for (auto* action : delegate.statusItem()->item()->contextMenu()->actions()) {
            if (action->text().toStdString() == entry) {
                action->trigger();
                return;
            }
        }
        FAIL() << "no entry " << entry;
    }
};

TEST_F(Delegate, StartsTheModelOnlyOnceTheStatusItemIsThere) {
    EXPECT_FALSE(delegate.statusItem());
    EXPECT_EQ(startedUnderTheItem, std::nullopt);
    EXPECT_FALSE(machine.snapshots().isStarted());
    delegate.didFinishLaunching({.isLogin = true});
    EXPECT_EQ(startedUnderTheItem, true);
    EXPECT_TRUE(machine.snapshots().isStarted());
    ASSERT_TRUE(delegate.statusItem());
    delegate.model().receive({});
    delegate.model().receive(microphoneUsedBy("Zoom"));
    time.runPosted();
    EXPECT_THAT(delegate.model().notices.items(), SizeIs(1));
    EXPECT_TRUE(delegate.statusItem()->noticePanel().panel().isVisible());
}

TEST_F(Delegate, StopsOnlyTheMonitorAtTheEnd) {
    delegate.didFinishLaunching({.isLogin = true});
    delegate.model().receive({});
    delegate.model().receive(microphoneUsedBy("Zoom"));
    time.runPosted();
    EXPECT_FALSE(machine.snapshots().isStopped());
    delegate.model().stopMonitor();
    EXPECT_TRUE(machine.snapshots().isStopped());
    ASSERT_THAT(store->sessions(), SizeIs(1));
    EXPECT_EQ(store->sessions().front().end, std::nullopt);
    EXPECT_EQ(store->sessions().front().outcome, std::nullopt);
}

TEST_F(Delegate, AStartByAPersonShowsTheMainWindow) {
    delegate.didFinishLaunching({});
    EXPECT_THAT(openWindows(), ElementsAre("main"));
    EXPECT_EQ(title("main"), "Velmoran");
}

TEST_F(Delegate, AStartAtLoginShowsNone) {
    delegate.didFinishLaunching({.isLogin = true});
    EXPECT_THAT(openWindows(), IsEmpty());
}

TEST_F(Delegate, TheIntroductionComesFirstAtLoginToo) {
    settings.setBoolean("onboardingDone", false);
    for (const bool isLogin : {false, true}) {
        AppDelegate other({machine, time, time, settings,
                           [this] {
                               return store;
                           }},
                          AppPicture(), {});
        machine.restart();
        other.didFinishLaunching({.isLogin = isLogin});
        const auto& shown = other.screens().windows();
        ASSERT_TRUE(shown.window("onboarding"));
        EXPECT_TRUE(shown.window("onboarding")->isVisible());
        EXPECT_EQ(shown.window("onboarding")->windowTitle(), "Welcome to Velmoran");
        EXPECT_FALSE(shown.window("main"));
    }
}

TEST_F(Delegate, AStartThatNobodyAskedForShowsNone) {
    settings.setBoolean("onboardingDone", false);
    delegate.didFinishLaunching({.isUnasked = true});
    EXPECT_THAT(openWindows(), IsEmpty());
}

TEST_F(Delegate, TheSettingShowWindowIsNoWishForAStartThatNobodyAskedFor) {
    settings.setTexts("showWindow", {"history"});
    delegate.didFinishLaunching({.isUnasked = true});
    EXPECT_THAT(openWindows(), IsEmpty());
}

TEST_F(Delegate, TheSettingShowWindowOpensASecondWindow) {
    settings.setTexts("showWindow", {"history"});
    delegate.didFinishLaunching({});
    EXPECT_THAT(openWindows(), ElementsAre("main", "history"));
    EXPECT_EQ(title("history"), "History");
    EXPECT_EQ(settings.texts("showWindow"), std::vector<std::string>{"history"})
        << "it is only read";
}

TEST_F(Delegate, TheArgumentGoesBeforeTheSetting) {
    settings.setTexts("showWindow", {"history"});
    delegate.didFinishLaunching({.isLogin = true, .showWindow = "settings"});
    EXPECT_THAT(openWindows(), ElementsAre("settings"));
    EXPECT_EQ(title("settings"), "Settings");
}

TEST_F(Delegate, AnyOtherValueOpensNothing) {
    for (const std::vector<std::string>& value : {std::vector<std::string>{"main"},
                                                  {"details"},
                                                  {"History"},
                                                  {""},
                                                  {"history", "settings"}}) {
        settings.setTexts("showWindow", value);
        AppDelegate other({machine, time, time, settings,
                           [this] {
                               return store;
                           }},
                          AppPicture(), {});
        machine.restart();
        other.didFinishLaunching({.isLogin = true});
        EXPECT_FALSE(other.screens().windows().isAnyOpen()) << value.front();
    }
}

TEST_F(Delegate, AWishTakesThePlaceOfTheFirstWindow) {
    delegate.didFinishLaunching({.show = "history"});
    EXPECT_THAT(openWindows(), ElementsAre("history"));
}

TEST_F(Delegate, AWishIsGrantedAtLoginToo) {
    delegate.didFinishLaunching({.isLogin = true, .show = "main"});
    EXPECT_THAT(openWindows(), ElementsAre("main"));
}

TEST_F(Delegate, AReopenBeforeTheStartDoesNothing) {
    delegate.reopen({});
    EXPECT_THAT(openWindows(), IsEmpty());
}

TEST_F(Delegate, ASecondStartShowsTheMainWindowHoweverOftenItComes) {
    delegate.didFinishLaunching({.isLogin = true});
    delegate.reopen(Wish::from("nothing"));
    EXPECT_THAT(openWindows(), IsEmpty());
    delegate.reopen(Wish::from(""));
    delegate.reopen(Wish::from(""));
    EXPECT_THAT(openWindows(), ElementsAre("main"));
    EXPECT_THAT(delegate.model().notices.items(), SizeIs(0));
    delegate.reopen(Wish::from("history"));
    EXPECT_THAT(openWindows(), ElementsAre("main", "history"));
    delegate.reopen(Wish::from("\xff\x01 what nobody knows"));
    EXPECT_THAT(openWindows(), ElementsAre("main", "history"));
}

TEST_F(Delegate, TellsOnWithAllWindowsClosed) {
    delegate.didFinishLaunching({});
    delegate.screens().close(WindowID::main);
    for (int i = 0; i < 4; ++i) {
        QCoreApplication::processEvents();
    }
    EXPECT_THAT(openWindows(), IsEmpty());
    delegate.model().receive({});
    delegate.model().receive(microphoneUsedBy("Zoom"));
    time.runPosted();
    EXPECT_THAT(delegate.model().notices.items(), SizeIs(1));
}

TEST_F(Delegate, TheMenuOpensWindowsAndStops) {
    delegate.didFinishLaunching({.isLogin = true});
    delegate.statusItem()->dock();
    choose("History");
    choose("Settings");
    choose("Show Velmoran");
    EXPECT_THAT(openWindows(), ElementsAre("main", "history", "settings"));

    delegate.model().receive({});
    delegate.model().receive(microphoneUsedBy("Zoom"));
    time.runPosted();
    EXPECT_FALSE(*delegate.model().isStopping);
    choose("Stop camera and microphone");
    time.runPosted();
    time.advanceBy(1);
    EXPECT_TRUE(*delegate.model().settings.microphoneMuted);
}

TEST_F(Delegate, IsLookedAtWhileAWindowOrThePanelIsOpen) {
    EXPECT_FALSE(delegate.isLookedAt());
    delegate.didFinishLaunching({.isLogin = true});
    EXPECT_FALSE(delegate.isLookedAt());
    std::vector<bool> afterThePanel;
    delegate.statusItem()->onPanelClosed = [&] {
        afterThePanel.push_back(delegate.isLookedAt());
    };
    delegate.statusItem()->togglePanel();
    EXPECT_TRUE(delegate.isLookedAt());
    EXPECT_THAT(afterThePanel, IsEmpty());
    delegate.statusItem()->togglePanel();
    EXPECT_FALSE(delegate.isLookedAt());
    EXPECT_THAT(afterThePanel, ElementsAre(false));
    delegate.screens().show(WindowID::history);
    EXPECT_TRUE(delegate.isLookedAt());
    delegate.screens().close(WindowID::history);
    EXPECT_FALSE(delegate.isLookedAt());
}

TEST_F(Delegate, TheModelOpensAndClosesWindowsByTheirIDs) {
    delegate.didFinishLaunching({.isLogin = true});
    Windows& byID = delegate.screens();
    byID.show(WindowID::history);
    EXPECT_THAT(openWindows(), ElementsAre("history"));
    byID.close(WindowID::history);
    EXPECT_THAT(openWindows(), IsEmpty());
    byID.show("nobody");
    byID.show(WindowID::details);
    byID.show(WindowID::awayReport);
    EXPECT_THAT(openWindows(), IsEmpty());
}

TEST_F(Delegate, AReportOpensInAWindowThatLeadsToTheHistory) {
    AwayReport report;
    report.end = Timestamp{200};
    report.events.emplace_back();
    Screens notBegun;
    notBegun.showAwayReport(report);
    EXPECT_FALSE(notBegun.windows().isAnyOpen());
    Windows& windows = delegate.screens();
    delegate.didFinishLaunching({.isLogin = true});
    windows.showAwayReport(report);
    EXPECT_THAT(openWindows(), ElementsAre("away-report"));
    EXPECT_EQ(title("away-report"), "Away watch");
    const auto press = [this](const char* name) {
        auto* window = delegate.screens().windows().window(WindowID::awayReport);
        for (auto* each : window->findChildren<QAbstractButton*>()) {
            if (QAccessible::queryAccessibleInterface(each)->text(QAccessible::Name) ==
                QLatin1String(name)) {
                each->click();
                return;
            }
        }
        FAIL() << "no button " << name;
    };
    press("Done");
    EXPECT_THAT(openWindows(), IsEmpty());
    windows.showAwayReport(report);
    windows.show(WindowID::awayReport);
    EXPECT_THAT(openWindows(), ElementsAre("away-report"));
    press("Open in History");
    EXPECT_THAT(openWindows(), ElementsAre("history"));
}

TEST_F(Delegate, TheDetailsHaveTheAppsNameAsTheirTitle) {
    delegate.didFinishLaunching({.isLogin = true});
    UsageSession session;
    session.id = Uuid::random();
    session.app.name = "Zoom\nMeetings";
    ActivityRow row;
    row.sessions = {std::make_shared<const UsageSession>(session)};
    delegate.screens().showDetails(row);
    EXPECT_THAT(openWindows(), ElementsAre("details"));
    EXPECT_EQ(title("details"), "Zoom Meetings");
}

TEST_F(Delegate, OffersARestartOnlyWhereItCanBeHad) {
    settings.setTexts("AppleLanguages", {"de"}); // the words of tests are English
    for (const bool can : {false, true}) {
        AppDelegate::Outside outside;
        if (can) {
            outside.relaunch = [] {
            };
        }
        AppDelegate other({machine, time, time, settings,
                           [this] {
                               return store;
                           }},
                          AppPicture(), outside);
        machine.restart();
        other.didFinishLaunching({.show = "settings"});
        const auto* row = other.screens()
                              .windows()
                              .window("settings")
                              ->findChild<QWidget*>(QStringLiteral("restart"));
        ASSERT_TRUE(row);
        EXPECT_TRUE(row->isVisible());
        EXPECT_EQ(row->findChild<QAbstractButton*>() != nullptr, can);
    }
}

TEST_F(Delegate, EndsWithWindowsOpen) {
    AppDelegate other({machine, time, time, settings,
                       [this] {
                           return store;
                       }},
                      AppPicture(), {});
    other.didFinishLaunching({});
    other.screens().show(WindowID::history);
    other.statusItem()->togglePanel();
    EXPECT_TRUE(other.statusItem()->panel()->isVisible());
}

} // namespace
} // namespace velmoran
