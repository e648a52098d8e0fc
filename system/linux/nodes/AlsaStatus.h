// What the kernel tells of one substream of a sound card, /proc/asound/cardN/pcmND/subN/status
// (Documentation/sound/designs/procfile.rst). Plain value; any thread.
#pragma once

#include <cstdint>
#include <string_view>

namespace velmoran {

struct AlsaStatus {
    bool isOpen = false;
    bool isRunning = false;    ///< sound goes through it, or is about to again after an overrun
    std::int32_t ownerPid = 0; ///< the *thread* that opened it; 0 if unknown or out of sight

    bool operator==(const AlsaStatus&) const = default;
};

/// "closed", or lines "KEY : VALUE". What is in another form is closed.
AlsaStatus parseAlsaStatus(std::string_view text);

/// A node of a card that sound goes through: "pcmC0D3c" is device 3 of card 0, to record from.
struct AlsaNode {
    int card = -1; ///< negative for other nodes
    int device = 0;
    bool isCapture = false;

    bool operator==(const AlsaNode&) const = default;
};

AlsaNode parseAlsaNode(std::string_view fileName);

} // namespace velmoran
