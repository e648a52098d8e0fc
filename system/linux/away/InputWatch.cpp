#include "system/linux/away/InputWatch.h"

#include "system/BootAlarm.h"
#include "system/linux/away/EvdevEvents.h"
#include "system/linux/away/InputTimes.h"
#include "system/linux/away/XInputEvents.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <string_view>
#include <utility>

namespace velmoran {

namespace {

constexpr std::chrono::milliseconds longestGreeting{500};
constexpr Seconds retryInterval = 2;

struct SleeplessClock final : Clock {
    Timestamp now() const override { return {BootAlarm::now()}; }
};

std::string inEnvironment(const char* name) {
    const char* value = std::getenv(name); // NOLINT: read once, before there are threads
    return value ? value : "";
}

} // namespace

struct InputWatch::Shared {
    Shared(EventLoop& ownLoop, Places ownPlaces, const Clock& ownClock)
        : loop(ownLoop),
          places(std::move(ownPlaces)),
          clock(ownClock) {}

    bool mayHaveX() const { return !places.display.empty() && !places.isWayland; }

    EventLoop& loop;
    const Places places;
    const Clock& clock;
    InputTimes times;
    std::atomic<bool> listens = false;
    std::atomic<bool> hearsX = false;
};

/// Begins and ends on the main thread; between that it lives on the loop's.
struct InputWatch::Listening {
    explicit Listening(std::shared_ptr<Shared> with) : shared(std::move(with)) {}

    void begin(std::unique_ptr<XInputConnection> connection) {
        const auto use = [this](InputUse used) {
            shared->times.note(used, shared->clock.now());
        };
        if (connection) {
            devices.reset();
            retry.reset();
            shared->hearsX = true;
            x = std::make_unique<XInputEvents>(shared->loop, std::move(connection),
                                               XInputEvents::Receiver{.used = use, .lost = [this] {
                                                                          lose();
                                                                      }});
            return;
        }
        shared->hearsX = false;
        devices = std::make_unique<EvdevEvents>(shared->loop, shared->places.seat, use);
    }

    void lose() {
        // Not within a call of what goes.
        again = shared->loop.after(0, [this] {
            x.reset();
            begin(nullptr);
            tryLater();
        });
    }

    void tryLater() {
        attempt = std::make_unique<XInputAttempt>(shared->places.display);
        retry = shared->loop.every(retryInterval, [this] { tryAgain(); });
    }

    void tryAgain() {
        if (!attempt->isOver()) {
            return;
        }
        if (auto connection = attempt->take()) {
            begin(std::move(connection));
        } else {
            attempt = std::make_unique<XInputAttempt>(shared->places.display);
        }
    }

    void end() {
        again.reset();
        retry.reset();
        x.reset();
        devices.reset();
        shared->hearsX = false;
    }

    std::shared_ptr<Shared> shared;
    std::unique_ptr<XInputAttempt> attempt;
    std::unique_ptr<XInputEvents> x;
    std::unique_ptr<EvdevEvents> devices;
    Subscription retry;
    Subscription again;
};

InputWatch::Places InputWatch::Places::ofThisSession() {
    Places places;
    places.display = inEnvironment("DISPLAY");
    // What the user's service manager starts may have an earlier session's WAYLAND_DISPLAY.
    const auto type = inEnvironment("XDG_SESSION_TYPE");
    places.isWayland =
        type == "wayland" || (type != "x11" && !inEnvironment("WAYLAND_DISPLAY").empty());
    if (auto seat = inEnvironment("XDG_SEAT"); !seat.empty()) {
        places.seat = std::move(seat);
    }
    return places;
}

InputWatch::InputWatch(EventLoop& loop, Places places, const Clock& clock)
    : shared_(std::make_shared<Shared>(loop, std::move(places), clock)) {}

InputWatch::InputWatch(EventLoop& loop, Places places)
    : InputWatch(loop, std::move(places), []() -> const Clock& {
          static const SleeplessClock clock;
          return clock;
      }()) {}

InputWatch::~InputWatch() = default;

Subscription InputWatch::listen() {
    auto listening = listening_.lock();
    if (!listening) {
        listening = std::shared_ptr<Listening>(new Listening(shared_), [](Listening* old) {
            old->shared->loop.runAndWait([old] { old->end(); });
            old->shared->listens = false;
            delete old;
        });
        shared_->times.forget();
        std::unique_ptr<XInputConnection> connection;
        bool mayAnswerYet = false;
        if (shared_->mayHaveX()) {
            listening->attempt = std::make_unique<XInputAttempt>(shared_->places.display);
            if (listening->attempt->isOver(longestGreeting)) {
                connection = listening->attempt->take();
            } else {
                mayAnswerYet = true;
            }
        }
        auto* begun = listening.get();
        shared_->loop.runAndWait([&] {
            begun->begin(std::move(connection));
            if (mayAnswerYet) {
                begun->retry = shared_->loop.every(retryInterval, [begun] { begun->tryAgain(); });
            }
        });
        shared_->listens = true;
        listening_ = listening;
    }
    return Subscription([listening]() mutable { listening.reset(); });
}

std::optional<Seconds> InputWatch::sinceLast(InputEvent event) const {
    return shared_->listens ? shared_->times.sinceLast(event, shared_->clock.now()) : std::nullopt;
}

bool InputWatch::tellsInput() {
    if (shared_->listens) {
        xTells_ = shared_->hearsX;
    } else if (!shared_->mayHaveX()) {
        xTells_ = false;
    } else if (!xTells_) {
        XInputAttempt attempt(shared_->places.display);
        if (attempt.isOver(longestGreeting)) {
            xTells_ = attempt.take() != nullptr;
        }
    }
    return xTells_.value_or(false) || EvdevEvents::hearsAll(shared_->places.seat);
}

} // namespace velmoran
