#include "core/history/HistoryStore.h"

#include "HistoryTools.h"

#include <gtest/gtest.h>
#include <limits>

namespace velmoran {
namespace {

using Sessions = std::vector<UsageSession>;

TEST(HistoryStore, GivesBackEveryFieldAfterReopening) {
    const HistoryFile file;
    const auto full = fullSession(1, 200.5);
    const auto bare = sessionNumber(2, 100);
    {
        auto store = file.open();
        store.saveSession(full);
        store.saveSession(bare);
        EXPECT_EQ(store.sessions(), (Sessions{full, bare}));
    }
    EXPECT_EQ(file.freshRead(), (Sessions{full, bare}));
}

TEST(HistoryStore, StoresCaseNamesUpperCaseIdsAndSeconds) {
    const HistoryFile file;
    {
        auto store = file.open();
        store.saveSession(fullSession(0xABC, 200.5));
    }
    EXPECT_EQ(file.value("SELECT id FROM SessionRecord"), "00000ABC-0000-4000-8000-000000000000");
    EXPECT_EQ(file.value("SELECT deviceRaw || ' ' || outcomeRaw || ' ' || levelRaw "
                         "FROM SessionRecord"),
              "speaker stoppedByUser strong");
    EXPECT_EQ(file.value("SELECT typeof(start) || start FROM SessionRecord"), "real200.5");
    EXPECT_EQ(file.value("SELECT typeof(connectionsData) FROM SessionRecord"), "blob");
    EXPECT_EQ(file.value("SELECT connectionsData FROM SessionRecord"),
              R"([{"address":"192.0.2.1","port":443,"transport":"TCP","firstSeen":201.5},)"
              R"({"address":"2001:db8::1","port":3478,"transport":"UDP"}])");
    EXPECT_EQ(file.value("SELECT observedFromStart FROM SessionRecord"), "1");
    EXPECT_EQ(file.value("PRAGMA journal_mode"), "wal");
}

TEST(HistoryStore, HasTheColumnsOfTheTablesInTheirOrder) {
    const HistoryFile file;
    file.open();
    EXPECT_EQ(file.value("SELECT group_concat(name) FROM pragma_table_info('SessionRecord')"),
              "id,deviceRaw,appID,appName,bundleID,appPath,teamID,start,end,outcomeRaw,levelRaw,"
              "connectionsData,observedFromStart");
    EXPECT_EQ(file.value("SELECT group_concat(name) FROM pragma_table_info('AwayReportRecord')"),
              "id,start,end,payload");
}

TEST(HistoryStore, OverwritesAllColumnsOfTheRowWithTheSameId) {
    const HistoryFile file;
    auto store = file.open();
    store.saveSession(sessionNumber(1, 100));
    const auto changed = fullSession(1, 90);
    store.saveSession(changed);
    EXPECT_EQ(store.sessionCount(), 1U);
    EXPECT_EQ(store.sessions(), Sessions{changed});
    EXPECT_EQ(file.freshRead(), Sessions{changed});

    auto emptied = sessionNumber(1, 95);
    emptied.device = Device::microphone;
    emptied.app.id = "org.example.other";
    emptied.observedFromStart = false;
    store.saveSession(emptied);
    EXPECT_EQ(store.sessionCount(), 1U);
    EXPECT_EQ(store.sessions(), Sessions{emptied});
    EXPECT_EQ(file.freshRead(), Sessions{emptied});
    for (const auto* column : {"bundleID", "appPath", "teamID", "end", "outcomeRaw", "levelRaw"}) {
        EXPECT_EQ(file.value(fmt::format("SELECT {} FROM SessionRecord", column)), "null");
    }
}

TEST(HistoryStore, StoresNoConnectionsAsNull) {
    const HistoryFile file;
    auto store = file.open();
    auto session = fullSession(1, 100);
    store.saveSession(session);
    EXPECT_NE(file.value("SELECT connectionsData FROM SessionRecord"), "null");
    session.connections.clear();
    store.saveSession(session);
    EXPECT_EQ(file.value("SELECT connectionsData FROM SessionRecord"), "null");
    EXPECT_EQ(store.sessions(), Sessions{session});
}

TEST(HistoryStore, ReadsTheUnknownAppAsTheConstant) {
    const HistoryFile file;
    auto store = file.open();
    auto session = sessionNumber(1, 100);
    session.app = {
        .id = "unknown", .name = "Unbekannte App", .bundleID = "b", .path = "/p", .teamID = "T"};
    store.saveSession(session);
    EXPECT_EQ(file.value("SELECT appName || bundleID || appPath || teamID FROM SessionRecord"),
              "Unbekannte Appb/pT");
    EXPECT_EQ(store.sessions().at(0).app, AppIdentity::unknown());
    EXPECT_EQ(file.freshRead().at(0).app, AppIdentity::unknown());
}

TEST(HistoryStore, TellsAnAppFromWhoCannotBeNamedUnderItsId) {
    const HistoryFile file;
    auto named = sessionNumber(1, 200);
    named.app = {.id = "unidentified:7",
                 .name = "Odd",
                 .bundleID = "unidentified:7",
                 .path = "/odd",
                 .teamID = {}};
    auto hidden = sessionNumber(2, 100);
    hidden.app = {.id = "unidentified:7",
                  .name = "Unknown app",
                  .bundleID = {},
                  .path = {},
                  .teamID = {},
                  .unidentified = true};
    {
        auto store = file.open();
        store.saveSession(named);
        store.saveSession(hidden);
        EXPECT_EQ(store.sessions(), (Sessions{named, hidden}));
    }
    EXPECT_EQ(file.freshRead(), (Sessions{named, hidden}));
}

TEST(HistoryStore, KeepsNoBundleIdThatIsEmptyOrNobodys) {
    const HistoryFile file;
    auto store = file.open();
    auto named = sessionNumber(1, 200);
    named.app.bundleID = "";
    auto hidden = sessionNumber(2, 100);
    hidden.app.bundleID = "unidentified:7";
    hidden.app.unidentified = true;
    store.saveSession(named);
    store.saveSession(hidden);
    named.app.bundleID.reset();
    hidden.app.bundleID.reset();
    EXPECT_EQ(store.sessions(), (Sessions{named, hidden}));
    EXPECT_EQ(file.freshRead(), (Sessions{named, hidden}));
}

TEST(HistoryStore, ListsTheNewestStartFirstAndEqualStartsAsFirstStored) {
    const HistoryFile file;
    auto store = file.open();
    const auto early = sessionNumber(1, 100);
    const auto first = sessionNumber(9, 200);
    const auto second = sessionNumber(3, 200);
    const auto late = sessionNumber(4, 300);
    for (const auto& session : {first, late, early, second}) {
        store.saveSession(session);
    }
    auto again = first;
    again.warningLevel = WarningLevel::quiet;
    store.saveSession(again);
    EXPECT_EQ(store.sessions(), (Sessions{late, again, second, early}));
    EXPECT_EQ(file.freshRead(), store.sessions());
}

TEST(HistoryStore, MovesASessionWhoseStartChanges) {
    const HistoryFile file;
    auto store = file.open();
    auto moved = sessionNumber(1, 100);
    store.saveSession(moved);
    store.saveSession(sessionNumber(2, 200));
    moved.start = {300};
    store.saveSession(moved);
    EXPECT_EQ(store.sessions().at(0), moved);
    EXPECT_EQ(store.history().size(), 2U);
    EXPECT_EQ(file.freshRead(), store.sessions());
}

TEST(HistoryStore, KeepsSinceWhatReachesIntoThePeriod) {
    HistoryStore store{std::nullopt};
    const auto early = endedSession(1, 10, 20);     // over before
    const auto reaching = endedSession(2, 11, 100); // ends at the very moment
    const auto open = sessionNumber(3, 12);         // open, however old
    auto lost = sessionNumber(4, 13);               // closed without an end, started before
    lost.outcome = SessionOutcome::endUnknown;
    auto lostInside = lost;
    lostInside.id = idNumber(5);
    lostInside.start = {100};
    auto endOnly = sessionNumber(6, 14); // an end and no outcome isn't open
    endOnly.end = Timestamp{99};
    const auto backwards = endedSession(7, 101, 50); // its start counts though its end is earlier
    for (const auto& session : {early, reaching, open, lost, lostInside, endOnly, backwards}) {
        store.saveSession(session);
    }
    EXPECT_EQ(store.sessions(Timestamp{100}), (Sessions{backwards, lostInside, open, reaching}));
    EXPECT_EQ(store.sessions(Timestamp{100.001}), (Sessions{backwards, open}));
}

TEST(HistoryStore, LimitsAfterFiltering) {
    HistoryStore store{std::nullopt};
    const auto old = endedSession(1, 10, 20);
    const auto open = sessionNumber(2, 5);
    const auto recent = endedSession(3, 200, 210);
    for (const auto& session : {old, open, recent}) {
        store.saveSession(session);
    }
    EXPECT_EQ(store.sessions(std::nullopt, 0), Sessions{});
    EXPECT_EQ(store.sessions(std::nullopt, 1), Sessions{recent});
    EXPECT_EQ(store.sessions(Timestamp{100}, 2), (Sessions{recent, open}));
    EXPECT_EQ(store.sessions(std::nullopt, 99), (Sessions{recent, old, open}));
}

TEST(HistoryStore, ClosesOnlyRecordsWithNeitherEndNorOutcome) {
    const HistoryFile file;
    auto endOnly = sessionNumber(3, 30);
    endOnly.end = Timestamp{35};
    auto outcomeOnly = sessionNumber(4, 40);
    outcomeOnly.outcome = SessionOutcome::stoppedByUser;
    {
        auto store = file.open();
        for (const auto& session :
             {sessionNumber(1, 10), sessionNumber(2, 20), endOnly, outcomeOnly}) {
            store.saveSession(session);
        }
    }
    auto store = file.open();
    store.closeOpenRecords();
    const auto sessions = store.sessions();
    ASSERT_EQ(sessions.size(), 4U);
    EXPECT_EQ(sessions[0], outcomeOnly);
    EXPECT_EQ(sessions[1], endOnly);
    for (const auto index : {2U, 3U}) {
        EXPECT_EQ(sessions[index].outcome, SessionOutcome::endUnknown);
        EXPECT_EQ(sessions[index].end, std::nullopt);
    }
    EXPECT_EQ(file.freshRead(), sessions);
}

TEST(HistoryStore, ShowsTheRepairInAListThatWasReadBefore) {
    HistoryStore store{std::nullopt};
    store.saveSession(sessionNumber(1, 10));
    EXPECT_EQ(store.history()[0].outcome, std::nullopt);
    store.closeOpenRecords();
    EXPECT_EQ(store.history()[0].outcome, SessionOutcome::endUnknown);
}

TEST(HistoryStore, PrunesByStartAloneAndKeepsTheCutoffItself) {
    const HistoryFile file;
    auto store = file.open();
    store.saveSession(sessionNumber(1, 99.9)); // open, and goes like any other
    store.saveSession(endedSession(2, 50, 500));
    store.saveSession(sessionNumber(3, 100));
    store.saveAwayPayload(idNumber(4), {99}, {}, "{}");
    store.saveAwayPayload(idNumber(5), {100}, {}, "[]");
    store.history();
    store.prune({100});
    EXPECT_EQ(store.sessions(), Sessions{sessionNumber(3, 100)});
    EXPECT_EQ(*store.awayPayloads(), std::vector<std::string>{"[]"});
    EXPECT_EQ(file.freshRead(), store.sessions());

    store.saveSession(sessionNumber(1, 99.9));
    EXPECT_EQ(store.sessions(), (Sessions{sessionNumber(3, 100), sessionNumber(1, 99.9)}));
}

TEST(HistoryStore, KeepsWhatRunsAfterDeletingAll) {
    const HistoryFile file;
    auto store = file.open();
    const auto running = sessionNumber(1, 300);
    store.saveSession(running);
    store.saveSession(endedSession(2, 100, 200));
    store.saveAwayPayload(idNumber(3), {1}, {}, "{}");
    store.deleteAll();
    EXPECT_EQ(store.sessionCount(), 0U);
    EXPECT_TRUE(store.history().empty());
    EXPECT_TRUE(store.awayPayloads()->empty());
    store.saveSession(running);
    EXPECT_EQ(store.sessions(), Sessions{running});
    EXPECT_EQ(file.freshRead(), Sessions{running});
}

TEST(HistoryStore, LeavesNothingOnTheDiskOfWhatWasDeleted) {
    const HistoryFile file;
    auto store = file.open();
    auto session = fullSession(1, 100);
    session.app.name = "TellTaleName";
    store.saveSession(session);
    const auto isOnDisk = [&] {
        for (const auto& each : std::filesystem::directory_iterator(file.path().parent_path())) {
            std::ifstream stream(each.path(), std::ios::binary);
            const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
            if (bytes.find("TellTaleName") != std::string::npos) {
                return true;
            }
        }
        return false;
    };
    EXPECT_TRUE(isOnDisk());
    store.deleteAll();
    EXPECT_FALSE(isOnDisk());
    store.saveSession(session);
    store.prune({101});
    EXPECT_FALSE(isOnDisk());
}

TEST(HistoryStore, SkipsARowOfAnUnknownDeviceAndKeepsItUntilPruned) {
    const HistoryFile file;
    {
        auto store = file.open();
        store.saveSession(sessionNumber(1, 100));
        store.saveSession(sessionNumber(2, 200));
    }
    file.execute("UPDATE SessionRecord SET deviceRaw = 'keyboard' WHERE start = 100");
    auto store = file.open();
    EXPECT_EQ(store.sessions(), Sessions{sessionNumber(2, 200)});
    EXPECT_EQ(store.sessionCount(), 2U);
    store.closeOpenRecords();
    EXPECT_EQ(store.sessionCount(), 2U);
    store.prune({150});
    EXPECT_EQ(store.sessionCount(), 1U);
}

TEST(HistoryStore, ReadsARowAgainOnceItsSessionIsSavedAnew) {
    const HistoryFile file;
    auto store = file.open();
    store.saveSession(sessionNumber(1, 100));
    file.execute("UPDATE SessionRecord SET deviceRaw = 'keyboard'");
    EXPECT_TRUE(store.history().empty());
    store.saveSession(sessionNumber(1, 100));
    EXPECT_EQ(store.sessions(), Sessions{sessionNumber(1, 100)});
    EXPECT_EQ(store.sessionCount(), 1U);
}

TEST(HistoryStore, SkipsRowsWithAnythingOfTheWrongTypeAndKeepsThem) {
    const std::vector<std::string> damages = {
        "id = 'not a uuid'",
        "id = lower(id)",
        "id = x'00'",
        "deviceRaw = x'63616D657261'",
        "appID = x'00'",
        "appName = x'00'",
        "bundleID = x'00'",
        "appPath = x'00'",
        "teamID = x'00'",
        "start = 'soon'",
        "start = x'00'",
        "end = 'later'",
        "end = x'00'",
        "observedFromStart = 'maybe'",
        "observedFromStart = x'01'",
        "observedFromStart = 0.5",
    };
    for (const auto& damage : damages) {
        const HistoryFile file;
        {
            auto store = file.open();
            store.saveSession(fullSession(0xA, 100));
            store.saveSession(sessionNumber(0xB, 50));
        }
        file.execute("UPDATE SessionRecord SET " + damage + " WHERE deviceRaw = 'speaker'");
        auto store = file.open();
        EXPECT_EQ(store.sessions(), Sessions{sessionNumber(0xB, 50)}) << damage;
        EXPECT_EQ(store.sessionCount(), 2U) << damage;
    }
}

TEST(HistoryStore, ReadsUnknownOutcomesAndLevelsAsNone) {
    for (const auto* value : {"'exploded'", "''", "x'00'", "NULL"}) {
        const HistoryFile file;
        const auto full = fullSession(1, 100);
        file.open().saveSession(full);
        file.execute(
            fmt::format("UPDATE SessionRecord SET outcomeRaw = {0}, levelRaw = {0}", value));
        auto expected = full;
        expected.outcome = std::nullopt;
        expected.warningLevel = std::nullopt;
        EXPECT_EQ(file.freshRead(), Sessions{expected}) << value;
    }
}

TEST(HistoryStore, ReadsConnectionsThatDoNotDecodeAsNone) {
    for (const auto* value : {"'nonsense'", "''", "'{}'", "'[{}]'", "17", "1.5", "x'FF00FE'",
                              R"('[{"address":"a","port":1,"transport":"TCP"},{"address":"b"}]')",
                              R"('[{"address":"a","port":1.5,"transport":"TCP"}]')",
                              R"('[{"address":"a","port":1,"transport":"TCP"}] ')"}) {
        const HistoryFile file;
        const auto full = fullSession(1, 100);
        file.open().saveSession(full);
        file.execute(fmt::format("UPDATE SessionRecord SET connectionsData = {}", value));
        auto expected = full;
        expected.connections = {};
        if (std::string_view(value).ends_with("] '")) {
            expected.connections = {{"a", 1, "TCP", {}}}; // space around it is still JSON
        }
        EXPECT_EQ(file.freshRead(), Sessions{expected}) << value;
    }
}

TEST(HistoryStore, ShowsAtOnceWhatAFreshReadWouldShow) {
    const HistoryFile file;
    auto store = file.open();
    const auto nan = std::numeric_limits<double>::quiet_NaN();
    auto odd = fullSession(1, -0.0);
    odd.app.name = std::string("nul\0byte", 8);
    odd.app.path = "not \xff utf-8";
    odd.app.bundleID = "";
    odd.end = Timestamp{nan};
    odd.connections = {{"bad \xff text", -1, "", Timestamp{nan}},
                       {"quote\"\\\n\u00e4", INT64_MAX, "UDP", Timestamp{1e300}}};
    store.saveSession(odd);
    auto far = sessionNumber(2, std::numeric_limits<double>::infinity());
    store.saveSession(far);
    far.id = idNumber(3);
    far.start = {-std::numeric_limits<double>::infinity()};
    store.saveSession(far);
    EXPECT_EQ(store.history().size(), 3U);
    EXPECT_EQ(store.sessions(), file.freshRead());
    EXPECT_EQ(store.sessions().at(1).app.name, odd.app.name);
    EXPECT_EQ(store.sessions().at(1).app.path, odd.app.path);
}

TEST(HistoryStore, KeepsNothingOfASessionWhoseStartIsNoNumber) {
    HistoryStore store{std::nullopt};
    store.saveSession(sessionNumber(1, std::numeric_limits<double>::quiet_NaN()));
    EXPECT_EQ(store.sessionCount(), 0U);
    EXPECT_TRUE(store.history().empty());
    store.saveSession(sessionNumber(2, 1));
    store.prune({std::numeric_limits<double>::quiet_NaN()});
    EXPECT_EQ(store.sessions().size(), 1U);
}

TEST(HistoryStore, SeesWhatAnotherProcessHasWritten) {
    const HistoryFile file;
    auto store = file.open();
    store.saveSession(sessionNumber(1, 100));
    EXPECT_EQ(store.history().size(), 1U);
    file.open().saveSession(sessionNumber(2, 200));
    EXPECT_EQ(store.sessions(), (Sessions{sessionNumber(2, 200), sessionNumber(1, 100)}));
    file.open().deleteAll();
    EXPECT_TRUE(store.history().empty());
}

TEST(HistoryStore, LeavesAListThatWasHandedOutAsItWas) {
    HistoryStore store{std::nullopt};
    store.saveSession(sessionNumber(1, 100));
    const auto before = store.history();
    EXPECT_EQ(store.history(), before);
    store.saveSession(sessionNumber(1, 100)); // nothing new in it
    EXPECT_EQ(store.history(), before);
    store.saveSession(endedSession(1, 100, 110));
    EXPECT_NE(store.history(), before);
    store.deleteAll();
    ASSERT_EQ(before.size(), 1U);
    EXPECT_EQ(before[0], sessionNumber(1, 100));
}

} // namespace
} // namespace velmoran
