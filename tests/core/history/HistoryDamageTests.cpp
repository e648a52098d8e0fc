// A history whose file another program writes over while the store is open. The database library
// goes on from what it has read, so nothing but a look at the file shows that what is written into
// the log will be lost.
#include "HistoryTools.h"

#include <gmock/gmock.h>
#include <random>

namespace velmoran {
namespace {

namespace fs = std::filesystem;

using ::testing::ElementsAre;

class HistoryDamage : public ::testing::Test {
protected:
    HistoryDamage() {
        for (unsigned number = 1; number <= 400; ++number) {
            first_.saveSession(endedSession(number, number, number + 1));
        }
        first_.history();
    }

    /// Writes into the file as it stands there, and leaves the rest.
    void overwrite(std::size_t at, const std::string& bytes) const {
        std::fstream stream(file_.path(), std::ios::binary | std::ios::in | std::ios::out);
        stream.seekp(static_cast<std::streamoff>(at));
        stream << bytes;
    }
    static std::string garbage(std::size_t size) {
        std::mt19937 random(20010101);
        std::string bytes(size, '\0');
        std::ranges::generate(bytes, [&] { return static_cast<char>(random()); });
        return bytes;
    }
    /// What has been written by now stands in the file, and its log is empty.
    void emptyLog() const { file_.connection().exec("PRAGMA wal_checkpoint(TRUNCATE)"); }

    /// Found by its id, even if other rows can't be read any more.
    static bool isStored(const fs::path& file, unsigned number) {
        SQLite::Database connection(file.string(), SQLite::OPEN_READWRITE, 1000);
        SQLite::Statement query(connection, "SELECT count(*) FROM SessionRecord WHERE id = ?");
        query.bind(1, idNumber(number).text());
        return query.executeStep() && query.getColumn(0).getInt() == 1;
    }

    void expectFailure(HistoryStore& store) {
        store.saveSession(sessionNumber(1000, 5000));
        ASSERT_TRUE(store.failure());
        EXPECT_FALSE(store.failure()->isLock);
        EXPECT_EQ(store.failure()->problem,
                  (HistoryProblem{.kind = HistoryProblem::Kind::notWritten,
                                  .reason = "database disk image is malformed"}));
        EXPECT_TRUE(store.isBehind());
        EXPECT_FALSE(store.catchUp());
        EXPECT_TRUE(store.failure());
        EXPECT_EQ(store.sessions(std::nullopt, 1), std::vector{sessionNumber(1000, 5000)})
            << "it is shown all the same";
    }

    const HistoryFile file_;
    HistoryStore first_ = file_.open();
};

TEST_F(HistoryDamage, OfACutFileIsSaid) {
    emptyLog();
    first_.history();
    const auto size = fs::file_size(file_.path());
    for (const auto left : {size - 4096, std::uintmax_t{4096}, std::uintmax_t{0}}) {
        fs::resize_file(file_.path(), left);
        expectFailure(first_);
        EXPECT_EQ(fs::file_size(file_.path()), left) << "the file was written to";
    }
}

TEST_F(HistoryDamage, OfTheFirstPageIsSaid) {
    for (const std::size_t at : {0U, 20U, 110U}) {
        emptyLog();
        const auto good = file_.bytes();
        overwrite(at, garbage(4096 - at));
        expectFailure(first_);
        overwrite(0, good);
        first_.catchUp();
        EXPECT_FALSE(first_.failure()) << "it is what it was again";
        EXPECT_FALSE(first_.isBehind());
    }
    EXPECT_EQ(file_.freshRead().size(), 401U);
}

TEST_F(HistoryDamage, IsMendedFromTheLog) {
    // Everything stands in the log still.
    const HistoryFile file;
    auto store = file.open();
    store.saveSession(endedSession(1, 100, 150));
    file.execute("CREATE TABLE Another (x)"); // so the first page does, too
    {
        std::fstream stream(file.path(), std::ios::binary | std::ios::in | std::ios::out);
        stream << garbage(4096);
    }
    store.saveSession(endedSession(2, 200, 250));
    EXPECT_FALSE(store.failure());
    const auto copy = file.path().string() + ".copy";
    fs::copy_file(file.path(), copy);
    EXPECT_THAT(HistoryStore(copy).sessions(), ElementsAre(endedSession(1, 100, 150)))
        << "the file alone can be opened again";
    EXPECT_THAT(file.freshRead(),
                ElementsAre(endedSession(2, 200, 250), endedSession(1, 100, 150)));
}

TEST_F(HistoryDamage, IsNoneWhereAnotherProgramTidiesUp) {
    first_.prune({390});
    file_.execute("VACUUM; PRAGMA wal_checkpoint(TRUNCATE)");
    file_.execute("CREATE TABLE Another (x); PRAGMA wal_checkpoint(TRUNCATE)");
    first_.saveSession(sessionNumber(1000, 5000));
    EXPECT_FALSE(first_.failure());
    EXPECT_EQ(file_.freshRead().size(), 12U);
    EXPECT_EQ(first_.sessions(), file_.freshRead());
}

TEST_F(HistoryDamage, EndsWithAnotherFile) {
    emptyLog();
    fs::resize_file(file_.path(), 0);
    expectFailure(first_);
    fs::remove(file_.path());
    fs::remove(file_.path().string() + "-wal");
    first_.catchUp();
    EXPECT_FALSE(first_.failure());
    EXPECT_THAT(file_.freshRead(), ElementsAre(sessionNumber(1000, 5000)));
}

TEST_F(HistoryDamage, OfTheLogCrashesNothingAndLeavesAFileThatOpens) {
    // The seed is fixed, so a failure comes again.
    std::mt19937 random(20010101);
    for (int round = 0; round < 60; ++round) {
        const HistoryFile file;
        const auto log = file.path().string() + "-wal";
        {
            auto store = file.open();
            for (unsigned number = 1; number <= 60; ++number) {
                store.saveSession(endedSession(number, number, number + 1));
                if (number == 50) {
                    std::fstream stream(log, std::ios::binary | std::ios::in | std::ios::out);
                    const auto size = fs::file_size(log);
                    for (int flips = 0; flips < 1 << (round % 6); ++flips) {
                        stream.seekp(static_cast<std::streamoff>(random() % size));
                        stream.put(static_cast<char>(random()));
                    }
                }
            }
            store.history();
            if (round % 2 == 0) { // as a kill leaves it
                fs::copy_file(file.path(), file.path().string() + ".killed");
                fs::copy_file(log, file.path().string() + ".killed-wal");
            }
        }
        const auto path = round % 2 == 0 ? fs::path(file.path().string() + ".killed") : file.path();
        try {
            HistoryStore again(path);
            again.closeOpenRecords();
            again.saveSession(sessionNumber(1000, 5000));
            again.sessions();
            EXPECT_TRUE(again.failure() || isStored(path, 1000)) << "round " << round;
        } catch (const std::runtime_error& error) {
            ADD_FAILURE() << "round " << round << ": " << error.what();
        }
    }
}

} // namespace
} // namespace velmoran
