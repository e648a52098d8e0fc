// Notes when something takes the program's view of the sound system away, and warns of one that
// keeps doing so. Owned by the model; main thread.
#pragma once

#include "app/model/SettingsStore.h"
#include "app/notices/NoticeCenter.h"
#include "core/base/ForwardClock.h"
#include "core/base/MainThread.h"
#include "core/base/Recurrence.h"
#include "system/Machine.h"

#include <functional>
#include <optional>

namespace velmoran {

class SightGuard {
public:
    struct Seams {
        Machine& machine;
        const ForwardClock& clock;
        Scheduler& scheduler;
        const SettingsStore& settings;
        NoticeCenter& notices;
        Observable<std::optional<Timestamp>>& lastTaken; ///< none for a moment before each
    };

    /// The seams outlive this. `stop` is what the card's "Stop" does, which gets the card's id.
    SightGuard(Seams seams, std::function<void(const Uuid& card)> stop);

    void start();

    static constexpr std::size_t warningTimes = 3;
    static constexpr Seconds warningSpan = 60.0;
    /// Losses that follow each other more closely are noted as one.
    static constexpr Seconds shortestPause = 0.1;

private:
    void note();
    void warn();

    Seams seams_;
    std::function<void(const Uuid&)> stop_;
    Recurrence recent_{warningTimes, warningSpan};
    std::optional<Timestamp> last_; ///< that was noted, by the time that elapses
    Uuid card_;
    Subscription losses_;
    MainThread mainThread_;
};

} // namespace velmoran
