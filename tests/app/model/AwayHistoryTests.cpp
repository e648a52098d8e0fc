// The away watch's reports in the history, and which of them are listed.
#include "support/TemporaryDirectory.h"
#include "tests/app/model/AwayFixture.h"

#include <SQLiteCpp/Database.h>
#include <filesystem>
#include <gmock/gmock.h>

namespace velmoran {
namespace {

using testing::appRef;
using testing::AwayFixture;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Signal = AwaySignal::Kind;

struct AwayHistoryTest : AwayFixture {};

TEST_F(AwayHistoryTest, ListsTheRunningReportThoughNothingHasHappened) {
    launchWatching();
    lock();
    receive(microphone({appRef("Zoom")})); // brings the lists up to date
    ASSERT_THAT(listed(), SizeIs(1));
    EXPECT_EQ(listed()[0].end, std::nullopt);
    unlock();
    lockAt(100);
    model->pruneHistory();
    ASSERT_THAT(listed(), SizeIs(2));
    EXPECT_TRUE(listed()[0].isEmpty());
    EXPECT_EQ(listed()[0].start, beginning + 100) << "newest first";
}

TEST_F(AwayHistoryTest, TellsOfAnotherListAndOfNoEqualOne) {
    launchWatching();
    int told = 0;
    subscriptions.push_back(model->awayReports.subscribe([&](const auto&) { ++told; }));
    lock();
    signal(Signal::lidClosed);
    unlock();
    EXPECT_EQ(told, 1);
    receive(camera({appRef("Zoom")}));
    receive({});
    EXPECT_EQ(told, 1);
}

TEST_F(AwayHistoryTest, KeepsUntilTheCrashWhatWasSeenAndListsItNot) {
    launchWatching();
    lock();
    signalAt(5, Signal::lidClosed);
    signalAt(9, Signal::powerRemoved);
    launch(); // over the same history, as after a kill
    EXPECT_FALSE(*model->awayWatchOn);
    ASSERT_THAT(stored(), SizeIs(1));
    EXPECT_THAT(stored()[0].events, SizeIs(2));
    EXPECT_EQ(stored()[0].end, std::nullopt);
    EXPECT_THAT(listed(), IsEmpty());
    unlock();
    EXPECT_THAT(shown.reports, IsEmpty());
    EXPECT_THAT(stored(), SizeIs(1));

    model->settings.retentionDays.set(30);
    time.advanceBy(31 * 86400.0);
    EXPECT_THAT(stored(), IsEmpty()) << "pruned with the rest";
}

TEST_F(AwayHistoryTest, GoesOnAfterTheHistoryIsDeleted) {
    launchWatching();
    lock();
    signal(Signal::lidClosed);
    model->deleteHistory();
    EXPECT_THAT(stored(), IsEmpty());
    signalAt(20, Signal::powerRemoved);
    EXPECT_THAT(stored().at(0).events, SizeIs(2));
    unlock();
    EXPECT_THAT(listed(), SizeIs(1));
}

TEST_F(AwayHistoryTest, ShowsAReportThatCannotBeKept) {
    historyFails = true;
    launchWatching();
    lock();
    receive(camera({appRef("Zoom")}));
    EXPECT_THAT(titles(), IsEmpty()) << "no history, no warning";
    signal(Signal::lidClosed);
    unlock();
    ASSERT_THAT(shown.reports, SizeIs(1));
    EXPECT_THAT(titlesOf(shown.reports[0].events), ElementsAre("Lid closed"));
    EXPECT_THAT(listed(), IsEmpty());
}

// MARK: - A history that can't be written

struct AwayHistoryFile : AwayFixture {
    const TemporaryDirectory folder;
    const std::filesystem::path path = folder.path("Velmoran/History.store");

    void SetUp() override {
        AwayFixture::SetUp();
        store = std::make_shared<HistoryStore>(path);
    }
    std::unique_ptr<SQLite::Database> lockFile() const {
        auto connection =
            std::make_unique<SQLite::Database>(path.string(), SQLite::OPEN_READWRITE, 1000);
        connection->exec("BEGIN IMMEDIATE");
        return connection;
    }
    std::vector<AwayReport> inFile() const { return HistoryStore(path).awayReports<AwayReport>(); }
};

TEST_F(AwayHistoryFile, IsReadByAnotherProcessAsSoonAsSomethingHasHappened) {
    launchWatching();
    lock();
    signal(Signal::lidClosed);
    EXPECT_THAT(inFile().at(0).events, SizeIs(1));
}

TEST_F(AwayHistoryFile, WritesTheReportOnceTheFileCanBeWritten) {
    launchWatching();
    lock();
    auto holder = lockFile();
    signalAt(5, Signal::lidClosed);
    signalAt(9, Signal::powerRemoved);
    EXPECT_TRUE(model->historyIsBehind());
    unlockAt(10);
    EXPECT_THAT(shown.reports, SizeIs(1));
    EXPECT_THAT(listed(), IsEmpty());
    time.advanceBy(10);
    EXPECT_TRUE(inFile().at(0).isEmpty());
    ASSERT_TRUE(*model->historyProblem);

    holder.reset();
    time.advanceBy(HistoryKeeper::longestDelay);
    EXPECT_EQ(inFile(), shown.reports);
    EXPECT_EQ(listed(), shown.reports);
    EXPECT_FALSE(model->historyIsBehind());
    EXPECT_FALSE(*model->historyProblem);
}

TEST_F(AwayHistoryFile, DeletesAnEmptyReportOnceTheFileCanBeWritten) {
    launchWatching();
    lock();
    auto holder = lockFile();
    unlockAt(10);
    EXPECT_THAT(inFile(), SizeIs(1));
    holder.reset();
    time.advanceBy(HistoryKeeper::longestDelay);
    EXPECT_THAT(inFile(), IsEmpty());
    EXPECT_FALSE(model->historyIsBehind());
}

TEST_F(AwayHistoryFile, WritesNoReportThatWasDeletedMeanwhile) {
    launchWatching();
    lock();
    auto holder = lockFile();
    signalAt(5, Signal::lidClosed);
    unlockAt(10);
    model->deleteHistory();
    holder.reset();
    time.advanceBy(10);
    EXPECT_THAT(inFile(), IsEmpty());
    EXPECT_THAT(listed(), IsEmpty());
}

TEST_F(AwayHistoryFile, KeepsNoMoreThanTheNewestReportsWaiting) {
    launchWatching();
    auto holder = lockFile();
    constexpr std::size_t watches = HistoryKeeper::mostWaitingReports + 5;
    for (std::size_t watch = 1; watch <= watches; ++watch) {
        lockAt(100.0 * watch);
        signal(Signal::lidClosed);
        unlock();
    }
    holder.reset();
    time.advanceBy(HistoryKeeper::longestDelay);
    EXPECT_THAT(shown.reports, SizeIs(watches));
    ASSERT_THAT(inFile(), SizeIs(HistoryKeeper::mostWaitingReports));
    EXPECT_EQ(inFile().front(), shown.reports.back());
}

TEST_F(AwayHistoryFile, StoresTheRunningReportAgainWhereTheFileHasGone) {
    launchWatching();
    lock();
    signal(Signal::lidClosed);
    std::filesystem::remove(path);
    model->pruneHistory(); // finds out, and opens another one
    time.runPosted();
    ASSERT_THAT(inFile(), SizeIs(1));
    EXPECT_THAT(titlesOf(inFile()[0].events), ElementsAre("Lid closed"));
    EXPECT_EQ(inFile()[0].start, beginning);

    signal(Signal::powerRemoved);
    unlock();
    std::filesystem::remove(path);
    model->pruneHistory();
    time.runPosted();
    EXPECT_THAT(inFile(), IsEmpty()) << "nothing is going on any more";
}

TEST_F(AwayHistoryFile, LeavesAReportAloneThatItCannotRead) {
    store->saveAwayPayload(Uuid::random(), beginning, beginning, "{\"of\": \"a newer version\"}");
    launchWatching();
    lock();
    signal(Signal::lidClosed);
    unlock();
    EXPECT_THAT(listed(), SizeIs(1));
    EXPECT_THAT(*store->awayPayloads(), SizeIs(2));
}

} // namespace
} // namespace velmoran
