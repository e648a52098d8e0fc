// One living connection to a bus, read on the loop's thread: who a name belongs to, signals of
// others, and questions with their answers. A few messages in one turn of the loop, so that
// whatever is sent to us waits with the bus and not in our memory. Never waits for the bus. Made
// and ended by a `BusKeeper`; the loop's thread only.
#pragma once

#include "system/bus/BusHandles.h"
#include "system/linux/kernel/EventLoop.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace velmoran {

/// What is to be heard or answered; dropping it ends that, also within its own call. May outlive
/// the line, and hears nothing more then.
class BusEar {
public:
    using Heard = std::function<void(sd_bus_message*)>;

    BusEar() = default;
    explicit operator bool() const { return slot_ != nullptr; }

private:
    friend class BusLine;
    struct Target;
    std::shared_ptr<Target> target_;
    BusSlot slot_; ///< goes before what it calls
};

class BusLine {
public:
    /// Begins to connect; null if that fails at once. `lost` is called once, and never in a call of
    /// the line, when it has failed.
    static std::unique_ptr<BusLine> open(EventLoop& loop, const std::string& address,
                                         std::function<void()> lost);
    ~BusLine();
    BusLine(const BusLine&) = delete;
    BusLine& operator=(const BusLine&) = delete;

    /// Signals of that connection (by its unique name, or the bus itself) alone: a program may send
    /// us what it likes. An empty path is any.
    [[nodiscard]] BusEar hear(const std::string& sender, const std::string& path,
                              const std::string& interface, const std::string& member,
                              BusEar::Heard heard);
    /// Told of the present owner of a name, and of each later one; an empty text is nobody.
    [[nodiscard]] BusEar hearOwner(const std::string& name,
                                   std::function<void(const std::string& owner)> told);

    /// A call, without starting the receiver; null if a name in it can't be.
    BusMessage newCall(const std::string& receiver, const std::string& path, const char* interface,
                       const char* method) const;
    /// The answer, an error among them; also when none comes within `patience`.
    [[nodiscard]] BusEar ask(const BusMessage& call, BusEar::Heard answered,
                             Seconds patience = 25.0);

private:
    BusLine(EventLoop& loop, BusHandle bus, std::function<void()> lost);
    void turn();
    void rearm();
    void fail();
    static int called(sd_bus_message* message, void* target, sd_bus_error* error);

    EventLoop& loop_;
    BusHandle bus_;
    std::shared_ptr<std::function<void()>> lost_;   ///< null after it has failed
    std::shared_ptr<std::function<void()>> failed_; ///< what is still to be called then
    std::uint32_t watched_ = 0;                     ///< what the socket is watched for
    std::uint64_t due_ = UINT64_MAX;                ///< when the alarm rings, in microseconds
    bool isTurning_ = false;
    Subscription socket_;
    Subscription later_;
};

/// Whether it is an answer that says why there is none.
bool isBusError(sd_bus_message* answer);

} // namespace velmoran
