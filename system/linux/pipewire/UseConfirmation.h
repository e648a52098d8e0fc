// Lets a use count only once it has lasted for a moment. A sound server that speaks PulseAudio's
// protocol starts the stream of a client that asked for a paused one, and pauses it only then: seen
// for 0.5 to 4 ms in the graph, at one start in three, with nobody listening. Short uses of one app
// add up, else whoever pauses often enough would never count. Owned by the graph's reader; the
// scheduler's thread.
#pragma once

#include "core/base/Scheduler.h"
#include "system/linux/pipewire/GraphModel.h"

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace velmoran {

class UseConfirmation {
public:
    struct Use {
        GraphSerial client = 0;
        bool isInput = false;

        auto operator<=>(const Use&) const = default;
    };
    struct Ended {
        Use use;
        bool hadCounted = false;

        bool operator==(const Ended&) const = default;
    };

    /// Longer than any start of a stream that is to be paused.
    static constexpr Seconds longestFalseStart = 0.006;
    /// After so long without another one an app's short uses are forgotten: a false start now and
    /// then is none of its doing.
    static constexpr Seconds memory = 60.0;

    /// `confirmed` is called whenever a use has lasted for `duration`, or all short ones of its app
    /// have: time to look again. `clock` is one that is never set; both outlive this.
    UseConfirmation(Scheduler& scheduler, const Clock& clock, Seconds duration,
                    std::function<void()> confirmed);

    /// Looks at all uses that there are now: first `begin`, then `counts` for each, then `end`,
    /// which forgets those that weren't asked about. It gives those of them that were shorter than
    /// `duration`, and either counted or were longer than any false start.
    void begin();
    /// True if the use has lasted for long enough, or `atOnce` said so when it was new.
    bool counts(const Use& use, const std::string& app, bool atOnce);
    std::vector<Ended> end();
    /// Nothing of it means anything any more: the numbers begin anew.
    void clear() { entries_.clear(); }
    void stop() {
        clear();
        short_.clear();
    }

private:
    /// Of an app, and of input or output.
    using Account = std::pair<std::string, bool>;
    struct Short {
        Seconds together = 0;
        Subscription forgetting;
    };
    struct Entry {
        Account account;
        Timestamp since;
        bool isSure = false; ///< was from the beginning
        bool isConfirmed = false;
        bool isThere = false;
        bool isNoFalseStart = false;
        Subscription timer;
    };

    void await(const Use& use, Entry& entry);
    void addShort(const Account& account, Seconds lasted);

    Scheduler& scheduler_;
    const Clock& clock_;
    Seconds duration_;
    std::function<void()> confirmed_;
    std::map<Use, Entry> entries_;
    std::map<Account, Short> short_;
};

} // namespace velmoran
