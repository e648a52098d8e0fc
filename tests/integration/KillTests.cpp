// The whole program under SIGKILL: whatever it was doing, its history opens afterwards and holds
// all that it had told, and the next start closes what was left open.
#include "core/history/HistoryStore.h"
#include "support/PrivateSession.h"

#include <SQLiteCpp/Database.h>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <sstream>
#include <string>

namespace velmoran {
namespace {

using support::ChildProcess;
using support::PrivateSession;
using support::waitUntil;

constexpr int kills = 80;
constexpr int recorders = 4;

/// The lines of one watch, by what they tell of.
struct Counts {
    int starts = 0; ///< of uses, seen from their start or found
    int ends = 0;

    int all() const { return starts + ends; }
};

Counts parseLines(const std::string& output) {
    Counts counts;
    std::istringstream stream(output);
    for (std::string line; std::getline(stream, line);) {
        if (line.find(" turned off ") != std::string::npos) {
            ++counts.ends;
        } else if (line.find(" was already using ") != std::string::npos ||
                   (line.find(" turned on ") != std::string::npos &&
                    line.find("It was ") == std::string::npos)) {
            ++counts.starts;
        }
    }
    return counts;
}

class Kill : public ::testing::Test {
protected:
    using Rows = std::map<Uuid, UsageSession>;

    Kill() {
        const auto* given = std::getenv("VELMORAN_SEED"); // NOLINT(concurrency-mt-unsafe)
        seed_ = given ? std::stoull(given) : std::random_device{}();
        random_.seed(seed_);
        std::printf("VELMORAN_SEED=%llu\n", static_cast<unsigned long long>(seed_));
        session_.startSound();
        session_.addMicrophone();
        std::filesystem::create_directories(session_.file("dev"));
        for (int i = 0; i < recorders; ++i) {
            std::filesystem::copy_file(CLIENT_PROGRAMS "/graph-client",
                                       session_.home() / recorder(i));
        }
    }

    static std::string recorder(int number) { return "recorder-" + std::to_string(number); }
    std::filesystem::path history() const {
        return session_.home() / ".local/share/Velmoran/History.store";
    }
    unsigned below(unsigned end) { return std::uniform_int_distribution(0U, end - 1)(random_); }

    ChildProcess& watch() {
        return session_.start(
            "watch", {VELMORANCTL, "watch", "--device-folder", session_.file("dev").string()});
    }

    /// One recorder begins, or ends if the program has told of it: a process that has gone before
    /// it could be looked at has no name.
    void turnOne(const ChildProcess& program) {
        const auto name = recorder(static_cast<int>(below(recorders)));
        if (!session_.child(name)) {
            session_.start(name, {session_.home() / name});
            return;
        }
        const auto counts = program.output();
        const auto last = counts.rfind(name);
        if (last != std::string::npos &&
            !counts.substr(last).starts_with(name + " (~) turned off")) {
            session_.child(name)->signal(SIGKILL);
            session_.stop(name);
        }
    }

    /// Recorders come and go until that many lines were told.
    bool awaitLines(ChildProcess& program, int count) {
        return waitUntil([&] {
                   if (below(6) == 0) {
                       turnOne(program);
                   }
                   return parseLines(program.output()).all() >= count || !program.running();
               }) &&
               program.running();
    }

    /// Looks at the program that many times without a pause, which ties the moment after it to
    /// nothing that the program does.
    static void readOutput(const ChildProcess& program, unsigned times) {
        for (unsigned i = 0; i < times; ++i) {
            static_cast<void>(program.output());
        }
    }

    bool hasOpened(ChildProcess& program) {
        std::error_code none;
        for (const auto& entry : std::filesystem::directory_iterator(
                 "/proc/" + std::to_string(program.pid()) + "/fd", none)) {
            if (std::filesystem::read_symlink(entry, none) == history()) {
                return true;
            }
        }
        return false;
    }

    /// What the history holds now, found sound.
    Rows rows() {
        Rows result;
        if (!std::filesystem::exists(history())) {
            return result; // killed before it was made
        }
        HistoryStore store(history());
        for (const auto& session : store.sessions()) {
            EXPECT_TRUE(result.emplace(session.id, session).second) << "twice: " << encode(session);
            EXPECT_TRUE(session.app.name.starts_with("recorder-")) << encode(session);
            EXPECT_TRUE(!session.end || session.outcome) << encode(session);
            EXPECT_TRUE(!session.end || *session.end >= session.start) << encode(session);
            EXPECT_TRUE(session.outcome != SessionOutcome::endUnknown || !session.end)
                << encode(session);
        }
        EXPECT_EQ(store.sessionCount(), result.size()) << "rows that can't be read";
        SQLite::Database file(history().string(), SQLite::OPEN_READWRITE, 1000);
        EXPECT_EQ(file.execAndGet("PRAGMA integrity_check").getString(), "ok");
        EXPECT_EQ(
            file.execAndGet("SELECT count(*) - count(DISTINCT id) FROM SessionRecord").getInt(), 0);
        return result;
    }

    static bool isOpen(const UsageSession& session) { return !session.end && !session.outcome; }

    /// What one run may have done to the rows that were there before: close those that were open,
    /// which it has done for certain once it has told of anything.
    static void checkRepair(const Rows& before, const Rows& after, bool isCertain) {
        for (const auto& [id, session] : before) {
            const auto found = after.find(id);
            ASSERT_NE(found, after.end()) << "lost: " << encode(session);
            auto repaired = session;
            if (isOpen(session)) {
                repaired.outcome = SessionOutcome::endUnknown;
            }
            EXPECT_TRUE(found->second == repaired || (!isCertain && found->second == session))
                << encode(session) << "\n"
                << encode(found->second);
        }
    }

    std::uint64_t seed_ = 0;
    std::mt19937_64 random_;
    PrivateSession session_;
};

TEST_F(Kill, LeavesASoundHistoryThatTheNextStartRepairs) {
    Rows before;
    int early = 0;
    int open = 0;
    for (int round = 0; round < kills; ++round) {
        SCOPED_TRACE(::testing::Message() << "seed " << seed_ << ", round " << round);
        auto& program = watch();
        switch (below(4)) {
        case 0: // while it starts
            readOutput(program, below(3000));
            break;
        case 1: // from the opening of the history to the first picture
            ASSERT_TRUE(waitUntil([&] { return hasOpened(program) || !program.running(); }));
            readOutput(program, below(1000));
            break;
        default: // while it writes
            ASSERT_TRUE(awaitLines(program, 1 + static_cast<int>(below(5))))
                << program.output() << session_.logs();
            turnOne(program);
            readOutput(program, below(3000));
        }
        ASSERT_TRUE(program.running()) << program.output() << session_.logs();
        program.signal(SIGKILL);
        ASSERT_EQ(program.wait(), -SIGKILL);
        const auto counts = parseLines(program.output());
        const auto after = rows();
        checkRepair(before, after, counts.all() > 0);

        // What was told had been written before.
        int starts = 0;
        int ends = 0;
        for (const auto& [id, session] : after) {
            if (!before.contains(id)) {
                ++starts;
                ends += session.end ? 1 : 0;
                open += isOpen(session) ? 1 : 0;
            }
        }
        EXPECT_LE(counts.starts, starts) << program.output();
        EXPECT_LE(counts.ends, ends) << program.output();
        early += after.size() == before.size() ? 1 : 0;
        before = after;
        if (HasFailure()) {
            return;
        }
    }

    auto& last = watch();
    ASSERT_TRUE(awaitLines(last, 1)) << session_.logs();
    last.signal(SIGTERM);
    ASSERT_EQ(last.wait(), 0) << last.errors();
    checkRepair(before, rows(), true);
    std::printf("%d kills, %d of them before a use was kept; %zu uses, %d of them open\n", kills,
                early, before.size(), open);
    EXPECT_GT(early, 0);
    EXPECT_GT(open, kills / 4);
    EXPECT_GT(static_cast<int>(before.size()), open) << "no use came to its end";
}

} // namespace
} // namespace velmoran
