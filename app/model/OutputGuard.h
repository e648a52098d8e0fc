// Mutes the speakers when headphones come off, and says so on a card. Owned by the model; main
// thread.
#pragma once

#include "app/model/SettingsStore.h"
#include "app/notices/NoticeCenter.h"
#include "core/base/MainThread.h"
#include "core/sessions/SessionEngine.h"
#include "system/Machine.h"

namespace velmoran {

class OutputGuard {
public:
    struct Seams {
        OutputDevices& outputs;
        Scheduler& scheduler;
        const SettingsStore& settings;
        const SessionEngine& engine;
        NoticeCenter& notices;
    };

    /// The seams outlive this.
    explicit OutputGuard(Seams seams) : seams_(seams), mainThread_(seams.scheduler) {}

    /// Where sound went by the reading before, and where it goes now.
    void compare(const SystemSnapshot& before, const SystemSnapshot& now);

private:
    void show(std::uint32_t outputID, bool muted);

    Seams seams_;
    MainThread mainThread_;
};

} // namespace velmoran
