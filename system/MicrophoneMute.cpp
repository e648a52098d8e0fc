#include "system/MicrophoneMute.h"

namespace velmoran {

MuteOutcome MicrophoneMute::setMuted(bool muted) {
    MuteOutcome outcome;
    for (const auto& input : controls_.inputs()) {
        if (controls_.setMuteSwitch(input.objectID, muted) || setByVolume(input.objectID, muted)) {
            ++outcome.mutedCount;
        } else {
            outcome.unmutable.push_back(input.name);
        }
    }
    return outcome;
}

bool MicrophoneMute::setByVolume(std::uint32_t objectID, bool muted) {
    bool anyWritten = false;
    for (int element = 0; element < controls_.volumeElements(); ++element) {
        const auto current = controls_.settableVolume(objectID, element);
        if (!current) {
            continue;
        }
        float volume = 0;
        if (!muted) {
            const auto saved = savedVolumes_.find(objectID);
            volume = saved == savedVolumes_.end() ? volumeWithoutMemory : saved->second;
        } else if (*current > 0) {
            // Only a volume that can be heard is worth keeping: the mute is repeated for as long
            // as it stands.
            savedVolumes_[objectID] = *current;
        }
        anyWritten = controls_.setVolume(objectID, element, volume) || anyWritten;
    }
    return anyWritten;
}

} // namespace velmoran
