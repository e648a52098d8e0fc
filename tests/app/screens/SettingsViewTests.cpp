#include "app/controls/Groups.h"
#include "app/screens/Screens.h"
#include "app/screens/SettingsFixture.h"
#include "app/screens/SettingsView.h"

#include "app/qtbase/QtSettingsFile.h"
#include "support/TemporaryDirectory.h"

#include <QAbstractItemView>
#include <QFile>
#include <QKeyEvent>
#include <QPointer>
#include <QScrollArea>
#include <QWheelEvent>
#include <gmock/gmock.h>

namespace velmoran {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using ::velmoran::testing::appNamed;
using ::velmoran::testing::says;
using ::velmoran::testing::SettingsFixture;

struct SettingsViewTest : SettingsFixture {
    /// Of a section, by its text; null without one.
    const QWidget* heading(const std::string& text) const {
        for (const auto* section : velmoran::testing::allOf<FormSection>(*view)) {
            const auto* label = section->findChild<TextLabel*>({}, Qt::FindDirectChildrenOnly);
            if (label && label->text().toStdString() == text) {
                return label;
            }
        }
        return nullptr;
    }
};

constexpr const char* ownReturn = "Ignore the last 10 seconds before unlocking";
constexpr const char* refusal = "macOS didn't allow this change. You can set it in System Settings "
                                "> General > Login Items.";

TEST_F(SettingsViewTest, IsAsLargeAsItShouldBeAndScrolls) {
    show();
    EXPECT_EQ(view->sizeHint(), QSize(480, 620));
    const auto* scroll = view->findChild<QScrollArea*>();
    ASSERT_TRUE(scroll);
    EXPECT_GT(scroll->widget()->height(), 620);
    EXPECT_LE(scroll->widget()->width(), 480);
}

TEST_F(SettingsViewTest, HasItsSectionsInTheirOrder) {
    show();
    std::vector<std::string> names;
    for (const char* name : {"Open at login",
                             "Language",
                             "Warning sound",
                             "Standard notices",
                             "About quick stop",
                             "Floating stop button",
                             "Ask before closing a browser",
                             "Keyboard shortcut ⌃⌥⌘.",
                             "Mute speakers when headphones disconnect",
                             "Monitor speaker use",
                             "Hide system sounds",
                             "Ignore macOS's own listening",
                             "Away watch",
                             ownReturn,
                             "Trusted apps",
                             "Always warn",
                             "Keep history for",
                             "Delete all history…",
                             "Check for updates",
                             "Send feedback…",
                             "Imprint",
                             "Privacy policy"}) {
        names.emplace_back(name);
    }
    // From top to bottom, then from left to right.
    std::vector<std::pair<QPoint, std::string>> places;
    for (const auto& name : names) {
        const QWidget* widget = velmoran::testing::button(*view, name);
        if (!widget) {
            widget = heading(name);
        }
        if (!widget) {
            widget = &picker(name);
        }
        const auto place = widget->mapTo(view.get(), QPoint());
        places.emplace_back(QPoint(place.y(), place.x()), name);
    }
    for (std::size_t i = 1; i < places.size(); ++i) {
        const auto& before = places[i - 1].first;
        const auto& after = places[i].first;
        EXPECT_TRUE(before.x() < after.x() || (before.x() == after.x() && before.y() < after.y()))
            << places[i - 1].second << ", " << places[i].second;
    }
}

TEST_F(SettingsViewTest, OffersTheOwnReturnOnlyBesideTheAwayWatch) {
    show();
    ASSERT_FALSE(*model->settings.awayWatchOnLock);
    EXPECT_FALSE(toggle(ownReturn).isEnabled());
    EXPECT_TRUE(toggle(ownReturn).isChecked()) << "it keeps its value";
    press("Away watch");
    EXPECT_TRUE(*model->settings.awayWatchOnLock);
    EXPECT_TRUE(toggle(ownReturn).isEnabled());
    press(ownReturn);
    EXPECT_FALSE(*model->settings.ignoreOwnReturn);
    press("Away watch");
    EXPECT_FALSE(toggle(ownReturn).isEnabled());
    EXPECT_FALSE(toggle(ownReturn).isChecked());
    EXPECT_FALSE(*model->settings.ignoreOwnReturn);
}

TEST_F(SettingsViewTest, SaysWhatTheAwayWatchCannotNoticeHere) {
    show();
    const auto note = [this](const AwayGaps& gaps) {
        return says(*view, SettingsContent::awayWatch(false, gaps).note);
    };
    EXPECT_TRUE(note({}));
    model->awayOutlook.gaps.set({.noLock = false, .noInput = true});
    EXPECT_TRUE(note({.noLock = false, .noInput = true}));
    model->awayOutlook.gaps.set({.noLock = true, .noInput = false});
    EXPECT_TRUE(note({.noLock = true, .noInput = false}));
    model->awayOutlook.gaps.set({});
    EXPECT_TRUE(note({}));
}

TEST_F(SettingsViewTest, BindsEachSwitchToItsFieldBothWays) {
    show();
    const std::pair<const char*, SettingsStore::Field<bool> SettingsStore::*> switches[] = {
        {"Warning sound", &SettingsStore::warningSoundOn},
        {"Floating stop button", &SettingsStore::floatingStopButton},
        {"Ask before closing a browser", &SettingsStore::confirmClosingBrowser},
        {"Keyboard shortcut ⌃⌥⌘.", &SettingsStore::stopShortcutOn},
        {"Mute speakers when headphones disconnect", &SettingsStore::speakerAutoMute},
        {"Monitor speaker use", &SettingsStore::monitorSpeakerUse},
        {"Hide system sounds", &SettingsStore::hideSystemSounds},
        {"Ignore macOS's own listening", &SettingsStore::ignoreSystemListening},
        {"Away watch", &SettingsStore::awayWatchOnLock},
    };
    for (const auto& [name, field] : switches) {
        auto& setting = model->settings.*field;
        const bool before = *setting;
        EXPECT_EQ(toggle(name).isChecked(), before) << name;
        press(name);
        EXPECT_EQ(*setting, !before) << name;
        setting.set(before);
        EXPECT_EQ(toggle(name).isChecked(), before) << name << ", changed from elsewhere";
    }
}

TEST_F(SettingsViewTest, HasTheModelLookAgainWhereItDecidesWhatCounts) {
    show();
    int changes = 0;
    const auto watch = model->onChange.subscribe([&] { ++changes; });
    const std::pair<const char*, int> expected[] = {
        {"Mute speakers when headphones disconnect", 0},
        {"Monitor speaker use", 1},
        {"Hide system sounds", 0},
        {"Ignore macOS's own listening", 1},
        {"Away watch", 0},
        {ownReturn, 0},
    };
    for (const auto& [name, times] : expected) {
        changes = 0;
        press(name);
        EXPECT_EQ(changes, times) << name;
    }
}

// MARK: - Login and language

TEST_F(SettingsViewTest, RegistersTheLoginItem) {
    show();
    EXPECT_FALSE(toggle("Open at login").isChecked());
    press("Open at login");
    EXPECT_TRUE(loginItem.on);
    EXPECT_TRUE(toggle("Open at login").isChecked());
    press("Open at login");
    EXPECT_FALSE(loginItem.on);
    EXPECT_THAT(loginItem.asked, ElementsAre(true, false));
    EXPECT_FALSE(says(*view, refusal));
}

TEST_F(SettingsViewTest, ARefusedLoginItemJumpsBackAndSaysSoUntilAChangeSucceeds) {
    show();
    loginItem.refuses = true;
    press("Open at login");
    EXPECT_FALSE(toggle("Open at login").isChecked());
    EXPECT_TRUE(says(*view, refusal));
    press("Open at login");
    EXPECT_TRUE(says(*view, refusal));
    loginItem.refuses = false;
    press("Open at login");
    EXPECT_TRUE(toggle("Open at login").isChecked());
    EXPECT_FALSE(says(*view, refusal));
}

TEST_F(SettingsViewTest, DoesNothingWhereTheLoginItemIsAlreadyAsWanted) {
    show();
    loginItem.on = true;
    press("Open at login");
    EXPECT_THAT(loginItem.asked, IsEmpty());
    EXPECT_TRUE(toggle("Open at login").isChecked());
}

TEST_F(SettingsViewTest, ShowsTheLoginItemAsItIsWheneverItComesUp) {
    show();
    view->hide();
    loginItem.on = true;
    view->show();
    EXPECT_TRUE(toggle("Open at login").isChecked());
}

TEST_F(SettingsViewTest, OffersARestartWhileAnotherLanguageIsChosen) {
    show();
    const std::string restart = "Velmoran changes its language when it starts again.";
    EXPECT_EQ(picker("Language").currentText(), "English");
    EXPECT_FALSE(says(*view, restart));
    choose("Language", "Deutsch");
    EXPECT_EQ(*model->settings.language, "de");
    EXPECT_TRUE(says(*view, restart));
    press("Restart now");
    EXPECT_EQ(relaunches, 1);
    choose("Language", "English");
    EXPECT_EQ(*model->settings.language, "en");
    EXPECT_FALSE(says(*view, restart));
    EXPECT_FALSE(velmoran::testing::button(*view, "Restart now"));
}

TEST_F(SettingsViewTest, OffersNoRestartWhereNobodyCanStartItAnew) {
    launch();
    auto unable = context();
    unable.actions.relaunch = nullptr;
    view = std::make_unique<SettingsView>(unable, loginItem);
    view->show();
    choose("Language", "Deutsch");
    EXPECT_TRUE(says(*view, "Velmoran changes its language when it starts again."));
    EXPECT_FALSE(velmoran::testing::button(*view, "Restart now"));
}

TEST_F(SettingsViewTest, FollowsALanguageThatIsChosenElsewhere) {
    show();
    model->settings.language.set("de");
    EXPECT_EQ(picker("Language").currentText(), "Deutsch");
    model->settings.language.set(std::nullopt);
    EXPECT_EQ(picker("Language").currentText(), "English");
}

// MARK: - Notices and stopping

TEST_F(SettingsViewTest, LetsStandardNoticesHideOrStay) {
    show();
    EXPECT_EQ(picker("Standard notices").currentText(), "Hide after 8 s");
    choose("Standard notices", "Stay until closed");
    EXPECT_TRUE(*model->settings.standardNoticesStay);
    model->settings.standardNoticesStay.set(false);
    EXPECT_EQ(picker("Standard notices").currentText(), "Hide after 8 s");
}

TEST_F(SettingsViewTest, ExplainsTheQuickStopOnRequest) {
    show();
    EXPECT_FALSE(says(*view, "Two faster ways to stop"));
    press("About quick stop");
    const auto shown = QApplication::topLevelWidgets();
    for (const char* text :
         {"Two faster ways to stop",
          "A button that floats on screen while the camera or microphone is on, and a keyboard "
          "shortcut.",
          "Both do what “Stop camera and microphone” in the panel does: they mute the microphone "
          "and close the apps that are using the camera or microphone. Unsaved work in those apps "
          "may be lost."}) {
        EXPECT_TRUE(std::any_of(shown.begin(), shown.end(), [&](const QWidget* each) {
            return each->isVisible() && says(*each, text);
        })) << text;
    }
}

TEST_F(SettingsViewTest, TheQuickStopHasItsNamesForAScreenReader) {
    show();
    const auto nameOf = [](QWidget& widget) {
        return QAccessible::queryAccessibleInterface(&widget)->text(QAccessible::Name);
    };
    auto* section = toggle("Floating stop button").parentWidget();
    while (section && !dynamic_cast<FormSection*>(section)) {
        section = section->parentWidget();
    }
    ASSERT_TRUE(section);
    EXPECT_EQ(nameOf(*section), QStringLiteral("Quick stop for camera and microphone"));
    press("About quick stop");
    QWidget* note = nullptr;
    for (auto* each : QApplication::allWidgets()) {
        if (each->objectName() == QStringLiteral("quickStopNote") && each->isVisible()) {
            note = each;
        }
    }
    ASSERT_TRUE(note);
    EXPECT_EQ(nameOf(*note), QStringLiteral("Two faster ways to stop"));
    EXPECT_EQ(nameOf(*note->window()), QStringLiteral("Two faster ways to stop"));
}

TEST_F(SettingsViewTest, SaysThatTheShortcutIsRefused) {
    show();
    const std::string refused =
        "macOS didn't give Velmoran this shortcut. Another app may be using it.";
    const std::string usual = "Press Control, Option, Command and the . key to stop the camera and "
                              "microphone from any app.";
    EXPECT_TRUE(says(*view, usual));
    model->stopShortcutUnavailable.set(true);
    EXPECT_TRUE(says(*view, refused));
    EXPECT_FALSE(says(*view, usual));
    model->stopShortcutUnavailable.set(false);
    EXPECT_TRUE(says(*view, usual));
}

// MARK: - What counts as a use

TEST_F(SettingsViewTest, LooksAtTheLastReadingAgainWhenTheSpeakerIsWatched) {
    launchWatching();
    SystemSnapshot playing;
    playing.speakerOn = true;
    playing.speakerApps = {velmoran::testing::appRef("Music")};
    receive(playing);
    show();
    EXPECT_THAT(*model->openSessions, IsEmpty());
    const int before = changes;
    press("Monitor speaker use");
    EXPECT_THAT(*model->openSessions, SizeIs(1));
    EXPECT_GT(changes, before);
    press("Monitor speaker use");
    EXPECT_THAT(*model->openSessions, IsEmpty());
}

TEST_F(SettingsViewTest, LooksAgainWhenTheSystemsOwnListeningCounts) {
    machine.script.signingIDs["/Applications/Siri"] = "com.apple.corespeechd";
    launchWatching();
    receive(microphone({velmoran::testing::appRef("Siri")}));
    show();
    EXPECT_THAT(*model->openSessions, IsEmpty());
    press("Ignore macOS's own listening");
    EXPECT_THAT(*model->openSessions, SizeIs(1));
}

// MARK: - History

UsageSession oldSession(Timestamp now, int days) {
    UsageSession session;
    session.app = appNamed("Old");
    session.device = Device::camera;
    constexpr double day = 86400;
    session.start = now + -day * days;
    session.end = session.start + 60.0;
    return session;
}

TEST_F(SettingsViewTest, AShorterPeriodDeletesAtOnce) {
    settings.setInteger("retentionDays", 365);
    launch();
    store->saveSession(oldSession(time.now(), 100));
    store->saveSession(oldSession(time.now(), 80));
    show();
    EXPECT_EQ(picker("Keep history for").currentText(), "1 year");
    choose("Keep history for", "90 days");
    EXPECT_EQ(*model->settings.retentionDays, 90);
    EXPECT_EQ(model->historySessions->size(), 1U);
    EXPECT_FALSE(question());
}

TEST_F(SettingsViewTest, ShowsAPeriodThatWasChosenElsewhere) {
    settings.setInteger("retentionDays", 45);
    show();
    EXPECT_EQ(picker("Keep history for").currentIndex(), -1);
    EXPECT_EQ(picker("Keep history for").placeholderText(), "Days: 45");
    EXPECT_EQ(picker("Keep history for").count(), 3);
    model->settings.retentionDays.set(30);
    EXPECT_EQ(picker("Keep history for").currentText(), "30 days");
}

TEST_F(SettingsViewTest, DeletesTheHistoryAfterAQuestion) {
    launch();
    store->saveSession(oldSession(time.now(), 1));
    model->pruneHistory();
    ASSERT_EQ(model->historySessions->size(), 1U);
    show();
    press("Delete all history…");
    ASSERT_TRUE(question());
    EXPECT_TRUE(says(*question(), "Delete all history?"));
    EXPECT_TRUE(says(*question(), "This removes every recorded use and every Away watch report "
                                  "from this Mac. It can't be undone."));
    answer("Cancel");
    EXPECT_EQ(model->historySessions->size(), 1U);
    EXPECT_FALSE(question());
    press("Delete all history…");
    answer("Delete all history");
    EXPECT_EQ(model->historySessions->size(), 0U);
    EXPECT_FALSE(question());
}

// MARK: - The rest

TEST_F(SettingsViewTest, OpensThePagesOfTheWebServer) {
    QCoreApplication::setApplicationVersion(QStringLiteral("1.9"));
    show();
    EXPECT_TRUE(says(*view, "Tell us what you think"));
    EXPECT_TRUE(says(*view, "Opens a form on our website. Your version is filled in, and nothing "
                            "is sent until you send the form."));
    press("Send feedback…");
    press("velmoran.example");
    press("Imprint");
    press("Privacy policy");
    EXPECT_THAT(opened,
                ElementsAre("https://velmoran.example/velmoran/feedback?v=1.9&b=" +
                                WebAddresses::buildNumber(),
                            "https://velmoran.example/velmoran", "https://velmoran.example/imprint",
                            "https://velmoran.example/privacy"));
    EXPECT_TRUE(says(*view, "Velmoran 1.9"));
}

TEST_F(SettingsViewTest, OpensGermanPagesForTheLanguageThatIsChosen) {
    QCoreApplication::setApplicationVersion({});
    settings.setTexts("AppleLanguages", {"de"});
    show();
    press("Send feedback…");
    EXPECT_THAT(opened, ElementsAre("https://velmoran.example/de/velmoran/feedback?v=&b=" +
                                    WebAddresses::buildNumber()));
}

TEST_F(SettingsViewTest, HasNoLinksWithoutAWebServer) {
    QCoreApplication::setApplicationVersion(QStringLiteral("1.9"));
    web.reset();
    show();
    for (const char* name : {"Send feedback…", "Imprint", "Privacy policy"}) {
        EXPECT_FALSE(velmoran::testing::button(*view, name)) << name;
    }
    EXPECT_FALSE(says(*view, "Velmoran 1.9")) << "once is enough";
    EXPECT_TRUE(says(*view, "Version 1.9"));
    EXPECT_TRUE(says(*view, "Velmoran only looks for a new version when you ask."));
    const auto* check = velmoran::testing::button(*view, "Check for updates");
    ASSERT_TRUE(check);
    EXPECT_FALSE(check->isEnabled());
    EXPECT_EQ(check->toolTip(), "This Velmoran was built without a website that it could ask.");
    EXPECT_EQ(check->accessibleDescription(), check->toolTip());
}

TEST_F(SettingsViewTest, ChoosesNothingByTheWheel) {
    show();
    auto& box = picker("Keep history for");
    box.setFocus();
    QWheelEvent turn(QPointF(5, 5), box.mapToGlobal(QPointF(5, 5)), {}, QPoint(0, -120),
                     Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(&box, &turn);
    EXPECT_EQ(box.currentText(), "90 days");
    EXPECT_EQ(*model->settings.retentionDays, 90);
}

TEST_F(SettingsViewTest, DeletesNothingByAKeyOnTheClosedPeriod) {
    settings.setInteger("retentionDays", 365);
    launch();
    store->saveSession(oldSession(time.now(), 100));
    model->pruneHistory();
    ASSERT_THAT(*model->historySessions, SizeIs(1));
    show();
    auto& box = picker("Keep history for");
    box.setFocus();
    QKeyEvent up(QEvent::KeyPress, Qt::Key_Up, Qt::NoModifier);
    QApplication::sendEvent(&box, &up);
    EXPECT_EQ(box.currentText(), "1 year");
    EXPECT_EQ(*model->settings.retentionDays, 365);
    EXPECT_THAT(*model->historySessions, SizeIs(1));
    EXPECT_TRUE(box.view()->isVisible());
    box.hidePopup();
}

TEST_F(SettingsViewTest, AnOpenWindowThatIsAskedForAgainKeepsWhatStandsInIt) {
    launch();
    Screens screens;
    screens.begin(context(), loginItem);
    for (const auto id : {WindowID::settings, WindowID::history}) {
        screens.show(id);
        const auto* window = screens.windows().window(id);
        ASSERT_TRUE(window);
        const QPointer<QWidget> first = window->content();
        ASSERT_TRUE(first);
        screens.show(id);
        EXPECT_EQ(window->content(), first.data()) << id;
        screens.close(id);
        screens.show(id);
        EXPECT_TRUE(window->isVisible());
        EXPECT_NE(window->content(), first.data()) << id << " was closed";
    }
    screens.end();
}

TEST_F(SettingsViewTest, GoesBeforeTheModelAndLeavesNothingBehind) {
    show();
    view.reset();
    model->settings.warningSoundOn.set(false);
    model->settings.language.set("de");
    model->stopShortcutUnavailable.set(true);
    model->setTrusted(true, appNamed("A"), {Device::camera});
}

TEST(SettingsNotSaved, IsSaidAsLongAsItIsSo) {
    const TemporaryDirectory folder;
    const auto place = QString::fromStdString(folder.path()) + "/folder";
    QFile obstacle(place);
    ASSERT_TRUE(obstacle.open(QFile::WriteOnly));
    QtSettingsFile file(place + "/Velmoran.conf");
    ScriptedTime time;
    ScriptedMachine machine;
    AppModel model({machine, time, time, file, [] {
                        return std::make_shared<HistoryStore>(std::nullopt);
                    }});
    velmoran::testing::TestLoginItem loginItem;
    SettingsView view({model, time, [](const AppIdentity&) { return QIcon(); }, {}}, loginItem);
    view.show();
    const std::string text =
        "The settings couldn't be saved. What is chosen here holds until Velmoran quits.";
    EXPECT_FALSE(says(view, text));
    velmoran::testing::button(view, "Warning sound")->click();
    EXPECT_FALSE(*model.settings.warningSoundOn);
    EXPECT_TRUE(says(view, text));
    obstacle.remove();
    velmoran::testing::button(view, "Warning sound")->click();
    EXPECT_FALSE(says(view, text));
}

} // namespace
} // namespace velmoran
