// The reader beside the store, and on files that no store has open.
#include "core/history/HistoryReader.h"

#include "HistoryTools.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <sqlite3.h>
#include <sys/stat.h>

namespace velmoran {
namespace {

class HistoryReaderTest : public testing::Test {
protected:
    std::filesystem::path path() const { return folder_.path("History.store"); }

    static std::vector<UsageSession> all(HistoryReader& reader) {
        std::vector<UsageSession> sessions;
        reader.each([&](const UsageSession& session) {
            sessions.push_back(session);
            return true;
        });
        return sessions;
    }
    std::vector<UsageSession> all() const {
        HistoryReader reader(path());
        return all(reader);
    }
    std::string refusal() const {
        try {
            all();
        } catch (const std::exception& error) {
            return error.what();
        }
        return "none";
    }

    /// Each file with what it holds and when it was written.
    std::map<std::string, std::string> files() const {
        std::map<std::string, std::string> result;
        for (const auto& entry : std::filesystem::directory_iterator(folder_.path())) {
            std::ifstream stream(entry.path(), std::ios::binary);
            struct stat seen {};
            ::stat(entry.path().c_str(), &seen);
            result[entry.path().filename()] =
                std::string(std::istreambuf_iterator<char>(stream), {}) +
                std::to_string(seen.st_mtim.tv_sec) + "." + std::to_string(seen.st_mtim.tv_nsec);
        }
        return result;
    }

    void store(const std::vector<UsageSession>& sessions) const {
        HistoryStore store(path());
        for (const auto& session : sessions) {
            store.saveSession(session);
        }
    }

    TemporaryDirectory folder_;
};

TEST_F(HistoryReaderTest, ReadsTheOldestFirst) {
    store({endedSession(1, 30, 40), fullSession(2, 10), sessionNumber(3, 20)});
    const std::vector<UsageSession> expected = {fullSession(2, 10), sessionNumber(3, 20),
                                                endedSession(1, 30, 40)};
    EXPECT_EQ(all(), expected);
}

TEST_F(HistoryReaderTest, MakesAndWritesNoFileOfAStoreThatIsClosed) {
    store({fullSession(1, 10)});
    const auto before = files();
    ASSERT_EQ(before.size(), 1U);
    EXPECT_EQ(all().size(), 1U);
    EXPECT_EQ(files(), before);
}

TEST_F(HistoryReaderTest, ReadsBesideAnOpenStoreAndWritesNothing) {
    HistoryStore open(path());
    open.saveSession(fullSession(1, 10));
    // Within one process the library shares the log's index; velmoranctl's tests look at that.
    const auto withoutIndex = [this] {
        auto result = files();
        result.erase("History.store-shm");
        return result;
    };
    const auto before = withoutIndex();
    ASSERT_TRUE(before.contains("History.store-wal"));
    EXPECT_EQ(all().size(), 1U) << "what stands in the log alone";
    EXPECT_EQ(withoutIndex(), before);
    open.saveSession(fullSession(2, 20));
    EXPECT_EQ(all().size(), 2U);
    EXPECT_FALSE(open.failure());
}

TEST_F(HistoryReaderTest, ReadsTheLogThatAKilledProgramLeft) {
    {
        HistoryStore open(path());
        open.saveSession(fullSession(1, 10));
        std::filesystem::create_directories(folder_.path("killed"));
        for (const auto* name : {"History.store", "History.store-wal", "History.store-shm"}) {
            std::filesystem::copy_file(folder_.path(name), folder_.path("killed/") + name);
        }
    }
    const auto file = [&](const std::string& name) {
        return folder_.path("killed/History.store" + name);
    };
    const auto log = std::filesystem::last_write_time(file("-wal"));
    HistoryReader reader(file(""));
    EXPECT_EQ(all(reader).size(), 1U);
    EXPECT_EQ(std::filesystem::last_write_time(file("-wal")), log);
    std::filesystem::remove(file("-shm"));
    try {
        HistoryReader(file(""));
        FAIL() << "its index can't be made without writing";
    } catch (const std::exception& error) {
        EXPECT_NE(std::string(error.what()).find("-shm"), std::string::npos);
    }
    EXPECT_FALSE(std::filesystem::exists(file("-shm")));
}

TEST_F(HistoryReaderTest, LetsTheStoreClearUpBehindAVisitor) {
    HistoryStore open(path());
    for (unsigned i = 0; i < 3 * HistoryReader::batch; ++i) {
        open.saveSession(endedSession(i, i, i + 1));
    }
    HistoryReader reader(path());
    std::vector<Timestamp> starts;
    reader.each([&](const UsageSession& session) {
        starts.push_back(session.start);
        if (starts.size() == 10) {
            open.prune({2.5 * HistoryReader::batch});
            EXPECT_EQ(std::filesystem::file_size(folder_.path("History.store-wal")), 0U)
                << "what was deleted is gone from the disk though somebody reads";
        }
        return true;
    });
    // What was read before, and what is left.
    EXPECT_EQ(starts.size(), 1.5 * HistoryReader::batch);
    EXPECT_EQ(starts.back(), Timestamp{3.0 * HistoryReader::batch - 1});
}

TEST_F(HistoryReaderTest, FollowsAStoreThatBeginsToWrite) {
    std::vector<UsageSession> sessions;
    for (unsigned i = 0; i < HistoryReader::batch + 10; ++i) {
        sessions.push_back(endedSession(i, i, i + 1));
    }
    store(sessions);
    HistoryReader reader(path());
    std::unique_ptr<HistoryStore> open;
    std::size_t seen = 0;
    reader.each([&](const UsageSession&) {
        if (++seen == 5) {
            open = std::make_unique<HistoryStore>(path());
            open->saveSession(endedSession(1'000'000, 1e9, 2e9));
        }
        return true;
    });
    EXPECT_EQ(seen, sessions.size() + 1);
}

TEST_F(HistoryReaderTest, ReadsManyThatBeganAtOnceOrAtNoTimeAtAll) {
    store({});
    {
        SQLite::Database other(path().string(), SQLite::OPEN_READWRITE);
        const auto insert = [&](unsigned number, const std::string& start) {
            other.exec(
                fmt::format("INSERT INTO SessionRecord (id, deviceRaw, appID, appName, start, "
                            "observedFromStart) VALUES ('{}', 'camera', 'a', 'A', {}, 1)",
                            idNumber(number).text(), start));
        };
        SQLite::Statement(other, "BEGIN").exec();
        for (unsigned i = 0; i < 2 * HistoryReader::batch + 1; ++i) {
            insert(i, "7.5");
        }
        // Numbers that a double can't tell apart, the ends of all numbers, and what is no number.
        for (unsigned i = 0; i < 2 * HistoryReader::batch; ++i) {
            insert(10'000 + i, "9007199254740993");
        }
        insert(20'000, "9e999");
        insert(20'001, "-9e999");
        insert(20'002, "'soon'");
        insert(20'003, "x'00'");
        SQLite::Statement(other, "COMMIT").exec();
    }
    EXPECT_EQ(all().size(), 4U * HistoryReader::batch + 3);
}

TEST_F(HistoryReaderTest, LeavesOutRowsThatCannotBeRead) {
    store({fullSession(1, 10), fullSession(2, 20)});
    SQLite::Database(path().string(), SQLite::OPEN_READWRITE)
        .exec("UPDATE SessionRecord SET deviceRaw = 'keyboard' WHERE start = 10");
    EXPECT_EQ(all(), std::vector{fullSession(2, 20)});
}

TEST_F(HistoryReaderTest, SaysWhatIsInTheWay) {
    EXPECT_NE(refusal().find("No such file"), std::string::npos) << refusal();
    EXPECT_TRUE(files().empty());
    folder_.write("History.store", "not a database, but long enough to be one if only it were that "
                                   "what its first bytes say, which it isn't");
    EXPECT_NE(refusal().find("not a database"), std::string::npos) << refusal();
    std::filesystem::remove(path());
    SQLite::Database(path().string(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE)
        .exec("CREATE TABLE t (a)");
    EXPECT_NE(refusal().find("another program"), std::string::npos) << refusal();
    std::filesystem::remove(path());
    store({fullSession(1, 10)});
    SQLite::Database(path().string(), SQLite::OPEN_READWRITE).exec("PRAGMA user_version = 20000");
    EXPECT_NE(refusal().find("later version"), std::string::npos) << refusal();
    std::filesystem::remove(path());
    std::filesystem::create_directory(path());
    EXPECT_NE(refusal().find("not a file"), std::string::npos) << refusal();
}

TEST_F(HistoryReaderTest, SaysThatTheFileIsLocked) {
    HistoryStore open(path());
    open.saveSession(fullSession(1, 10));
    SQLite::Database other(path().string(), SQLite::OPEN_READWRITE);
    other.exec("PRAGMA locking_mode = EXCLUSIVE");
    EXPECT_EQ(all().size(), 1U) << "it has only said that it wants to be alone";
    std::filesystem::remove(path());
    std::filesystem::remove(folder_.path("History.store-wal"));
    std::filesystem::remove(folder_.path("History.store-shm"));
    store({fullSession(1, 10)});
    SQLite::Database alone(path().string(), SQLite::OPEN_READWRITE);
    alone.exec("PRAGMA journal_mode = DELETE; BEGIN EXCLUSIVE");
    EXPECT_NE(refusal().find("locked"), std::string::npos) << refusal();
}

TEST_F(HistoryReaderTest, TakesAnEmptyFileForAHistoryOfNothing) {
    folder_.write("History.store", "");
    EXPECT_TRUE(all().empty());
    EXPECT_EQ(std::filesystem::file_size(path()), 0U);
}

TEST_F(HistoryReaderTest, ReadsFromAFolderOfAnyName) {
    const auto odd = folder_.path("a ?mode=rw#100% ü");
    std::filesystem::create_directory(odd);
    HistoryStore(odd + "/History.store").saveSession(fullSession(1, 10));
    HistoryReader reader(odd + "/History.store");
    EXPECT_EQ(all(reader).size(), 1U);
}

TEST_F(HistoryReaderTest, GivesAwayReportsAsTheyStandTheOldestFirst) {
    std::vector<std::string> expected;
    {
        HistoryStore store(path());
        // More than are read at a time, some of one start.
        for (int index = 0; index < 2 * HistoryReader::reportBatch + 1; ++index) {
            const auto payload = "{\"number\":" + std::to_string(index) + "}";
            store.saveAwayPayload(idNumber(index + 1), {100.0 + index / 3}, {}, payload);
            expected.push_back(payload);
        }
        store.saveAwayPayload(idNumber(999), {1e6}, {}, "no JSON");
        expected.emplace_back("no JSON");
    }
    const auto before = files();
    HistoryReader reader(path());
    std::vector<std::string> found;
    reader.eachAwayReport([&](const std::string& payload) {
        found.push_back(payload);
        return true;
    });
    EXPECT_EQ(found, expected);
    found.clear();
    reader.eachAwayReport([&](const std::string& payload) {
        found.push_back(payload);
        return found.size() < 3;
    });
    EXPECT_EQ(found.size(), 3U) << "the visitor wanted no more";
    EXPECT_TRUE(all(reader).empty());
    EXPECT_EQ(files(), before);
}

TEST_F(HistoryReaderTest, ReadsTheAwayReportThatAnOpenStoreHasJustSaved) {
    HistoryStore open(path());
    HistoryReader reader(path());
    open.saveAwayPayload(idNumber(1), {100}, {}, "{}");
    int found = 0;
    reader.eachAwayReport([&](const std::string&) { return ++found > 0; });
    EXPECT_EQ(found, 1);
}

} // namespace
} // namespace velmoran
