// A history that can't be written for now: it says why, nobody waits for it, and what waits beside
// is written when it can be.
#include "FaultyFiles.h"
#include "HistoryTools.h"

#include <gmock/gmock.h>

namespace velmoran {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Kind = HistoryProblem::Kind;

void catchUpWholly(HistoryStore& store) {
    for (int times = 0; times < 1000 && store.isBehind(); ++times) {
        store.catchUp();
    }
    EXPECT_FALSE(store.isBehind());
}

TEST(HistoryBacklog, IsWrittenWhenTheLockHasGone) {
    const HistoryFile file;
    auto store = file.open();
    store.saveSession(sessionNumber(1, 100));
    EXPECT_FALSE(store.isBehind());
    EXPECT_FALSE(store.failure());
    {
        const WriteLock lock(file);
        store.saveSession(endedSession(1, 100, 150));
        store.saveSession(sessionNumber(2, 200));
        ASSERT_TRUE(store.failure());
        EXPECT_TRUE(store.failure()->isLock);
        EXPECT_EQ(store.failure()->problem.kind, Kind::notWritten);
        EXPECT_EQ(store.failure()->problem.reason, "database is locked");
        EXPECT_TRUE(store.isBehind());
        EXPECT_FALSE(store.catchUp());
        EXPECT_THAT(file.freshRead(), ElementsAre(sessionNumber(1, 100)));
    }
    EXPECT_TRUE(store.catchUp());
    EXPECT_FALSE(store.isBehind());
    EXPECT_FALSE(store.failure());
    EXPECT_THAT(file.freshRead(), ElementsAre(sessionNumber(2, 200), endedSession(1, 100, 150)));
}

TEST(HistoryBacklog, OfThousandsIsWrittenBitByBit) {
    const HistoryFile file;
    auto store = file.open();
    store.history();
    constexpr unsigned count = 2500;
    {
        const WriteLock lock(file);
        for (unsigned number = 1; number <= count; ++number) {
            store.saveSession(sessionNumber(number, number % 50));
            store.saveSession(endedSession(number, number % 50, 60));
        }
        ASSERT_EQ(store.sessions().size(), count);
    }
    const auto shown = store.sessions();
    int steps = 0;
    for (auto before = store.sessionCount(); store.isBehind(); ++steps) {
        EXPECT_TRUE(store.catchUp());
        const auto now = store.sessionCount();
        EXPECT_GT(now, before);
        EXPECT_LE(now - before, 250U) << "a step that takes long";
        EXPECT_EQ(store.sessions(), shown) << "the list may not move meanwhile";
        before = now;
    }
    EXPECT_GT(steps, 10);
    EXPECT_EQ(file.freshRead(), shown);
}

TEST(HistoryBacklog, HoldsTheRepairToo) {
    const HistoryFile file;
    file.open().saveSession(sessionNumber(1, 100));
    auto store = file.open();
    auto closed = sessionNumber(1, 100);
    closed.outcome = SessionOutcome::endUnknown;
    {
        const WriteLock lock(file);
        store.closeOpenRecords();
        EXPECT_TRUE(store.isBehind());
        store.saveSession(sessionNumber(2, 200));
    }
    store.catchUp();
    EXPECT_THAT(store.sessions(), ElementsAre(sessionNumber(2, 200), closed))
        << "what goes on was taken for the rest of an earlier run";
    EXPECT_EQ(file.freshRead(), store.sessions());
    EXPECT_FALSE(store.isBehind());
}

TEST(HistoryBacklog, IsDeletedWithAllElse) {
    const HistoryFile file;
    auto store = file.open();
    store.history();
    {
        const WriteLock lock(file);
        for (unsigned number = 1; number <= 900; ++number) {
            store.saveSession(sessionNumber(number, number));
        }
    }
    store.prune({400});
    EXPECT_EQ(store.sessions().size(), 501U);
    catchUpWholly(store);
    EXPECT_EQ(store.sessions().size(), 501U);
    EXPECT_EQ(file.freshRead(), store.sessions());
    {
        const WriteLock lock(file);
        for (unsigned number = 1001; number <= 1900; ++number) {
            store.saveSession(sessionNumber(number, number));
        }
    }
    store.deleteAll();
    EXPECT_FALSE(store.isBehind());
    EXPECT_THAT(store.sessions(), IsEmpty());
    EXPECT_THAT(file.freshRead(), IsEmpty());
}

TEST(HistoryBacklog, KeepsWhatTheFileHasOfDetailsThatHadToGo) {
    const HistoryFile file;
    auto store = file.open();
    auto talkative = sessionNumber(1, 100);
    talkative.connections.assign(1000, {"192.0.2.1", 443, "TCP", Timestamp{101}});
    store.saveSession(talkative);
    store.history();
    {
        const WriteLock lock(file);
        auto ended = talkative;
        ended.end = Timestamp{150};
        ended.outcome = SessionOutcome::endedNormally;
        store.saveSession(ended);
        auto endless = sessionNumber(2, 200);
        endless.app.name.assign(PendingSessions::mostBytes / 2 - 50000, 'n');
        store.saveSession(endless);
        talkative = ended;
        const auto shown = store.sessions();
        ASSERT_EQ(shown.size(), 2U);
        EXPECT_EQ(shown.back().end, Timestamp{150});
        EXPECT_THAT(shown.back().connections, IsEmpty()) << "they take memory in the list, too";
    }
    catchUpWholly(store);
    EXPECT_EQ(file.freshRead().back(), talkative);
    EXPECT_EQ(store.sessions(), file.freshRead());
}

TEST(HistoryBacklog, SaysWhatTheDiskSays) {
    // From the first call that a save makes to the last.
    bool wasHit = true;
    int said = 0;
    for (int call = 1; wasHit; ++call) {
        ASSERT_LT(call, 200);
        FaultyFiles files;
        const HistoryFile file;
        auto store = file.open();
        store.history();
        files.failAt(call, true);
        store.saveSession(sessionNumber(1, 100));
        wasHit = files.wasHit();
        EXPECT_EQ(store.failure().has_value(), store.isBehind()) << "call " << call;
        if (store.failure()) {
            ++said;
            EXPECT_FALSE(store.failure()->problem.reason.empty());
            EXPECT_FALSE(store.catchUp());
            EXPECT_TRUE(store.failure());
        }
        files.heal();
        catchUpWholly(store);
        EXPECT_FALSE(store.failure());
        EXPECT_THAT(file.freshRead(), ElementsAre(sessionNumber(1, 100))) << "call " << call;
    }
    EXPECT_GT(said, 3);
}

TEST(HistoryBacklog, IsNoneWhereADeleteFailed) {
    const HistoryFile file;
    auto store = file.open();
    store.saveSession(sessionNumber(1, 100));
    file.execute("CREATE TRIGGER refuse BEFORE DELETE ON SessionRecord "
                 "BEGIN SELECT RAISE(ABORT, 'no'); END");
    store.prune({200});
    ASSERT_TRUE(store.failure());
    EXPECT_EQ(store.failure()->problem.reason, "no");
    EXPECT_FALSE(store.isBehind());
    store.catchUp();
    EXPECT_TRUE(store.failure()) << "an empty transaction is no write";
    store.saveSession(sessionNumber(2, 200));
    EXPECT_FALSE(store.failure());
}

TEST(HistoryBacklog, EmptiesTheLogOfDeletedContentWhenNobodyReadsItAnyMore) {
    const HistoryFile file;
    auto store = file.open();
    auto session = endedSession(1, 100, 150);
    session.app.name = "Deleted content";
    store.saveSession(session);
    const auto log = file.path().string() + "-wal";
    {
        auto reader = file.connection();
        reader.exec("BEGIN");
        SQLite::Statement query(reader, "SELECT count(*) FROM SessionRecord");
        query.executeStep();
        store.deleteAll();
        EXPECT_TRUE(store.isBehind());
        EXPECT_FALSE(store.failure());
    }
    store.catchUp();
    EXPECT_FALSE(store.isBehind());
    EXPECT_EQ(std::filesystem::file_size(log), 0U);
    EXPECT_EQ(file.bytes().find("Deleted content"), std::string::npos);
}

} // namespace
} // namespace velmoran
