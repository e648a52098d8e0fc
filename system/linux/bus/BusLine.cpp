#include "system/linux/bus/BusLine.h"

#include <chrono>
#include <cstring>
#include <utility>

#include <poll.h>
#include <sys/epoll.h>

namespace velmoran {

namespace {

/// Messages in one turn of the loop; whatever else is read there has its turn in between.
constexpr int messagesPerTurn = 8;
constexpr const char* driver = "org.freedesktop.DBus";
constexpr const char* driverPath = "/org/freedesktop/DBus";

std::uint64_t microseconds(Seconds seconds) {
    return static_cast<std::uint64_t>(seconds * 1e6);
}

/// By the library's clock, which is the monotonic one.
std::uint64_t now() {
    const auto sinceBoot = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(
        std::chrono::duration_cast<std::chrono::microseconds>(sinceBoot).count());
}

/// The library speaks of poll's events, the loop of epoll's.
std::uint32_t epollEvents(int events) {
    return ((events & POLLIN) != 0 ? EPOLLIN : 0U) | ((events & POLLOUT) != 0 ? EPOLLOUT : 0U);
}

const char* orAny(const std::string& text) {
    return text.empty() ? nullptr : text.c_str();
}

} // namespace

bool isBusError(sd_bus_message* answer) {
    return sd_bus_message_is_method_error(answer, nullptr) != 0;
}

// MARK: - The connection

std::unique_ptr<BusLine> BusLine::open(EventLoop& loop, const std::string& address,
                                       std::function<void()> lost) {
    sd_bus* made = nullptr;
    if (address.empty() || sd_bus_new(&made) < 0) {
        return nullptr;
    }
    BusHandle bus(made);
    // No message that we want has descriptors, and those of others would be opened in our process.
    if (sd_bus_set_address(made, address.c_str()) < 0 || sd_bus_set_bus_client(made, 1) < 0 ||
        sd_bus_negotiate_fds(made, 0) < 0 || sd_bus_start(made) < 0 || sd_bus_get_fd(made) < 0) {
        return nullptr;
    }
    std::unique_ptr<BusLine> line(new BusLine(loop, std::move(bus), std::move(lost)));
    line->rearm();
    return line;
}

BusLine::BusLine(EventLoop& loop, BusHandle bus, std::function<void()> lost)
    : loop_(loop),
      bus_(std::move(bus)),
      lost_(std::make_shared<std::function<void()>>(std::move(lost))) {}

BusLine::~BusLine() {
    socket_.reset(); // before the library closes it
}

void BusLine::turn() {
    isTurning_ = true;
    for (int i = 0; i < messagesPerTurn; ++i) {
        const int result = sd_bus_process(bus_.get(), nullptr);
        if (result < 0 || sd_bus_is_open(bus_.get()) <= 0) {
            fail();
            return;
        }
        if (result == 0) {
            break;
        }
    }
    isTurning_ = false;
    rearm();
}

void BusLine::rearm() {
    if (isTurning_ || !lost_) {
        return;
    }
    std::uint64_t due = 0;
    const int events = sd_bus_get_events(bus_.get());
    if (events < 0 || sd_bus_get_timeout(bus_.get(), &due) < 0) {
        fail();
        return;
    }
    if (const auto wanted = epollEvents(events); wanted != watched_) {
        watched_ = wanted;
        socket_.reset(); // a socket is watched once at a time
        socket_ = loop_.watch(sd_bus_get_fd(bus_.get()), wanted, [this](std::uint32_t) { turn(); });
    }
    // An alarm that comes too early costs less than to move it with each question.
    if (due < due_) {
        due_ = due;
        const auto present = now();
        later_ = loop_.after(due > present ? static_cast<double>(due - present) / 1e6 : 0, [this] {
            due_ = UINT64_MAX;
            turn();
        });
    }
}

void BusLine::fail() {
    socket_.reset();
    later_.reset();
    // Not in the middle of a call of our owner, and not if that ends the line first.
    loop_.post([weak = std::weak_ptr(lost_)] {
        if (const auto lost = weak.lock()) {
            (*lost)();
        }
    });
    failed_ = std::exchange(lost_, nullptr);
}

// MARK: - Hearing and asking

struct BusEar::Target : std::enable_shared_from_this<Target> {
    explicit Target(Heard toBeCalled) : heard(std::move(toBeCalled)) {}
    Heard heard;
};

int BusLine::called(sd_bus_message* message, void* target, sd_bus_error*) {
    const auto kept = static_cast<BusEar::Target*>(target)->shared_from_this();
    kept->heard(message);
    return 0;
}

BusEar BusLine::hear(const std::string& sender, const std::string& path,
                     const std::string& interface, const std::string& member, BusEar::Heard heard) {
    BusEar ear;
    ear.target_ = std::make_shared<BusEar::Target>(std::move(heard));
    sd_bus_slot* slot = nullptr;
    sd_bus_match_signal_async(bus_.get(), &slot, sender.c_str(), orAny(path), interface.c_str(),
                              member.c_str(), &BusLine::called, nullptr, ear.target_.get());
    ear.slot_.reset(slot);
    rearm();
    return ear;
}

BusEar BusLine::hearOwner(const std::string& name,
                          std::function<void(const std::string& owner)> told) {
    struct Known {
        std::function<void(const std::string&)> told;
        std::optional<std::string> owner;
        BusEar question;

        void tell(const std::string& present) {
            if (owner != present) {
                owner = present;
                told(present);
            }
        }
    };
    const auto known = std::make_shared<Known>();
    known->told = std::move(told);
    BusEar ear;
    ear.target_ = std::make_shared<BusEar::Target>([known, name](sd_bus_message* signal) {
        const char* sender = sd_bus_message_get_sender(signal);
        const char* of = nullptr;
        const char* now = nullptr;
        if (sender != nullptr && std::strcmp(sender, driver) == 0 &&
            sd_bus_message_read(signal, "sss", &of, nullptr, &now) > 0 && name == of) {
            known->tell(now);
        }
    });
    // Of this name only, or else every program that comes or goes would wake us.
    const auto rule = std::string("type='signal',sender='") + driver + "',path='" + driverPath +
                      "',interface='" + driver + "',member='NameOwnerChanged',arg0='" + name + "'";
    sd_bus_slot* slot = nullptr;
    sd_bus_add_match_async(bus_.get(), &slot, rule.c_str(), &BusLine::called, nullptr,
                           ear.target_.get());
    ear.slot_.reset(slot);
    const auto question = newCall(driver, driverPath, driver, "GetNameOwner");
    sd_bus_message_append(question.get(), "s", name.c_str());
    known->question = ask(question, [weak = std::weak_ptr(known)](sd_bus_message* answer) {
        const char* owner = nullptr;
        if (const auto asked = weak.lock()) {
            const bool has = !isBusError(answer) && sd_bus_message_read(answer, "s", &owner) > 0;
            asked->tell(has ? owner : "");
        }
    });
    return ear;
}

BusMessage BusLine::newCall(const std::string& receiver, const std::string& path,
                            const char* interface, const char* method) const {
    sd_bus_message* made = nullptr;
    sd_bus_message_new_method_call(bus_.get(), &made, receiver.c_str(), path.c_str(), interface,
                                   method);
    BusMessage call(made);
    if (call) {
        sd_bus_message_set_auto_start(made, 0);
    }
    return call;
}

BusEar BusLine::ask(const BusMessage& call, BusEar::Heard answered, Seconds patience) {
    BusEar ear;
    if (!call) {
        return ear;
    }
    ear.target_ = std::make_shared<BusEar::Target>(std::move(answered));
    sd_bus_slot* slot = nullptr;
    sd_bus_call_async(bus_.get(), &slot, call.get(), &BusLine::called, ear.target_.get(),
                      microseconds(patience));
    ear.slot_.reset(slot);
    rearm();
    return ear;
}

} // namespace velmoran
