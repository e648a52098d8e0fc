#include "system/linux/kernel/EventLoop.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <pthread.h>
#include <sys/epoll.h>
#include <sys/resource.h>
#include <sys/time.h>
#include <unistd.h>

namespace velmoran {
namespace {

using namespace std::chrono_literals;

// Waits for a value that the loop's thread will set; the bound is only reached by a failure.
template <typename Value>
Value awaited(std::future<Value> future) {
    if (future.wait_for(20s) != std::future_status::ready) {
        throw std::runtime_error("not within 20 seconds");
    }
    return future.get();
}

struct Pipe {
    int ends[2] = {-1, -1};
    Pipe() {
        if (::pipe(ends) != 0) {
            throw std::runtime_error("pipe");
        }
    }
    ~Pipe() {
        ::close(ends[0]);
        ::close(ends[1]);
    }
    void fill() const { ASSERT_EQ(::write(ends[1], "x", 1), 1); }
    void empty() const {
        char byte = 0;
        ASSERT_EQ(::read(ends[0], &byte, 1), 1);
    }
};

TEST(EventLoop, RunsWhatIsPostedInOrderOnItsOwnThread) {
    EventLoop loop;
    std::string order;
    std::promise<std::thread::id> thread;
    loop.post([&] { order += "a"; });
    loop.post([&] { order += "b"; });
    loop.post([&] {
        order += "c";
        thread.set_value(std::this_thread::get_id());
    });
    EXPECT_NE(awaited(thread.get_future()), std::this_thread::get_id());
    EXPECT_EQ(order, "abc");
    EXPECT_FALSE(loop.isOnThread());
}

TEST(EventLoop, NeverRunsAPostInsideTheCallThatPosts) {
    EventLoop loop;
    std::string order;
    std::promise<void> done;
    loop.post([&] {
        loop.post([&] {
            order += "inner";
            done.set_value();
        });
        order += "outer ";
    });
    awaited(done.get_future());
    EXPECT_EQ(order, "outer inner");
}

TEST(EventLoop, TakesPostsFromManyThreads) {
    EventLoop loop;
    int count = 0;
    std::vector<std::thread> threads;
    for (int index = 0; index < 4; ++index) {
        threads.emplace_back([&] {
            for (int turn = 0; turn < 1000; ++turn) {
                loop.post([&] { ++count; });
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_TRUE(loop.runAndWait([] {}));
    EXPECT_EQ(count, 4000);
}

TEST(EventLoop, WaitsForWhatItRuns) {
    EventLoop loop;
    int value = 0;
    EXPECT_TRUE(loop.runAndWait([&] {
        EXPECT_TRUE(loop.isOnThread());
        EXPECT_TRUE(loop.runAndWait([&] { value = 7; }));
    }));
    EXPECT_EQ(value, 7);
}

TEST(EventLoop, DropsWhatIsStillPostedAtItsEnd) {
    auto held = std::make_shared<int>(0);
    std::promise<void> entered;
    std::promise<void> release;
    {
        auto loop = std::make_unique<EventLoop>();
        loop->post([&] {
            entered.set_value();
            release.get_future().wait();
        });
        awaited(entered.get_future());
        loop->post([held] { ++*held; });
        std::thread ending([&] { loop.reset(); });
        // The end is under way or about to be; the action behind the one that waits runs only if
        // the loop isn't ending yet, and is destroyed either way.
        release.set_value();
        ending.join();
    }
    EXPECT_EQ(held.use_count(), 1);
}

TEST(EventLoop, CallsATimerOnceAfterItsDelay) {
    EventLoop loop;
    const auto begin = std::chrono::steady_clock::now();
    std::promise<void> fired;
    int calls = 0;
    const auto timer = loop.after(0.02, [&] {
        ++calls;
        fired.set_value();
    });
    awaited(fired.get_future());
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 20ms);
    EXPECT_TRUE(timer);
    std::promise<void> later;
    const auto second = loop.after(0.03, [&] { later.set_value(); });
    awaited(later.get_future());
    EXPECT_EQ(calls, 1);
}

TEST(EventLoop, CallsTimersInTheOrderTheyAreDue) {
    EventLoop loop;
    std::string order;
    std::promise<void> done;
    Subscription first;
    Subscription second;
    Subscription third;
    loop.runAndWait([&] {
        third = loop.after(0.03, [&] {
            order += "3";
            done.set_value();
        });
        first = loop.after(0.01, [&] { order += "1"; });
        second = loop.after(0.02, [&] { order += "2"; });
    });
    awaited(done.get_future());
    EXPECT_EQ(order, "123");
}

TEST(EventLoop, RepeatsUntilTheHandleIsDroppedInItsOwnCallback) {
    EventLoop loop;
    int calls = 0;
    std::promise<void> third;
    Subscription timer;
    loop.runAndWait([&] {
        timer = loop.every(0.005, [&] {
            if (++calls == 3) {
                timer.reset();
                third.set_value();
            }
        });
    });
    awaited(third.get_future());
    std::promise<void> later;
    const auto wait = loop.after(0.03, [&] { later.set_value(); });
    awaited(later.get_future());
    EXPECT_EQ(calls, 3);
}

TEST(EventLoop, FiresNoTimerWhoseHandleIsGone) {
    EventLoop loop;
    bool fired = false;
    loop.runAndWait([&] {
        auto timer = loop.after(0.0, [&] { fired = true; });
        timer.reset();
    });
    std::promise<void> later;
    const auto wait = loop.after(0.02, [&] { later.set_value(); });
    awaited(later.get_future());
    EXPECT_FALSE(fired);
}

TEST(EventLoop, CallsTheWatcherOfAReadyDescriptor) {
    EventLoop loop;
    Pipe pipe;
    std::promise<std::uint32_t> ready;
    auto watch = loop.watch(pipe.ends[0], EPOLLIN, [&](std::uint32_t events) {
        pipe.empty();
        ready.set_value(events);
    });
    ASSERT_TRUE(watch);
    pipe.fill();
    EXPECT_TRUE(awaited(ready.get_future()) & EPOLLIN);
}

TEST(EventLoop, CallsNoWatcherThatAnEarlierOneOfTheSameTurnDropped) {
    EventLoop loop;
    Pipe one;
    Pipe two;
    int calls = 0;
    Subscription first;
    Subscription second;
    loop.runAndWait([&] {
        const auto callback = [&](std::uint32_t) {
            ++calls;
            first.reset();
            second.reset();
        };
        first = loop.watch(one.ends[0], EPOLLIN, callback);
        second = loop.watch(two.ends[0], EPOLLIN, callback);
        one.fill();
        two.fill();
    });
    loop.runAndWait([] {});
    loop.runAndWait([] {});
    EXPECT_EQ(calls, 1);
}

TEST(EventLoop, RunsWhatAWatcherPostsAtTheEndOfTheSameTurn) {
    EventLoop loop;
    Pipe one;
    Pipe two;
    std::string order;
    std::promise<void> done;
    Subscription first;
    Subscription second;
    loop.runAndWait([&] {
        first = loop.watch(one.ends[0], EPOLLIN, [&](std::uint32_t) {
            one.empty();
            order += "w";
            loop.post([&] {
                order += "p";
                done.set_value();
            });
        });
        second = loop.watch(two.ends[0], EPOLLIN, [&](std::uint32_t) {
            two.empty();
            order += "w";
        });
        one.fill();
        two.fill();
    });
    awaited(done.get_future());
    EXPECT_EQ(order, "wwp");
}

TEST(EventLoop, RefusesADescriptorThatCannotBeWaitedFor) {
    EventLoop loop;
    EXPECT_FALSE(loop.watch(-1, EPOLLIN, [](std::uint32_t) {}));
    Pipe pipe;
    const auto watch = loop.watch(pipe.ends[0], EPOLLIN, [](std::uint32_t) {});
    EXPECT_TRUE(watch);
    EXPECT_FALSE(loop.watch(pipe.ends[0], EPOLLIN, [](std::uint32_t) {}));
}

TEST(EventLoop, LetsHandlesOutliveIt) {
    Subscription timer;
    Subscription watch;
    Pipe pipe;
    {
        EventLoop loop;
        timer = loop.every(100, [] {});
        watch = loop.watch(pipe.ends[0], EPOLLIN, [](std::uint32_t) {});
    }
    timer.reset();
    watch.reset();
}

TEST(EventLoop, TakesNoSignals) {
    EventLoop loop;
    sigset_t mask;
    sigemptyset(&mask);
    loop.runAndWait([&] { pthread_sigmask(SIG_SETMASK, nullptr, &mask); });
    EXPECT_EQ(sigismember(&mask, SIGTERM), 1);
    EXPECT_EQ(sigismember(&mask, SIGCHLD), 1);
}

TEST(EventLoop, SleepsUntilThereIsSomethingToDo) {
    EventLoop loop;
    const auto farTimer = loop.every(1000, [] {});
    const auto switches = [&] {
        long value = 0;
        loop.runAndWait([&] {
            rusage usage{};
            ::getrusage(RUSAGE_THREAD, &usage);
            value = usage.ru_nvcsw;
        });
        return value;
    };
    switches();
    const auto before = switches();
    // Whatever would keep it awake has this long to do so; the loop's own sleeps are one per ask.
    ::usleep(50'000);
    EXPECT_LE(switches() - before, 3);
}

TEST(EventLoop, LeavesNoDescriptorBehind) {
    const auto lowest = [] {
        const int descriptor = ::dup(0);
        ::close(descriptor);
        return descriptor;
    };
    const auto before = lowest();
    for (int turn = 0; turn < 50; ++turn) {
        EventLoop loop;
        const auto timer = loop.every(1, [] {});
        loop.runAndWait([] {});
    }
    EXPECT_EQ(lowest(), before);
}

} // namespace
} // namespace velmoran
