#include "app/model/ShownHistory.h"

#include "ModelFixture.h"
#include "core/history/Activity.h"
#include "tests/core/history/ActivityTools.h"
#include "tests/core/history/LiteralActivity.h"

#include <algorithm>
#include <rapidcheck/gtest.h>

namespace velmoran {
namespace {

HistoryView historyOf(const SessionList& sessions) {
    std::vector<HistoryView::Entry> entries;
    for (const auto& each : sessions) {
        entries.push_back({{each->start, static_cast<std::int64_t>(entries.size())}, each});
    }
    return HistoryView::sorted(std::move(entries));
}

/// What rowContaining has to be: a look through the rows of everything.
std::optional<ActivityRow> literalRowContaining(const Uuid& id, const HistoryView& history) {
    for (const auto& row : literal::rows(history.sessions())) {
        for (const auto& each : row.sessions) {
            if (each->id == id) {
                return row;
            }
        }
    }
    return std::nullopt;
}

/// A machine on paper that remembers what it was asked.
class AskedMachine final : public Machine {
public:
    Platform platform() const override { return paper_.platform(); }
    std::optional<std::string> ownBundleID() const override { return paper_.ownBundleID(); }
    SnapshotSource& snapshots() override { return paper_.snapshots(); }
    CodeSignatures& signatures() override { return paper_.signatures(); }
    OutputDevices& outputs() override { return paper_.outputs(); }
    Sounds& sounds() override { return paper_.sounds(); }
    Microphones& microphones() override { return paper_.microphones(); }
    Connections& connections() override { return paper_.connections(); }
    Sight& sight() override { return paper_.sight(); }
    AwayReadings& away() override { return paper_.away(); }
    ScreenLock& screenLock() override { return paper_.screenLock(); }
    std::unique_ptr<AppClosing> makeCloser(Scheduler& scheduler) override {
        return paper_.makeCloser(scheduler);
    }
    bool isProtected(const AppIdentity& app) override { return paper_.isProtected(app); }
    std::optional<SystemProcess> systemProcess(const AppIdentity& app) override {
        asked.push_back(app.path.value_or("nothing"));
        return paper_.systemProcess(app);
    }
    bool isBrowser(const AppIdentity& app) override { return paper_.isBrowser(app); }

    std::vector<std::string> asked;

private:
    ScriptedMachine paper_;
};

struct ShownHistoryTest : testing::ModelFixture {
    Timestamp begin = time.now() - 3600;
    unsigned stored = 0;

    ShownHistoryTest() {
        machine.script.signingIDs = {{"/sounds", "com.apple.systemsoundserverd"},
                                     {"/siri", "com.apple.corespeechd"},
                                     {"/screen", "com.apple.replayd"}};
    }

    /// In the store, each a minute after the last.
    Uuid add(Device device, const std::optional<std::string>& path,
             const std::string& app = "app") {
        const auto start = begin.seconds + ++stored * 60;
        auto each = endedSession(stored, start, start);
        each.device = device;
        each.app = {.id = app, .name = app, .bundleID = {}, .path = path, .teamID = {}};
        store->saveSession(each);
        return each.id;
    }

    std::vector<Uuid> visible() const {
        std::vector<Uuid> ids;
        for (const auto& each : model->visibleSessions()) {
            ids.push_back(each->id);
        }
        return ids;
    }
};

TEST_F(ShownHistoryTest, HidesSystemSoundsAndTheSystemsListening) {
    const auto call = add(Device::microphone, "/zoom");
    const auto sound = add(Device::speaker, "/sounds");
    const auto listening = add(Device::microphone, "/siri");
    launch();
    EXPECT_EQ(visible(), std::vector{call});
    model->settings.hideSystemSounds.set(false);
    EXPECT_EQ(visible(), (std::vector{sound, call}));
    model->settings.ignoreSystemListening.set(false);
    EXPECT_EQ(visible(), (std::vector{listening, sound, call}));
    model->settings.hideSystemSounds.set(true);
    EXPECT_EQ(visible(), (std::vector{listening, call}));
}

TEST_F(ShownHistoryTest, HidesOnlyTheDeviceThatTheReasonIsFor) {
    std::vector<Uuid> all;
    for (const auto& [device, path] : {std::pair{Device::microphone, "/sounds"},
                                       {Device::camera, "/sounds"},
                                       {Device::speaker, "/siri"},
                                       {Device::camera, "/siri"},
                                       {Device::speaker, "/screen"},
                                       {Device::microphone, "/screen"}}) {
        all.insert(all.begin(), add(device, path));
    }
    launch();
    EXPECT_EQ(visible(), all);
}

TEST_F(ShownHistoryTest, HidesNobodyWhomTheMachineDoesNotVouchFor) {
    const auto noPath = add(Device::speaker, {}, "com.apple.systemsoundserverd");
    const auto noSignature =
        add(Device::speaker, "/elsewhere/sounds", "com.apple.systemsoundserverd");
    launch();
    EXPECT_EQ(visible(), (std::vector{noSignature, noPath}));
}

TEST_F(ShownHistoryTest, SharesTheSessionsOfTheHistory) {
    add(Device::camera, "/zoom");
    launch();
    EXPECT_EQ(model->visibleSessions().front().get(), &model->historySessions->front());
}

TEST_F(ShownHistoryTest, KnowsTheSystemProcessOfAnApp) {
    launch();
    const auto known = [this](const std::optional<std::string>& path) {
        return model->systemProcess(
            {.id = "x", .name = "x", .bundleID = {}, .path = path, .teamID = {}});
    };
    EXPECT_EQ(known("/siri"), SystemProcess::known("com.apple.corespeechd"));
    EXPECT_EQ(known("/zoom"), std::nullopt);
    EXPECT_EQ(known({}), std::nullopt);
    machine.script.signingIDs["/odd"] = "com.apple.odd";
    EXPECT_EQ(known("/odd"), std::nullopt);
    machine.script.platform = Platform::linux;
    EXPECT_EQ(known("/siri"), std::nullopt); // no part of that system
    machine.script.signingIDs["/usr/bin/pavucontrol"] = "linux.pavucontrol";
    EXPECT_EQ(known("/usr/bin/pavucontrol"), SystemProcess::known("linux.pavucontrol"));
}

TEST_F(ShownHistoryTest, ListsTwentyRowsAtMost) {
    for (int count = 0; count < 25; ++count) {
        add(Device::camera, "/zoom");
    }
    launch();
    const auto rows = model->recentRows();
    ASSERT_EQ(rows.size(), 20U);
    EXPECT_EQ(rows.front().id(), idNumber(25));
    EXPECT_EQ(rows.back().id(), idNumber(6));
}

TEST_F(ShownHistoryTest, ListsRowsOfTheNewestEightyVisibleSessions) {
    // Camera and microphone in turn, four seconds apart: who is joined with whom is decided
    // by where the list begins. Hidden sounds between them don't count.
    for (unsigned number = 1; number <= 81; ++number) {
        auto each = endedSession(number, begin.seconds + number * 4, begin.seconds + 3600);
        each.app.id = "call";
        each.device = number % 2 == 0 ? Device::microphone : Device::camera;
        store->saveSession(each);
    }
    stored = 81;
    add(Device::speaker, "/sounds");
    launch();
    ASSERT_EQ(model->historySessions->size(), 82U);
    const auto firstTwenty = [](const SessionList& sessions) {
        auto rows = literal::rows(sessions);
        rows.erase(rows.begin() + 20, rows.end());
        return rows;
    };
    auto newest = model->visibleSessions();
    ASSERT_EQ(newest.size(), 81U);
    ASSERT_NE(model->recentRows(), firstTwenty(newest));
    newest.pop_back();
    EXPECT_EQ(model->recentRows(), firstTwenty(newest));
}

TEST_F(ShownHistoryTest, ShowsSystemSoundsInTheRecentRowsIfTheyAreNotHidden) {
    const auto sound = add(Device::speaker, "/sounds");
    launch();
    EXPECT_TRUE(model->recentRows().empty());
    model->settings.hideSystemSounds.set(false);
    ASSERT_EQ(model->recentRows().size(), 1U);
    EXPECT_EQ(model->recentRows().front().id(), sound);
}

TEST_F(ShownHistoryTest, FindsTheRowOfAHiddenSession) {
    const auto sound = add(Device::speaker, "/sounds");
    const auto listening = add(Device::microphone, "/siri");
    launch();
    ASSERT_TRUE(visible().empty());
    for (const auto& id : {sound, listening}) {
        const auto row = model->rowContaining(id);
        ASSERT_TRUE(row);
        EXPECT_EQ(row->id(), id);
    }
    EXPECT_EQ(model->rowContaining(idNumber(77)), std::nullopt);
}

TEST_F(ShownHistoryTest, FindsTheRowOfAnySessionInIt) {
    auto picture = endedSession(1, begin.seconds, begin.seconds + 9);
    auto sound = endedSession(2, begin.seconds + 5, begin.seconds + 9);
    sound.app.id = picture.app.id;
    sound.device = Device::microphone;
    store->saveSession(picture);
    store->saveSession(sound);
    launch();
    const auto row = model->rowContaining(picture.id);
    ASSERT_TRUE(row);
    EXPECT_EQ(row->devices, (std::vector{Device::camera, Device::microphone}));
    EXPECT_EQ(model->rowContaining(sound.id), row);
}

TEST(ShownHistory, AsksTheMachineOnceForEachPath) {
    AskedMachine machine;
    MemorySettings memory;
    const SettingsStore settings(memory);
    SessionList sessions;
    for (unsigned number = 1; number <= 300; ++number) {
        auto each = sessionNumber(number, number);
        each.device = allDevices[number % 3];
        each.app.path = "/app" + std::to_string(number % 4);
        sessions.push_back(std::make_shared<const UsageSession>(std::move(each)));
    }
    const ShownHistory shown(machine, settings);
    EXPECT_EQ(shown.visible(historyOf(sessions)).size(), 300U);
    std::ranges::sort(machine.asked);
    EXPECT_EQ(machine.asked, (std::vector<std::string>{"/app0", "/app1", "/app2", "/app3"}));
}

RC_GTEST_PROP(ShownHistoryLaws, TheRowOfASessionIsThatOfALookThroughAllRows, ()) {
    std::mt19937 random(*rc::gen::arbitrary<std::uint32_t>());
    const auto count = *rc::gen::inRange(1U, 100U);
    const auto history = historyOf(randomSessions(random, count, *rc::gen::inRange(1U, 120U)));
    for (const auto& session : history) {
        RC_ASSERT(ShownHistory::rowContaining(session.id, history) ==
                  literalRowContaining(session.id, history));
    }
    RC_ASSERT(!ShownHistory::rowContaining(idNumber(count + 1), history));
}

RC_GTEST_PROP(ShownHistoryLaws, RecentRowsAreTheFirstTwentyOfTheNewestEighty, ()) {
    std::mt19937 random(*rc::gen::arbitrary<std::uint32_t>());
    const auto history =
        historyOf(randomSessions(random, *rc::gen::inRange(0U, 200U), *rc::gen::inRange(1U, 400U)));
    ScriptedMachine machine;
    MemorySettings memory;
    const SettingsStore settings(memory);
    auto newest = history.sessions();
    newest.resize(std::min<std::size_t>(newest.size(), 80));
    auto expected = literal::rows(newest);
    if (expected.size() > 20) {
        expected.erase(expected.begin() + 20, expected.end());
    }
    RC_ASSERT(ShownHistory(machine, settings).recentRows(history) == expected);
}

} // namespace
} // namespace velmoran
