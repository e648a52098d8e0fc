// Which output the session manager has chosen, as it writes it down in its metadata. Owned by the
// connection to PipeWire; the loop's thread only. Uses libpipewire.
#pragma once

#include "system/linux/kernel/EventLoop.h"
#include "system/linux/pipewire/PipeWireCore.h"

#include <cstdint>
#include <memory>
#include <optional>

struct pw_core;
struct pw_proxy;
struct pw_registry;

namespace velmoran {

/// While a client's first reading of the metadata is answered, PipeWire 0.3.65 tells of changes to
/// nobody else, then or later. So it is read again whenever that may have been so.
class DefaultOutput {
public:
    DefaultOutput(EventLoop& events, PipeWireListener& listener);
    DefaultOutput(const DefaultOutput&) = delete;
    DefaultOutput& operator=(const DefaultOutput&) = delete;
    ~DefaultOutput();

    /// The metadata has come; both outlive this.
    void begin(pw_core* core, pw_registry* registry, std::uint32_t id);
    /// An object has gone: perhaps that one.
    void end(std::uint32_t id);
    /// Every client that comes may be one that reads.
    void clientMayRead();
    /// The choice changes when sinks come and go.
    void sinkMayMatter();
    /// The server has done what it was asked under that number.
    void done(int sequence);
    /// The connection is about to go.
    void forget();

private:
    void readIn(Seconds delay);
    void read();
    static int onProperty(void* data, std::uint32_t subject, const char* key, const char* type,
                          const char* value);

    struct Reading;

    EventLoop& events_;
    PipeWireListener& listener_;
    pw_core* core_ = nullptr;
    pw_registry* registry_ = nullptr;
    std::optional<std::uint32_t> id_;
    std::unique_ptr<Reading> reading_;
    int sequence_ = 0;      ///< of the last time that it was read
    bool isChosen_ = false; ///< in what came since then
    Subscription nextReading_;
    bool isReadOnceMore_ = false;
};

} // namespace velmoran
