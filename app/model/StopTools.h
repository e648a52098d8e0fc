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
    struct Report {
        /// To `mute`; `stands` is false when it was undone before its answer came.
        std::function<void(const MuteAnswer&, bool stands)> answered;
        /// A mute after its answer, or a repeated one, has muted something and stands.
        std::function<void(const MuteAnswer&)> tookEffect;
    };

    /// Both outlive this.
    SystemMuter(Machine& machine, Scheduler& scheduler, Report report);
    void mute(std::function<void(const MuteOutcome&)> done) override;
    /// Keeps up a mute that stands.
    void repeat();
    /// The mutes that were asked for so far are undone, also those that aren't answered yet.
    void undo() { ++shared_->undone; }

private:
    /// Gone when the muter is.
    struct Shared {
        Report report;
        unsigned undone = 0;
    };

    template <class Tell>
    Microphones::Answer onMain(Tell tell) const;
    Microphones::Answer telling() const;

    Machine& machine_;
    Scheduler& scheduler_;
    std::shared_ptr<Shared> shared_;
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
