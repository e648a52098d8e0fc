// Watches over the machine while its screen is locked, if the user wants that: joins what tells of
// the lock, what senses, the record that is kept, and the history. Owned by the model; main thread.
#pragma once

#include "app/model/HistoryKeeper.h"
#include "app/model/SettingsStore.h"
#include "app/model/Windows.h"
#include "core/away/AwayWatch.h"
#include "core/base/ForwardClock.h"
#include "core/base/MainThread.h"
#include "core/base/Observable.h"
#include "core/records/AppIdentity.h"
#include "core/records/Device.h"
#include "system/AwaySensors.h"
#include "system/Machine.h"

#include <functional>
#include <optional>

namespace velmoran {

class AwayDriving {
public:
    struct Seams {
        Machine& machine;
        const ForwardClock& clock;
        Scheduler& scheduler;
        const SettingsStore& settings;
        HistoryKeeper& history;
        Windows& windows;
        Observable<bool>& isOn;
    };
    struct Reports {
        std::function<void()> changed; ///< the watch has begun or ended
        std::function<void()> ended;   ///< before that: the history has another report, or one less
    };

    /// The seams outlive this.
    AwayDriving(Seams seams, Reports reports);

    /// Once: begins to hear of locks. A screen that is locked already starts no watch.
    void start();
    /// An app has turned on that device, and that is being told.
    void noteUse(Device device, const AppIdentity& app);
    /// The history has another file: soon the report that is being written stands there too.
    void storeAgain();
    /// The report that is being written; null if none is.
    const AwayReport* currentReport() const { return watch_.current ? &*watch_.current : nullptr; }

private:
    void lock();
    void unlock();
    void heed(const AwaySignal& signal);
    void record(AwayEventKind kind, const std::optional<std::string>& detail);
    Timestamp now() const { return seams_.clock.elapsing() + ahead_; }

    Seams seams_;
    Reports reports_;
    AwayWatch watch_;
    AwaySensors sensors_;
    bool screenLocked_ = false;
    /// Of the model's time before what elapses, at the beginning of the watch.
    Seconds ahead_ = 0;
    Subscription lock_;
    MainThread mainThread_;
};

} // namespace velmoran
