// What the model does with a history that can't be written for now.
#include "app/telling/ModelRecorder.h"
#include "support/TemporaryDirectory.h"
#include "tests/app/model/ModelFixture.h"

#include <SQLiteCpp/Database.h>
#include <filesystem>
#include <gmock/gmock.h>

namespace velmoran {
namespace {

using testing::appRef;
using ::testing::HasSubstr;
using ::testing::SizeIs;

struct HistoryKeeperTest : testing::ModelFixture {
    const TemporaryDirectory folder;
    const std::filesystem::path path = folder.path("Velmoran/History.store");
    std::vector<std::optional<HistoryProblem>> problems;

    void SetUp() override { store = std::make_shared<HistoryStore>(path); }

    void watch() {
        launchWatching();
        subscriptions.push_back(model->historyProblem.subscribe(
            [this](const auto& problem) { problems.push_back(problem); }));
    }
    /// Until it goes nobody else can write.
    std::unique_ptr<SQLite::Database> lock() const {
        auto connection =
            std::make_unique<SQLite::Database>(path.string(), SQLite::OPEN_READWRITE, 1000);
        connection->exec("BEGIN IMMEDIATE");
        return connection;
    }
    std::size_t rows() const { return HistoryStore(path).sessionCount(); }
    /// Another use by another app each time.
    void turnOnAndOff() {
        receive(microphone({appRef("App" + std::to_string(++apps_))}));
        receive({});
    }

private:
    int apps_ = 0;
};

TEST_F(HistoryKeeperTest, WritesAllThatWaitedWhenTheLockHasGone) {
    watch();
    auto holder = lock();
    for (int use = 1; use <= 50; ++use) {
        time.advanceBy(0.1);
        turnOnAndOff();
    }
    EXPECT_THAT(events, SizeIs(100)) << "each was told at once";
    EXPECT_THAT(*model->historySessions, SizeIs(50));
    EXPECT_EQ(rows(), 0U);
    ASSERT_THAT(problems, SizeIs(1)) << "once";
    ASSERT_TRUE(problems.front());
    EXPECT_EQ(problems.front()->kind, HistoryProblem::Kind::notWritten);
    EXPECT_THAT(problems.front()->reason, HasSubstr("locked"));

    holder.reset();
    time.advanceBy(HistoryKeeper::longestDelay);
    EXPECT_EQ(rows(), 50U);
    EXPECT_EQ(HistoryStore(path).history(), *model->historySessions);
    ASSERT_THAT(problems, SizeIs(2));
    EXPECT_FALSE(problems.back());
}

TEST_F(HistoryKeeperTest, TellsUsesWhileTheFileIsLockedFromTheStart) {
    UsageSession earlier;
    earlier.id = Uuid::random();
    earlier.start = time.now();
    store->saveSession(earlier);
    store.reset();
    auto holder = lock(); // with a journal, nobody can read meanwhile either
    holder->exec("ROLLBACK; PRAGMA journal_mode = DELETE; BEGIN EXCLUSIVE");
    store = std::make_shared<HistoryStore>(path);
    watch();
    EXPECT_FALSE(*model->historyProblem) << "it may be for a moment";
    EXPECT_TRUE(model->historyIsBehind());
    turnOnAndOff();
    EXPECT_THAT(titles(), SizeIs(1));
    EXPECT_THAT(*model->historySessions, SizeIs(1));
    time.advanceBy(HistoryKeeper::longestDelay);
    ASSERT_THAT(problems, SizeIs(1));
    ASSERT_TRUE(problems.front());
    EXPECT_EQ(problems.front()->kind, HistoryProblem::Kind::notWritten);

    holder.reset();
    const int before = changes;
    time.advanceBy(HistoryKeeper::longestDelay);
    EXPECT_FALSE(*model->historyProblem);
    EXPECT_FALSE(model->historyIsBehind());
    EXPECT_GT(changes, before) << "who waits for it hears of it";
    EXPECT_EQ(rows(), 2U);
    EXPECT_THAT(*model->historySessions, SizeIs(2));
}

TEST_F(HistoryKeeperTest, DeletesAllButWhatGoesOnWhenTheLockHasGone) {
    watch();
    turnOnAndOff();
    receive(microphone({appRef("Meet")}));
    auto holder = lock();
    model->deleteHistory();
    ASSERT_THAT(*model->historySessions, SizeIs(1));
    EXPECT_TRUE(model->historyIsBehind());
    EXPECT_EQ(rows(), 2U);
    time.advanceBy(10);
    EXPECT_EQ(rows(), 2U);
    holder.reset();
    time.advanceBy(HistoryKeeper::longestDelay);
    EXPECT_EQ(rows(), 1U);
    EXPECT_EQ(HistoryStore(path).history(), *model->historySessions);
    EXPECT_EQ(model->historySessions->begin()->app.name, "Meet");
    EXPECT_FALSE(model->historyIsBehind());
}

TEST_F(HistoryKeeperTest, MakesNothingOfAnotherProgramsWrite) {
    watch();
    for (int round = 0; round < 3; ++round) {
        auto holder = lock();
        turnOnAndOff();
        time.advanceBy(0.1);
        holder.reset();
        time.advanceBy(HistoryKeeper::longestDelay);
        EXPECT_EQ(rows(), round + 1U);
    }
    EXPECT_THAT(problems, SizeIs(0));
}

TEST_F(HistoryKeeperTest, TriesAgainWithoutHurryAndNotAtAllWhenNothingWaits) {
    watch();
    const auto holder = lock();
    turnOnAndOff();
    time.advanceBy(60);
    ASSERT_TRUE(time.nextDue());
    EXPECT_GT(*time.nextDue() - time.elapsed(), 0);
    EXPECT_LE(*time.nextDue() - time.elapsed(), HistoryKeeper::longestDelay);
    holder->exec("ROLLBACK");
    time.advanceBy(60);
    ASSERT_TRUE(time.nextDue());
    EXPECT_GT(*time.nextDue() - time.elapsed(), HistoryKeeper::longestDelay);
    EXPECT_EQ(rows(), 1U);
}

TEST_F(HistoryKeeperTest, SaysADamagedFileAtOnceAndThatItIsWrittenAgain) {
    watch();
    turnOnAndOff();
    std::filesystem::resize_file(path, 0);
    std::filesystem::resize_file(path.string() + "-wal", 0);
    turnOnAndOff();
    ASSERT_THAT(problems, SizeIs(1));
    EXPECT_EQ(problems.front()->kind, HistoryProblem::Kind::notWritten);
    EXPECT_THAT(titles(), SizeIs(2)) << "it goes on telling";
    EXPECT_THAT(*model->historySessions, SizeIs(2));

    std::filesystem::remove(path);
    time.advanceBy(HistoryKeeper::longestDelay);
    ASSERT_THAT(problems, SizeIs(2));
    EXPECT_FALSE(problems.back());
    EXPECT_EQ(rows(), 1U) << "what waited";
}

TEST_F(HistoryKeeperTest, FindsAFileThatIsThereAgainByItself) {
    watch();
    turnOnAndOff();
    std::filesystem::remove(path);
    std::filesystem::create_directory(path);
    turnOnAndOff();
    ASSERT_THAT(problems, SizeIs(1));
    EXPECT_EQ(problems.front()->kind, HistoryProblem::Kind::notOpened);
    std::filesystem::remove(path);
    time.advanceBy(HistoryKeeper::longestDelay);
    EXPECT_FALSE(*model->historyProblem);
    EXPECT_EQ(rows(), 1U);
}

TEST_F(HistoryKeeperTest, OfARecordingIsToldInLines) {
    watch();
    std::vector<std::string> lines;
    ReplayWriter writer([&](const std::string& line) { lines.push_back(line); });
    const ModelRecorder recorder(
        *model, [this] { return time.elapsed(); }, writer);
    lines.clear();
    model->historyProblem.set(
        HistoryProblem{.kind = HistoryProblem::Kind::notOpened, .reason = "r"});
    model->historyProblem.set(
        HistoryProblem{.kind = HistoryProblem::Kind::notWritten, .reason = "No space"});
    model->historyProblem.set(std::nullopt);
    EXPECT_THAT(
        lines, ::testing::ElementsAre(R"({"at":0.0,"event":"historyUnavailable"})",
                                      R"({"at":0.0,"event":"historyNotSaved","reason":"No space"})",
                                      R"({"at":0.0,"event":"historySaved"})"));
}

} // namespace
} // namespace velmoran
