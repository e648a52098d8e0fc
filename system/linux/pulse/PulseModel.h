// The streams of a sound server that has no graph (PulseAudio), and what follows from them: which
// client hears a microphone, and which plays. Pure value; any thread.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace velmoran {

/// All keys are the server's indexes; no two objects of a kind ever have the same while it runs.
struct PulseModel {
    /// A source or a sink.
    struct Device {
        std::string name;                           ///< to show; empty if it has none
        std::optional<std::uint32_t> monitorOfSink; ///< of a source that gives what others play
        bool isRunning = false;

        bool operator==(const Device&) const = default;
    };
    /// A recording from a source, or a playback to a sink.
    struct Stream {
        std::optional<std::uint32_t> client; ///< none for the server's own
        std::optional<std::uint32_t> module; ///< of the server's own: which one made it
        std::optional<std::uint32_t> device; ///< none while it is being set up
        bool isPaused = true;

        bool operator==(const Stream&) const = default;
    };
    struct Use {
        bool microphone = false;
        bool speaker = false;

        bool operator==(const Use&) const = default;
    };

    std::map<std::uint32_t, Device> sources;
    std::map<std::uint32_t, Device> sinks;
    std::map<std::uint32_t, Stream> recordings;
    std::map<std::uint32_t, Stream> playbacks;

    /// For each client with a stream. A recording from what others play is none from a microphone,
    /// unless a module plays a microphone there.
    std::map<std::uint32_t, Use> uses() const;

    bool operator==(const PulseModel&) const = default;
};

} // namespace velmoran
