// What is left behind after very many uses: nothing.
#include "support/PrivateSession.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>

namespace velmoran {
namespace {

using support::PrivateSession;
using support::waitUntil;

std::ptrdiff_t entriesIn(const std::filesystem::path& folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

/// Processes whose parent is this one.
int childrenOf(pid_t pid) {
    std::ifstream list("/proc/" + std::to_string(pid) + "/task/" + std::to_string(pid) +
                       "/children");
    return static_cast<int>(std::distance(std::istream_iterator<int>(list), {}));
}

/// Counts the lines of a growing file that hold a text.
class LineCount {
public:
    LineCount(std::filesystem::path file, std::string text)
        : file_(std::move(file)),
          text_(std::move(text)) {}

    int now() {
        std::ifstream file(file_);
        file.seekg(read_);
        for (std::string line; std::getline(file, line) && !file.eof();) {
            count_ += line.find(text_) != std::string::npos ? 1 : 0;
            read_ = file.tellg();
        }
        return count_;
    }

private:
    std::filesystem::path file_;
    std::string text_;
    std::streamoff read_ = 0;
    int count_ = 0;
};

TEST(Endurance, LeavesNothingBehindAfterAThousandRecorders) {
    constexpr int recorders = 1000;
    constexpr int warmUp = 20; // libraries open what they keep with the first ones
    constexpr int settled = 40;
    PrivateSession session;
    session.startSound();
    session.addMicrophone();
    const auto output = session.file("watch.jsonl");
    auto& watch = session.start("watch", {"sh", "-c", "exec \"$1\" watch --json > \"$2\"", "sh",
                                          VELMORANCTL, output.string()});
    LineCount started(output, "\"event\":\"started\"");
    LineCount ended(output, "\"event\":\"ended\"");
    LineCount icons(output, "\"event\":\"icon\"");
    ASSERT_TRUE(waitUntil([&] { return icons.now() > 0; })) << session.logs();

    const std::filesystem::path process = "/proc/" + std::to_string(watch.pid());
    std::ptrdiff_t descriptors = 0;
    std::ptrdiff_t threads = 0;
    for (int turn = 1; turn <= recorders; ++turn) {
        auto& recorder = session.start("recorder", {CLIENT_PROGRAMS "/graph-client"});
        ASSERT_TRUE(waitUntil([&] { return started.now() == turn; })) << session.logs();
        recorder.signal(SIGKILL);
        ASSERT_TRUE(waitUntil([&] { return ended.now() == turn; })) << session.logs();
        session.stop("recorder");
        // The least of some looks, since what looks at processes holds a descriptor for moments.
        if (turn == warmUp) {
            descriptors = entriesIn(process / "fd");
            threads = entriesIn(process / "task");
        } else if (turn > warmUp && turn <= settled) {
            descriptors = std::min(descriptors, entriesIn(process / "fd"));
            threads = std::min(threads, entriesIn(process / "task"));
        }
    }
    EXPECT_TRUE(waitUntil([&] { return entriesIn(process / "fd") == descriptors; }))
        << entriesIn(process / "fd") << " instead of " << descriptors;
    EXPECT_TRUE(waitUntil([&] { return entriesIn(process / "task") == threads; }))
        << entriesIn(process / "task") << " instead of " << threads;
    EXPECT_EQ(childrenOf(watch.pid()), 0);
    EXPECT_TRUE(watch.running());
}

} // namespace
} // namespace velmoran
