#include "system/scripted/ScriptedTime.h"

#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

namespace velmoran {
namespace {

struct Notes {
    ScriptedTime time{{1000}};
    std::vector<std::pair<std::string, double>> lines;

    std::function<void()> note(const std::string& text) {
        return [this, text] {
            lines.emplace_back(text, time.elapsed());
        };
    }
};

using Lines = std::vector<std::pair<std::string, double>>;

TEST(ScriptedTime, StandsStillUntilItIsAdvanced) {
    ScriptedTime time({794136600.0});
    EXPECT_EQ(time.now(), Timestamp{794136600.0});
    time.advanceTo(2.5);
    EXPECT_EQ(time.now(), Timestamp{794136602.5});
    EXPECT_EQ(time.elapsed(), 2.5);
    time.advanceTo(1);
    EXPECT_EQ(time.elapsed(), 2.5);
    time.advanceBy(0.5);
    EXPECT_EQ(time.elapsed(), 3);
}

TEST(ScriptedTime, RunsDueTimersInTheOrderOfTheirTimes) {
    Notes notes;
    const auto late = notes.time.after(2, notes.note("late"));
    const auto early = notes.time.after(1, notes.note("early"));
    const auto never = notes.time.after(3, notes.note("never"));
    notes.time.advanceTo(2);
    EXPECT_EQ(notes.lines, (Lines{{"early", 1}, {"late", 2}}));
    EXPECT_EQ(notes.time.nextDue(), 3);
}

TEST(ScriptedTime, RunsEqualTimesInTheOrderOfTheirMaking) {
    Notes notes;
    const auto repeating = notes.time.every(2, notes.note("repeating"));
    Subscription later;
    const auto between = notes.time.after(1, [&] {
        notes.note("between")();
        later = notes.time.after(3, notes.note("later"));
    });
    const auto single = notes.time.after(2, notes.note("single"));
    notes.time.advanceTo(4);
    EXPECT_EQ(
        notes.lines,
        (Lines{{"between", 1}, {"repeating", 2}, {"single", 2}, {"repeating", 4}, {"later", 4}}));
}

TEST(ScriptedTime, RunsTimersThatTimersMake) {
    Notes notes;
    Subscription second;
    Subscription third;
    const auto first = notes.time.after(1, [&] {
        notes.note("first")();
        second = notes.time.after(0, notes.note("second"));
        third = notes.time.after(0.5, notes.note("third"));
    });
    notes.time.advanceTo(10);
    EXPECT_EQ(notes.lines, (Lines{{"first", 1}, {"second", 1}, {"third", 1.5}}));
    EXPECT_EQ(notes.time.elapsed(), 10);
}

TEST(ScriptedTime, FiresAtTheSumThatPeopleMean) {
    Notes notes;
    notes.time.advanceTo(2.0);
    const auto one = notes.time.after(1.1, notes.note("one"));
    notes.time.advanceTo(2.2);
    const auto two = notes.time.after(1.1, notes.note("two"));
    notes.time.advanceTo(3.1);
    EXPECT_EQ(notes.lines, (Lines{{"one", 3.1}}));
    notes.time.advanceTo(3.3); // 2.2 + 1.1 in binary is more than that
    EXPECT_EQ(notes.lines, (Lines{{"one", 3.1}, {"two", 3.3}}));
}

TEST(ScriptedTime, KeepsTimesThatAreNoWholeNanoseconds) {
    Notes notes;
    const double odd = 1.0 / 3.0;
    notes.time.advanceTo(odd);
    const auto timer = notes.time.after(1, notes.note("timer"));
    EXPECT_EQ(notes.time.nextDue(), odd + 1);
}

TEST(ScriptedTime, RepeatsWithoutDriftUntilTheHandleGoes) {
    Notes notes;
    auto repeating = notes.time.every(0.1, notes.note("tick"));
    notes.time.advanceTo(100);
    ASSERT_EQ(notes.lines.size(), 1000U);
    EXPECT_EQ(notes.lines[2].second, 0.3);
    EXPECT_EQ(notes.lines.back().second, 100);
    repeating.reset();
    notes.time.advanceTo(200);
    EXPECT_EQ(notes.lines.size(), 1000U);
    EXPECT_EQ(notes.time.nextDue(), std::nullopt);
}

TEST(ScriptedTime, LetsAnActionDropItsOwnAndOthersHandles) {
    Notes notes;
    Subscription own;
    Subscription other;
    int runs = 0;
    own = notes.time.every(1, [&, kept = std::string(100, 'x')] {
        own.reset();
        other.reset();
        runs += kept.size() == 100 ? 1 : 100;
    });
    other = notes.time.after(1, notes.note("other"));
    notes.time.advanceTo(5);
    EXPECT_EQ(runs, 1);
    EXPECT_TRUE(notes.lines.empty());
}

TEST(ScriptedTime, RunsWhatWasPostedBeforeTheNextTimer) {
    Notes notes;
    const auto first = notes.time.after(1, [&] {
        notes.time.post(notes.note("posted"));
        notes.time.post([&] { notes.time.post(notes.note("posted by posted")); });
        notes.note("first")();
    });
    const auto second = notes.time.after(1, notes.note("second"));
    notes.time.post(notes.note("at once"));
    EXPECT_TRUE(notes.lines.empty());
    notes.time.advanceTo(1);
    EXPECT_EQ(
        notes.lines,
        (Lines{
            {"at once", 0}, {"first", 1}, {"posted", 1}, {"posted by posted", 1}, {"second", 1}}));
}

TEST(ScriptedTime, IsNotHeldUpByIntervalsOfNothing) {
    Notes notes;
    const auto timer = notes.time.every(0, notes.note("tick"));
    notes.time.advanceTo(0.01);
    EXPECT_EQ(notes.lines.size(), 10U);
}

TEST(ScriptedTime, GoesOnFromWhereItsClockIsSet) {
    ScriptedTime time({1000});
    std::vector<double> fired;
    const auto timer = time.every(10, [&] { fired.push_back(time.now().seconds); });
    time.advanceTo(15);
    time.setClock({500});
    EXPECT_EQ(time.now(), Timestamp{500});
    EXPECT_EQ(time.elapsed(), 15);
    time.advanceTo(25);
    EXPECT_EQ(fired, (std::vector<double>{1010, 505}));
    EXPECT_EQ(time.now(), Timestamp{510});
}

TEST(ScriptedTime, MayGoBeforeItsHandles) {
    Subscription timer;
    {
        ScriptedTime time;
        timer = time.after(1, [] {});
    }
    timer.reset();
    EXPECT_FALSE(timer);
}

TEST(ScriptedTime, TakesPostsFromAnyThread) {
    ScriptedTime time;
    int runs = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int each = 0; each < 100; ++each) {
                time.post([&] { ++runs; });
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    time.runPosted();
    EXPECT_EQ(runs, 400);
}

} // namespace
} // namespace velmoran
