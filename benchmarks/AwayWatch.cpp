// away-watch SECONDS: hears and asks what the away watch does, and prints what that took: the
// processor time of each tick in microseconds, of all threads, then
//   cpu PERCENT of one core, and wakes NUMBER a second
//   heard TICKS with a use of keyboard or mouse
//   told SIGNALS of another kind
#include "core/base/Scheduler.h"
#include "system/AwaySensors.h"
#include "system/bus/BusAddress.h"
#include "system/linux/away/LinuxAwayReadings.h"
#include "system/linux/bus/BusKeeper.h"
#include "system/linux/kernel/EventLoop.h"

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <deque>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <sys/resource.h>
#include <utility>

namespace {

using velmoran::AwaySignal;
using velmoran::Seconds;
using velmoran::Subscription;

double secondsOf(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

long wakes() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_nvcsw;
}

/// The main thread, with the one timer that the watch has.
class MainLoop final : public velmoran::Scheduler {
public:
    void post(std::function<void()> action) override {
        const std::lock_guard lock(mutex_);
        posted_.push_back(std::move(action));
        isPosted_.notify_one();
    }
    Subscription after(Seconds, std::function<void()>) override {
        throw std::logic_error("the watch has a timer that it hadn't");
    }
    Subscription every(Seconds interval, std::function<void()> action) override {
        if (tick_) {
            throw std::logic_error("the watch has a timer that it hadn't");
        }
        interval_ = interval;
        tick_ = std::move(action);
        return {};
    }

    void run(int ticks, const std::function<void(double)>& ticked) {
        const std::chrono::duration<double> interval(interval_);
        auto due = std::chrono::steady_clock::now();
        for (int tick = 0; tick < ticks; ++tick) {
            due += std::chrono::duration_cast<std::chrono::steady_clock::duration>(interval);
            runPostedUntil(due);
            const double begun = secondsOf(CLOCK_PROCESS_CPUTIME_ID);
            tick_();
            ticked(secondsOf(CLOCK_PROCESS_CPUTIME_ID) - begun);
        }
    }

private:
    void runPostedUntil(std::chrono::steady_clock::time_point due) {
        std::unique_lock lock(mutex_);
        while (isPosted_.wait_until(lock, due, [this] { return !posted_.empty(); })) {
            const auto action = std::move(posted_.front());
            posted_.pop_front();
            lock.unlock();
            action();
            lock.lock();
        }
    }

    std::mutex mutex_; ///< of what is posted
    std::condition_variable isPosted_;
    std::deque<std::function<void()>> posted_;
    Seconds interval_ = 0;
    std::function<void()> tick_;
};

} // namespace

int main(int count, char** arguments) {
    const int seconds = count == 2 ? std::atoi(arguments[1]) : 0;
    if (seconds <= 0) {
        std::fprintf(stderr, "usage: away-watch SECONDS\n");
        return 2;
    }
    velmoran::EventLoop loop;
    velmoran::BusKeeper bus(loop, velmoran::systemBusAddress());
    velmoran::LinuxAwayReadings readings(loop, bus);
    MainLoop mainLoop;
    velmoran::AwaySensors sensors(readings, mainLoop);
    bool isUsed = false;
    int told = 0;
    sensors.start([&](const AwaySignal& signal) {
        const bool isInput = signal.kind == AwaySignal::Kind::keyboardUsed ||
                             signal.kind == AwaySignal::Kind::mouseUsed;
        isUsed |= isInput;
        told += isInput ? 0 : 1;
    });
    std::printf("tells input: %s, lid: %s, power: %s\n", readings.tellsInput() ? "yes" : "no",
                readings.isLidClosed() ? "yes" : "no", readings.isOnACPower() ? "yes" : "no");
    std::fflush(stdout);

    const auto wakesBefore = wakes();
    const double before = secondsOf(CLOCK_PROCESS_CPUTIME_ID);
    int heard = 0;
    mainLoop.run(seconds, [&](double used) {
        std::printf("tick %.1f\n", 1e6 * used);
        heard += std::exchange(isUsed, false) ? 1 : 0;
    });
    const double used = secondsOf(CLOCK_PROCESS_CPUTIME_ID) - before;
    std::printf("cpu %.4f wakes %.1f\n", 100 * used / seconds,
                static_cast<double>(wakes() - wakesBefore) / seconds);
    std::printf("heard %d\ntold %d\n", heard, told);
    sensors.stop();
    return 0;
}
