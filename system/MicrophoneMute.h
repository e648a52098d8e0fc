// Silences every microphone and gives each its own volume back. Owned by whoever has the
// machine's microphones; one call at a time.
#pragma once

#include "core/stopping/StopResult.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace velmoran {

/// The controls of the input devices, as the platform has them. What fails says so by its answer.
class InputControls {
public:
    struct Input {
        std::uint32_t objectID = 0;
        std::string name; ///< or "Unknown device"
    };

    virtual ~InputControls() = default;
    /// All devices with input, in the order of the system's list.
    virtual std::vector<Input> inputs() = 0;
    /// False if there is no such switch, it can't be set, or the write failed.
    virtual bool setMuteSwitch(std::uint32_t objectID, bool muted) = 0;
    /// How many separate volumes the device may have; each of them may be missing.
    virtual int volumeElements() const = 0;
    /// 0 to 1; nothing if the device has no such volume or it can't be set.
    virtual std::optional<float> settableVolume(std::uint32_t objectID, int element) = 0;
    virtual bool setVolume(std::uint32_t objectID, int element, float volume) = 0;
};

class MicrophoneMute {
public:
    /// `controls` outlives this.
    explicit MicrophoneMute(InputControls& controls) : controls_(controls) {}

    /// Each device by its switch, else by its volume. `mutedCount` counts the devices that now are
    /// as wanted, `unmutable` names the others.
    MuteOutcome setMuted(bool muted);

    /// What a device gets back whose own volume was never seen.
    static constexpr float volumeWithoutMemory = 0.5F;

private:
    bool setByVolume(std::uint32_t objectID, bool muted);

    InputControls& controls_;
    /// Volumes before the mute, by device; kept as long as the program runs.
    std::map<std::uint32_t, float> savedVolumes_;
};

} // namespace velmoran
