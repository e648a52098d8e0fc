#include "app/bus/BusSearch.h"

#include "support/TemporaryDirectory.h"
#include "support/Waiting.h"
#include "system/scripted/ScriptedTime.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

namespace velmoran {
namespace {

class Search : public ::testing::Test {
protected:
    /// Looks made until nothing is left to do before the next regular one.
    int attemptsSoon() {
        const int before = attempts_;
        time_.advanceBy(10.0);
        return attempts_ - before;
    }
    bool attemptsAfterEvents() {
        return support::waitUntil([&] {
            QCoreApplication::processEvents();
            return attemptsSoon() > 0;
        });
    }
    BusSearch search(const std::string& address, Seconds interval = 1e9) {
        return BusSearch(address, time_, interval, [this] { ++attempts_; });
    }

    TemporaryDirectory folder_;
    ScriptedTime time_;
    int attempts_ = 0;

private:
    int argumentCount_ = 1;
    char name_[5] = "test";
    char* arguments_[2] = {name_, nullptr};
    QCoreApplication application_{argumentCount_, arguments_};
};

TEST_F(Search, LooksAFewTimesAndThenOnlyWhenTheSocketComes) {
    const auto looking = search("unix:path=" + folder_.path("bus"));
    EXPECT_EQ(attemptsSoon(), 3);
    EXPECT_EQ(attemptsSoon(), 0);
    folder_.write("another", "");
    folder_.write("bus", "");
    EXPECT_TRUE(attemptsAfterEvents());
    EXPECT_EQ(attemptsSoon(), 0);
    folder_.write("elsewhere", "");
    std::filesystem::rename(folder_.path("elsewhere"), folder_.path("bus"));
    EXPECT_TRUE(attemptsAfterEvents());
}

TEST_F(Search, LooksOnceInEachIntervalOtherwise) {
    const auto looking = search("tcp:host=nowhere", 30.0);
    attemptsSoon();
    time_.advanceBy(300.0);
    EXPECT_NEAR(attempts_, 3 + 10, 1);
}

TEST_F(Search, WatchesAFolderThatComesLater) {
    const auto looking = search("unix:path=" + folder_.path("later/bus"), 1e6);
    std::filesystem::create_directory(folder_.path("later"));
    time_.advanceBy(1e6);
    folder_.write("later/bus", "");
    EXPECT_TRUE(attemptsAfterEvents());
}

TEST_F(Search, MayBeDroppedWhereItLooks) {
    std::unique_ptr<BusSearch> looking;
    looking = std::make_unique<BusSearch>("unix:path=" + folder_.path("bus"), time_, 30.0, [&] {
        ++attempts_;
        looking.reset();
    });
    EXPECT_EQ(attemptsSoon(), 1);
    time_.advanceBy(100.0);
    EXPECT_EQ(attempts_, 1);
}

} // namespace
} // namespace velmoran
