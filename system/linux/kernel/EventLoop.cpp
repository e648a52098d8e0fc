#include "system/linux/kernel/EventLoop.h"

#include "system/linux/kernel/Descriptor.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstring>
#include <future>
#include <map>
#include <mutex>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

#include <pthread.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>
#include <unistd.h>

namespace velmoran {

namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr std::uint64_t wakeKey = 0;
constexpr std::uint64_t timerKey = 1;

int checked(int result, const char* call) {
    if (result < 0) {
        throw std::system_error(errno, std::generic_category(), call);
    }
    return result;
}

SteadyClock::duration durationOf(Seconds seconds) {
    // A year is for ever here, and keeps the sum with now inside the clock's range.
    const double bounded = std::isnan(seconds) ? 0 : std::clamp(seconds, 0.0, 366.0 * 86400);
    return std::chrono::duration_cast<SteadyClock::duration>(
        std::chrono::duration<double>(bounded));
}

void drain(int descriptor) {
    std::uint64_t count = 0;
    while (::read(descriptor, &count, sizeof count) < 0 && errno == EINTR) {
    }
}

} // namespace

// Shared with the handles, which hold it weakly. The mutex is never held while a callback runs or
// is destroyed.
struct EventLoop::State {
    struct Watch {
        int descriptor = -1;
        std::function<void(std::uint32_t)> callback;
    };
    struct Timer {
        SteadyClock::time_point due;
        std::optional<SteadyClock::duration> interval;
        std::function<void()> action;
    };

    std::mutex mutex;
    const Descriptor epoll{checked(::epoll_create1(EPOLL_CLOEXEC), "epoll_create1")};
    const Descriptor wake{checked(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd")};
    const Descriptor clock{
        checked(::timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK), "timerfd_create")};
    std::uint64_t nextKey = timerKey + 1;
    std::map<std::uint64_t, std::shared_ptr<Watch>> watches;
    std::map<std::uint64_t, std::shared_ptr<Timer>> timers;
    std::vector<std::function<void()>> posted;
    std::optional<SteadyClock::time_point> armed;
    bool ending = false;

    State() {
        checked(add(wake.get(), EPOLLIN, wakeKey), "epoll_ctl");
        checked(add(clock.get(), EPOLLIN, timerKey), "epoll_ctl");
    }

    int add(int descriptor, std::uint32_t events, std::uint64_t key) const {
        epoll_event event{};
        event.events = events;
        event.data.u64 = key;
        return ::epoll_ctl(epoll.get(), EPOLL_CTL_ADD, descriptor, &event);
    }

    void wakeUp() const {
        const std::uint64_t one = 1;
        [[maybe_unused]] const auto written = ::write(wake.get(), &one, sizeof one);
    }

    // With the mutex held. Only ever moves the alarm when the earliest timer is another.
    void arm() {
        std::optional<SteadyClock::time_point> earliest;
        for (const auto& [key, timer] : timers) {
            if (!earliest || timer->due < *earliest) {
                earliest = timer->due;
            }
        }
        if (earliest == armed) {
            return;
        }
        armed = earliest;
        itimerspec spec{};
        if (earliest) {
            const auto since = earliest->time_since_epoch();
            const auto whole = std::chrono::duration_cast<std::chrono::seconds>(since);
            spec.it_value.tv_sec = whole.count();
            spec.it_value.tv_nsec =
                std::chrono::duration_cast<std::chrono::nanoseconds>(since - whole).count();
        }
        ::timerfd_settime(clock.get(), TFD_TIMER_ABSTIME, &spec, nullptr);
    }

    void callWatcher(std::uint64_t key, std::uint32_t events) {
        std::shared_ptr<Watch> watch;
        {
            const std::lock_guard lock(mutex);
            if (const auto found = watches.find(key); found != watches.end()) {
                watch = found->second;
            }
        }
        if (watch) {
            watch->callback(events);
        }
    }

    void callDueTimers() {
        std::vector<std::uint64_t> due;
        const auto now = SteadyClock::now();
        {
            const std::lock_guard lock(mutex);
            armed.reset();
            for (const auto& [key, timer] : timers) {
                if (timer->due <= now) {
                    due.push_back(key);
                }
            }
            std::sort(due.begin(), due.end(), [this](auto one, auto other) {
                return std::pair(timers[one]->due, one) < std::pair(timers[other]->due, other);
            });
        }
        for (const auto key : due) {
            std::shared_ptr<Timer> timer;
            {
                const std::lock_guard lock(mutex);
                const auto found = timers.find(key);
                if (found == timers.end()) {
                    continue;
                }
                timer = found->second;
                if (!timer->interval) {
                    timers.erase(found);
                } else {
                    // Calls that were missed, in a long callback or in sleep, are not made up for.
                    timer->due += *timer->interval;
                    if (timer->due <= now) {
                        timer->due = now + *timer->interval;
                    }
                }
            }
            timer->action();
        }
        const std::lock_guard lock(mutex);
        arm();
    }

    void callPosted() {
        std::vector<std::function<void()>> batch;
        {
            const std::lock_guard lock(mutex);
            batch.swap(posted);
        }
        for (auto& action : batch) {
            {
                const std::lock_guard lock(mutex);
                if (ending) {
                    return;
                }
            }
            action();
            action = nullptr;
        }
        const std::lock_guard lock(mutex);
        if (!posted.empty()) {
            wakeUp();
        }
    }

    void run() {
        std::array<epoll_event, 32> events{};
        for (;;) {
            const int count = ::epoll_wait(epoll.get(), events.data(), events.size(), -1);
            bool timersDue = false;
            for (int index = 0; index < count; ++index) {
                const auto& event = events.at(static_cast<std::size_t>(index));
                if (event.data.u64 == wakeKey) {
                    drain(wake.get());
                } else if (event.data.u64 == timerKey) {
                    drain(clock.get());
                    timersDue = true;
                } else {
                    callWatcher(event.data.u64, event.events);
                }
            }
            if (timersDue) {
                callDueTimers();
            }
            callPosted();
            const std::lock_guard lock(mutex);
            if (ending) {
                return;
            }
        }
    }

    static Subscription addTimer(const std::shared_ptr<State>& state, Seconds delay, bool repeats,
                                 std::function<void()> action) {
        auto timer = std::make_shared<Timer>();
        const auto length = durationOf(delay);
        timer->due = SteadyClock::now() + length;
        if (repeats) {
            timer->interval = std::max<SteadyClock::duration>(length, std::chrono::milliseconds(1));
        }
        timer->action = std::move(action);
        const std::lock_guard lock(state->mutex);
        const auto key = state->nextKey++;
        state->timers.emplace(key, std::move(timer));
        state->arm();
        return Subscription([weak = std::weak_ptr<State>(state), key] {
            std::shared_ptr<Timer> ended; // destroyed after the lock is released
            if (const auto owner = weak.lock()) {
                const std::lock_guard guard(owner->mutex);
                if (auto node = owner->timers.extract(key)) {
                    ended = std::move(node.mapped());
                    owner->arm();
                }
            }
        });
    }
};

EventLoop::EventLoop() : state_(std::make_shared<State>()) {
    // The new thread inherits the mask: signals belong to whoever runs the program's own loop.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    try {
        thread_ = std::thread([state = state_.get()] { state->run(); });
    } catch (...) {
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        throw;
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    pthread_setname_np(thread_.native_handle(), "velmoran-mon"); // 15 characters at most
}

EventLoop::~EventLoop() {
    {
        const std::lock_guard lock(state_->mutex);
        state_->ending = true;
    }
    state_->wakeUp();
    thread_.join();
}

void EventLoop::post(std::function<void()> action) {
    bool first = false;
    {
        const std::lock_guard lock(state_->mutex);
        first = state_->posted.empty();
        state_->posted.push_back(std::move(action));
    }
    // On the loop's own thread the turn that is running looks at the list before it sleeps.
    if (first && !isOnThread()) {
        state_->wakeUp();
    }
}

Subscription EventLoop::every(Seconds interval, std::function<void()> action) {
    return State::addTimer(state_, interval, true, std::move(action));
}

Subscription EventLoop::after(Seconds delay, std::function<void()> action) {
    return State::addTimer(state_, delay, false, std::move(action));
}

Subscription EventLoop::watch(int descriptor, std::uint32_t events,
                              std::function<void(std::uint32_t)> callback) {
    auto watch = std::make_shared<State::Watch>();
    watch->descriptor = descriptor;
    watch->callback = std::move(callback);
    const std::lock_guard lock(state_->mutex);
    const auto key = state_->nextKey++;
    if (state_->add(descriptor, events, key) < 0) {
        return {};
    }
    state_->watches.emplace(key, std::move(watch));
    return Subscription([weak = std::weak_ptr<State>(state_), key] {
        std::shared_ptr<State::Watch> ended; // destroyed after the lock is released
        if (const auto owner = weak.lock()) {
            const std::lock_guard guard(owner->mutex);
            if (auto node = owner->watches.extract(key)) {
                ended = std::move(node.mapped());
                ::epoll_ctl(owner->epoll.get(), EPOLL_CTL_DEL, ended->descriptor, nullptr);
            }
        }
    });
}

bool EventLoop::runAndWait(std::function<void()> action) {
    if (isOnThread()) {
        action();
        return true;
    }
    auto done = std::make_shared<std::promise<void>>();
    auto future = done->get_future();
    post([done = std::move(done), action = std::move(action)] {
        action();
        done->set_value();
    });
    try {
        future.get();
        return true;
    } catch (const std::future_error&) {
        return false;
    }
}

} // namespace velmoran
