#include "system/linux/LinuxMachine.h"

#include "system/linux/LinuxReadings.h"

namespace velmoran {

namespace {

struct NoSounds final : Sounds {
    void playWarning() override {}
};

} // namespace

LinuxMachine::LinuxMachine(MachineOptions options)
    : sounds_(options.sounds ? std::move(options.sounds) : std::make_unique<NoSounds>()),
      signatures_(LinuxPlaces::ofThisUser()),
      names_(LinuxPlaces::ofThisUser()),
      outputs_(pulse_, loop_),
      readings_(std::make_unique<LinuxReadings>(LinuxReadings::Seams{loop_, names_, peers_, pulse_},
                                                options.deviceFolder.string())) {
    loop_.runAndWait([this] { outputs_.onChange([this] { readings_->noteChange(); }); });
    monitor_ = std::make_unique<SystemMonitor>(
        MonitorReadings{loop_, readings_->audio(), readings_->cameras(), outputs_, names_,
                        readings_->attribution(), readings_->listeners()});
}

LinuxMachine::~LinuxMachine() {
    loop_.runAndWait([this] {
        outputs_.onChange(nullptr);
        monitor_.reset();
    });
}

std::unique_ptr<Machine> makeMachine(MachineOptions options) {
    return std::make_unique<LinuxMachine>(std::move(options));
}

} // namespace velmoran
