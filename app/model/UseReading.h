// What in a reading of the machine counts as use of a device, and by whom: without the system's own
// listening, and with the app that a system's helper works for in the helper's place. Remembers who
// was named in this run. Owned by the model; main thread.
#pragma once

#include "app/model/SettingsStore.h"
#include "core/records/SystemSnapshot.h"
#include "core/sessions/DeviceUse.h"
#include "system/Machine.h"

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace velmoran {

class UseReading {
public:
    struct Found {
        std::map<Device, DeviceUse> uses;
        /// Of the microphone, now that it is known for whom they work; empty while nobody knows.
        std::vector<AppIdentity> replacedHelpers;
        /// Whom a helper works for may still be told: another look is needed after so long.
        std::optional<Seconds> wait;
    };

    /// Both outlive this.
    UseReading(Machine& machine, const SettingsStore& settings);

    /// `elapsing` is what a wait is counted by.
    Found read(const SystemSnapshot& snapshot, Timestamp elapsing);

    /// What a reading of this run has named under that id, else who couldn't be named; nothing if
    /// there was neither.
    std::optional<AppIdentity> seenApp(const std::string& id) const;

    /// Who holds the microphone in that reading, which was read last, if it is for the system's own
    /// listening alone and isn't told as a use; empty otherwise.
    std::vector<AppIdentity> onlyListeners(const SystemSnapshot& snapshot) const;

    /// How long helpers may hold the microphone before they count themselves: in one spell, or one
    /// helper in several, since one that is switched on and off is none the less there.
    static constexpr Seconds ownerGrace = 1.0;
    /// After so long without it a helper's spells are forgotten.
    static constexpr Seconds spellMemory = 60.0;

private:
    struct Microphone {
        DeviceUse use;
        std::vector<AppIdentity> helpers;
        std::vector<AppIdentity> owners;
        std::optional<Seconds> wait;
    };
    /// How long a helper has held the microphone with nobody known for whom.
    struct Unowned {
        Seconds before = 0; ///< in the spells that are over
        Timestamp until;    ///< the end of the last of those
        std::optional<Timestamp> since;
    };

    /// All its spells together, the present one included, which begins now if it hasn't yet.
    Seconds unownedFor(const AppIdentity& helper, Timestamp elapsing);
    void endSpellsBut(const std::vector<AppIdentity>& goingOn, Timestamp elapsing);
    Microphone readMicrophone(const SystemSnapshot& snapshot, Timestamp elapsing);
    const AppIdentity& identity(const AppRef& ref);
    std::vector<AppIdentity> identities(const std::vector<AppRef>& refs);

    Machine& machine_;
    const SettingsStore& settings_;
    /// By AppIdentity::unidentified and AppIdentity::id, for good.
    std::map<std::pair<bool, std::string>, AppIdentity> identities_;
    std::optional<Timestamp> helperUnownedSince_;
    std::map<std::string, Unowned> unowned_; ///< by the helper's id
};

} // namespace velmoran
