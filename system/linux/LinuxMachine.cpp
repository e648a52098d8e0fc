#include "system/linux/LinuxMachine.h"

#include "core/stopping/BrowserLinux.h"
#include "system/AppCloser.h"
#include "system/BootAlarm.h"
#include "system/ProtectedPrograms.h"
#include "system/bus/BusAddress.h"
#include "system/linux/LinuxReadings.h"
#include "system/linux/closing/AppTermination.h"
#include "system/linux/closing/LinuxRunningApps.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <utility>

namespace velmoran {

namespace {

struct NoSounds final : Sounds {
    void playWarning() override {}
};

std::string variable(const char* name) {
    const char* value = std::getenv(name); // NOLINT: read once, before there are threads
    return value ? value : "";
}

/// In the folder that goes with the user's last session; empty without one.
std::string lastLookPath() {
    const auto folder = variable("XDG_RUNTIME_DIR");
    return folder.empty() ? folder : folder + "/velmoran-last-look";
}

GapWatch::Moment present() {
    const std::chrono::duration<double> sinceEpoch =
        std::chrono::system_clock::now().time_since_epoch();
    return {.time = {sinceEpoch.count() - secondsFromUnixEpoch}, .boot = BootAlarm::now()};
}

/// Closes what runs of an app on this desktop.
class Closing final : public AppClosing {
public:
    Closing(const ProcessFinder& processes, const std::string& display, Scheduler& scheduler)
        : running_(processes, display),
          closer_(running_, scheduler) {}

    void close(const AppIdentity& app, std::function<void(bool)> done) override {
        closer_.close(app, std::move(done));
    }

private:
    LinuxRunningApps running_;
    AppCloser closer_;
};

} // namespace

LinuxMachine::LinuxMachine(MachineOptions options)
    : sounds_(options.sounds ? std::move(options.sounds) : std::make_unique<NoSounds>()),
      signatures_(LinuxPlaces::ofThisUser()),
      names_(LinuxPlaces::ofThisUser()),
      processes_(names_),
      display_(variable("DISPLAY")),
      lastLook_(lastLookPath()),
      gaps_(SystemMonitor::pollInterval, {.now = present,
                                          .before = lastLook_.before(),
                                          .keep =
                                              [this] {
                                                  lastLook_.stampNow();
                                              }}),
      outputs_(pulse_, loop_),
      microphones_(pulse_),
      connections_([this](const AppIdentity& app) { return processes_.find(app); }),
      systemBus_(loop_, systemBusAddress()),
      sessionBus_(loop_, sessionBusAddress()),
      away_(loop_, systemBus_),
      screenLock_(loop_, systemBus_, sessionBus_,
                  {.sessionId = variable("XDG_SESSION_ID"), .display = display_, .loggedInto = ""}),
      readings_(std::make_unique<LinuxReadings>(
          LinuxReadings::Seams{loop_, names_, peers_, pulse_,
                               [this](const std::string& name) { outputs_.preferDefault(name); },
                               [this] {
                                   sight_.taken();
                               }},
          options.deviceFolder.string())) {
    pulseSight_ = pulse_.onSightTaken([this] { sight_.taken(); });
    loop_.runAndWait([this] { outputs_.onChange([this] { readings_->noteChange(); }); });
    monitor_ = std::make_unique<SystemMonitor>(MonitorReadings{
        loop_, readings_->audio(), readings_->cameras(), outputs_, names_, readings_->attribution(),
        readings_->listeners(), [this] { return readings_->unwatched(); },
        [this] {
            gaps_.noteLook();
            return gaps_.last();
        }});
}

std::unique_ptr<AppClosing> LinuxMachine::makeCloser(Scheduler& scheduler) {
    return std::make_unique<Closing>(processes_, display_, scheduler);
}

bool LinuxMachine::isProtected(const AppIdentity& app) {
    auto asItIsNow = app;
    asItIsNow.teamID = app.path ? signatures_.teamID(*app.path) : std::nullopt;
    // Which script an interpreter runs is its own word, and protects nobody.
    const bool isRoots = asItIsNow.teamID == "system" && readFileUpTo(*app.path, 2) != "#!";
    if (app.bundleID == ownBundleID() ||
        (isRoots && velmoran::isProtected(asItIsNow, Platform::linux, ownBundleID()))) {
        return true;
    }
    const auto line = ownAncestors(ProcFs());
    return std::any_of(line.begin(), line.end(),
                       [&](pid_t pid) { return processes_.isOf(pid, app); });
}

std::optional<SystemProcess> LinuxMachine::systemProcess(const AppIdentity& app) {
    const auto identifier = app.path ? signatures_.systemIdentifier(*app.path) : std::nullopt;
    return identifier ? SystemProcess::known(*identifier, SystemProcess::onLinux()) : std::nullopt;
}

bool LinuxMachine::isBrowser(const AppIdentity& app) {
    return Browser::isBrowserOnLinux(app, names_.browsers());
}

LinuxMachine::~LinuxMachine() {
    loop_.runAndWait([this] {
        outputs_.onChange(nullptr);
        monitor_.reset();
    });
}

Platform thisPlatform() {
    return Platform::linux;
}

std::unique_ptr<Machine> makeMachine(MachineOptions options) {
    return std::make_unique<LinuxMachine>(std::move(options));
}

} // namespace velmoran
