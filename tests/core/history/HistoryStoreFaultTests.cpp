// A history whose file fails: no call says so, and the lists and the file agree again afterwards.
#include "FaultyFiles.h"
#include "HistoryTools.h"

#include <gtest/gtest.h>
#include <random>

namespace velmoran {
namespace {

using Sessions = std::vector<UsageSession>;

TEST(HistoryStoreFaults, ShowAFailedSaveAtOnceAndWriteItWithTheNext) {
    const HistoryFile file;
    auto store = file.open();
    store.saveSession(sessionNumber(1, 100));
    store.saveSession(sessionNumber(2, 200));
    store.history();
    const Sessions shown = {sessionNumber(3, 300), sessionNumber(2, 200),
                            endedSession(1, 100, 150)};
    {
        const WriteLock lock(file);
        store.saveSession(endedSession(1, 100, 150));
        store.saveSession(sessionNumber(3, 300));
        EXPECT_EQ(store.sessions(), shown);
    }
    EXPECT_EQ(file.freshRead(), (Sessions{sessionNumber(2, 200), sessionNumber(1, 100)}));
    store.saveSession(sessionNumber(2, 200));
    EXPECT_EQ(store.sessions(), shown);
    EXPECT_EQ(file.freshRead(), shown);
}

TEST(HistoryStoreFaults, ShowTheLastOfSeveralFailedSaves) {
    const HistoryFile file;
    auto store = file.open();
    store.history();
    {
        const WriteLock lock(file);
        store.saveSession(sessionNumber(1, 100));
        store.saveSession(endedSession(1, 90, 150));
        EXPECT_EQ(store.sessions(), Sessions{endedSession(1, 90, 150)});
    }
    store.deleteAwayReport(idNumber(9)); // any write takes along what is pending
    EXPECT_EQ(file.freshRead(), Sessions{endedSession(1, 90, 150)});
    EXPECT_EQ(store.sessions(), file.freshRead());
    EXPECT_EQ(store.sessionCount(), 1U);
}

TEST(HistoryStoreFaults, ShowAFailedSaveInAListThatIsReadAfterwards) {
    const HistoryFile file;
    auto store = file.open();
    {
        const WriteLock lock(file);
        store.saveSession(sessionNumber(1, 100));
        EXPECT_EQ(store.sessions(), Sessions{sessionNumber(1, 100)});
    }
    EXPECT_TRUE(file.freshRead().empty());
}

TEST(HistoryStoreFaults, DropAFailedSaveOrDeleteOfOneReport) {
    const HistoryFile file;
    auto store = file.open();
    store.saveAwayPayload(idNumber(2), {100}, {}, "{}");
    {
        const WriteLock lock(file);
        store.deleteAwayReport(idNumber(2));
        store.saveAwayPayload(idNumber(2), {100}, {}, "[]");
    }
    store.catchUp();
    EXPECT_EQ(*store.awayPayloads(), std::vector<std::string>{"{}"});
}

TEST(HistoryStoreFaults, RunTheOtherDeleteWhenOneFails) {
    const struct {
        const char* failing;
        std::size_t sessions;
        std::size_t reports;
    } cases[] = {{"SessionRecord", 1, 0}, {"AwayReportRecord", 0, 1}};
    for (const auto& each : cases) {
        for (const bool everything : {false, true}) {
            const HistoryFile file;
            auto store = file.open();
            store.saveSession(sessionNumber(1, 100));
            store.saveAwayPayload(idNumber(2), {100}, {}, "{}");
            store.history();
            file.execute(fmt::format("CREATE TRIGGER refuse BEFORE DELETE ON {} "
                                     "BEGIN SELECT RAISE(ABORT, 'no'); END",
                                     each.failing));
            if (everything) {
                store.deleteAll();
            } else {
                store.prune({200});
            }
            EXPECT_EQ(store.sessions().size(), each.sessions) << each.failing;
            EXPECT_EQ(store.awayPayloads()->size(), each.reports) << each.failing;
            EXPECT_EQ(file.freshRead(), store.sessions()) << each.failing;
        }
    }
}

TEST(HistoryStoreFaults, KeepASessionThatAnotherProgramsRuleKeepsOut) {
    // Any program of the person's can put one into the file.
    const struct {
        const char* rule;
        const char* end;
        const char* reason;
    } cases[] = {
        {"CREATE TRIGGER rule BEFORE INSERT ON SessionRecord WHEN new.appName = 'App 2' "
         "BEGIN SELECT RAISE(ABORT, 'no'); END",
         "DROP TRIGGER rule", "no"},
        {"CREATE TRIGGER rule BEFORE INSERT ON SessionRecord WHEN new.appName = 'App 2' "
         "BEGIN SELECT RAISE(FAIL, 'no'); END",
         "DROP TRIGGER rule", "no"},
        {"CREATE TRIGGER rule BEFORE INSERT ON SessionRecord WHEN new.appName = 'App 2' "
         "BEGIN SELECT RAISE(IGNORE); END",
         "DROP TRIGGER rule", "trigger"},
        {"CREATE TABLE Number (n INTEGER PRIMARY KEY); "
         "CREATE TRIGGER rule BEFORE INSERT ON SessionRecord WHEN new.appName = 'App 2' "
         "BEGIN INSERT INTO Number VALUES ('none'); END",
         "DROP TRIGGER rule", "mismatch"},
        {"CREATE UNIQUE INDEX rule ON SessionRecord (deviceRaw) WHERE appName < 'App 3'",
         "DROP INDEX rule", "UNIQUE"},
    };
    for (const auto& each : cases) {
        const HistoryFile file;
        auto store = file.open();
        store.saveSession(sessionNumber(1, 100));
        store.history();
        file.execute(each.rule);
        store.saveSession(sessionNumber(2, 200));
        const auto expectKeptOut = [&] {
            ASSERT_TRUE(store.failure()) << each.rule;
            EXPECT_NE(store.failure()->problem.reason.find(each.reason), std::string::npos)
                << store.failure()->problem.reason;
            EXPECT_TRUE(store.isBehind()) << each.rule;
        };
        expectKeptOut();
        EXPECT_FALSE(store.catchUp());
        expectKeptOut();
        EXPECT_EQ(store.sessions(), (Sessions{sessionNumber(2, 200), sessionNumber(1, 100)}));
        store.saveSession(sessionNumber(3, 300));
        expectKeptOut();
        EXPECT_EQ(file.freshRead(), (Sessions{sessionNumber(3, 300), sessionNumber(1, 100)}));

        file.execute(each.end);
        EXPECT_TRUE(store.catchUp()) << each.rule;
        EXPECT_FALSE(store.failure()) << each.rule;
        EXPECT_FALSE(store.isBehind()) << each.rule;
        EXPECT_EQ(file.freshRead(), store.sessions());
        EXPECT_EQ(store.sessions().size(), 3U) << each.rule;
    }
}

TEST(HistoryStoreFaults, KeepAnEndThatATriggerKeepsOut) {
    const HistoryFile file;
    auto store = file.open();
    store.saveSession(sessionNumber(1, 100));
    file.execute("CREATE TRIGGER rule BEFORE UPDATE ON SessionRecord BEGIN SELECT RAISE(IGNORE); "
                 "END");
    store.saveSession(endedSession(1, 100, 150));
    EXPECT_TRUE(store.failure());
    EXPECT_EQ(file.freshRead(), Sessions{sessionNumber(1, 100)});
    EXPECT_EQ(store.sessions(), Sessions{endedSession(1, 100, 150)});
    file.execute("DROP TRIGGER rule");
    EXPECT_TRUE(store.catchUp());
    EXPECT_EQ(file.freshRead(), Sessions{endedSession(1, 100, 150)});
}

TEST(HistoryStoreFaults, GiveEmptyResultsWhenReadingFails) {
    const HistoryFile file;
    auto store = file.open();
    store.saveSession(sessionNumber(1, 100));
    store.saveAwayPayload(idNumber(2), {100}, {}, "{}");
    ASSERT_EQ(store.sessions().size(), 1U);
    file.execute("ALTER TABLE SessionRecord RENAME TO Away1; "
                 "ALTER TABLE AwayReportRecord RENAME TO Away2");
    EXPECT_TRUE(store.sessions().empty());
    EXPECT_TRUE(store.history().empty());
    EXPECT_TRUE(store.awayPayloads()->empty());
    EXPECT_EQ(store.sessionCount(), 0U);
    store.saveSession(sessionNumber(3, 300));
    store.saveAwayPayload(idNumber(4), {100}, {}, "{}");
    EXPECT_TRUE(store.history().empty());

    file.execute("ALTER TABLE Away1 RENAME TO SessionRecord; "
                 "ALTER TABLE Away2 RENAME TO AwayReportRecord");
    EXPECT_EQ(store.sessions(), (Sessions{sessionNumber(3, 300), sessionNumber(1, 100)}));
    EXPECT_EQ(store.awayPayloads()->size(), 1U); // that save gave up
    store.closeOpenRecords();
    EXPECT_EQ(store.sessionCount(), 2U);
    EXPECT_EQ(file.freshRead(), store.sessions());
}

TEST(HistoryStoreFaults, KeepAReportWhoseFetchFails) {
    const HistoryFile file;
    auto store = file.open();
    store.saveAwayPayload(idNumber(1), {100}, {}, "{}");
    file.execute("ALTER TABLE AwayReportRecord RENAME TO Elsewhere");
    store.saveAwayPayload(idNumber(1), {100}, {}, "[]");
    file.execute("ALTER TABLE Elsewhere RENAME TO AwayReportRecord");
    EXPECT_EQ(*store.awayPayloads(), std::vector<std::string>{"{}"});
}

/// Some of everything, the same at each call; returns what has to be stored at the end.
void drive(HistoryStore& store) {
    store.closeOpenRecords();
    store.prune({10});
    for (unsigned number = 1; number <= 4; ++number) {
        store.saveSession(sessionNumber(number, 100 + number));
        store.history();
    }
    store.saveSession(endedSession(2, 102, 110));
    store.saveAwayPayload(idNumber(8), {100}, {}, "{}");
    store.saveSession(fullSession(3, 90));
    store.prune({95});
    store.history();
    store.saveSession(endedSession(4, 104, 120));
    store.saveAwayPayload(idNumber(8), {100}, Timestamp{130}, "[]");
    store.awayPayloads();
}

TEST(HistoryStoreFaults, AreSurvivedAtEveryCallToTheFiles) {
    // A single failure at call n, for every n until a run meets none; then failures from call n on
    // until the run is over.
    for (const bool lasting : {false, true}) {
        FaultyFiles files;
        bool wasHit = true;
        int survived = 0;
        const HistoryFile file;
        file.open().saveSession(sessionNumber(7, 99)); // so that opening finds something
        const auto beginning = file.bytes();
        for (int call = 1; wasHit; ++call) {
            ASSERT_LT(call, 5000) << "no run without a failure";
            file.replace(beginning);
            std::optional<HistoryStore> store;
            files.failAt(call, lasting);
            try {
                store.emplace(file.path());
            } catch (const std::runtime_error&) {
                files.heal();
                ASSERT_EQ(file.freshRead().size(), 1U) << "call " << call;
                continue;
            }
            drive(*store);
            wasHit = files.wasHit();
            files.heal();

            // The first save that works brings everything to the file.
            store->saveSession(endedSession(1, 101, 140));
            ASSERT_EQ(store->sessions(), file.freshRead()) << "call " << call;
            const auto sessions = store->sessions();
            for (const unsigned number : {1U, 2U, 4U}) {
                ASSERT_TRUE(std::ranges::any_of(
                    sessions,
                    [&](const auto& each) { return each.id == idNumber(number) && each.end; }))
                    << "session " << number << ", call " << call;
            }
            ASSERT_EQ(file.value("PRAGMA integrity_check"), "ok") << "call " << call;
            survived += wasHit ? 1 : 0;
        }
        EXPECT_GT(survived, 20);
    }
}

TEST(HistoryStoreFaults, OfDamagedPagesCrashNothing) {
    // Every page in turn, and bytes at random places; the seed is fixed, so a failure comes again.
    const HistoryFile file;
    {
        auto store = file.open();
        for (unsigned number = 1; number <= 300; ++number) {
            store.saveSession(fullSession(number, number));
        }
        store.saveAwayPayload(idNumber(1), {1}, {}, std::string(9000, 'x'));
    }
    const auto good = file.bytes();
    constexpr std::size_t pageSize = 4096;
    ASSERT_GT(good.size(), 20 * pageSize);
    std::mt19937 random(20010101);
    int refused = 0;
    int emptied = 0;
    int opened = 0;
    for (std::size_t round = 0; round < 2 * good.size() / pageSize; ++round) {
        auto bad = good;
        const auto page = round % (good.size() / pageSize) * pageSize;
        for (std::size_t flips = 0; flips < (round % 3 == 0 ? 400U : 3U); ++flips) {
            bad[page + random() % pageSize] = static_cast<char>(random());
        }
        file.replace(bad);
        try {
            auto store = file.open();
            ++opened;
            store.closeOpenRecords();
            const auto count = store.history().size();
            EXPECT_LE(count, 300U + pageSize);
            emptied += count == 0 ? 1 : 0;
            store.awayPayloads();
            store.saveSession(sessionNumber(1000, 5000));
            store.saveSession(endedSession(1, 1, 2));
            store.history();
            store.saveAwayPayload(idNumber(1), {1}, {}, "{}");
            store.prune({150});
            store.history();
            store.deleteAll();
            store.saveSession(sessionNumber(1001, 6000));
            store.history();
        } catch (const std::runtime_error&) {
            ++refused;
        }
    }
    EXPECT_GT(opened, 0);
    EXPECT_GT(emptied, 0); // a reading that failed half-way gives nothing
    EXPECT_GT(refused, 0); // a broken first page
}

} // namespace
} // namespace velmoran
