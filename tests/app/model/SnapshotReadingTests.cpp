#include "tests/app/model/ModelFixture.h"

namespace velmoran {
namespace {

using testing::appRef;
using Titles = std::vector<std::string>;

AppRef helper() {
    return {.name = "avconferenced", .bundleID = {}, .path = "/usr/libexec/avconferenced"};
}

AppRef listener() {
    return {.name = "corespeechd", .bundleID = {}, .path = "/usr/libexec/corespeechd"};
}

struct SnapshotReadingTest : testing::ModelFixture {
    SnapshotReadingTest() {
        machine.script.signingIDs = {{"/usr/libexec/avconferenced", "com.apple.avconferenced"},
                                     {"/usr/libexec/corespeechd", "com.apple.corespeechd"}};
    }

    Titles openApps() const {
        Titles names;
        for (const auto& session : model->openSessions.get()) {
            names.push_back(session.app.name);
        }
        return names;
    }
};

TEST_F(SnapshotReadingTest, KeysAnAppWithoutBundleOrPathByItsName) {
    launchWatching();
    receive(microphone({{.name = "Odd", .bundleID = {}, .path = {}}}));
    ASSERT_EQ(model->openSessions->size(), 1U);
    const auto id = model->openSessions->front().id;
    EXPECT_EQ(model->openSessions->front().app.id, "Odd");
    receive(microphone({{.name = "Odd", .bundleID = {}, .path = {}}, appRef("Zoom")}));
    EXPECT_EQ(model->openSessions->front().id, id);
}

TEST_F(SnapshotReadingTest, ResolvesAnAppOnceForAllTime) {
    machine.script.teamIDs = {{"/Applications/Zoom", "Z1"}};
    launchWatching();
    receive(microphone({appRef("Zoom")}));
    receive({});
    auto renamed = appRef("Zoom");
    renamed.name = "Zoom 2";
    machine.script.teamIDs = {{"/Applications/Zoom", "Z2"}};
    receive(microphone({renamed}));
    EXPECT_EQ(model->openSessions->front().app.name, "Zoom");
    EXPECT_EQ(model->openSessions->front().app.teamID, "Z1");
}

TEST_F(SnapshotReadingTest, IgnoresTheSystemsOwnListeningButNotInTheIcon) {
    launchWatching();
    receive(microphone({listener()}));
    EXPECT_TRUE(model->openSessions->empty());
    EXPECT_EQ(model->statusIconState(), StatusIconState::inUse);
    time.advanceTo(5);
    EXPECT_TRUE(model->openSessions->empty());
    EXPECT_TRUE(titles().empty());
}

TEST_F(SnapshotReadingTest, TellsTheSystemsOwnListeningWhenTheSettingIsOff) {
    settings.setBoolean("ignoreSystemListening", false);
    launchWatching();
    receive(microphone({listener()}));
    EXPECT_EQ(openApps(), Titles{"corespeechd"});
}

TEST_F(SnapshotReadingTest, TakesUpASettingThatChangesDuringAUse) {
    launchWatching();
    receive(microphone({listener()}));
    model->settings.ignoreSystemListening.set(false);
    model->syncSessions();
    EXPECT_EQ(openApps(), Titles{"corespeechd"});
    model->settings.ignoreSystemListening.set(true);
    model->syncSessions();
    EXPECT_TRUE(openApps().empty());
}

TEST_F(SnapshotReadingTest, NamesOnlyTheAppBesideAListener) {
    launchWatching();
    receive(microphone({listener(), appRef("Zoom")}));
    EXPECT_EQ(openApps(), Titles{"Zoom"});
}

TEST_F(SnapshotReadingTest, WaitsASecondForTheOwnerOfAHelper) {
    launchWatching();
    receive(microphone({helper()}));
    EXPECT_TRUE(openApps().empty());
    time.advanceTo(0.3);
    receive(microphone({helper()}, {appRef("Call")}));
    EXPECT_EQ(openApps(), Titles{"Call"});
    EXPECT_EQ(titles(), Titles{"Call turned on the microphone"});
}

TEST_F(SnapshotReadingTest, TellsNothingOfAHelperThatWasOnForLessThanTheWait) {
    launchWatching();
    receive(microphone({helper()}));
    time.advanceTo(0.9);
    receive({});
    time.advanceTo(10);
    EXPECT_TRUE(events.empty());
}

TEST_F(SnapshotReadingTest, EndsEarlierSessionsAtTheFirstReadingOfTheWait) {
    launchWatching();
    receive(microphone({appRef("Zoom")}));
    receive(microphone({helper()}));
    EXPECT_TRUE(openApps().empty());
}

TEST_F(SnapshotReadingTest, NamesTheHelperWhenItsOwnerNeverComes) {
    launchWatching();
    receive(microphone({helper()}));
    time.advanceTo(1.0);
    EXPECT_TRUE(openApps().empty());
    time.advanceTo(1.1);
    EXPECT_EQ(openApps(), Titles{"avconferenced"});
    EXPECT_EQ(titles(), Titles{"avconferenced turned on the microphone"});

    receive(microphone({helper()}, {appRef("Call")}));
    EXPECT_EQ(openApps(), Titles{"Call"});
    EXPECT_EQ(titles(), Titles{"Call turned on the microphone"}) << "the helper's card is gone";
}

TEST_F(SnapshotReadingTest, NamesAnAppBesideAWaitingHelper) {
    launchWatching();
    receive(microphone({helper(), appRef("Zoom")}));
    EXPECT_EQ(openApps(), Titles{"Zoom"});
    time.advanceTo(1.1);
    EXPECT_EQ(openApps(), (Titles{"Zoom", "avconferenced"}));
}

TEST_F(SnapshotReadingTest, CountsTheWaitOncePerSpell) {
    launchWatching();
    receive(microphone({helper()}));
    time.advanceTo(1.1);
    ASSERT_EQ(openApps(), Titles{"avconferenced"});
    // A second helper in the same spell is named at once.
    machine.script.signingIDs["/usr/libexec/replayd"] = "com.apple.replayd";
    const AppRef second{.name = "replayd", .bundleID = {}, .path = "/usr/libexec/replayd"};
    receive(microphone({helper(), second}));
    EXPECT_EQ(openApps(), (Titles{"avconferenced", "replayd"}));
    // Whoever was named in his own right waits no more, and a new one waits anew.
    receive({});
    machine.script.signingIDs["/usr/libexec/replayd2"] = "com.apple.replayd";
    const AppRef third{.name = "replayd2", .bundleID = {}, .path = "/usr/libexec/replayd2"};
    receive(microphone({helper(), third}));
    EXPECT_EQ(openApps(), Titles{"avconferenced"});
}

TEST_F(SnapshotReadingTest, ServesTheWaitsByReadingsWhenTheyCome) {
    launchWatching();
    receive(camera({}));
    for (int i = 1; i <= 9; ++i) {
        time.advanceTo(i * 0.1);
        auto reading = camera({});
        reading.speakerOn = i % 2 == 0;
        receive(reading);
    }
    EXPECT_TRUE(openApps().empty());
    time.advanceTo(1.0);
    receive(camera({}));
    EXPECT_EQ(openApps(), Titles{"Unknown app"});
}

TEST_F(SnapshotReadingTest, PutsTheSecondLookOffWithEachReading) {
    launchWatching();
    receive(camera({}));
    time.advanceTo(0.5);
    auto reading = camera({});
    reading.speakerOn = true;
    receive(reading);
    time.advanceTo(1.59);
    EXPECT_TRUE(openApps().empty());
    time.advanceTo(1.6);
    EXPECT_EQ(openApps(), Titles{"Unknown app"});
    const auto before = changes;
    time.advanceTo(60); // the card stays, and nothing is waited for
    EXPECT_EQ(changes, before);
}

TEST_F(SnapshotReadingTest, TakesNoSecondLookWhenTheWaitIsOver) {
    launchWatching();
    receive(camera({}));
    time.advanceTo(0.5);
    receive(camera({appRef("Zoom")}));
    const auto before = changes;
    time.advanceTo(8.4); // a little before the card goes
    EXPECT_EQ(changes, before);
}

TEST_F(SnapshotReadingTest, KnowsTheSystemsProcessesOfItsPlatformOnly) {
    machine.script.signingIDs["/usr/bin/pavucontrol"] = "linux.pavucontrol";
    const AppRef mixer{.name = "pavucontrol", .bundleID = {}, .path = "/usr/bin/pavucontrol"};
    launchWatching();
    receive(microphone({listener(), mixer}));
    EXPECT_EQ(openApps(), Titles{"pavucontrol"});
    receive({});
    machine.script.platform = Platform::linux;
    receive(microphone({listener(), mixer}));
    EXPECT_EQ(openApps(), Titles{"corespeechd"});
}

TEST_F(SnapshotReadingTest, MakesSpeakerSessionsOnlyWhenAsked) {
    launchWatching();
    SystemSnapshot playing;
    playing.speakerOn = true;
    playing.speakerApps = {appRef("Player")};
    receive(playing);
    EXPECT_TRUE(openApps().empty());
    model->settings.monitorSpeakerUse.set(true);
    model->syncSessions();
    EXPECT_EQ(openApps(), Titles{"Player"});
    EXPECT_TRUE(titles().empty()) << "playing sound never warns";
    EXPECT_EQ(model->openSessions->front().warningLevel, std::nullopt);
    model->settings.monitorSpeakerUse.set(false);
    model->syncSessions();
    EXPECT_TRUE(openApps().empty());
    EXPECT_EQ(store->sessionCount(), 1U);
}

TEST_F(SnapshotReadingTest, GivesAHelpersSoundToItsOneOwner) {
    settings.setBoolean("monitorSpeakerUse", true);
    launchWatching();
    auto call = microphone({helper()}, {appRef("Call")});
    call.speakerOn = true;
    call.speakerApps = {helper()};
    receive(call);
    EXPECT_EQ(openApps(), (Titles{"Call", "Call"}));
}

TEST_F(SnapshotReadingTest, TellsAnUnidentifiedProcessStronglyBesideOthers) {
    launchWatching();
    const auto hidden = AppRef::unidentifiedAs("unidentified:4711");
    receive(microphone({appRef("Zoom"), hidden}));
    EXPECT_EQ(openApps(), (Titles{"Zoom", "Unknown app"}));
    ASSERT_EQ(titles(),
              (Titles{"Zoom turned on the microphone", "Unknown app turned on the microphone"}));
    const auto card = model->notices.items().back();
    EXPECT_TRUE(card.isStrong);
    EXPECT_EQ(card.message, "We couldn't tell which app it is.");
    EXPECT_EQ(card.buttons.back().title, "This was me");
    EXPECT_EQ(sounds, 1);
    // The next reading changes nothing of it.
    receive(microphone({appRef("Zoom"), hidden, appRef("Note")}));
    EXPECT_EQ(openApps(), (Titles{"Zoom", "Unknown app", "Note"}));
}

TEST_F(SnapshotReadingTest, TellsAnAppThatIsCalledAsWhoCannotBeNamedAsAnyOther) {
    launchWatching();
    const AppRef odd{.name = "Odd", .bundleID = "unidentified:odd", .path = "/Applications/Odd"};
    receive(microphone({odd}));
    ASSERT_EQ(titles(), (Titles{"Odd turned on the microphone"}));
    const auto card = model->notices.items().back();
    EXPECT_FALSE(card.isStrong);
    EXPECT_EQ(card.buttons.back().title, "Trust this app");
    press("Stop");
    time.advanceBy(1);
    EXPECT_EQ(titles().back(), "Microphone muted. Odd was closed.");
}

TEST_F(SnapshotReadingTest, KeepsProcessesThatCannotBeNamedApart) {
    launchWatching();
    const AppRef odd{.name = "Odd", .bundleID = "unidentified:1", .path = {}};
    receive(camera(
        {AppRef::unidentifiedAs("unidentified:1"), odd, AppRef::unidentifiedAs("unidentified:2")}));
    EXPECT_EQ(openApps(), (Titles{"Unknown app", "Odd", "Unknown app"}));
    receive(camera({odd, AppRef::unidentifiedAs("unidentified:2")}));
    EXPECT_EQ(openApps(), (Titles{"Odd", "Unknown app"}));
}

TEST_F(SnapshotReadingTest, CountsWhoeverBearsTheUnknownAppsIdAsNobodyNamed) {
    for (const auto& nobody : {AppRef{.name = "unknown", .bundleID = {}, .path = {}},
                               AppRef{.name = "Odd", .bundleID = "unknown", .path = "/Odd"},
                               AppRef::unidentifiedAs("unknown")}) {
        events.clear();
        launchWatching();
        for (int reading = 0; reading < 5; ++reading) {
            receive(microphone({nobody}));
            time.advanceBy(0.2);
        }
        EXPECT_TRUE(events.empty());
        time.advanceBy(1);
        for (int reading = 0; reading < 5; ++reading) {
            receive(camera({nobody}));
            receive(microphone({nobody}));
            time.advanceBy(2);
        }
        receive(camera({appRef("Zoom"), nobody}));
        EXPECT_EQ(openApps(), (Titles{"Zoom"}));
        receive({});
        EXPECT_EQ(model->openSessions->size(), 0U);
    }
}

} // namespace
} // namespace velmoran
