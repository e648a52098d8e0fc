#include "system/linux/closing/LinuxRunningApps.h"

#include "system/linux/closing/AppTermination.h"
#include "system/linux/closing/AppWindows.h"

#include <memory>
#include <utility>

namespace velmoran {

namespace {

class Windowed final : public RunningApplication {
public:
    Windowed(std::shared_ptr<AppTermination> termination, std::unique_ptr<AppWindows> windows)
        : termination_(std::move(termination)),
          windows_(std::move(windows)) {}

    void terminate() override {
        termination_->wakeStopped();
        windows_->askToClose();
    }
    void forceTerminate() override { termination_->killKnown(); }
    bool isTerminated() override { return termination_->knownAreGone(); }

private:
    std::shared_ptr<AppTermination> termination_;
    std::unique_ptr<AppWindows> windows_;
};

class Processes final : public RunningProcess {
public:
    explicit Processes(std::shared_ptr<AppTermination> termination)
        : termination_(std::move(termination)) {}

    void askToEnd() override { termination_->askToEnd(); }
    void kill() override { termination_->kill(); }
    bool isGone() override { return termination_->isGone(); }

private:
    std::shared_ptr<AppTermination> termination_;
};

} // namespace

LinuxRunningApps::LinuxRunningApps(const ProcessFinder& processes, std::string display,
                                   std::chrono::milliseconds patience)
    : processes_(processes),
      display_(std::move(display)),
      patience_(patience) {}

RunningApp LinuxRunningApps::find(const AppIdentity& app) {
    const auto termination = std::make_shared<AppTermination>(processes_, newest_, app);
    RunningApp found;
    if (termination->hasNobody()) {
        return found;
    }
    if (auto windows = AppWindows::of(termination->pids(), display_, patience_)) {
        found.applications.push_back(std::make_unique<Windowed>(termination, std::move(windows)));
    }
    found.processes.push_back(std::make_unique<Processes>(termination));
    return found;
}

} // namespace velmoran
