#include "system/linux/closing/LinuxRunningApps.h"

#include "system/linux/closing/AppCrew.h"
#include "system/linux/closing/AppWindows.h"

#include <memory>
#include <utility>

namespace velmoran {

namespace {

class Windowed final : public RunningApplication {
public:
    Windowed(std::shared_ptr<AppCrew> crew, std::unique_ptr<AppWindows> windows)
        : crew_(std::move(crew)),
          windows_(std::move(windows)) {}

    void terminate() override {
        crew_->wakeStopped();
        windows_->askToClose();
    }
    void forceTerminate() override { crew_->killKnown(); }
    bool isTerminated() override { return crew_->knownAreGone(); }

private:
    std::shared_ptr<AppCrew> crew_;
    std::unique_ptr<AppWindows> windows_;
};

class Processes final : public RunningProcess {
public:
    explicit Processes(std::shared_ptr<AppCrew> crew) : crew_(std::move(crew)) {}

    void askToEnd() override { crew_->askToEnd(); }
    void kill() override { crew_->kill(); }
    bool isGone() override { return crew_->isGone(); }

private:
    std::shared_ptr<AppCrew> crew_;
};

} // namespace

LinuxRunningApps::LinuxRunningApps(const ProcessFinder& processes, std::string display)
    : processes_(processes),
      display_(std::move(display)) {}

RunningApp LinuxRunningApps::find(const AppIdentity& app) {
    const auto crew = std::make_shared<AppCrew>(processes_, newest_, app);
    RunningApp found;
    if (crew->hasNobody()) {
        return found;
    }
    if (auto windows = AppWindows::of(crew->pids(), display_)) {
        found.applications.push_back(std::make_unique<Windowed>(crew, std::move(windows)));
    }
    found.processes.push_back(std::make_unique<Processes>(crew));
    return found;
}

} // namespace velmoran
