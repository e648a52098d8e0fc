#include "app/bus/BusLink.h"

#include <QObject>
#include <QSocketNotifier>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <malloc.h>
#include <poll.h>
#include <time.h>
#include <utility>

namespace velmoran {

namespace {

/// Messages in one turn of the event loop; everything else of the program has its turn in between.
constexpr int messagesPerTurn = 8;
/// Messages that wait for the bus to take them, and above which no further one is answered.
constexpr std::uint64_t tooManyUnsent = 64;

std::uint64_t monotonicMicroseconds() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::uint64_t>(now.tv_sec) * 1000000 +
           static_cast<std::uint64_t>(now.tv_nsec) / 1000;
}

/// Lets the memory of a large message go back to the system with the message: left to itself, the
/// C library learns from the first one to keep as much for the next.
void returnLargeMemory() {
    [[maybe_unused]] static const int done = ::mallopt(M_MMAP_THRESHOLD, 256 * 1024);
}

} // namespace

/// What wakes the link up.
class BusLink::Turns {
public:
    Turns(BusLink& link, int reading, int writing)
        : readable(reading, QSocketNotifier::Read),
          writable(writing, QSocketNotifier::Write) {
        writable.setEnabled(false);
        later.setSingleShot(true);
        QObject::connect(&readable, &QSocketNotifier::activated, [&link] { link.turn(); });
        QObject::connect(&writable, &QSocketNotifier::activated, [&link] { link.turn(); });
        QObject::connect(&later, &QTimer::timeout, [&link] { link.turn(); });
    }

    void stop() {
        readable.setEnabled(false);
        writable.setEnabled(false);
        later.stop();
    }

    QSocketNotifier readable;
    QSocketNotifier writable;
    QTimer later;
};

std::unique_ptr<BusLink> BusLink::open(const std::string& address, Calls calls) {
    if (address.empty()) {
        return nullptr;
    }
    returnLargeMemory();
    sd_bus* made = nullptr;
    if (sd_bus_new(&made) < 0) {
        return nullptr;
    }
    BusHandle bus(made);
    // No message of ours has descriptors, and those of others would be opened in our process.
    if (sd_bus_set_address(made, address.c_str()) < 0 || sd_bus_set_bus_client(made, 1) < 0 ||
        sd_bus_negotiate_fds(made, 0) < 0 || sd_bus_start(made) < 0 || sd_bus_get_fd(made) < 0) {
        return nullptr;
    }
    return std::unique_ptr<BusLink>(new BusLink(std::move(bus), std::move(calls)));
}

BusLink::BusLink(BusHandle bus, Calls calls) : bus_(std::move(bus)), calls_(std::move(calls)) {
    const int socket = sd_bus_get_fd(bus_.get());
    turns_ = std::make_unique<Turns>(*this, socket, socket);
    rearm();
}

BusLink::~BusLink() {
    turns_.reset();
}

void BusLink::pause() {
    isPaused_ = true;
    rearm();
}

void BusLink::resume() {
    isPaused_ = false;
    rearm();
}

bool BusLink::isClogged() const {
    std::uint64_t unsent = 0;
    return sd_bus_get_n_queued_write(bus_.get(), &unsent) >= 0 && unsent > tooManyUnsent;
}

void BusLink::rearm() {
    if (isLost_) {
        return;
    }
    std::uint64_t due = 0;
    const int events = sd_bus_get_events(bus_.get());
    if (events < 0 || sd_bus_get_timeout(bus_.get(), &due) < 0) {
        // Not in the middle of a call of the library or of our owner.
        turns_->stop();
        if (!isPaused_) {
            turns_->later.start(0);
        }
        return;
    }
    const bool clogged = isClogged();
    turns_->readable.setEnabled(!isPaused_ && !clogged && (events & POLLIN) != 0);
    turns_->writable.setEnabled(!isPaused_ && (events & POLLOUT) != 0);
    if (isPaused_ || due == UINT64_MAX || (clogged && due == 0)) {
        turns_->later.stop();
    } else {
        const auto now = monotonicMicroseconds();
        const auto wait = due > now ? (due - now + 999) / 1000 : 0;
        turns_->later.start(std::chrono::milliseconds(std::min<std::uint64_t>(wait, 3600000)));
    }
    if (std::exchange(wasClogged_, clogged) && !clogged) {
        calls_.drained();
    }
}

void BusLink::turn() {
    for (int i = 0; i < messagesPerTurn && !isPaused_ && !isLost_; ++i) {
        const int result = sd_bus_process(bus_.get(), nullptr);
        if (result < 0 || sd_bus_is_open(bus_.get()) <= 0) {
            fail();
            return;
        }
        if (result == 0 || isClogged()) {
            break;
        }
    }
    rearm();
}

void BusLink::fail() {
    isLost_ = true;
    turns_->stop();
    calls_.lost();
}

} // namespace velmoran
