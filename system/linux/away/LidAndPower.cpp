#include "system/linux/away/LidAndPower.h"

#include "system/BootAlarm.h"
#include "system/linux/away/LidSwitch.h"
#include "system/linux/away/LogindNames.h"
#include "system/linux/away/PowerSupplies.h"
#include "system/linux/bus/BusValues.h"

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <utility>
#include <vector>

namespace velmoran {

namespace {

constexpr const char* powerName = "org.freedesktop.UPower"; ///< of its interface too
constexpr const char* powerPath = "/org/freedesktop/UPower";
/// What the two clocks differ by for other reasons.
constexpr Seconds leastSleep = 1;

/// One clock goes on while the machine sleeps, the other one doesn't.
Seconds timeAsleepByClocks() {
    const std::chrono::duration<double> awake = std::chrono::steady_clock::now().time_since_epoch();
    return BootAlarm::now() - awake.count();
}

} // namespace

/// The two services as long as they are followed. The loop's thread, but for what is said
/// otherwise.
class LidAndPower::Live {
public:
    using Announced = std::function<void(const AwaySignal&)>;
    using Time = std::chrono::steady_clock;
    using Duration = std::chrono::duration<double>;

    Live(BusKeeper& bus, bool hasSwitch, Duration fresh, const std::function<Seconds()>& timeAsleep)
        : hasSwitch_(hasSwitch),
          fresh_(fresh),
          timeAsleep_(timeAsleep),
          asleepBefore_(timeAsleep()) {
        busEnd_ = bus.follow({.up = [this](BusLine& line) { follow(line); },
                              .down =
                                  [this] {
                                      line_ = nullptr;
                                      logindOwner_ = {};
                                      powerOwner_ = {};
                                      logindCame("");
                                      powerCame("");
                                  }});
    }

    /// Main thread. Waits until both services have been asked, unless they have.
    void awaitFirst() {
        std::unique_lock lock(mutex_);
        changed_.wait_for(lock, Duration(firstPatience),
                          [this] { return (lidIsAsked_ && powerIsAsked_) || isAwaited_; });
        isAwaited_ = true; // not a second time
    }

    /// Main thread.
    std::optional<bool> isLidClosed(EventLoop& loop) {
        std::unique_lock lock(mutex_);
        if (mustAskForLid()) {
            const auto question = ++asked_;
            lock.unlock();
            loop.post([this, question] { askForLid(question); });
            lock.lock();
            changed_.wait_for(lock, Duration(patience), [&] { return answered_ >= question; });
        }
        return lid_ ? lid_ : powersLid_;
    }

    /// Main thread. The lock may come from the sleep itself, too late for logind's word on it.
    void heedClocks(EventLoop& loop) {
        if (const auto asleep = timeAsleep_(); asleep - asleepBefore_ >= leastSleep) {
            asleepBefore_ = asleep;
            doubtLid();
            loop.post([this] { noteSleep(); });
        }
    }

    /// Main thread.
    std::optional<bool> isOnBattery() {
        const std::lock_guard lock(mutex_);
        return onBattery_;
    }

    void listen(Announced announced) {
        announced_ = std::make_shared<Announced>(std::move(announced));
        tellSleep(); // as most laptops lock themselves when they are about to sleep
    }

private:
    /// Under the lock.
    bool mustAskForLid() const {
        // What the last question was not told in time is what this one is told.
        return asked_ == answered_ && hasSwitch_ && !lidIsAnnounced_ &&
               (isLidDoubtful_ || Time::now() - lidAnswered_ >= fresh_);
    }

    void follow(BusLine& line) {
        line_ = &line;
        logindOwner_ = line.hearOwner(logind::service,
                                      [this](const std::string& owner) { logindCame(owner); });
        powerOwner_ =
            line.hearOwner(powerName, [this](const std::string& owner) { powerCame(owner); });
    }

    void logindCame(const std::string& owner) {
        logind_ = owner;
        logindEars_.clear();
        lidQuestion_ = {};
        expectAnnouncements(false); // it may be an older one
        if (line_ == nullptr || owner.empty()) {
            setLid(std::nullopt);
            return;
        }
        logindEars_.push_back(line_->hear(
            owner, logind::path, propertiesInterface, "PropertiesChanged",
            [this](sd_bus_message* signal) { takeLid(readChanged(signal, logind::manager)); }));
        logindEars_.push_back(line_->hear(owner, logind::path, logind::manager, "PrepareForSleep",
                                          [this](sd_bus_message* signal) {
                                              if (const auto sleeps = readPlainTruth(signal)) {
                                                  isAsleep_ = *sleeps;
                                                  doubtLid();
                                                  tellSleep();
                                              }
                                          }));
        logindEars_.push_back(ask(logind::path, logind::manager, "PreparingForSleep",
                                  [this](std::optional<bool> sleeps) {
                                      if (sleeps) {
                                          isAsleep_ = *sleeps;
                                          tellSleep();
                                      }
                                  }));
        askForLid(0);
    }

    /// A later question takes the place of an earlier one.
    void askForLid(std::uint64_t question) {
        if (line_ == nullptr || logind_.empty()) {
            const std::lock_guard lock(mutex_);
            answered_ = std::max(answered_, question);
            lidAnswered_ = Time::now();
            isLidDoubtful_ = false;
            changed_.notify_all();
            return;
        }
        lidQuestion_ = ask(logind::path, logind::manager, "LidClosed",
                           [this](std::optional<bool> closed) { setLid(closed); });
    }

    BusEar ask(const char* path, const char* interface, const char* property,
               std::function<void(std::optional<bool>)> told) {
        const auto question = line_->newCall(logind_, path, propertiesInterface, "Get");
        sd_bus_message_append(question.get(), "ss", interface, property);
        return line_->ask(question, [told = std::move(told)](sd_bus_message* answer) {
            told(readTruth(answer));
        });
    }

    void takeLid(const BusProperties& changed) {
        if (const auto closed = truthOf(changed, "LidClosed")) {
            expectAnnouncements(true);
            setLid(closed);
        }
    }

    void expectAnnouncements(bool areMade) {
        const std::lock_guard lock(mutex_);
        lidIsAnnounced_ = areMade;
    }

    /// It may stand otherwise by now.
    void doubtLid() {
        const std::lock_guard lock(mutex_);
        isLidDoubtful_ = true;
    }

    void setLid(std::optional<bool> closed) {
        const std::lock_guard lock(mutex_);
        lid_ = closed;
        lidAnswered_ = Time::now();
        isLidDoubtful_ = false;
        lidIsAsked_ = true;
        answered_ = asked_;
        changed_.notify_all();
    }

    void powerCame(const std::string& owner) {
        powerEars_.clear();
        if (line_ == nullptr || owner.empty()) {
            const std::lock_guard lock(mutex_);
            onBattery_.reset();
            powersLid_.reset();
            powerIsAsked_ = true;
            changed_.notify_all();
            return;
        }
        powerEars_.push_back(
            line_->hear(owner, powerPath, propertiesInterface, "PropertiesChanged",
                        [this](sd_bus_message* signal) { take(readChanged(signal, powerName)); }));
        const auto question = line_->newCall(owner, powerPath, propertiesInterface, "GetAll");
        sd_bus_message_append(question.get(), "s", powerName);
        powerEars_.push_back(line_->ask(question, [this](sd_bus_message* answer) {
            const auto known = readProperties(answer);
            hasLid_ = truthOf(known, "LidIsPresent").value_or(false);
            take(known);
            const std::lock_guard lock(mutex_);
            powerIsAsked_ = true;
            changed_.notify_all();
        }));
    }

    void take(const BusProperties& properties) {
        const std::lock_guard lock(mutex_);
        if (const auto onBattery = truthOf(properties, "OnBattery")) {
            onBattery_ = onBattery;
        }
        if (const auto closed = truthOf(properties, "LidIsClosed"); closed && hasLid_) {
            isLidDoubtful_ |= closed != powersLid_;
            powersLid_ = closed;
        }
    }

    void tellSleep() {
        if (const auto announced = announced_; announced && isAsleep_ != toldAsleep_) {
            toldAsleep_ = isAsleep_;
            sleepIsTold_ |= isAsleep_;
            (*announced)(
                {.kind = isAsleep_ ? AwaySignal::Kind::wentToSleep : AwaySignal::Kind::wokeUp,
                 .name = std::nullopt});
        }
    }

    /// The machine is awake again.
    void noteSleep() {
        const auto announced = announced_;
        if (!std::exchange(sleepIsTold_, false) && announced) {
            for (const auto kind : {AwaySignal::Kind::wentToSleep, AwaySignal::Kind::wokeUp}) {
                (*announced)({.kind = kind, .name = std::nullopt});
            }
        }
    }

    BusLine* line_ = nullptr; ///< while there is one
    std::string logind_;      ///< its own name on the bus
    bool hasLid_ = false;     ///< by UPower
    bool isAsleep_ = false;
    bool toldAsleep_ = false;
    bool sleepIsTold_ = false; ///< that which the clocks will show next
    std::shared_ptr<Announced> announced_;
    const bool hasSwitch_;
    const Duration fresh_;
    const std::function<Seconds()> timeAsleep_;
    Seconds asleepBefore_; ///< main thread

    std::mutex mutex_; ///< of what stands next
    std::condition_variable changed_;
    std::optional<bool> lid_;       ///< by logind
    std::optional<bool> powersLid_; ///< by UPower, if it has seen a lid
    std::optional<bool> onBattery_;
    std::uint64_t asked_ = 0; ///< number of the last question for the lid
    std::uint64_t answered_ = 0;
    Time::time_point lidAnswered_;
    bool lidIsAnnounced_ = false;
    bool isLidDoubtful_ = false; ///< however fresh the answer is
    bool lidIsAsked_ = false;
    bool powerIsAsked_ = false;
    bool isAwaited_ = false;

    std::vector<BusEar> logindEars_;
    std::vector<BusEar> powerEars_;
    BusEar lidQuestion_;
    BusEar logindOwner_;
    BusEar powerOwner_;
    Subscription busEnd_;
};

LidAndPower::LidAndPower(EventLoop& loop, BusKeeper& systemBus, Folders folders, Seconds fresh,
                         std::function<Seconds()> timeAsleep)
    : loop_(loop),
      bus_(systemBus),
      folders_(std::move(folders)),
      fresh_(fresh),
      timeAsleep_(timeAsleep ? std::move(timeAsleep) : timeAsleepByClocks) {}

LidAndPower::~LidAndPower() = default;

std::shared_ptr<LidAndPower::Live> LidAndPower::live() {
    auto live = live_.lock();
    if (!live) {
        const auto end = [&loop = loop_](Live* ended) {
            loop.runAndWait([ended] { delete ended; });
        };
        const bool hasSwitch = hasLidSwitch(folders_.inputs);
        loop_.runAndWait([&] {
            live = std::shared_ptr<Live>(new Live(bus_, hasSwitch, fresh_, timeAsleep_), end);
        });
        live_ = live;
        kept_ = live;
        live->awaitFirst();
    }
    return live;
}

std::optional<bool> LidAndPower::isLidClosed() {
    const auto present = live();
    present->heedClocks(loop_);
    return present->isLidClosed(loop_);
}

std::optional<bool> LidAndPower::isOnACPower() {
    if (const auto onBattery = live()->isOnBattery()) {
        return !*onBattery;
    }
    const auto now = Live::Time::now();
    if (!onMainsSince_ || now - *onMainsSince_ >= fresh_) {
        onMains_ = isOnMains(folders_.powerSupplies);
        onMainsSince_ = now;
    }
    return onMains_;
}

Subscription LidAndPower::listen(std::function<void(const AwaySignal&)> announced) {
    auto listened = live();
    kept_.reset(); // from now on it lives as long as the handle
    loop_.runAndWait([&] { listened->listen(std::move(announced)); });
    return Subscription([listened = std::move(listened)]() mutable { listened.reset(); });
}

} // namespace velmoran
