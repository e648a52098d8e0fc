#include "core/stopping/SpeakerGuard.h"

namespace velmoran {

std::optional<OutputRoute> outputRoute(const std::optional<OutputDeviceInfo>& output) {
    if (!output) {
        return std::nullopt;
    }
    OutputRoute route{.id = output->objectID,
                      .name = output->name,
                      .kind = output->kind,
                      .volume = std::nullopt,
                      .isMuted = output->isMuted};
    if (output->volume) {
        route.volume = static_cast<double>(*output->volume);
    }
    return route;
}

bool SpeakerGuard::shouldMute(const std::optional<OutputRoute>& previous,
                              const std::optional<OutputRoute>& current,
                              bool previousStillConnected, bool enabled) {
    return enabled && previous && current && previous->kind == OutputRoute::Kind::headphones &&
           current->kind == OutputRoute::Kind::builtInSpeakers && !current->isMuted &&
           (!previousStillConnected || previous->id == current->id);
}

} // namespace velmoran
