#include "app/qtbase/QtEventLoop.h"

#include "system/BootAlarm.h"

#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <QSocketNotifier>
#include <QTimerEvent>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <map>
#include <optional>
#include <system_error>
#include <utility>

namespace velmoran {

namespace {

using Milliseconds = std::chrono::milliseconds;

/// The longest time that Qt counts in one go.
constexpr double longestWait = 2147483647;

const QEvent::Type posted = static_cast<QEvent::Type>(QEvent::registerEventType());

struct Posted final : QEvent {
    explicit Posted(std::function<void()> given) : QEvent(posted), action(std::move(given)) {}
    std::function<void()> action;
};

double milliseconds(Seconds seconds) {
    const auto rounded = std::ceil(seconds * 1000);
    return rounded > 0 ? rounded : 0; // 0 for what isn't a number, too
}

} // namespace

/// Timers belong to this object itself, so that an action can drop its own handle.
class QtEventLoop::Receiver final : public QObject, public std::enable_shared_from_this<Receiver> {
public:
    Subscription add(double wait, bool repeats, std::function<void()> action) {
        const auto key = next_++;
        auto& timer = timers_[key];
        timer.action = std::move(action);
        timer.remaining = wait;
        timer.interval = wait;
        timer.repeats = repeats;
        arm(key, timer);
        return handle(key);
    }

    Subscription addByBootClock(Seconds wait, std::function<void()> action) {
        if (!alarm_) {
            alarm_.emplace();
            auto* rings = new QSocketNotifier(alarm_->descriptor(), QSocketNotifier::Read, this);
            connect(rings, &QSocketNotifier::activated, this, [this] { runDue(); });
        }
        const auto key = next_++;
        booted_[key] = {BootAlarm::now() + (wait > 0 ? wait : 0), std::move(action)};
        setAlarm();
        return handle(key);
    }

    bool event(QEvent* event) override {
        if (event->type() == posted) {
            std::exchange(static_cast<Posted*>(event)->action, nullptr)();
            return true;
        }
        return QObject::event(event);
    }

protected:
    void timerEvent(QTimerEvent* event) override {
        const auto found = keys_.find(event->timerId());
        if (found == keys_.end()) {
            return;
        }
        const auto key = found->second;
        auto& timer = timers_.at(key);
        if (timer.remaining > 0) { // only a part of a very long wait is over
            disarm(timer);
            arm(key, timer);
            return;
        }
        // A copy, since the action may drop its own handle.
        const auto action = timer.action;
        if (!timer.repeats) {
            drop(key);
        } else if (timer.interval > longestWait) {
            disarm(timer);
            timer.remaining = timer.interval;
            arm(key, timer);
        }
        action();
    }

private:
    struct Timer {
        std::function<void()> action;
        double remaining = 0; ///< milliseconds after the present wait
        double interval = 0;
        bool repeats = false;
        int id = 0;
    };

    void arm(std::uint64_t key, Timer& timer) {
        const auto wait = std::min(timer.remaining, longestWait);
        timer.remaining -= wait;
        // A single shot wakes the machine once, however precise it is.
        const auto type = !timer.repeats || timer.interval < 1000 ? Qt::PreciseTimer
                          : timer.interval < 20000                ? Qt::CoarseTimer
                                                                  : Qt::VeryCoarseTimer;
        timer.id = startTimer(Milliseconds(static_cast<std::int64_t>(wait)), type);
        keys_[timer.id] = key;
    }

    void disarm(const Timer& timer) {
        killTimer(timer.id);
        keys_.erase(timer.id);
    }

    /// Drops the timer with that key, of either kind.
    Subscription handle(std::uint64_t key) {
        return Subscription([weak = weak_from_this(), key] {
            if (const auto receiver = weak.lock()) {
                receiver->drop(key);
            }
        });
    }

    void drop(std::uint64_t key) {
        // What the action holds may have handles of its own, so it goes last.
        if (const auto timer = timers_.extract(key)) {
            disarm(timer.mapped());
        } else if (const auto booted = booted_.extract(key)) {
            setAlarm();
        }
    }

    struct Booted {
        Seconds due = 0; ///< by the boot clock
        std::function<void()> action;
    };

    std::map<std::uint64_t, Booted>::iterator earliest() {
        return std::min_element(
            booted_.begin(), booted_.end(),
            [](const auto& one, const auto& other) { return one.second.due < other.second.due; });
    }

    void setAlarm() {
        const auto first = earliest();
        alarm_->set(first == booted_.end() ? std::nullopt : std::optional(first->second.due));
    }

    void runDue() {
        const auto now = BootAlarm::now();
        for (auto first = earliest(); first != booted_.end() && first->second.due <= now;
             first = earliest()) {
            const auto node = booted_.extract(first);
            node.mapped().action();
        }
        setAlarm();
    }

    std::optional<BootAlarm> alarm_; ///< made for the first that wants it
    std::map<std::uint64_t, Booted> booted_;
    std::uint64_t next_ = 0;
    std::map<std::uint64_t, Timer> timers_;
    std::map<int, std::uint64_t> keys_; ///< by Qt's number of the timer
};

QtEventLoop::QtEventLoop() : receiver_(std::make_shared<Receiver>()) {}

QtEventLoop::~QtEventLoop() = default;

Timestamp QtEventLoop::now() const {
    const std::chrono::duration<double> sinceEpoch =
        std::chrono::system_clock::now().time_since_epoch();
    return {sinceEpoch.count() - secondsFromUnixEpoch};
}

void QtEventLoop::post(std::function<void()> action) {
    QCoreApplication::postEvent(receiver_.get(), new Posted(std::move(action)));
}

Subscription QtEventLoop::after(Seconds delay, std::function<void()> action) {
    return receiver_->add(milliseconds(delay), false, std::move(action));
}

Subscription QtEventLoop::afterAwakeOrAsleep(Seconds delay, std::function<void()> action) {
    try {
        return receiver_->addByBootClock(delay, action);
    } catch (const std::system_error&) {
        return after(delay, std::move(action));
    }
}

Subscription QtEventLoop::every(Seconds interval, std::function<void()> action) {
    return receiver_->add(std::max(1.0, milliseconds(interval)), true, std::move(action));
}

} // namespace velmoran
