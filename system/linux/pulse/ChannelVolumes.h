// The volumes of a source's channels as one level that can be taken away and given back: what the
// user set for each channel is remembered as a whole. Owned by the microphones; no thread of its
// own.
#pragma once

#include <map>
#include <string>

#include <pulse/volume.h>

namespace velmoran {

class ChannelVolumes {
public:
    /// The loudest channel as libpulse has it, 1 being 100 %; more where it is amplified.
    static float level(const pa_cvolume& volume);

    /// What to write so that the source has that level: its channels as they were when it was
    /// last silenced, if the level is that of then, else `current` with its balance, or all
    /// channels alike where that is silent. Remembers `current` when it is heard and silenced.
    pa_cvolume at(float level, const std::string& source, const pa_cvolume& current);

private:
    std::map<std::string, pa_cvolume> heard_;
};

} // namespace velmoran
