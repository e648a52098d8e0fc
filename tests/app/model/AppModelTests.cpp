#include "support/TemporaryDirectory.h"
#include "tests/app/model/ModelFixture.h"

namespace velmoran {
namespace {

using testing::appRef;
using Titles = std::vector<std::string>;
using Kind = SessionEvent::Kind;

struct AppModelTest : testing::ModelFixture {};

// MARK: - From a reading to a card, a level and a row

TEST_F(AppModelTest, TellsOfAnAppThatTurnsOnTheMicrophone) {
    launchWatching();
    time.advanceTo(2);
    receive(microphone({appRef("Zoom")}));
    EXPECT_EQ(titles(), Titles{"Zoom turned on the microphone"});
    ASSERT_EQ(model->openSessions->size(), 1U);
    const auto& session = model->openSessions->front();
    EXPECT_EQ(session.warningLevel, WarningLevel::standard);
    EXPECT_TRUE(session.observedFromStart);
    EXPECT_EQ(session.start, time.now());
    ASSERT_EQ(model->historySessions->size(), 1U);
    EXPECT_EQ((*model->historySessions)[0], session);
    EXPECT_EQ(sounds, 0);
}

TEST_F(AppModelTest, WritesTheEndOfASession) {
    launchWatching();
    receive(microphone({appRef("Zoom")}));
    time.advanceTo(30);
    receive({});
    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(events[1].kind, Kind::ended);
    EXPECT_TRUE(model->openSessions->empty());
    ASSERT_EQ(model->historySessions->size(), 1U);
    const auto stored = store->sessions().front();
    EXPECT_EQ(stored.end, time.now());
    EXPECT_EQ(stored.outcome, SessionOutcome::endedNormally);
    EXPECT_EQ(stored.warningLevel, WarningLevel::standard);
}

TEST_F(AppModelTest, MergesTheDevicesOfOneAppIntoOneCard) {
    launchWatching();
    receive(camera({appRef("Zoom")}));
    const auto id = model->notices.items().front().id;
    time.advanceTo(4);
    auto both = camera({appRef("Zoom")});
    both.microphoneOn = true;
    both.microphoneApps = {appRef("Zoom")};
    receive(both);
    EXPECT_EQ(titles(), Titles{"Zoom turned on the camera and microphone"});
    EXPECT_EQ(model->notices.items().front().id, id);
}

TEST_F(AppModelTest, MakesAFreshCardForASecondDeviceOnceTheFirstCardIsGone) {
    launchWatching();
    receive(camera({appRef("Zoom")}));
    const auto id = model->notices.items().front().id;
    model->notices.close(id);
    time.advanceTo(1);
    auto both = camera({appRef("Zoom")});
    both.microphoneOn = true;
    both.microphoneApps = {appRef("Zoom")};
    receive(both);
    EXPECT_EQ(titles(), Titles{"Zoom turned on the microphone"});
    EXPECT_NE(model->notices.items().front().id, id);
}

TEST_F(AppModelTest, HidesAStandardCardAfterEightSeconds) {
    launchWatching();
    receive(camera({appRef("Zoom")}));
    time.advanceTo(7.9);
    EXPECT_EQ(titles().size(), 1U);
    time.advanceTo(8);
    EXPECT_TRUE(titles().empty());
}

TEST_F(AppModelTest, NeverTellsWhatWasGoingOnBeforeTheFirstReading) {
    launch();
    receive(camera({appRef("Zoom")}));
    EXPECT_TRUE(titles().empty());
    ASSERT_EQ(model->openSessions->size(), 1U);
    EXPECT_FALSE(model->openSessions->front().observedFromStart);
    EXPECT_EQ(model->openSessions->front().warningLevel, std::nullopt);
    EXPECT_EQ(store->sessionCount(), 1U);
}

TEST_F(AppModelTest, StartsAllElseWithoutAHistory) {
    historyFails = true;
    settings.setBoolean("microphoneMuted", true);
    machine.script.microphones = {{"Mic", false, 0.5}};
    machine.script.connections["/Applications/Zoom"] = {{"192.0.2.1", 443, "TCP"}};
    int asked = 0;
    machine.onPeersAsked = [&](const auto&) {
        ++asked;
    };
    launch();
    ASSERT_TRUE(*model->historyProblem);
    EXPECT_EQ((*model->historyProblem)->kind, HistoryProblem::Kind::notOpened);
    EXPECT_EQ((*model->historyProblem)->reason, "no history");
    EXPECT_EQ(machine.script.microphones[0].volume, 0.0) << "muted before the first reading";
    machine.script.microphones[0].volume = 0.5;
    time.advanceTo(3);
    EXPECT_EQ(machine.script.microphones[0].volume, 0.0) << "and kept so";

    receive(camera({appRef("Zoom")}));
    ASSERT_EQ(model->openSessions->size(), 1U);
    EXPECT_EQ(model->openSessions->front().connections.size(), 1U);
    machine.script.connections["/Applications/Zoom"].push_back({"192.0.2.2", 443, "TCP"});
    asked = 0;
    time.advanceTo(14.9);
    EXPECT_EQ(asked, 0);
    time.advanceTo(15);
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(model->openSessions->front().connections.size(), 2U);
    EXPECT_TRUE(model->historySessions->empty());
}

TEST_F(AppModelTest, TellsNothingWithoutAHistoryButStillFollowsTheSessions) {
    historyFails = true;
    launchWatching();
    EXPECT_TRUE(model->historyProblem.get());
    receive(camera({appRef("Zoom")}));
    EXPECT_TRUE(titles().empty());
    ASSERT_EQ(model->openSessions->size(), 1U);
    EXPECT_EQ(model->openSessions->front().warningLevel, std::nullopt);
    EXPECT_TRUE(model->historySessions->empty());
    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events.front().kind, Kind::started);
    EXPECT_TRUE(machine.snapshots().isStarted());
}

TEST_F(AppModelTest, GoesOnInANewHistoryWhenTheFileIsDeleted) {
    const TemporaryDirectory folder;
    const std::filesystem::path path = folder.path("Velmoran/History.store");
    store = std::make_shared<HistoryStore>(path);
    launchWatching();
    int replaced = 0;
    const auto heard = model->onHistoryReplaced.subscribe([&] { ++replaced; });
    receive(camera({appRef("Zoom")}));
    std::filesystem::remove(path);
    receive(camera({appRef("Zoom"), appRef("Meet")}));
    EXPECT_EQ(replaced, 1);
    EXPECT_EQ(model->historySessions->size(), 2U);
    EXPECT_EQ(HistoryStore(path).sessionCount(), 2U);

    std::filesystem::remove(path);
    std::filesystem::create_directory(path);
    receive(camera({appRef("Meet")}));
    ASSERT_TRUE(*model->historyProblem);
    EXPECT_EQ((*model->historyProblem)->kind, HistoryProblem::Kind::notOpened);
    EXPECT_EQ(titles().size(), 2U) << "it goes on telling";
    std::filesystem::remove(path);
    receive(camera({}));
    EXPECT_FALSE(*model->historyProblem);
    EXPECT_EQ(replaced, 2);
    EXPECT_EQ(HistoryStore(path).sessionCount(), 2U);
}

TEST_F(AppModelTest, WithdrawsTheUnknownAppsStrongCardWhenTheAppBecomesKnown) {
    launchWatching();
    time.advanceTo(2);
    const auto first = time.now();
    receive(camera({}));
    EXPECT_TRUE(model->openSessions->empty());
    time.advanceTo(3.09);
    EXPECT_TRUE(titles().empty());
    time.advanceTo(3.1);
    EXPECT_EQ(titles(), Titles{"Unknown app turned on the camera"});
    EXPECT_EQ(model->notices.items().front().message, "We couldn't tell which app it is.");
    EXPECT_TRUE(model->notices.items().front().isStrong);
    EXPECT_EQ(sounds, 1);
    ASSERT_EQ(model->openSessions->size(), 1U);
    EXPECT_EQ(model->openSessions->front().start, first);
    const auto id = model->openSessions->front().id;

    time.advanceTo(4);
    receive(camera({appRef("Zoom")}));
    EXPECT_EQ(titles(), Titles{"Zoom turned on the camera"});
    EXPECT_EQ(model->openSessions->front().id, id);
    EXPECT_EQ(model->openSessions->front().warningLevel, WarningLevel::standard);
    EXPECT_EQ(events.back().kind, Kind::reattributed);
    EXPECT_EQ(store->sessionCount(), 1U);
}

TEST_F(AppModelTest, KeepsQuietAboutATrustedAppButRemembersTheLevel) {
    launchWatching();
    receive(camera({appRef("Zoom")}));
    press("Trust this app");
    EXPECT_TRUE(titles().empty());
    time.advanceTo(10);
    receive({});
    receive(camera({appRef("Zoom")}));
    EXPECT_TRUE(titles().empty());
    EXPECT_EQ(model->openSessions->front().warningLevel, WarningLevel::quiet);
    EXPECT_EQ((*model->historySessions)[0].warningLevel, WarningLevel::quiet);
}

TEST_F(AppModelTest, TellsATrustedAppSignedByAnotherTeam) {
    machine.script.teamIDs = {{"/Applications/Zoom", "Z1"}};
    launchWatching();
    receive(camera({appRef("Zoom")}));
    press("Trust this app");
    receive({});
    machine.script.teamIDs = {{"/Applications/Zoom", "Z2"}};
    launchWatching();
    receive(camera({appRef("Zoom")}));
    EXPECT_EQ(titles(), Titles{"Zoom turned on the camera"});
}

TEST_F(AppModelTest, TellsStronglyDuringAnAwayWatchWhateverTheTrust) {
    launchWatching();
    const AppIdentity zoom{
        .id = "org.example.Zoom", .name = "Zoom", .bundleID = {}, .path = {}, .teamID = {}};
    model->setTrusted(true, zoom, {Device::camera});
    model->awayWatchOn.set(true);
    receive(camera({appRef("Zoom")}));
    EXPECT_EQ(titles(), Titles{"Zoom turned on the camera while you were away"});
    EXPECT_EQ(sounds, 1);
    EXPECT_NE(model->notices.items().front().timeText, "Just now");
}

TEST_F(AppModelTest, SoundsOnceForOneStrongCard) {
    launchWatching();
    const AppIdentity zoom{
        .id = "org.example.Zoom", .name = "Zoom", .bundleID = {}, .path = {}, .teamID = {}};
    model->setAlwaysWarn(true, zoom, {Device::camera, Device::microphone});
    receive(camera({appRef("Zoom")}));
    EXPECT_EQ(sounds, 1);
    auto both = camera({appRef("Zoom")});
    both.microphoneOn = true;
    both.microphoneApps = {appRef("Zoom")};
    receive(both);
    EXPECT_EQ(titles(), Titles{"Zoom turned on the camera and microphone"});
    EXPECT_EQ(sounds, 1);
}

TEST_F(AppModelTest, SoundsWhenAMergeRaisesAStandardCardToStrong) {
    launchWatching();
    const AppIdentity zoom{
        .id = "org.example.Zoom", .name = "Zoom", .bundleID = {}, .path = {}, .teamID = {}};
    model->setAlwaysWarn(true, zoom, {Device::microphone});
    receive(camera({appRef("Zoom")}));
    EXPECT_EQ(sounds, 0);
    auto both = camera({appRef("Zoom")});
    both.microphoneOn = true;
    both.microphoneApps = {appRef("Zoom")};
    receive(both);
    EXPECT_EQ(sounds, 1);
    time.advanceTo(60);
    EXPECT_EQ(titles().size(), 1U) << "the strong card stays though the first one would have gone";
}

TEST_F(AppModelTest, MakesNoSoundWhenTheSettingIsOff) {
    settings.setBoolean("warningSoundOn", false);
    launchWatching();
    receive(camera({}));
    time.advanceTo(2);
    EXPECT_EQ(titles().size(), 1U);
    EXPECT_EQ(sounds, 0);
}

TEST_F(AppModelTest, LeavesAnEndedSessionsCardAlone) {
    launchWatching();
    receive(camera({appRef("Zoom")}));
    receive({});
    EXPECT_EQ(titles().size(), 1U);
}

TEST_F(AppModelTest, StopsTheAppOfACard) {
    launchWatching();
    receive(camera({appRef("Zoom")}));
    press("Stop");
    EXPECT_TRUE(titles().empty());
    EXPECT_TRUE(*model->isStopping);
    time.advanceBy(0.1);
    EXPECT_FALSE(*model->isStopping);
    EXPECT_EQ(titles(), Titles{"Zoom was closed."});
    receive({});
    EXPECT_EQ(events.back().session.outcome, SessionOutcome::stoppedByUser);
}

TEST_F(AppModelTest, DismissesAStrongCardWithoutTrustWhenItWasTheUser) {
    launchWatching();
    receive(camera({}));
    time.advanceTo(2);
    press("This was me");
    EXPECT_TRUE(titles().empty());
    EXPECT_TRUE(model->trust->rules().empty());
}

// MARK: - The icon

TEST_F(AppModelTest, ShowsTheRawStateInTheIcon) {
    launchWatching();
    EXPECT_EQ(model->statusIconState(), StatusIconState::idle);
    model->awayWatchOn.set(true);
    EXPECT_EQ(model->statusIconState(), StatusIconState::awayWatch);
    model->awayWatchOn.set(false);
    receive(camera({appRef("Zoom")}));
    EXPECT_EQ(model->statusIconState(), StatusIconState::inUse);
    receive(camera({}));
    time.advanceTo(2);
    EXPECT_EQ(model->statusIconState(), StatusIconState::alert);
}

TEST_F(AppModelTest, TellsOfAChangeForEachReadingAndEachCard) {
    launch();
    const int before = changes;
    receive({});
    EXPECT_EQ(changes, before + 1);
    receive(camera({appRef("Zoom")}));
    EXPECT_EQ(changes, before + 3) << "one for the card, one for the reading";
    time.advanceTo(9);
    EXPECT_EQ(changes, before + 4) << "the card hid itself";
}

TEST_F(AppModelTest, NotifiesOfUnequalStateOnly) {
    launchWatching();
    int snapshots = 0;
    int sessions = 0;
    subscriptions.push_back(model->snapshot.subscribe([&](const auto&) { ++snapshots; }));
    subscriptions.push_back(model->openSessions.subscribe([&](const auto&) { ++sessions; }));
    receive({});
    EXPECT_EQ(snapshots, 0);
    EXPECT_EQ(sessions, 0);
    receive(microphone({appRef("Zoom")}));
    EXPECT_EQ(snapshots, 1);
    EXPECT_EQ(sessions, 1) << "a reading tells them once, with their levels";
}

TEST_F(AppModelTest, SortsTheSessionsOfADeviceByTheirStart) {
    launchWatching();
    receive(microphone({appRef("B")}));
    time.advanceTo(1);
    receive(microphone({appRef("A"), appRef("B")}));
    const auto list = model->sessions(Device::microphone);
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(list[0].app.name, "B");
    EXPECT_EQ(list[1].app.name, "A");
    EXPECT_TRUE(model->sessions(Device::camera).empty());
}

// MARK: - Start, quit and crash

TEST_F(AppModelTest, RepairsWhatAQuitLeftOpen) {
    launchWatching();
    receive(camera({appRef("Zoom")}));
    model->stopMonitor();
    EXPECT_TRUE(machine.snapshots().isStopped());
    launch();
    ASSERT_EQ(model->historySessions->size(), 1U);
    EXPECT_EQ((*model->historySessions)[0].outcome, SessionOutcome::endUnknown);
    EXPECT_EQ((*model->historySessions)[0].end, std::nullopt);
    // The same use, still going on, is a new session that nobody is told of.
    receive(camera({appRef("Zoom")}));
    EXPECT_EQ(model->historySessions->size(), 2U);
    EXPECT_TRUE(titles().empty());
}

TEST_F(AppModelTest, StartsTheMonitorAfterTheRepair) {
    launchWatching();
    receive(camera({appRef("Zoom")}));
    launch();
    EXPECT_TRUE(machine.snapshots().isStarted());
    EXPECT_EQ(store->sessions().front().outcome, SessionOutcome::endUnknown);
}

TEST_F(AppModelTest, StartsWithNobodyTrustedWhenTheStoredRulesAreCorrupt) {
    for (const auto* data : {"", "{", "[]", R"({"rules":[{"app":{}}]})", "\xff\xfe"}) {
        settings.setBytes("trustRules", data);
        launchWatching();
        EXPECT_TRUE(model->trust->rules().empty()) << data;
        EXPECT_TRUE(titles().empty());
        EXPECT_EQ(settings.bytes("trustRules"), data) << "kept until the next decision";
    }
}

TEST_F(AppModelTest, TakesTrustThroughARestart) {
    launchWatching();
    receive(camera({appRef("Zoom")}));
    press("Trust this app");
    receive({});
    launchWatching();
    receive(camera({appRef("Zoom")}));
    EXPECT_TRUE(titles().empty());
}

TEST_F(AppModelTest, HandsReadingsOverToItsOwnThread) {
    launch();
    machine.snapshots().deliver(camera({appRef("Zoom")}));
    EXPECT_FALSE(model->snapshot->cameraOn);
    time.runPosted();
    EXPECT_TRUE(model->snapshot->cameraOn);
}

TEST_F(AppModelTest, IgnoresAReadingThatArrivesAfterItsEnd) {
    launch();
    machine.snapshots().deliver(camera({appRef("Zoom")}));
    subscriptions.clear();
    model.reset();
    time.runPosted();
    time.advanceTo(100);
    EXPECT_EQ(store->sessionCount(), 0U);
}

TEST_F(AppModelTest, PrunesAtTheStartAndEverySixHours) {
    settings.setInteger("retentionDays", 30);
    auto old = UsageSession{};
    old.id = Uuid::random();
    old.app = {.id = "a", .name = "A", .bundleID = {}, .path = {}, .teamID = {}};
    old.start = time.now() - 31 * 86400.0;
    store->saveSession(old);
    auto later = old;
    later.id = Uuid::random();
    later.start = time.now() - 30 * 86400.0 + 3600;
    store->saveSession(later);
    launch();
    EXPECT_EQ(store->sessionCount(), 1U);
    time.advanceTo(21599);
    EXPECT_EQ(store->sessionCount(), 1U);
    time.advanceTo(21600);
    EXPECT_EQ(store->sessionCount(), 0U);
    EXPECT_TRUE(model->historySessions->empty());
}

TEST_F(AppModelTest, LeavesExactlyTheOpenSessionsWhenTheHistoryIsDeleted) {
    launchWatching();
    receive(camera({appRef("Zoom")}));
    receive({});
    receive(microphone({appRef("Note")}));
    EXPECT_EQ(store->sessionCount(), 2U);
    model->deleteHistory();
    EXPECT_EQ(store->sessions(), model->openSessions.get());
    EXPECT_EQ(model->historySessions->size(), 1U);
}

TEST_F(AppModelTest, RunsOnWithNoStore) {
    historyFails = true;
    launchWatching();
    model->pruneHistory();
    model->deleteHistory();
    receive(camera({appRef("Zoom")}));
    time.advanceTo(30000);
    receive({});
    EXPECT_EQ(events.size(), 2U);
    EXPECT_TRUE(model->historySessions->empty());
}

} // namespace
} // namespace velmoran
