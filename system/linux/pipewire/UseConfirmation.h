// Lets a use count only once it has lasted for a moment. A sound server that speaks PulseAudio's
// protocol starts the stream of a client that asked for a paused one, and pauses it only then: seen
// for 0.5 to 4 ms in the graph, at one start in three, with nobody listening. A use that is cut
// short before that moment is over is told apart by how long it was. Owned by the graph's reader;
// the scheduler's thread.
#pragma once

#include "core/base/Scheduler.h"
#include "system/linux/pipewire/GraphModel.h"

#include <functional>
#include <map>
#include <vector>

namespace velmoran {

class UseConfirmation {
public:
    struct Use {
        GraphSerial client = 0;
        bool isInput = false;

        auto operator<=>(const Use&) const = default;
    };

    /// Longer than any start of a stream that is to be paused.
    static constexpr Seconds longestFalseStart = 0.006;

    /// `confirmed` is called whenever a use has lasted for `duration`: time to look again. The
    /// scheduler outlives this.
    UseConfirmation(Scheduler& scheduler, Seconds duration, std::function<void()> confirmed);

    /// Looks at all uses that there are now: first `begin`, then `counts` for each, then `end`,
    /// which forgets those that weren't asked about. It gives those of them that never counted and
    /// were longer than any false start.
    void begin();
    /// True if the use has lasted for long enough, or `atOnce` said so when it was new.
    bool counts(const Use& use, bool atOnce);
    std::vector<Use> end();

private:
    struct Entry {
        bool isConfirmed = false;
        bool isThere = false;
        bool isNoFalseStart = false;
        Subscription timer;
    };

    Scheduler& scheduler_;
    Seconds duration_;
    std::function<void()> confirmed_;
    std::map<Use, Entry> entries_;
};

} // namespace velmoran
