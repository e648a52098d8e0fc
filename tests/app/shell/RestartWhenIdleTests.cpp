#include "app/shell/RestartWhenIdle.h"
#include "support/TemporaryDirectory.h"
#include "tests/app/model/ModelFixture.h"

#include <SQLiteCpp/Database.h>
#include <filesystem>

namespace velmoran {
namespace {

using testing::appRef;

struct RestartWhenIdleTest : testing::ModelFixture {
    const TemporaryDirectory folder;
    const std::filesystem::path path = folder.path("Velmoran/History.store");
    int quits = 0;
    bool isLookedAt = false;
    std::unique_ptr<RestartWhenIdle> restart;

    void SetUp() override {
        store = std::make_shared<HistoryStore>(path);
        launchWatching();
        restart = std::make_unique<RestartWhenIdle>(
            *model, [this] { return isLookedAt; }, [this] { ++quits; });
    }
    void TearDown() override { restart.reset(); }

    /// Until it goes nobody else can write.
    std::unique_ptr<SQLite::Database> lock() const {
        auto connection = std::make_unique<SQLite::Database>(path.string(), SQLite::OPEN_READWRITE);
        connection->exec("BEGIN IMMEDIATE");
        return connection;
    }
};

TEST_F(RestartWhenIdleTest, ComesAtOnceWhereNothingIsOn) {
    EXPECT_FALSE(restart->isDue());
    restart->wish();
    EXPECT_TRUE(restart->isDue());
    EXPECT_EQ(quits, 1);
}

TEST_F(RestartWhenIdleTest, DoesNotComeWhenItIsNotWantedAnyMore) {
    receive(camera({appRef("Zoom")}));
    restart->wish();
    restart->withdraw();
    receive({});
    time.advanceBy(60);
    restart->lookAgain();
    EXPECT_EQ(quits, 0);
    restart->wish();
    EXPECT_EQ(quits, 1);
}

TEST_F(RestartWhenIdleTest, ComesAfterTheUseAndItsCard) {
    receive(camera({appRef("Zoom")}));
    restart->wish();
    time.advanceBy(60);
    EXPECT_EQ(quits, 0);
    receive({});
    time.advanceBy(60);
    EXPECT_EQ(quits, 1);
    EXPECT_TRUE(restart->isDue());
}

TEST_F(RestartWhenIdleTest, ComesWhenTheLastWindowHasGone) {
    restart->lookAgain();
    EXPECT_EQ(quits, 0) << "nobody has wished it";
    isLookedAt = true;
    restart->wish();
    receive({});
    EXPECT_EQ(quits, 0);
    isLookedAt = false;
    restart->lookAgain();
    EXPECT_EQ(quits, 1);
}

TEST_F(RestartWhenIdleTest, LosesNothingThatWaitsForTheHistory) {
    auto holder = lock();
    receive(camera({appRef("Zoom")}));
    receive({});
    restart->wish();
    time.advanceBy(60);
    ASSERT_TRUE(model->notices.items().empty());
    EXPECT_EQ(quits, 0);
    holder.reset();
    time.advanceBy(HistoryKeeper::longestDelay);
    EXPECT_EQ(quits, 1);
    EXPECT_EQ(HistoryStore(path).sessionCount(), 1U);
}

TEST_F(RestartWhenIdleTest, LooksAgainAfterALockThatNobodyIsToldOf) {
    auto holder = lock();
    model->pruneHistory();
    restart->wish();
    EXPECT_EQ(quits, 0);
    holder.reset();
    time.advanceBy(HistoryKeeper::shortestDelay);
    EXPECT_FALSE(*model->historyProblem);
    EXPECT_EQ(quits, 1);
}

} // namespace
} // namespace velmoran
