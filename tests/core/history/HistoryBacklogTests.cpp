// A history that can't be written for now: it says why, nobody waits for it, and what waits beside
// is written when it can be.
#include "FaultyFiles.h"
#include "HistoryTools.h"

#include <gmock/gmock.h>

namespace velmoran {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ProblemKind = HistoryProblem::Kind;

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
        EXPECT_EQ(store.failure()->problem.kind, ProblemKind::notWritten);
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

TEST(HistoryBacklog, HoldsADeletionAndWhatIsSavedAfterIt) {
    const HistoryFile file;
    auto store = file.open();
    store.saveSession(endedSession(1, 100, 150));
    store.saveSession(sessionNumber(2, 200));
    store.saveAwayPayload(idNumber(8), {100}, {}, "{}");
    const auto before = file.freshRead();
    {
        const WriteLock lock(file);
        store.saveSession(endedSession(3, 300, 350));
        store.deleteAll();
        EXPECT_TRUE(store.isBehind());
        EXPECT_THAT(store.sessions(), IsEmpty());
        EXPECT_THAT(*store.awayPayloads(), IsEmpty());
        store.saveSession(sessionNumber(2, 200)); // what goes on
        for (int attempt = 0; attempt < 5; ++attempt) {
            EXPECT_FALSE(store.catchUp());
            EXPECT_TRUE(store.isBehind());
            ASSERT_TRUE(store.failure());
            EXPECT_TRUE(store.failure()->isLock);
            EXPECT_THAT(store.sessions(), ElementsAre(sessionNumber(2, 200)));
        }
        EXPECT_EQ(file.freshRead(), before);
    }
    EXPECT_TRUE(store.catchUp());
    EXPECT_FALSE(store.isBehind());
    EXPECT_FALSE(store.failure());
    EXPECT_THAT(store.sessions(), ElementsAre(sessionNumber(2, 200)));
    EXPECT_THAT(file.freshRead(), ElementsAre(sessionNumber(2, 200)));
    EXPECT_EQ(file.value("SELECT count(*) FROM AwayReportRecord"), "0");
    EXPECT_EQ(file.bytes().find("App 1"), std::string::npos) << "it is gone from the disk, too";

    store.saveSession(endedSession(4, 400, 450));
    store.saveAwayPayload(idNumber(9), {400}, {}, "[]");
    EXPECT_THAT(file.freshRead(), ElementsAre(endedSession(4, 400, 450), sessionNumber(2, 200)))
        << "it was deleted once more";
    EXPECT_THAT(*store.awayPayloads(), ElementsAre("[]"));
}

TEST(HistoryBacklog, HoldsWhatIsTooOldAndWhatIsSavedAfterwards) {
    const HistoryFile file;
    auto store = file.open();
    for (unsigned number = 1; number <= 4; ++number) {
        store.saveSession(sessionNumber(number, 100.0 * number));
        store.saveAwayPayload(idNumber(10 + number), {100.0 * number}, {}, std::to_string(number));
    }
    {
        const WriteLock lock(file);
        store.prune({300});
        store.prune({200}); // less than before takes nothing back
        store.saveSession(endedSession(1, 100, 500));
        for (int attempt = 0; attempt < 5; ++attempt) {
            EXPECT_FALSE(store.catchUp());
            EXPECT_TRUE(store.isBehind());
            EXPECT_THAT(store.sessions(), ElementsAre(sessionNumber(4, 400), sessionNumber(3, 300),
                                                      endedSession(1, 100, 500)));
            EXPECT_THAT(*store.awayPayloads(), ElementsAre("4", "3"));
        }
        EXPECT_EQ(store.sessionCount(), 4U) << "the file's";
    }
    EXPECT_TRUE(store.catchUp());
    EXPECT_FALSE(store.isBehind());
    EXPECT_THAT(store.sessions(), ElementsAre(sessionNumber(4, 400), sessionNumber(3, 300),
                                              endedSession(1, 100, 500)));
    EXPECT_EQ(file.freshRead(), store.sessions());
    EXPECT_THAT(*store.awayPayloads(), ElementsAre("4", "3"));
    EXPECT_EQ(file.value("SELECT count(*) FROM AwayReportRecord"), "2");
}

TEST(HistoryBacklog, HidesWhatIsToBeDeletedFromAListThatIsReadAgain) {
    const HistoryFile file;
    auto store = file.open();
    store.saveSession(endedSession(1, 100, 150));
    store.saveSession(endedSession(2, 200, 250));
    store.history();
    {
        auto other = file.connection();
        other.exec("BEGIN IMMEDIATE");
        store.prune({150});
        other.exec("UPDATE SessionRecord SET appName = 'Renamed'");
        other.exec("COMMIT");
    }
    ASSERT_TRUE(store.isBehind());
    const auto pruned = store.sessions();
    ASSERT_EQ(pruned.size(), 1U);
    EXPECT_EQ(pruned.front().app.name, "Renamed");
    {
        const WriteLock lock(file);
        store.deleteAll();
    }
    file.execute("UPDATE SessionRecord SET appName = 'Renamed again'");
    EXPECT_THAT(store.sessions(), IsEmpty());
    store.saveSession(sessionNumber(3, 300)); // any write does what waits
    EXPECT_THAT(store.sessions(), ElementsAre(sessionNumber(3, 300)));
    EXPECT_THAT(file.freshRead(), ElementsAre(sessionNumber(3, 300)));
    EXPECT_FALSE(store.isBehind());
}

TEST(HistoryBacklog, HoldsADeletionWhateverTheDiskSays) {
    bool wasHit = true;
    int waited = 0;
    for (int call = 1; wasHit; ++call) {
        ASSERT_LT(call, 200);
        FaultyFiles files;
        const HistoryFile file;
        auto store = file.open();
        store.saveSession(sessionNumber(1, 100));
        store.history();
        files.failAt(call, true);
        store.deleteAll();
        store.saveSession(sessionNumber(2, 200));
        wasHit = files.wasHit();
        waited += store.isBehind() ? 1 : 0;
        files.heal();
        catchUpWholly(store);
        EXPECT_THAT(file.freshRead(), ElementsAre(sessionNumber(2, 200))) << "call " << call;
        EXPECT_EQ(store.sessions(), file.freshRead()) << "call " << call;
    }
    EXPECT_GT(waited, 3);
}

TEST(HistoryBacklog, IsWrittenToAFileThatWasLockedAtTheStart) {
    const HistoryFile file;
    file.open().saveSession(sessionNumber(1, 100));
    file.execute("PRAGMA journal_mode = DELETE"); // as long as it is locked, nobody can read either
    int replaced = 0;
    auto holder = std::make_optional(file.connection());
    holder->exec("BEGIN EXCLUSIVE");
    HistoryStore store(file.path());
    store.onReplaced([&] { ++replaced; });
    ASSERT_TRUE(store.failure());
    EXPECT_TRUE(store.failure()->isLock);
    EXPECT_EQ(store.failure()->problem.kind, ProblemKind::notWritten);
    store.closeOpenRecords();
    store.prune({50});
    store.saveSession(sessionNumber(2, 200));
    EXPECT_FALSE(store.catchUp());
    EXPECT_TRUE(store.isBehind());
    ASSERT_TRUE(store.failure());
    EXPECT_EQ(store.failure()->problem.kind, ProblemKind::notWritten);
    EXPECT_THAT(store.sessions(), ElementsAre(sessionNumber(2, 200)));

    holder.reset();
    EXPECT_TRUE(store.catchUp());
    auto closed = sessionNumber(1, 100);
    closed.outcome = SessionOutcome::endUnknown;
    EXPECT_THAT(store.sessions(), ElementsAre(sessionNumber(2, 200), closed));
    EXPECT_EQ(file.freshRead(), store.sessions());
    EXPECT_FALSE(store.failure());
    EXPECT_FALSE(store.isBehind());
    EXPECT_EQ(replaced, 0) << "it is the file that it was to be";
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
