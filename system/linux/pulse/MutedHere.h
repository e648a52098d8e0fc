// Which microphones this program has muted and not unmuted: those that are its to unmute, over
// restarts too. Owned by the microphones; used with the context's lock held.
#pragma once

#include "core/records/MicrophonePlace.h"

#include <optional>
#include <set>

namespace velmoran {

class MutedHere {
public:
    /// True if it was not known as such.
    bool add(const MicrophonePlace& place) { return places_.insert(place).second; }
    void erase(const MicrophonePlace& place) { places_.erase(place); }
    bool contains(const MicrophonePlace& place) const { return places_.contains(place); }
    /// What an earlier run knew; nothing if that was lost: then any of them may be its doing.
    void recall(const std::optional<MutedPlaces>& muted);
    /// Any of them may have been muted by an earlier run of which nothing is known, or before
    /// anybody has said what it did.
    bool mayBeAny() const { return mayBeAny_; }
    /// All that are there have been unmuted.
    void allUnmuted() { mayBeAny_ = false; }
    bool isEmpty() const { return !mayBeAny_ && places_.empty(); }

    /// What the next run is to recall, sorted, if that has changed since the last call.
    bool hasNews();
    std::optional<MutedPlaces> places() const;

private:
    std::set<MicrophonePlace> places_;
    bool mayBeAny_ = true;
    std::optional<MutedPlaces> told_;
};

} // namespace velmoran
