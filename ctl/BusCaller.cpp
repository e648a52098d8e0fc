#include "ctl/BusCaller.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <utility>

namespace velmoran {

namespace {

/// One call that is under way; its reply finds it, so it stays where it is.
class Pending {
public:
    /// Without a patience it waits for ever.
    Pending(sd_bus* bus, sd_bus_message* call, std::optional<Seconds> patience) {
        // None at all would be the library's own.
        const auto wait = patience ? static_cast<std::uint64_t>(std::max(*patience, 1e-6) * 1e6)
                                   : std::uint64_t{UINT64_MAX};
        sd_bus_slot* slot = nullptr;
        if (sd_bus_call_async(bus, &slot, call, &Pending::replied, this, wait) >= 0) {
            slot_.reset(slot);
        }
    }
    Pending(const Pending&) = delete;
    Pending& operator=(const Pending&) = delete;
    ~Pending() = default;

    bool isOver() const { return reply_ || !slot_; }

    BusAnswer answer() {
        const auto* error = reply_ ? sd_bus_message_get_error(reply_.get()) : nullptr;
        if (reply_ && error == nullptr) {
            return {std::move(reply_), {}, {}};
        }
        const auto textOf = [](const char* text) {
            return std::string(text ? text : "");
        };
        return error ? BusAnswer{nullptr, textOf(error->name), textOf(error->message)}
                     : BusAnswer{nullptr, SD_BUS_ERROR_NO_REPLY, "no answer"};
    }

private:
    static int replied(sd_bus_message* reply, void* pending, sd_bus_error*) {
        static_cast<Pending*>(pending)->reply_.reset(sd_bus_message_ref(reply));
        return 1;
    }

    BusMessage reply_;
    BusSlot slot_; ///< goes first
};

} // namespace

bool BusAnswer::isAbsence() const {
    return error == SD_BUS_ERROR_SERVICE_UNKNOWN || error == SD_BUS_ERROR_NAME_HAS_NO_OWNER;
}

BusMessage BusCaller::makeCall(const std::string& to, const char* path, const char* interface,
                               const char* method) const {
    sd_bus_message* made = nullptr;
    if (sd_bus_message_new_method_call(bus_.get(), &made, to.c_str(), path, interface, method) <
        0) {
        return nullptr;
    }
    sd_bus_message_set_auto_start(made, 0);
    return BusMessage(made);
}

BusAnswer BusCaller::ask(const BusMessage& call, Seconds patience) const {
    Pending pending(bus_.get(), call.get(), patience);
    runBusUntil(bus_.get(), inSeconds(patience), [&] { return pending.isOver(); });
    return pending.answer();
}

void BusCaller::askEach(
    const std::vector<BusMessage>& calls, Seconds patience,
    const std::function<bool(std::size_t call, const BusAnswer&)>& isEnough) const {
    std::vector<std::unique_ptr<Pending>> pending;
    for (const auto& call : calls) {
        pending.push_back(std::make_unique<Pending>(bus_.get(), call.get(), patience));
    }
    std::size_t left = pending.size();
    runBusUntil(bus_.get(), inSeconds(patience), [&] {
        for (std::size_t i = 0; i < pending.size() && left > 0; ++i) {
            if (pending[i] && pending[i]->isOver()) {
                const auto answer = std::exchange(pending[i], nullptr)->answer();
                left = isEnough(i, answer) ? 0 : left - 1;
            }
        }
        return left == 0;
    });
}

BusAnswer BusCaller::askWhileAlive(const BusMessage& call, Seconds patience) const {
    const std::string to = sd_bus_message_get_destination(call.get());
    Pending pending(bus_.get(), call.get(), std::nullopt);
    const auto isOver = [&] {
        return pending.isOver();
    };
    while (!runBusUntil(bus_.get(), inSeconds(lifeInterval), isOver) &&
           sd_bus_is_ready(bus_.get()) > 0) {
        const auto question = makeCall(to, "/", "org.freedesktop.DBus.Peer", "Ping");
        Pending sign(bus_.get(), question.get(), patience);
        const bool livesOn =
            runBusUntil(bus_.get(), inSeconds(patience), [&] { return sign.isOver() || isOver(); });
        if (!isOver() && (!livesOn || !sign.answer().reply)) {
            break;
        }
    }
    return pending.answer();
}

} // namespace velmoran
