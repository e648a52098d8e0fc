#include "system/linux/pulse/MutedHere.h"

#include <utility>

namespace velmoran {

void MutedHere::recall(const std::optional<MutedPlaces>& muted) {
    mayBeAny_ = !muted;
    if (muted) {
        places_.insert(muted->begin(), muted->end());
        told_ = muted;
    }
}

bool MutedHere::hasNews() {
    auto now = places();
    const bool isNew = told_ != now;
    told_ = std::move(now);
    return isNew;
}

std::optional<MutedPlaces> MutedHere::places() const {
    // A part of them, read by the next run, would pass for all.
    return mayBeAny_ ? std::nullopt : std::optional<MutedPlaces>({places_.begin(), places_.end()});
}

} // namespace velmoran
