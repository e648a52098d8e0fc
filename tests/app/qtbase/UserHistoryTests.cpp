#include "app/qtbase/UserHistory.h"

#include <QDir>
#include <QTemporaryDir>
#include <fstream>
#include <gtest/gtest.h>

namespace velmoran {
namespace {

class UserHistoryTest : public testing::Test {
protected:
    std::filesystem::path path() const {
        return std::filesystem::path(folder_.path().toStdString()) / "deeper" / "Velmoran" /
               "History.store";
    }

    QTemporaryDir folder_;
};

UsageSession session() {
    UsageSession result;
    result.id = Uuid::random();
    result.app.id = "a";
    return result;
}

TEST_F(UserHistoryTest, IsMadeWithItsFolderAndFoundAgain) {
    openUserHistory(WhenKept::giveWay, path())->saveSession(session());
    EXPECT_EQ(openUserHistory(WhenKept::giveWay, path())->sessionCount(), 1U);
}

TEST_F(UserHistoryTest, IsKeptByOneAtATime) {
    auto first = openUserHistory(WhenKept::giveWay, path());
    EXPECT_THROW(openUserHistory(WhenKept::giveWay, path()), HistoryIsKept);
    const auto beside = openUserHistory(WhenKept::share, path());
    first->saveSession(session());
    EXPECT_EQ(beside->sessionCount(), 1U);
    first.reset();
    EXPECT_NO_THROW(openUserHistory(WhenKept::giveWay, path()));
}

TEST_F(UserHistoryTest, IsStillKeptWhenItsFilesWereDeleted) {
    const auto first = openUserHistory(WhenKept::giveWay, path());
    std::filesystem::remove_all(path().parent_path());
    first->saveSession(session());
    EXPECT_EQ(first->sessionCount(), 1U);
    EXPECT_THROW(openUserHistory(WhenKept::giveWay, path()), HistoryIsKept);
}

TEST_F(UserHistoryTest, GivesWayToWhoeverWasFasterAfterThat) {
    const auto watch = openUserHistory(WhenKept::giveWay, path());
    const auto desktop = openUserHistory(WhenKept::share, path());
    std::filesystem::remove_all(path().parent_path());
    auto third = openUserHistory(WhenKept::giveWay, path());
    watch->saveSession(session());
    EXPECT_EQ(third->sessionCount(), 0U);
    desktop->saveSession(session());
    EXPECT_EQ(third->sessionCount(), 1U);
    third.reset();
    watch->saveSession(session());
    EXPECT_EQ(desktop->sessionCount(), 3U);
}

TEST_F(UserHistoryTest, IsLeftAloneWhenItIsNoDatabase) {
    std::filesystem::create_directories(path().parent_path());
    std::ofstream(path()) << "something else";
    EXPECT_ANY_THROW(openUserHistory(WhenKept::giveWay, path()));
    // And nobody is kept out by the one who failed.
    std::filesystem::remove(path());
    EXPECT_NO_THROW(openUserHistory(WhenKept::giveWay, path()));
}

TEST_F(UserHistoryTest, CannotBeOpenedWhereNoFolderCanBe) {
    EXPECT_ANY_THROW(openUserHistory(WhenKept::giveWay, "/proc/nowhere/History.store"));
}

TEST_F(UserHistoryTest, StandsInTheUsersFolderForData) {
    const auto before = qgetenv("XDG_DATA_HOME");
    qputenv("XDG_DATA_HOME", folder_.path().toUtf8());
    EXPECT_EQ(userHistoryPath(),
              std::filesystem::path(folder_.path().toStdString()) / "Velmoran" / "History.store");
    before.isNull() ? qunsetenv("XDG_DATA_HOME") : qputenv("XDG_DATA_HOME", before);
}

TEST_F(UserHistoryTest, StandsInNoFolderThatDependsOnWhereTheProgramIsStarted) {
    const auto before = qgetenv("XDG_DATA_HOME");
    qputenv("XDG_DATA_HOME", "data/share");
    EXPECT_EQ(userHistoryPath(), std::filesystem::path(QDir::homePath().toStdString()) /
                                     ".local/share/Velmoran/History.store");
    before.isNull() ? qunsetenv("XDG_DATA_HOME") : qputenv("XDG_DATA_HOME", before);
}

} // namespace
} // namespace velmoran
