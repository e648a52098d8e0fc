// What the model's stop works with: the machine's microphones and its closer, with a word to the
// model about each answer. Owned by the model; main thread.
#pragma once

#include "core/base/Scheduler.h"
#include "core/stopping/PanicController.h"
#include "system/Machine.h"

#include <functional>
#include <memory>

namespace velmoran {

/// Answers on the main thread, or not at all when it is gone by then.
class SystemMuter final : public MicrophoneMuting {
public:
    using Report = std::function<void(const MuteOutcome&)>;

    /// Both outlive this.
    SystemMuter(Machine& machine, Scheduler& scheduler, Report report);
    void mute(std::function<void(const MuteOutcome&)> done) override;

private:
    Machine& machine_;
    Scheduler& scheduler_;
    std::shared_ptr<const Report> report_;
};

class SystemCloser final : public AppClosing {
public:
    using Report = std::function<void(const AppIdentity&, bool gone)>;

    SystemCloser(std::unique_ptr<AppClosing> closer, Report report);
    void close(const AppIdentity& app, std::function<void(bool gone)> done) override;

private:
    Report report_;
    std::unique_ptr<AppClosing> closer_;
};

} // namespace velmoran
