// The volumes of sources whose mute switch doesn't work, taken away and given back in its stead.
// Owned by the microphones; used with the context's lock held.
#pragma once

#include "system/MicrophoneMute.h"
#include "system/linux/pulse/ChannelVolumes.h"

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <pulse/volume.h>

namespace velmoran {

class SourceVolumes final : private InputControls {
public:
    struct Source {
        std::string serverName;
        pa_cvolume volume{}; ///< as it is now; one that isn't valid can't be set
        /// Asks the server for it; false if it couldn't be asked.
        std::function<bool(const pa_cvolume&)> write;
    };

    void setMuted(bool muted, std::vector<Source> sources);

private:
    std::vector<Input> inputs() override;
    bool setMuteSwitch(std::uint32_t, bool) override { return false; }
    int volumeElements() const override { return 1; }
    std::optional<float> settableVolume(std::uint32_t objectID, int element) override;
    bool setVolume(std::uint32_t objectID, int element, float volume) override;

    std::uint32_t objectIDOf(const Source& source);
    std::vector<Source>::iterator find(std::uint32_t objectID);

    std::vector<Source> sources_;                    ///< still to be written in this call
    std::map<std::string, std::uint32_t> objectIDs_; ///< by the server's name, over its restarts
    ChannelVolumes volumes_;
    MicrophoneMute mute_{*this};
};

} // namespace velmoran
