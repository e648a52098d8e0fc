#include "core/base/MainThread.h"
#include "system/scripted/ScriptedTime.h"

#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace velmoran {
namespace {

struct MainThreadTest : ::testing::Test {
    ScriptedTime time;
    std::vector<std::string> done;
    std::optional<MainThread> owners{std::in_place, time};

    auto note(const std::string& what) {
        return [this, what] {
            done.push_back(what);
        };
    }
};

TEST_F(MainThreadTest, RunsInTheCallWhileItLives) {
    const auto action = owners->whileAlive(note("a"));
    action();
    EXPECT_EQ(done.size(), 1U);
    owners.reset();
    action();
    EXPECT_EQ(done.size(), 1U);
}

TEST_F(MainThreadTest, RunsLaterInTheOrderOfPosting) {
    owners->post(note("a"));
    owners->later(note("b"))();
    owners->post(note("c"));
    EXPECT_TRUE(done.empty());
    time.runPosted();
    EXPECT_EQ(done, (std::vector<std::string>{"a", "b", "c"}));
}

TEST_F(MainThreadTest, RunsNothingLaterThatItsOwnerDoesNotLiveToSee) {
    const auto later = owners->later(note("later"));
    owners->post(note("posted"));
    later();
    owners.reset();
    later();
    time.runPosted();
    EXPECT_TRUE(done.empty());
}

TEST_F(MainThreadTest, HandsOverCopiesFromAnyThread) {
    const auto later = owners->later([this](const std::string& text, int number) {
        done.push_back(text + std::to_string(number));
    });
    std::thread([&] {
        std::string text = "text";
        later(text, 7);
        text = "changed";
    }).join();
    EXPECT_TRUE(done.empty());
    time.runPosted();
    EXPECT_EQ(done, (std::vector<std::string>{"text7"}));
}

TEST_F(MainThreadTest, HandsOverAPairAsOneArgument) {
    std::pair<int, int> seen;
    const auto later = owners->later([&](const std::pair<int, int>& pair) { seen = pair; });
    later(std::pair(1, 2));
    time.runPosted();
    EXPECT_EQ(seen, std::pair(1, 2));
}

} // namespace
} // namespace velmoran
