// What becomes a history file and what must never be touched.
#include "HistoryTools.h"
#include "support/Rights.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace velmoran {
namespace {

namespace fs = std::filesystem;

std::string bytesOf(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

unsigned permissionsOf(const fs::path& path) {
    return static_cast<unsigned>(fs::status(path).permissions());
}

/// Tries to open and expects a failure that leaves the file byte for byte.
void expectRefused(const fs::path& file, const char* what) {
    const auto before = bytesOf(file);
    EXPECT_THROW(HistoryStore{file}, std::runtime_error) << what;
    EXPECT_EQ(bytesOf(file), before) << what;
    EXPECT_FALSE(fs::exists(file.string() + "-journal")) << what;
}

TEST(HistoryOpening, MakesFoldersAndFilesForTheirOwnerOnly) {
    const TemporaryDirectory folder;
    const fs::path file = folder.path("a/b/Velmoran/History.store");
    const auto above = permissionsOf(folder.path());
    const auto mask = umask(0);
    {
        HistoryStore store{file};
        store.saveSession(sessionNumber(1, 1));
        for (const auto* made : {"a", "a/b", "a/b/Velmoran"}) {
            EXPECT_EQ(permissionsOf(folder.path(made)), 0700U) << made;
        }
        for (const auto* suffix : {"", "-wal", "-shm"}) {
            EXPECT_EQ(permissionsOf(file.string() + suffix), 0600U) << suffix;
        }
    }
    umask(mask);
    EXPECT_EQ(permissionsOf(folder.path()), above);
}

TEST(HistoryOpening, LeavesThePermissionsOfWhatIsThere) {
    const TemporaryDirectory folder;
    fs::create_directory(folder.path("there"));
    fs::permissions(folder.path("there"), fs::perms(0755));
    const fs::path file = folder.path("there/History.store");
    HistoryStore{file}.saveSession(sessionNumber(1, 1));
    fs::permissions(file, fs::perms(0640));
    HistoryStore{file}.saveSession(sessionNumber(2, 2));
    EXPECT_EQ(permissionsOf(folder.path("there")), 0755U);
    EXPECT_EQ(permissionsOf(file), 0640U);
}

TEST(HistoryOpening, BeginsInAnEmptyFile) {
    const TemporaryDirectory folder;
    const auto file = folder.write("History.store", "");
    HistoryStore{file}.saveSession(sessionNumber(1, 1));
    EXPECT_EQ(HistoryStore{file}.sessions().size(), 1U);
}

TEST(HistoryOpening, KeepsNothingWithoutAFile) {
    {
        HistoryStore store{std::nullopt};
        store.saveSession(sessionNumber(1, 1));
        EXPECT_EQ(store.sessions().size(), 1U);
    }
    EXPECT_TRUE(HistoryStore{std::nullopt}.sessions().empty());
}

TEST(HistoryOpening, RefusesWhatIsNoDatabase) {
    const TemporaryDirectory folder;
    expectRefused(folder.write("short", "x"), "one byte");
    expectRefused(folder.write("text", std::string(5000, 'x')), "text");
    expectRefused(folder.write("zeros", std::string(8192, '\0')), "zeros");
    expectRefused(folder.write("magic", std::string("SQLite format 3\0", 16)), "the magic alone");
    expectRefused(
        folder.write("magic2", std::string("SQLite format 3\0", 16) + std::string(4080, '\xAA')),
        "the magic and garbage");
    auto marked = std::string("SQLite format 3\0", 16) + std::string(4080, '\xAA');
    marked.replace(68, 4, "Vlmn");
    expectRefused(folder.write("marked", marked), "our mark and garbage");
}

TEST(HistoryOpening, RefusesAFolderInThePlaceOfTheFile) {
    const TemporaryDirectory folder;
    fs::create_directories(folder.path("History.store/inside"));
    EXPECT_THROW(HistoryStore{folder.path("History.store")}, std::runtime_error);
    EXPECT_TRUE(fs::exists(folder.path("History.store/inside")));
}

TEST(HistoryOpening, FailsWhereTheFolderCannotBeMade) {
    const TemporaryDirectory folder;
    const auto obstacle = folder.write("obstacle", "a file");
    EXPECT_THROW(HistoryStore{obstacle + "/Velmoran/History.store"}, std::runtime_error);
    EXPECT_EQ(bytesOf(obstacle), "a file");
    EXPECT_THROW(HistoryStore{"/proc/velmoran/History.store"}, std::runtime_error);
}

TEST(HistoryOpening, FailsWhereTheFileMayNotBeWritten) {
    const TemporaryDirectory folder;
    const fs::path file = folder.path("History.store");
    HistoryStore{file}.saveSession(sessionNumber(1, 1));
    fs::permissions(file, fs::perms(0444));
    const auto before = bytesOf(file);
    {
        const support::RightsLaidDown person; // root's would open everything
        ASSERT_TRUE(person.isDone());
        EXPECT_THROW(HistoryStore{file}, std::runtime_error);
    }
    EXPECT_EQ(bytesOf(file), before);
    fs::permissions(file, fs::perms(0600));
    EXPECT_EQ(HistoryStore{file}.sessions().size(), 1U); // and it is still good
}

TEST(HistoryOpening, FailsWhereTheFileMayNotBeMadeOrRead) {
    const TemporaryDirectory folder;
    const auto secret = folder.write("secret", "");
    fs::permissions(secret, fs::perms(0000));
    fs::permissions(folder.path(), fs::perms(0500));
    {
        const support::RightsLaidDown person;
        ASSERT_TRUE(person.isDone());
        EXPECT_THROW(HistoryStore{secret}, std::runtime_error);
        EXPECT_THROW(HistoryStore{folder.path("new")}, std::runtime_error);
    }
    EXPECT_EQ(fs::file_size(secret), 0U);
    EXPECT_FALSE(fs::exists(folder.path("new")));
    fs::permissions(folder.path(), fs::perms(0700)); // so that it can be removed
}

TEST(HistoryOpening, RefusesADatabaseOfAnotherProgram) {
    const std::vector<std::string> schemas = {
        "CREATE TABLE Notes (text)",
        "CREATE TABLE SessionRecord (id, deviceRaw)",
        "CREATE TABLE SessionRecord (id, deviceRaw, appID, appName, bundleID, appPath, teamID, "
        "start, end, outcomeRaw, levelRaw, connectionsData, observedFromStart)",
        "CREATE TABLE SessionRecord (deviceRaw, id, appID, appName, bundleID, appPath, teamID, "
        "start, end, outcomeRaw, levelRaw, connectionsData, observedFromStart); "
        "CREATE TABLE AwayReportRecord (id, start, end, payload)",
        "PRAGMA application_id = 7",
        "PRAGMA user_version = 3",
    };
    for (const auto& schema : schemas) {
        const TemporaryDirectory folder;
        const fs::path file = folder.path("History.store");
        SQLite::Database{file.string(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE}.exec(schema);
        expectRefused(file, schema.c_str());
        EXPECT_FALSE(fs::exists(file.string() + "-wal")) << schema;
    }
}

TEST(HistoryOpening, LeavesTheUnfinishedWorkOfAnotherProgramAlone) {
    // A copy of a database in use is what a killed program leaves: content in the side file.
    const TemporaryDirectory folder;
    const fs::path live = folder.path("live");
    const fs::path file = folder.path("History.store");
    SQLite::Database other{live.string(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE};
    other.exec(
        "PRAGMA journal_mode = WAL; CREATE TABLE Notes (text); INSERT INTO Notes VALUES (1)");
    fs::copy_file(live, file);
    fs::copy_file(live.string() + "-wal", file.string() + "-wal");
    const auto log = bytesOf(file.string() + "-wal");
    ASSERT_FALSE(log.empty());
    expectRefused(file, "with a log");
    EXPECT_EQ(bytesOf(file.string() + "-wal"), log);
}

TEST(HistoryOpening, TakesAnUnmarkedDatabaseWithTheRightTables) {
    const TemporaryDirectory folder;
    const fs::path file = folder.path("History.store");
    {
        SQLite::Database other{file.string(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE};
        other.exec("CREATE TABLE SessionRecord (id, deviceRaw, appID, appName, bundleID, appPath, "
                   "teamID, start, end, outcomeRaw, levelRaw, connectionsData, observedFromStart); "
                   "CREATE TABLE AwayReportRecord (id, start, end, payload); "
                   "INSERT INTO SessionRecord VALUES ('00000001-0000-4000-8000-000000000000', "
                   "'camera', 'org.example.app1', 'App 1', NULL, NULL, NULL, 5, NULL, NULL, NULL, "
                   "NULL, 1)");
    }
    HistoryStore store{file};
    EXPECT_EQ(store.sessions(), std::vector<UsageSession>{sessionNumber(1, 5)});
    store.saveSession(endedSession(1, 5, 6));
    EXPECT_EQ(store.sessionCount(), 1U);
}

TEST(HistoryOpening, RefusesTheFileOfALaterVersion) {
    const HistoryFile file;
    file.open();
    file.execute("PRAGMA user_version = 20000; PRAGMA wal_checkpoint(TRUNCATE)");
    expectRefused(file.path(), "later version");
}

TEST(HistoryOpening, RemovesAFileThatItMadeInVain) {
    const TemporaryDirectory folder;
    const fs::path file = folder.path("History.store");
    fs::create_directory(file.string() + "-journal"); // the database library stumbles over this
    EXPECT_THROW(HistoryStore{file}, std::runtime_error);
    EXPECT_FALSE(fs::exists(file));
}

TEST(HistoryOpening, TakesAPathThatLooksLikeADatabaseInMemory) {
    const TemporaryDirectory folder;
    const auto before = fs::current_path();
    fs::current_path(folder.path());
    HistoryStore{":memory:"}.saveSession(sessionNumber(1, 1));
    EXPECT_TRUE(fs::exists(":memory:"));
    fs::current_path(before);
}

} // namespace
} // namespace velmoran
