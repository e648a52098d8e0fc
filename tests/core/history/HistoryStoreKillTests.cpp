// A program that is killed at any moment leaves a history that opens and holds what it was told.
#include "HistoryTools.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <map>
#include <poll.h>
#include <random>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace velmoran {
namespace {

/// The writer of sessions, from its start to its death, and all that it said.
class Writer {
public:
    Writer(const std::filesystem::path& file, std::uint64_t seed) {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0) {
            throw std::runtime_error("no pipe");
        }
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
        std::string program = VELMORAN_HISTORY_WRITER;
        std::string path = file;
        std::string number = std::to_string(seed);
        char* arguments[] = {program.data(), path.data(), number.data(), nullptr};
        const int error =
            posix_spawn(&process_, program.c_str(), &actions, nullptr, arguments, environ);
        posix_spawn_file_actions_destroy(&actions);
        close(ends[1]);
        output_ = ends[0];
        if (error != 0) {
            throw std::runtime_error("the writer can't be started");
        }
    }
    ~Writer() {
        kill();
        close(output_);
    }
    Writer(const Writer&) = delete;
    Writer& operator=(const Writer&) = delete;

    /// Reads on until that many saves were acknowledged. False if that takes far too long.
    bool awaitSaves(int count) {
        while (saves_ < count) {
            pollfd waiting{output_, POLLIN, 0};
            if (poll(&waiting, 1, 60000) <= 0 || !readSome()) {
                return false;
            }
        }
        return true;
    }

    /// Kills it and reads what it still had said; the signal that ended it.
    int kill() {
        if (process_ <= 0) {
            return 0;
        }
        ::kill(process_, SIGKILL);
        while (readSome()) {
        }
        int status = 0;
        waitpid(process_, &status, 0);
        process_ = -1;
        return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    }

    const std::vector<std::string>& lines() const { return lines_; }

private:
    bool readSome() {
        char buffer[65536];
        const auto count = read(output_, buffer, sizeof buffer);
        if (count <= 0) {
            return false;
        }
        rest_.append(buffer, static_cast<std::size_t>(count));
        std::size_t from = 0;
        for (auto end = rest_.find('\n'); end != std::string::npos; end = rest_.find('\n', from)) {
            lines_.push_back(rest_.substr(from, end - from));
            saves_ += lines_.back().starts_with("did ") ? 1 : 0;
            from = end + 1;
        }
        rest_.erase(0, from);
        return true;
    }

    pid_t process_ = -1;
    int output_ = -1;
    int saves_ = 0;
    std::string rest_;
    std::vector<std::string> lines_;
};

struct Expected {
    std::optional<UsageSession> acknowledged; ///< the last state that was acknowledged
    std::optional<UsageSession> tried;        ///< a later one that was about to be saved
};

void apply(std::map<Uuid, Expected>& expected, const std::vector<std::string>& lines) {
    for (const auto& line : lines) {
        if (line.starts_with("will ")) {
            const auto session = decode<UsageSession>(std::string_view(line).substr(5));
            expected[session.id].tried = session;
        } else if (line.starts_with("did ")) {
            const auto session = decode<UsageSession>(std::string_view(line).substr(4));
            expected[session.id] = {session, std::nullopt};
        }
    }
}

/// Lets a moment pass that isn't tied to anything that the writer does.
void spin(std::chrono::microseconds time) {
    const auto end = std::chrono::steady_clock::now() + time;
    while (std::chrono::steady_clock::now() < end) {
    }
}

TEST(HistoryStoreKill, LosesNothingThatWasSavedAtTwoHundredTwentyMoments) {
    const auto* given = std::getenv("VELMORAN_SEED");
    const std::uint64_t seed = given != nullptr ? std::stoull(given) : std::random_device{}();
    std::printf("VELMORAN_SEED=%llu\n", static_cast<unsigned long long>(seed));
    std::mt19937_64 random(seed);
    int kills = 0;
    int kept = 0;
    int repaired = 0;
    int unfinished = 0;
    for (int stores = 0; stores < 22; ++stores) {
        const HistoryFile file;
        std::map<Uuid, Expected> expected;
        for (int round = 0; round < 10; ++round) {
            const auto writerSeed = random();
            SCOPED_TRACE(testing::Message()
                         << "seed " << seed << ", store " << stores << ", round " << round);
            Writer writer(file.path(), writerSeed);
            // Some die while they start or make the file, some after hundreds of saves.
            if (random() % 4 != 0) {
                const auto saves = static_cast<int>(random() % (random() % 8 == 0 ? 400 : 40));
                ASSERT_TRUE(writer.awaitSaves(saves));
                spin(std::chrono::microseconds(random() % 500));
            } else {
                spin(std::chrono::microseconds(random() % 12000));
            }
            ASSERT_EQ(writer.kill(), SIGKILL);
            ++kills;
            apply(expected, writer.lines());

            auto store = file.open();
            std::map<Uuid, UsageSession> found;
            for (const auto& session : store.sessions()) {
                ASSERT_TRUE(found.emplace(session.id, session).second);
            }
            for (auto& [id, each] : expected) {
                const auto row = found.find(id);
                if (row == found.end()) {
                    ASSERT_FALSE(each.acknowledged) << encode(*each.acknowledged);
                    continue;
                }
                if (each.tried && row->second == *each.tried) {
                    ++unfinished;
                } else {
                    // The writer itself repairs what the one before it left; we did that already.
                    ASSERT_TRUE(each.acknowledged) << encode(row->second);
                    ASSERT_EQ(row->second, *each.acknowledged);
                }
                ++kept;
            }
            for (const auto& [id, session] : found) {
                ASSERT_TRUE(expected.contains(id)) << encode(session);
            }
            ASSERT_EQ(store.sessionCount(), found.size());
            ASSERT_EQ(file.value("PRAGMA integrity_check"), "ok");

            store.closeOpenRecords();
            std::map<Uuid, Expected> next;
            for (const auto& session : store.sessions()) {
                ASSERT_TRUE(session.outcome) << encode(session);
                auto before = found.at(session.id);
                if (!before.end && !before.outcome) {
                    before.outcome = SessionOutcome::endUnknown;
                    ++repaired;
                }
                ASSERT_EQ(session, before);
                next[session.id] = {session, std::nullopt};
            }
            ASSERT_EQ(next.size(), found.size());
            expected = std::move(next);
        }
    }
    std::printf("%d kills; %d sessions looked at, %d repaired, %d saved but not acknowledged\n",
                kills, kept, repaired, unfinished);
    EXPECT_GE(kills, 200);
    EXPECT_GT(kept, 200);
    EXPECT_GT(repaired, 20);
}

} // namespace
} // namespace velmoran
