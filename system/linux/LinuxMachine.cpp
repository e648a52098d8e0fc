#include "system/linux/LinuxMachine.h"

#include "system/ProtectedPrograms.h"
#include "system/linux/LinuxReadings.h"

namespace velmoran {

namespace {

struct NoSounds final : Sounds {
    void playWarning() override {}
};

// Nothing is closed yet; what asks is told so by the empty answer.
struct NoClosing final : AppClosing {
    void close(const AppIdentity&, std::function<void(bool)> done) override { done(false); }
};

} // namespace

LinuxMachine::LinuxMachine(MachineOptions options)
    : sounds_(options.sounds ? std::move(options.sounds) : std::make_unique<NoSounds>()),
      signatures_(LinuxPlaces::ofThisUser()),
      names_(LinuxPlaces::ofThisUser()),
      outputs_(pulse_, loop_),
      microphones_(pulse_),
      processes_(names_),
      connections_([this](const AppIdentity& app) { return processes_.of(app); }),
      readings_(std::make_unique<LinuxReadings>(LinuxReadings::Seams{loop_, names_, peers_, pulse_},
                                                options.deviceFolder.string())) {
    loop_.runAndWait([this] { outputs_.onChange([this] { readings_->noteChange(); }); });
    monitor_ = std::make_unique<SystemMonitor>(
        MonitorReadings{loop_, readings_->audio(), readings_->cameras(), outputs_, names_,
                        readings_->attribution(), readings_->listeners()});
}

std::unique_ptr<AppClosing> LinuxMachine::makeCloser(Scheduler&) {
    return std::make_unique<NoClosing>();
}

bool LinuxMachine::isProtected(const AppIdentity& app) {
    return velmoran::isProtected(app, Platform::linux, ownBundleID());
}

std::vector<std::string> LinuxMachine::browsers() {
    return {};
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
