#include "app/qtbase/UserHistory.h"

#include <QDir>
#include <QTemporaryDir>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

namespace velmoran {
namespace {

class UserHistoryTest : public testing::Test {
protected:
    std::filesystem::path path() const {
        return std::filesystem::path(folder_.path().toStdString()) / "deeper" / "Velmoran" /
               "History.store";
    }

    /// As a Velmoran beside whom this process is the only other one.
    std::shared_ptr<HistoryStore> open(WhenKept whenKept) const {
        return openUserHistory(
            whenKept, path(), [](const PeerProgram& program) { return program.pid == ::getpid(); });
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
    open(WhenKept::giveWay)->saveSession(session());
    EXPECT_EQ(open(WhenKept::giveWay)->sessionCount(), 1U);
}

TEST_F(UserHistoryTest, IsKeptByOneAtATime) {
    auto first = open(WhenKept::giveWay);
    EXPECT_THROW(open(WhenKept::giveWay), HistoryIsKept);
    const auto beside = open(WhenKept::share);
    first->saveSession(session());
    EXPECT_EQ(beside->sessionCount(), 1U);
    first.reset();
    EXPECT_NO_THROW(open(WhenKept::giveWay));
}

TEST_F(UserHistoryTest, IsSharedWithAStrangerWhoHoldsItsLock) {
    std::filesystem::create_directories(path().parent_path());
    const auto lock = path().string() + ".lock";
    const int stranger = ::open(lock.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_EQ(::flock(stranger, LOCK_EX | LOCK_NB), 0);
    const auto isNobody = [](const PeerProgram&) {
        return false;
    };
    const auto watch = openUserHistory(WhenKept::giveWay, path(), isNobody);
    watch->saveSession(session());
    EXPECT_EQ(watch->sessionCount(), 1U);
    EXPECT_THROW(open(WhenKept::giveWay), HistoryIsKept) << "to a Velmoran it gives way";
    ::close(stranger);
}

TEST_F(UserHistoryTest, IsStillKeptWhenItsFilesWereDeleted) {
    const auto first = open(WhenKept::giveWay);
    std::filesystem::remove_all(path().parent_path());
    first->saveSession(session());
    EXPECT_EQ(first->sessionCount(), 1U);
    EXPECT_THROW(open(WhenKept::giveWay), HistoryIsKept);
}

TEST_F(UserHistoryTest, GivesWayToWhoeverWasFasterAfterThat) {
    const auto watch = open(WhenKept::giveWay);
    const auto desktop = open(WhenKept::share);
    std::filesystem::remove_all(path().parent_path());
    auto third = open(WhenKept::giveWay);
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
    EXPECT_ANY_THROW(open(WhenKept::giveWay));
    // And nobody is kept out by the one who failed.
    std::filesystem::remove(path());
    EXPECT_NO_THROW(open(WhenKept::giveWay));
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
