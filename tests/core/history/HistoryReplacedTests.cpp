// A history whose file goes while the store is open: deleted, moved away, or replaced.
#include "HistoryTools.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

namespace velmoran {
namespace {

namespace fs = std::filesystem;

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ProblemKind = HistoryProblem::Kind;

class HistoryReplaced : public ::testing::Test {
protected:
    HistoryReplaced() {
        store_.onReplaced([this] { ++replaced_; });
        store_.saveSession(ongoing);
        store_.saveSession(ended);
    }

    /// The list, the file and what a program would read that starts now are the same.
    std::vector<UsageSession> stored() {
        auto listed = store_.sessions();
        EXPECT_EQ(store_.sessionCount(), listed.size());
        EXPECT_EQ(file_.freshRead(), listed);
        EXPECT_EQ(file_.value("PRAGMA integrity_check"), "ok");
        return listed;
    }
    static UsageSession unknownEnd(UsageSession session) {
        session.outcome = SessionOutcome::endUnknown;
        return session;
    }

    const UsageSession ongoing = sessionNumber(1, 100);
    const UsageSession ended = endedSession(2, 200, 250);
    const UsageSession next = sessionNumber(3, 300);
    HistoryFile file_;
    HistoryStore store_{file_.path()};
    int replaced_ = 0;
};

TEST_F(HistoryReplaced, IsBegunAnewWithWhatGoesOnWhenTheFileIsDeleted) {
    fs::remove(file_.path());
    store_.saveSession(next);
    EXPECT_THAT(stored(), ElementsAre(next, ongoing));
    EXPECT_EQ(replaced_, 1);
    EXPECT_FALSE(store_.failure());
    EXPECT_EQ(fs::status(file_.path()).permissions(),
              fs::perms::owner_read | fs::perms::owner_write);

    store_.saveSession(endedSession(1, 100, 400));
    EXPECT_THAT(stored(), ElementsAre(next, endedSession(1, 100, 400)));
    EXPECT_EQ(replaced_, 1);
}

TEST_F(HistoryReplaced, IsBegunAnewWhenTheWholeFolderIsDeleted) {
    for (int i = 0; i < 3; ++i) {
        fs::remove_all(file_.path().parent_path());
        store_.saveSession(next);
        EXPECT_THAT(stored(), ElementsAre(next, ongoing));
    }
    EXPECT_EQ(replaced_, 3);
}

TEST_F(HistoryReplaced, EachKindOfWriteFindsOut) {
    fs::remove(file_.path());
    store_.prune({0});
    EXPECT_THAT(stored(), ElementsAre(ongoing));
    fs::remove(file_.path());
    store_.deleteAll();
    EXPECT_THAT(stored(), IsEmpty());
    fs::remove(file_.path());
    store_.saveAwayPayload(idNumber(9), {1}, {}, "{}");
    EXPECT_THAT(*store_.awayPayloads(), ElementsAre("{}"));
    EXPECT_THAT(stored(), ElementsAre(ongoing));
    EXPECT_EQ(replaced_, 3);
}

TEST_F(HistoryReplaced, LeavesAFileThatWasMovedAwayWhole) {
    const auto elsewhere = file_.path().string() + ".kept";
    fs::rename(file_.path(), elsewhere);
    store_.saveSession(next);
    EXPECT_THAT(stored(), ElementsAre(next, ongoing));
    EXPECT_THAT(HistoryStore(elsewhere).sessions(), ElementsAre(ended, ongoing));
}

TEST_F(HistoryReplaced, GoesOnInAFileThatWasPutBack) {
    // A copy of an earlier time, from a run that was killed.
    const auto copy = file_.path().string() + ".copy";
    {
        HistoryStore earlier(copy);
        earlier.saveSession(sessionNumber(7, 70));
        earlier.saveSession(sessionNumber(1, 50));
        earlier.saveSession(endedSession(8, 80, 90));
    }
    fs::rename(copy, file_.path());
    store_.saveSession(next);
    // What was in the log of the other file isn't in this one.
    EXPECT_THAT(stored(), ElementsAre(next, ongoing, endedSession(8, 80, 90),
                                      unknownEnd(sessionNumber(7, 70))));
    EXPECT_EQ(replaced_, 1);
}

TEST_F(HistoryReplaced, WaitsWhereNoHistoryCanBe) {
    fs::remove(file_.path());
    fs::remove(file_.path().string() + "-wal");
    const std::string foreign = "something else altogether";
    std::ofstream(file_.path()) << foreign;
    EXPECT_THAT(store_.sessions(), ElementsAre(ended, ongoing));
    store_.saveSession(next);
    store_.saveSession(endedSession(4, 400, 450));
    EXPECT_EQ(file_.bytes(), foreign);
    EXPECT_EQ(replaced_, 0);
    ASSERT_TRUE(store_.failure());
    EXPECT_EQ(store_.failure()->problem.kind, ProblemKind::notOpened);
    EXPECT_THAT(store_.failure()->problem.reason, ::testing::HasSubstr("not a database"));
    EXPECT_TRUE(store_.isBehind());
    // What was told since is shown, and nothing of it fails.
    EXPECT_THAT(store_.sessions(Timestamp{300}),
                ElementsAre(endedSession(4, 400, 450), next, ongoing));
    store_.prune({0});
    store_.closeOpenRecords();
    store_.deleteAwayReport(idNumber(9));
    EXPECT_EQ(store_.sessionCount(), 0U);
    EXPECT_EQ(store_.awayPayloads()->size(), 0U);

    fs::remove(file_.path());
    store_.saveSession(sessionNumber(5, 500));
    EXPECT_THAT(stored(),
                ElementsAre(sessionNumber(5, 500), endedSession(4, 400, 450), next, ongoing));
    EXPECT_EQ(replaced_, 1);
    EXPECT_FALSE(store_.failure());
    EXPECT_FALSE(store_.isBehind());
    store_.saveSession(sessionNumber(6, 600));
    EXPECT_THAT(stored(), ElementsAre(sessionNumber(6, 600), sessionNumber(5, 500),
                                      endedSession(4, 400, 450), next, ongoing))
        << "what goes on was taken for the rest of an earlier run";
}

TEST_F(HistoryReplaced, MakesNoFileWhereItMayNot) {
    bool mayOpen = false;
    HistoryStore careful(file_.path(), [&] {
        if (!mayOpen) {
            throw std::runtime_error("not now");
        }
    });
    careful.saveSession(next);
    fs::remove(file_.path());
    careful.saveSession(endedSession(4, 400, 450));
    EXPECT_FALSE(fs::exists(file_.path()));
    mayOpen = true;
    careful.saveSession(sessionNumber(5, 500));
    EXPECT_THAT(file_.freshRead(),
                ElementsAre(sessionNumber(5, 500), endedSession(4, 400, 450), next));
    careful.saveSession(sessionNumber(6, 600));
    EXPECT_THAT(file_.freshRead(), ElementsAre(sessionNumber(6, 600), sessionNumber(5, 500),
                                               endedSession(4, 400, 450), next));
}

TEST_F(HistoryReplaced, AStoreInMemoryHasNoFileToLose) {
    HistoryStore memory(std::nullopt);
    memory.onReplaced([this] { ++replaced_; });
    memory.saveSession(next);
    EXPECT_THAT(memory.sessions(), ElementsAre(next));
    EXPECT_EQ(replaced_, 0);
    EXPECT_FALSE(memory.failure());
}

} // namespace
} // namespace velmoran
