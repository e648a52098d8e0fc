// What an away watch could notice on this machine, whether one runs or not. Nothing is asked of the
// machine before a watch is wanted or the settings are looked at. Owned by the application model;
// main thread.
#pragma once

#include "app/model/SettingsStore.h"
#include "core/base/MainThread.h"
#include "core/base/Observable.h"
#include "system/AwayReadings.h"

#include <optional>

namespace velmoran {

/// Where a watch would be silent without anything being wrong.
struct AwayGaps {
    bool noLock = false;  ///< nothing that is known announces a lock
    bool noInput = false; ///< the use of keyboard and mouse can't be told

    bool operator==(const AwayGaps&) const = default;
};

class AwayOutlook {
public:
    /// All of them outlive this. Nothing is asked yet.
    AwayOutlook(AwayReadings& readings, ScreenLock& lock, SettingsStore& settings,
                Scheduler& scheduler);

    /// Once; looks whenever a watch is wanted.
    void start();
    /// Asks the machine. From the first time on who announces the lock is followed.
    void look();
    /// As of the last look.
    Observable<AwayGaps> gaps;

    /// Whether there is a sensor that tells the lid's angle. It is tried with the first call of a
    /// run, and never again.
    bool readsLid();

private:
    AwayReadings& readings_;
    ScreenLock& lock_;
    SettingsStore& settings_;
    std::optional<bool> readsLid_;
    Subscription announcers_;
    Subscription wish_;
    MainThread mainThread_;
};

} // namespace velmoran
